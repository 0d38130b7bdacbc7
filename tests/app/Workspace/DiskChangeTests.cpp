// Files changed, added or removed by another program while a site is open: real files in a
// temporary folder, the real folder watch on the GLib main loop, and a shell as the other program.

#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"
#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// Another program writes the site: a shell command run in the site's folder.
void runOutside(const std::filesystem::path& folder, const std::string& command)
{
    auto result = runChildProcess({ "sh", "-c", "cd '" + folder.string() + "' && " + command });
    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
}

struct WatchedSite {
    LiveWindowHarness harness;
    TemporaryDirectory site;
    WorkspaceStore& store { harness.store };

    WatchedSite()
    {
        site.write("index.html", "<h1>Home</h1>\n<a href=\"about.html\">About</a>\n");
        site.write("about.html", "<h1>About</h1>\n");
        store.loadWorkspace(site.path());
    }

    void type(const std::u16string& text)
    {
        store.setEditorText(text);
        store.editorTextDidChange();
    }

    bool hasPage(const std::string& pageID) const { return store.siteMap().get() && store.siteMap().get()->page(pageID).has_value(); }
};

}

TEST(DiskChanges, OutsideChangeWithoutUnsavedTextReloadsTheEditor)
{
    WatchedSite site;
    runOutside(site.site.path(), "printf '<h1>Changed outside</h1>\\n' > index.html");

    ASSERT_TRUE(waitUntil([&] { return site.store.editorText().get() == u"<h1>Changed outside</h1>\n"; }, std::chrono::seconds(10)));
    EXPECT_FALSE(site.store.diskConflict().get().has_value());
    EXPECT_EQ(site.store.editStateDescription(), "Autosaved changes");
    // The text the editor held before is one undo away.
    ASSERT_FALSE(site.store.selectedPageUndoHistory().empty());
    EXPECT_EQ(site.store.selectedPageUndoHistory().front().previewText, u"<h1>Home</h1>\n<a href=\"about.html\">About</a>\n");
}

TEST(DiskChanges, OutsideChangeUnderUnsavedTextAsksAndWritesNothing)
{
    WatchedSite site;
    site.type(u"<h1>Home, typed</h1>\n");
    runOutside(site.site.path(), "printf '<h1>Changed outside</h1>\\n' > index.html");

    ASSERT_TRUE(waitUntil([&] { return site.store.diskConflict().get().has_value(); }, std::chrono::seconds(10)));
    EXPECT_EQ(site.store.diskConflict().get()->message(), "index.html changed on disk.");
    // Well past the autosave delay: the other program's text is still there, and the editor keeps its own.
    waitFor(WorkspaceStore::autosaveDelay * 3);
    EXPECT_EQ(site.site.read("index.html"), "<h1>Changed outside</h1>\n");
    EXPECT_EQ(site.store.editorText().get(), u"<h1>Home, typed</h1>\n");
    EXPECT_EQ(site.store.editStateDescription(), "Pending autosave");
    // Leaving the page would write over the change: the selection stays.
    EXPECT_FALSE(site.store.requestSelectDocument("about.html"));
    EXPECT_EQ(site.store.selectedPageID().get(), "index.html");
    EXPECT_EQ(site.site.read("index.html"), "<h1>Changed outside</h1>\n");
}

TEST(DiskChanges, EveryWriteChecksTheFileFirst)
{
    WatchedSite site;
    site.type(u"<h1>Typed</h1>\n");
    // No main loop runs between the change and the write, so no file event has been seen: the
    // write itself must notice.
    runOutside(site.site.path(), "printf 'outside' > index.html");
    EXPECT_TRUE(site.store.selectedFileChangedOnDisk());
    EXPECT_FALSE(site.store.autosaveCurrentPageIfNeeded());
    EXPECT_EQ(site.site.read("index.html"), "outside");
    ASSERT_TRUE(site.store.diskConflict().get().has_value());

    // Revert writes nothing either.
    site.store.revertSelectedPageToOpenedBaseline();
    EXPECT_EQ(site.site.read("index.html"), "outside");
    EXPECT_EQ(site.store.editorText().get(), u"<h1>Typed</h1>\n");
}

