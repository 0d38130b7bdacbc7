#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <gtk/gtk.h>

namespace Quillory {

class WorkspaceStore;

// The editor header's "Format Document" button: enabled while the selected document can be
// formatted and no run is under way; during a run a small spinner stands in for its image.
// Clicking it formats the selected document through the store.
class FormatDocumentButton {
public:
    explicit FormatDocumentButton(WorkspaceStore&);
    ~FormatDocumentButton();
    FormatDocumentButton(const FormatDocumentButton&) = delete;
    FormatDocumentButton& operator=(const FormatDocumentButton&) = delete;

    GtkWidget* widget() const { return m_button.get(); }
    GtkButton* button() const { return GTK_BUTTON(m_button.get()); }
    // True while the spinner, not the image, is shown.
    bool isShowingSpinner() const;

private:
    void update();

    WorkspaceStore& m_store;
    GRef<GtkWidget> m_button;
    GtkStack* m_imageStack { nullptr };
    GtkWidget* m_image { nullptr };
    GtkSpinner* m_spinner { nullptr };
    ViewConnections m_connections;
};

}
