#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"
#include "QuilloryCore/Git/FileGitSnapshot.h"

#include <adwaita.h>

#include <functional>

namespace Quillory {

class WorkspaceStore;

// The modal sheet that shows the selected file's Git state, the repository's other changes and
// the file's recent history, and offers to track the file or restore it from HEAD after a
// confirmation. It follows the store's file snapshot and stays open after both actions; their
// failures show in the status strip.
class GitDetailsSheet {
public:
    static constexpr int minimumWidth = 620;
    static constexpr int minimumHeight = 520;

    // `onClose` runs when the user closes the sheet; the owner then destroys it.
    GitDetailsSheet(WorkspaceStore&, GtkWindow* parent, std::function<void()> onClose);
    ~GitDetailsSheet();
    GitDetailsSheet(const GitDetailsSheet&) = delete;
    GitDetailsSheet& operator=(const GitDetailsSheet&) = delete;

    // Restoring needs a change to throw away and a commit to restore from.
    static bool canRestoreFromGit(const FileGitSnapshot&);

    GtkWindow* window() const { return GTK_WINDOW(m_window.get()); }
    GtkWidget* trackButton() const { return m_trackButton; }
    GtkWidget* restoreButton() const { return m_restoreButton; }
    GtkWidget* closeButton() const { return m_closeButton; }
    GtkLabel* pathLabel() const { return m_pathLabel; }
    GtkLabel* statusWordLabel() const { return m_statusWordLabel; }
    // The confirmation while it is shown, else null.
    AdwMessageDialog* restoreConfirmation() const { return m_isConfirmingRestore ? ADW_MESSAGE_DIALOG(m_confirmation.get()) : nullptr; }
    bool isConfirmingRestore() const { return m_isConfirmingRestore; }

private:
    void showSnapshot();
    void confirmRestore();
    void confirmationDidRespond(const char* response);
    void close();

    WorkspaceStore& m_store;
    std::function<void()> m_onClose;
    GRef<GtkWidget> m_window;
    GtkLabel* m_pathLabel { nullptr };
    GtkLabel* m_workspacePathLabel { nullptr };
    GtkLabel* m_gitPathLabel { nullptr };
    GtkLabel* m_statusWordLabel { nullptr };
    GtkLabel* m_statusEntryLabel { nullptr };
    GtkWidget* m_trackButton { nullptr };
    GtkWidget* m_restoreButton { nullptr };
    GtkWidget* m_otherChangesBox { nullptr };
    GtkWidget* m_historyBox { nullptr };
    GtkWidget* m_closeButton { nullptr };
    GRef<GtkWidget> m_confirmation;
    bool m_isConfirmingRestore { false };
    ViewConnections m_connections;
};

}
