#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <gtk/gtk.h>

#include <memory>

namespace Quillory {

class GitDetailsSheet;
class WorkspaceStore;

// The one-line strip under the editor and preview: on the leading side the working tree's Git
// state (a symbol and title in the state's colour, and the detail), which opens the Git details;
// on the trailing side the store's error message with a warning icon, hidden while there is none.
class StatusStripView {
public:
    explicit StatusStripView(WorkspaceStore&);
    ~StatusStripView();
    StatusStripView(const StatusStripView&) = delete;
    StatusStripView& operator=(const StatusStripView&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    // The button that opens the Git details, its coloured symbol and title, and the detail.
    GtkWidget* gitButton() const { return m_gitButton; }
    GtkWidget* gitTitleRow() const { return m_gitTitleRow; }
    GtkImage* gitSymbol() const { return m_gitSymbol; }
    GtkLabel* gitTitleLabel() const { return m_gitTitleLabel; }
    GtkLabel* gitDetailLabel() const { return m_gitDetailLabel; }
    // The icon and message, shown only while the store has an error message.
    GtkWidget* errorRow() const { return m_errorRow; }
    GtkLabel* errorLabel() const { return m_errorLabel; }

    bool isShowingGitDetails() const { return m_gitDetailsSheet != nullptr; }
    // The open sheet, or null.
    GitDetailsSheet* gitDetailsSheet() const { return m_gitDetailsSheet.get(); }

private:
    void showGitStatus();
    void showErrorMessage();
    void showGitDetails();

    WorkspaceStore& m_store;
    GRef<GtkWidget> m_root;
    GtkWidget* m_gitButton { nullptr };
    GtkWidget* m_gitTitleRow { nullptr };
    GtkImage* m_gitSymbol { nullptr };
    GtkLabel* m_gitTitleLabel { nullptr };
    GtkLabel* m_gitDetailLabel { nullptr };
    GtkWidget* m_errorRow { nullptr };
    GtkLabel* m_errorLabel { nullptr };
    std::unique_ptr<GitDetailsSheet> m_gitDetailsSheet;
    ViewConnections m_connections;
};

}
