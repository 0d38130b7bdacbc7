#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <adwaita.h>

#include <string>
#include <vector>

namespace Quillory {

class ContentView;
class WorkspaceStore;

// One keyboard command of the main window: the detailed action name ("win.open-site"), its
// accelerators in GTK's notation (the first is the one the shortcuts window shows) and the title
// and group under which the shortcuts window lists it.
struct WindowShortcut {
    std::string actionName;
    std::vector<std::string> accelerators;
    std::string title;
    std::string group;
};

// The main window's own commands (open a site, a new page, refresh the preview, the editor's line
// field, quit, the shortcuts window, About) as actions with accelerators, installed on the window and the application. The actions
// live as long as the window; their enabled states follow the store.
class WindowActions {
public:
    WindowActions(GtkApplication*, GtkWindow*, ContentView&, WorkspaceStore&);
    ~WindowActions();
    WindowActions(const WindowActions&) = delete;
    WindowActions& operator=(const WindowActions&) = delete;

    // Every accelerator the window has, in the order the shortcuts window lists them.
    static const std::vector<WindowShortcut>& shortcuts();
    // A new shortcuts window listing shortcuts(), transient for `parent`.
    static GtkWindow* makeShortcutsWindow(GtkWindow* parent);
    // A new "About Quillory" window, transient for `parent`.
    static GtkWindow* makeAboutWindow(GtkWindow* parent);

private:
    void updateEnabledStates();

    GtkApplication* m_application;
    // Held so that removing the actions at the end finds the window's action map still there.
    GRef<GtkWindow> m_window;
    ContentView& m_contentView;
    WorkspaceStore& m_store;
    GSimpleAction* m_newPage { nullptr };
    GSimpleAction* m_refreshPreview { nullptr };
    GSimpleAction* m_jumpToLine { nullptr };
    ViewConnections m_connections;
};

}