TEST(DiskChanges, BackgroundAutosaveDoesNotOverwriteAnOutsideChange)
{
    WatchedSite site;
    site.type(u"<h1>Typed</h1>\n");
    runOutside(site.site.path(), "printf 'outside' > index.html");
    // Whether the file event or the autosave comes first, the file keeps the other program's text.
    waitFor(WorkspaceStore::autosaveDelay * 3);
    EXPECT_EQ(site.site.read("index.html"), "outside");
    EXPECT_TRUE(site.store.diskConflict().get().has_value());
}

TEST(DiskChanges, ReloadFromDiskTakesTheFileAndCanBeUndone)
{
    WatchedSite site;
    site.type(u"<h1>Typed</h1>\n");
    runOutside(site.site.path(), "printf 'outside' > index.html");
    ASSERT_TRUE(waitUntil([&] { return site.store.diskConflict().get().has_value(); }, std::chrono::seconds(10)));

    site.store.reloadSelectedPageFromDisk();
    EXPECT_FALSE(site.store.diskConflict().get().has_value());
    EXPECT_EQ(site.store.editorText().get(), u"outside");
    EXPECT_EQ(site.store.editStateDescription(), "Autosaved changes");
    // Nothing is pending, so nothing is written.
    waitFor(WorkspaceStore::autosaveDelay * 2);
    EXPECT_EQ(site.site.read("index.html"), "outside");

    // The editor's text was kept: undo brings it back, and it is written as any edit.
    ASSERT_TRUE(site.store.undoSelectedPageChange());
    EXPECT_EQ(site.store.editorText().get(), u"<h1>Typed</h1>\n");
    ASSERT_TRUE(waitUntil([&] { return site.site.read("index.html") == "<h1>Typed</h1>\n"; }, std::chrono::seconds(10)));
    EXPECT_FALSE(site.store.diskConflict().get().has_value());
}

TEST(DiskChanges, KeepMyVersionWritesTheEditorText)
{
    WatchedSite site;
    site.type(u"<h1>Typed</h1>\n");
    runOutside(site.site.path(), "printf 'outside' > index.html");
    ASSERT_TRUE(waitUntil([&] { return site.store.diskConflict().get().has_value(); }, std::chrono::seconds(10)));

    site.store.keepSelectedPageVersion();
    EXPECT_FALSE(site.store.diskConflict().get().has_value());
    EXPECT_EQ(site.site.read("index.html"), "<h1>Typed</h1>\n");
    EXPECT_EQ(site.store.editStateDescription(), "Autosaved changes");
    // The file event of that write is this store's own and asks nothing.
    waitFor(std::chrono::milliseconds(600));
    EXPECT_FALSE(site.store.diskConflict().get().has_value());
    // Later edits are written normally again.
    site.type(u"<h1>Typed again</h1>\n");
    ASSERT_TRUE(waitUntil([&] { return site.site.read("index.html") == "<h1>Typed again</h1>\n"; }, std::chrono::seconds(10)));
}

TEST(DiskChanges, DeletedFileIsNotRecreatedWithoutAsking)
{
    WatchedSite site;
    site.type(u"<h1>Typed</h1>\n");
    runOutside(site.site.path(), "rm index.html");
    EXPECT_FALSE(site.store.autosaveCurrentPageIfNeeded());
    EXPECT_FALSE(std::filesystem::exists(site.site.path() / "index.html"));
    ASSERT_TRUE(site.store.diskConflict().get().has_value());
    EXPECT_EQ(site.store.diskConflict().get()->message(), "index.html was deleted on disk.");

    // The folder watch sees the page go, but the unsaved text stays selected in the editor.
    waitFor(WorkspaceStore::autosaveDelay * 3);
    EXPECT_FALSE(std::filesystem::exists(site.site.path() / "index.html"));
    EXPECT_EQ(site.store.selectedPageID().get(), "index.html");
    EXPECT_EQ(site.store.editorText().get(), u"<h1>Typed</h1>\n");

    site.store.keepSelectedPageVersion();
    EXPECT_EQ(site.site.read("index.html"), "<h1>Typed</h1>\n");
    ASSERT_TRUE(waitUntil([&] { return site.hasPage("index.html"); }, std::chrono::seconds(10)));
    EXPECT_FALSE(site.store.diskConflict().get().has_value());
}

