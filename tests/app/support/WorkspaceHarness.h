#pragma once

#include "QuilloryApp/Support/Preferences.h"
#include "QuilloryApp/Workspace/WorkspaceRecentProjectsStore.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "app/support/ManualScheduler.h"
#include "support/TemporaryDirectory.h"

#include <sigc++/connection.h>

#include <string>

namespace QuilloryTest {

// Disconnects an observer when the test's locals it captured go away (sigc++ 3.4 has no
// scoped_connection).
struct ScopedConnection {
    sigc::connection connection;
    ~ScopedConnection() { connection.disconnect(); }
};

// A workspace store as a window holds it, over a preferences file in its own temporary folder and
// a manual scheduler.
struct WorkspaceHarness {
    TemporaryDirectory preferencesFolder;
    Quillory::Preferences preferences { preferencesFolder.path() / "quillory" / "settings.ini" };
    Quillory::WorkspaceRecentProjectsStore recentProjects { preferences };
    ManualScheduler scheduler;
    Quillory::WorkspaceStore store { recentProjects, scheduler };

    // What the editor view does on a keystroke: write the binding, then tell the store.
    void type(const std::u16string& text)
    {
        store.setEditorText(text);
        store.editorTextDidChange();
    }
};

// A site with two pages, opened on "index.html".
struct OpenSite : WorkspaceHarness {
    TemporaryDirectory site;

    OpenSite()
    {
        site.write("index.html", "<h1>Home</h1>\n");
        site.write("blog/post.html", "<h1>Post</h1>\n");
        store.loadWorkspace(site.path());
    }
};

}
