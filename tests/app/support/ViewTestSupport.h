#pragma once

#include "QuilloryApp/Workspace/AppSettingsStore.h"
#include "QuilloryApp/Support/GLibScheduler.h"
#include "QuilloryApp/Shell/QuilloryTheme.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "app/support/WorkspaceHarness.h"
#include "support/TemporaryDirectory.h"

#include <adwaita.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace QuilloryTest {

// A workspace harness with the settings and theme that views take, all over the harness's
// temporary preferences file.
struct ViewHarness : WorkspaceHarness {
    Quillory::AppSettingsStore settings { preferences };
    Quillory::QuilloryTheme theme { settings };
};

// The stores as the application builds them: real GLib timeouts and a worker thread.
struct LiveWindowHarness {
    TemporaryDirectory preferencesFolder;
    Quillory::Preferences preferences { preferencesFolder.path() / "quillory" / "settings.ini" };
    Quillory::WorkspaceRecentProjectsStore recentProjects { preferences };
    Quillory::AppSettingsStore settings { preferences };
    Quillory::QuilloryTheme theme { settings };
    Quillory::GLibScheduler scheduler;
    Quillory::WorkspaceStore store { recentProjects, scheduler };
};

// A real toplevel window showing `content`, presented and laid out; destroyed with the object.
class TestWindow {
public:
    explicit TestWindow(GtkWidget* content, int width = 1440, int height = 860);
    ~TestWindow();
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    GtkWidget* window() const { return m_window; }
    // Runs the main loop until the window has drawn one more frame.
    void waitForFrame() const;

private:
    GtkWidget* m_window;
};

// Types at the end of the editor's text as the user would: one interactive insertion, which the
// editor reports as the user's edit.
void typeAtEnd(Quillory::SourceEditorView&, const char* utf8);

// Runs the main loop until nothing is pending.
void drainMainLoop();
// Runs the main loop until `condition` holds; false when `timeout` passes first.
bool runMainLoopUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout = std::chrono::seconds(5));

// Every widget below `root`, depth first, by walking first child and next sibling.
std::vector<GtkWidget*> descendants(GtkWidget* root);
// The texts of the labels below `root` that are drawn now (mapped).
std::vector<std::string> mappedLabelTexts(GtkWidget* root);
bool contains(const std::vector<std::string>& texts, std::string_view text);
// The first label below `root` with exactly this text, or null.
GtkWidget* findLabel(GtkWidget* root, std::string_view text);

// Copies a site of tests/fixtures/sites into `destination` and returns the copy's root.
std::filesystem::path copyFixtureSite(std::string_view name, const TemporaryDirectory& destination);

}
