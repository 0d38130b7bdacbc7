// The one line the window shows when the open file changed on disk under unsaved text, in the
// real window, with another program (a shell) changing the file.

#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"
#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

struct BarWindow {
    LiveWindowHarness harness;
    TemporaryDirectory site;
    ContentView content { harness.store, harness.settings };
    TestWindow window { content.widget(), 1440, 860 };
    EditorPreviewView& editor { content.editorPreview() };

    BarWindow()
    {
        site.write("index.html", "<h1>Home</h1>\n");
        harness.store.loadWorkspace(site.path());
    }

    void changeOutside(const std::string& bytes)
    {
        auto result = runChildProcess({ "sh", "-c", "printf '" + bytes + "' > '" + (site.path() / "index.html").string() + "'" });
        ASSERT_EQ(result.exitStatus, 0) << result.standardError;
    }
    bool barIsShown() const { return gtk_widget_get_mapped(editor.diskChangeBar()); }
};

}

TEST(DiskChangeBar, AppearsUnderUnsavedTextAndReloadFromDiskTakesTheFile)
{
    BarWindow window;
    EXPECT_FALSE(window.barIsShown());
    typeAtEnd(window.editor.sourceEditor(), "<p>typed</p>");
    window.changeOutside("<h1>Outside</h1>");

    ASSERT_TRUE(waitUntil([&] { return window.barIsShown(); }, std::chrono::seconds(10)));
    EXPECT_STREQ(gtk_label_get_text(window.editor.diskChangeLabel()), "index.html changed on disk.");
    EXPECT_STREQ(gtk_button_get_label(window.editor.reloadFromDiskButton()), "Reload from Disk");
    EXPECT_STREQ(gtk_button_get_label(window.editor.keepMyVersionButton()), "Keep My Version");
    EXPECT_EQ(window.editor.sourceEditor().bufferText(), u"<h1>Home</h1>\n<p>typed</p>");

    g_signal_emit_by_name(window.editor.reloadFromDiskButton(), "clicked");
    EXPECT_TRUE(waitUntil([&] { return !window.barIsShown(); }));
    EXPECT_EQ(window.editor.sourceEditor().bufferText(), u"<h1>Outside</h1>");
    EXPECT_STREQ(gtk_label_get_text(window.editor.editStateLabel()), "Autosaved changes");
    EXPECT_EQ(window.site.read("index.html"), "<h1>Outside</h1>");
}

TEST(DiskChangeBar, KeepMyVersionWritesTheEditorText)
{
    BarWindow window;
    typeAtEnd(window.editor.sourceEditor(), "<p>mine</p>");
    window.changeOutside("<h1>Outside</h1>");
    ASSERT_TRUE(waitUntil([&] { return window.barIsShown(); }, std::chrono::seconds(10)));

    g_signal_emit_by_name(window.editor.keepMyVersionButton(), "clicked");
    EXPECT_TRUE(waitUntil([&] { return !window.barIsShown(); }));
    EXPECT_EQ(window.site.read("index.html"), "<h1>Home</h1>\n<p>mine</p>");
    EXPECT_EQ(window.editor.sourceEditor().bufferText(), u"<h1>Home</h1>\n<p>mine</p>");
}