TEST(DiskChanges, OwnAutosavesRaiseNoQuestion)
{
    WatchedSite site;
    for (int edit = 0; edit < 4; ++edit) {
        auto text = u"<h1>Edit " + std::u16string(1, static_cast<char16_t>(u'0' + edit)) + u"</h1>\n";
        site.type(text);
        ASSERT_TRUE(waitUntil([&] { return site.store.editStateDescription() == "Autosaved changes" && site.store.editorText().get() == text; }, std::chrono::seconds(10)));
    }
    waitFor(std::chrono::milliseconds(600));
    EXPECT_FALSE(site.store.diskConflict().get().has_value());
    EXPECT_EQ(site.site.read("index.html"), "<h1>Edit 3</h1>\n");
    EXPECT_EQ(site.store.editorText().get(), u"<h1>Edit 3</h1>\n");
}

TEST(SiteFolderWatch, PagesAddedRenamedAndRemovedOutsideAppearInTheSite)
{
    WatchedSite site;
    site.type(u"<h1>Home, edited</h1>\n<a href=\"about.html\">About</a>\n");
    ASSERT_TRUE(waitUntil([&] { return site.store.editStateDescription() == "Autosaved changes"; }, std::chrono::seconds(10)));
    auto historyBefore = site.store.selectedPageUndoHistory();
    ASSERT_FALSE(historyBefore.empty());

    runOutside(site.site.path(), "printf '<h1>Fresh</h1>\\n' > fresh.html");
    ASSERT_TRUE(waitUntil([&] { return site.hasPage("fresh.html"); }, std::chrono::seconds(10)));
    // In a folder made after the site was opened, too.
    runOutside(site.site.path(), "mkdir -p docs/guide && printf '<h1>Setup</h1>\\n' > docs/guide/setup.html");
    ASSERT_TRUE(waitUntil([&] { return site.hasPage("docs/guide/setup.html"); }, std::chrono::seconds(10)));
    runOutside(site.site.path(), "printf '<h1>Later</h1>\\n' > docs/guide/later.html");
    ASSERT_TRUE(waitUntil([&] { return site.hasPage("docs/guide/later.html"); }, std::chrono::seconds(10)));

    runOutside(site.site.path(), "mv about.html info.html");
    ASSERT_TRUE(waitUntil([&] { return site.hasPage("info.html") && !site.hasPage("about.html"); }, std::chrono::seconds(10)));
    runOutside(site.site.path(), "rm fresh.html");
    ASSERT_TRUE(waitUntil([&] { return !site.hasPage("fresh.html"); }, std::chrono::seconds(10)));
    auto& documents = site.store.editableDocuments().get();
    EXPECT_TRUE(std::any_of(documents.begin(), documents.end(), [](const auto& document) { return document.id() == "info.html"; }));
    EXPECT_FALSE(std::any_of(documents.begin(), documents.end(), [](const auto& document) { return document.id() == "about.html"; }));

    // The selection, its session and its undo history stayed through every rebuild.
    EXPECT_EQ(site.store.selectedPageID().get(), "index.html");
    EXPECT_EQ(site.store.editorText().get(), u"<h1>Home, edited</h1>\n<a href=\"about.html\">About</a>\n");
    EXPECT_EQ(site.store.selectedPageUndoHistory(), historyBefore);
    EXPECT_EQ(site.store.editStateDescription(), "Autosaved changes");
}

TEST(SiteFolderWatch, RemovingTheSelectedSavedPageSelectsTheDefaultPage)
{
    WatchedSite site;
    ASSERT_TRUE(site.store.requestSelectDocument("about.html"));
    runOutside(site.site.path(), "rm about.html");
    ASSERT_TRUE(waitUntil([&] { return !site.hasPage("about.html"); }, std::chrono::seconds(10)));
    EXPECT_EQ(site.store.selectedPageID().get(), "index.html");
    EXPECT_FALSE(site.store.diskConflict().get().has_value());
}
