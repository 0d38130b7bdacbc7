#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <adwaita.h>

#include <functional>

namespace Quillory {

class WorkspaceStore;

// The modal sheet that asks for a new page's path inside the opened site and creates it through
// the store. It starts with the suggested path and no error, shows the store's error message
// while there is one, and closes when the store says the page was created.
class NewPageSheet {
public:
    // `onClose` runs when the sheet is done (created or cancelled); the owner then destroys it.
    NewPageSheet(WorkspaceStore&, GtkWindow* parent, std::function<void()> onClose);
    ~NewPageSheet();
    NewPageSheet(const NewPageSheet&) = delete;
    NewPageSheet& operator=(const NewPageSheet&) = delete;

    GtkWindow* window() const { return GTK_WINDOW(m_window.get()); }
    GtkEntry* pathEntry() const { return m_pathEntry; }
    GtkSwitch* addToGitTrackingSwitch() const { return m_addToGitTrackingSwitch; }
    GtkWidget* errorRow() const { return m_errorRow; }
    GtkLabel* errorLabel() const { return m_errorLabel; }
    GtkWidget* createButton() const { return m_createButton; }
    GtkWidget* cancelButton() const { return m_cancelButton; }

private:
    void updateCreateButton();
    void showErrorMessage();
    void create();
    void close();

    WorkspaceStore& m_store;
    std::function<void()> m_onClose;
    GRef<GtkWidget> m_window;
    GtkEntry* m_pathEntry { nullptr };
    GtkSwitch* m_addToGitTrackingSwitch { nullptr };
    GtkWidget* m_errorRow { nullptr };
    GtkLabel* m_errorLabel { nullptr };
    GtkWidget* m_createButton { nullptr };
    GtkWidget* m_cancelButton { nullptr };
    ViewConnections m_connections;
};

}
