#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <gtk/gtk.h>

namespace Quillory {

class WorkspaceStore;

// The one-line strip under the editor: for now the store's error message with a warning icon,
// hidden while there is none. The Git state joins it on the leading side.
class StatusStripView {
public:
    explicit StatusStripView(WorkspaceStore&);
    ~StatusStripView();
    StatusStripView(const StatusStripView&) = delete;
    StatusStripView& operator=(const StatusStripView&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    // The icon and message, shown only while the store has an error message.
    GtkWidget* errorRow() const { return m_errorRow; }
    GtkLabel* errorLabel() const { return m_errorLabel; }

private:
    void showErrorMessage();

    WorkspaceStore& m_store;
    GRef<GtkWidget> m_root;
    GtkWidget* m_errorRow { nullptr };
    GtkLabel* m_errorLabel { nullptr };
    ViewConnections m_connections;
};

}
