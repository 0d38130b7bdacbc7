#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Inspection/PageInspectionSnapshot.h"

#include <gtk/gtk.h>

#include <optional>
#include <string>
#include <vector>

namespace Quillory {

// The page snapshot under the preview: the heading "Native Page Snapshot", then the last failure,
// a spinner while a snapshot is being collected, and the snapshot's metrics and lists. Each part
// shows on its own, so an older snapshot stays readable while a new one is collected or after a
// run failed. The panel hides its own widget while it has nothing to show. Main thread only.
//
// The panel owns a reference to its widget (a vertical box).
class PageInspectionPanel {
public:
    PageInspectionPanel();
    ~PageInspectionPanel();
    PageInspectionPanel(const PageInspectionPanel&) = delete;
    PageInspectionPanel& operator=(const PageInspectionPanel&) = delete;

    GtkWidget* widget() const { return m_root.get(); }

    // Shows the store's state as it stands.
    void update(const std::optional<PageInspectionSnapshot>&, bool isLoading, const std::optional<std::string>& errorMessage);

private:
    struct SnapshotMetric {
        GtkLabel* value;
    };
    struct SnapshotList {
        GtkBox* values;
    };

    static GtkWidget* makeHeader();
    static SnapshotMetric appendMetric(GtkBox* row, const char* label);
    static SnapshotList appendList(GtkBox* row, const char* title);
    static void showValues(const SnapshotList&, const std::vector<std::string>& values);
    void showSnapshot(const PageInspectionSnapshot&);

    GRef<GtkWidget> m_root;
    GtkLabel* m_errorLabel { nullptr };
    GtkWidget* m_loadingRow { nullptr };
    GtkSpinner* m_spinner { nullptr };
    GtkWidget* m_snapshotContent { nullptr };

    SnapshotMetric m_headingsMetric {};
    SnapshotMetric m_linksMetric {};
    SnapshotMetric m_missingAltMetric {};
    SnapshotMetric m_cssRulesMetric {};
    SnapshotMetric m_sheetsMetric {};
    SnapshotList m_headingsList {};
    SnapshotList m_localLinksList {};
    SnapshotList m_missingAltList {};
};

}
