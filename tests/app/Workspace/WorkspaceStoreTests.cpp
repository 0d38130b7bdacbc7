#include "QuilloryApp/Support/GLibScheduler.h"
#include "QuilloryApp/Support/Preferences.h"
#include "QuilloryApp/Workspace/WorkspaceRecentProjectsStore.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/SiteModel/EditableDocument.h"
#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "app/support/WorkspaceHarness.h"
#include "support/FileSizeLimit.h"
#include "support/TemporaryDirectory.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <filesystem>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

void writeTwoPageSite(const TemporaryDirectory& site)
{
    site.write("index.html", "<h1>Home</h1>\n<a href=\"about.html\">About</a>\n");
    site.write("about.html", "<h1>About</h1>\n");
}

}

TEST(WorkspaceStore, OpeningStaticSitePublishesItAndSelectsIndexPage)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    writeTwoPageSite(site);

    harness.store.loadWorkspace(site.path());

    EXPECT_EQ(harness.store.rootURL().get(), site.path());
    ASSERT_TRUE(harness.store.siteMap().get());
    EXPECT_EQ(harness.store.siteMap().get()->pages.size(), 2u);
    EXPECT_EQ(harness.store.editableDocuments()->size(), 2u);
    EXPECT_EQ(harness.store.selectedPageID().get(), "index.html");
    ASSERT_TRUE(harness.store.selectedPage());
    EXPECT_EQ(harness.store.selectedPage()->id, "index.html");
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Home</h1>\n<a href=\"about.html\">About</a>\n");
    EXPECT_FALSE(harness.store.errorMessage().get());
    ASSERT_NE(harness.store.selectedEditSession(), nullptr);
    EXPECT_EQ(harness.store.selectedEditSession()->openedBaselineText, harness.store.editorText().get());
    EXPECT_EQ(harness.store.editStateDescription(), "At opened baseline");
    EXPECT_EQ(harness.store.sourceDocumentCount(), 0u);
    ASSERT_EQ(harness.store.recentProjects()->size(), 1u);
    EXPECT_EQ(harness.store.recentProjects()->front().path, site.path().string());
}

TEST(WorkspaceStore, RootURLIsPublishedAsGivenNotStandardized)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    writeTwoPageSite(site);
    auto given = site.path() / "." / "";

    harness.store.loadWorkspace(given);

    EXPECT_EQ(harness.store.rootURL().get(), given);
    // The recent list holds the standardized path.
    EXPECT_EQ(harness.store.recentProjects()->front().path, site.path().string());
}

TEST(WorkspaceStore, OpeningFolderWhileCurrentPageCantBeWrittenLeavesOldWorkspaceOpen)
{
    WorkspaceHarness harness;
    TemporaryDirectory oldSite;
    TemporaryDirectory newSite;
    writeTwoPageSite(oldSite);
    newSite.write("index.html", "<h1>New</h1>\n");
    harness.store.loadWorkspace(oldSite.path());
    harness.type(u"<h1>Home, edited</h1>\n");
    auto tokenBefore = harness.store.previewReloadToken().get();

    {
        FileSizeLimit limit(4);
        harness.store.loadWorkspace(newSite.path());
    }

    ASSERT_TRUE(harness.store.errorMessage().get());
    EXPECT_NE(harness.store.errorMessage()->value_or("").find("couldn\u2019t be saved"), std::string::npos) << *harness.store.errorMessage().get();
    EXPECT_EQ(harness.store.rootURL().get(), oldSite.path());
    EXPECT_EQ(harness.store.siteMap().get()->rootURL, oldSite.path());
    EXPECT_EQ(harness.store.selectedPageID().get(), "index.html");
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Home, edited</h1>\n");
    EXPECT_EQ(harness.store.editStateDescription(), "Pending autosave");
    EXPECT_EQ(harness.store.previewReloadToken().get(), tokenBefore);
    ASSERT_EQ(harness.store.recentProjects()->size(), 1u);
    EXPECT_EQ(harness.store.recentProjects()->front().path, oldSite.path().string());

    // Once the file can be written again the text is still there to write.
    harness.store.loadWorkspace(newSite.path());
    EXPECT_EQ(oldSite.read("index.html"), "<h1>Home, edited</h1>\n");
    EXPECT_EQ(harness.store.rootURL().get(), newSite.path());
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>New</h1>\n");
    EXPECT_FALSE(harness.store.errorMessage().get());
}

TEST(WorkspaceStore, OpeningFolderWithNonUTF8PageFailsAndKeepsOldRootURL)
{
    WorkspaceHarness harness;
    TemporaryDirectory oldSite;
    TemporaryDirectory badSite;
    writeTwoPageSite(oldSite);
    badSite.write("index.html", "<h1>Caf\xE9</h1>\n");
    harness.store.loadWorkspace(oldSite.path());
    ASSERT_TRUE(harness.store.siteMap().get());

    harness.store.loadWorkspace(badSite.path());

    ASSERT_TRUE(harness.store.errorMessage().get());
    EXPECT_NE(harness.store.errorMessage()->value_or("").find("valid UTF-8"), std::string::npos) << *harness.store.errorMessage().get();
    EXPECT_FALSE(harness.store.siteMap().get());
    EXPECT_TRUE(harness.store.editableDocuments()->empty());
    EXPECT_FALSE(harness.store.selectedPageID().get());
    EXPECT_TRUE(harness.store.editorText()->empty());
    EXPECT_EQ(harness.store.selectedEditSession(), nullptr);
    EXPECT_EQ(harness.store.rootURL().get(), oldSite.path());
    // Nothing is recorded for the failed folder, and its file is untouched.
    ASSERT_EQ(harness.store.recentProjects()->size(), 1u);
    EXPECT_EQ(harness.store.recentProjects()->front().path, oldSite.path().string());
    EXPECT_EQ(badSite.read("index.html"), "<h1>Caf\xE9</h1>\n");
}

TEST(WorkspaceStore, ViteProjectWithAppTsxAndIndexPageSelectsAppTsx)
{
    TemporaryDirectory project;
    project.write("package.json", R"({"scripts":{"dev":"vite"},"devDependencies":{"vite":"5.0.0"},"dependencies":{"react":"18.2.0"}})");
    project.write("index.html", "<div id=\"root\"></div>\n<script type=\"module\" src=\"/src/main.tsx\"></script>\n");
    project.write("src/main.tsx", "import App from './App';\n");
    project.write("src/App.tsx", "export default function App() { return null; }\n");
    auto siteMap = SiteGraphBuilder().build(project.path());
    auto documents = EditableDocumentBuilder::build(project.path(), siteMap, IncludeFrontendSource::yes);

    EXPECT_EQ(WorkspaceStore::defaultSelectedDocumentID(siteMap, documents, FrontendProject { FrontendProjectKind::viteReact, project.path(), "vite", true, {} }), "src/App.tsx");
    // The same folder taken as a static site opens on its page.
    EXPECT_EQ(WorkspaceStore::defaultSelectedDocumentID(siteMap, documents, std::nullopt), "index.html");
}

TEST(WorkspaceStore, StaticSiteWithIndexPageSelectsIndexPage)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    site.write("a.html", "<h1>A</h1>");
    site.write("index.html", "<h1>Home</h1>");
    site.write("z.html", "<h1>Z</h1>");

    harness.store.loadWorkspace(site.path());

    EXPECT_EQ(harness.store.selectedPageID().get(), "index.html");
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Home</h1>");
}

TEST(WorkspaceStore, StaticSiteWithoutPagesSelectsNothingAndShowsEmptyEditor)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    site.write("style.css", "body { color: red; }\n");
    site.write("notes.txt", "nothing to see\n");

    harness.store.loadWorkspace(site.path());

    ASSERT_TRUE(harness.store.siteMap().get());
    EXPECT_TRUE(harness.store.siteMap().get()->pages.empty());
    EXPECT_TRUE(harness.store.editableDocuments()->empty());
    EXPECT_FALSE(harness.store.selectedPageID().get());
    EXPECT_FALSE(harness.store.selectedDocument());
    EXPECT_TRUE(harness.store.editorText()->empty());
    EXPECT_FALSE(harness.store.errorMessage().get());
    EXPECT_EQ(harness.store.selectedPageDiff(), u"No file selected.");
    EXPECT_EQ(harness.store.editStateDescription(), "At opened baseline");
}

TEST(WorkspaceStore, SelectingAlreadySelectedDocumentDoesNothingAndDoesNotReloadPreview)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    writeTwoPageSite(site);
    harness.store.loadWorkspace(site.path());
    auto token = harness.store.previewReloadToken().get();
    int notifications = 0;
    ScopedConnection tokenConnection { harness.store.previewReloadToken().changed.connect([&] { ++notifications; }) };
    ScopedConnection textConnection { harness.store.editorText().changed.connect([&] { ++notifications; }) };
    // A change on disk would show if the store read the file again.
    site.write("index.html", "<h1>Changed outside</h1>\n");

    EXPECT_TRUE(harness.store.requestSelectDocument(std::string("index.html")));

    EXPECT_EQ(harness.store.previewReloadToken().get(), token);
    EXPECT_EQ(notifications, 0);
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Home</h1>\n<a href=\"about.html\">About</a>\n");
}

TEST(WorkspaceStore, SelectingAnotherDocumentLoadsItAndRenewsPreviewToken)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    writeTwoPageSite(site);
    harness.store.loadWorkspace(site.path());
    auto token = harness.store.previewReloadToken().get();

    EXPECT_TRUE(harness.store.requestSelectDocument(std::string("about.html")));

    EXPECT_EQ(harness.store.selectedPageID().get(), "about.html");
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>About</h1>\n");
    EXPECT_NE(harness.store.previewReloadToken().get(), token);

    EXPECT_TRUE(harness.store.requestSelectDocument(std::nullopt));
    EXPECT_FALSE(harness.store.selectedDocument());
    EXPECT_TRUE(harness.store.editorText()->empty());
}

TEST(WorkspaceStore, RecentEntryWhoseFolderHasGoneIsRemovedAndErrorNamesIt)
{
    WorkspaceHarness harness;
    TemporaryDirectory kept;
    writeTwoPageSite(kept);
    auto goneFolder = harness.preferencesFolder.path() / "Gone Site";
    std::filesystem::create_directories(goneFolder);
    std::filesystem::copy_file(kept.path() / "index.html", goneFolder / "index.html");
    harness.store.loadWorkspace(goneFolder);
    harness.store.loadWorkspace(kept.path());
    ASSERT_EQ(harness.store.recentProjects()->size(), 2u);
    auto goneEntry = harness.store.recentProjects()->at(1);
    ASSERT_EQ(goneEntry.path, goneFolder.string());
    std::filesystem::remove_all(goneFolder);

    harness.store.openRecentWorkspace(goneEntry);

    EXPECT_EQ(harness.store.errorMessage().get(), "Gone Site no longer exists at " + goneFolder.string() + ".");
    ASSERT_EQ(harness.store.recentProjects()->size(), 1u);
    EXPECT_EQ(harness.store.recentProjects()->front().path, kept.path().string());
    EXPECT_EQ(harness.recentProjects.projects(), harness.store.recentProjects().get());
    // The removal is saved: a store reading the same preferences file sees it too.
    Preferences reread(harness.preferences.file());
    WorkspaceRecentProjectsStore rereadStore(reread);
    ASSERT_EQ(rereadStore.projects().size(), 1u);
    EXPECT_EQ(rereadStore.projects().front().path, kept.path().string());
    // The open workspace stays.
    EXPECT_EQ(harness.store.rootURL().get(), kept.path());
}

TEST(WorkspaceStore, OpeningExistingRecentEntryLoadsItsStandardizedFolder)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    writeTwoPageSite(site);
    WorkspaceRecentProject entry { site.path().string() + "/./", site.path().filename().string(), std::chrono::system_clock::now() };

    harness.store.openRecentWorkspace(entry);

    EXPECT_EQ(harness.store.rootURL().get(), site.path());
    EXPECT_EQ(harness.store.selectedPageID().get(), "index.html");
}

TEST(WorkspaceStore, SelectingDocumentWhoseFileWasDeletedShowsReadErrorAndKeepsSelection)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    writeTwoPageSite(site);
    harness.store.loadWorkspace(site.path());
    std::filesystem::remove(site.path() / "about.html");

    EXPECT_TRUE(harness.store.requestSelectDocument(std::string("about.html")));

    EXPECT_EQ(harness.store.selectedPageID().get(), "about.html");
    ASSERT_TRUE(harness.store.errorMessage().get());
    EXPECT_NE(harness.store.errorMessage()->value_or("").find("about.html"), std::string::npos) << *harness.store.errorMessage().get();
    EXPECT_TRUE(harness.store.editorText()->empty());
    EXPECT_EQ(harness.store.selectedEditSession(), nullptr);
    // Without a session nothing can be written over the missing file.
    EXPECT_TRUE(harness.store.autosaveCurrentPageIfNeeded());
    EXPECT_FALSE(std::filesystem::exists(site.path() / "about.html"));

    // The next selection tries the disk again.
    site.write("about.html", "<h1>Back</h1>\n");
    EXPECT_TRUE(harness.store.requestSelectDocument(std::string("index.html")));
    EXPECT_TRUE(harness.store.requestSelectDocument(std::string("about.html")));
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Back</h1>\n");
    EXPECT_FALSE(harness.store.errorMessage().get());
}

TEST(WorkspaceStore, RefreshPreviewWritesPendingTextAndRenewsToken)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    writeTwoPageSite(site);
    harness.store.loadWorkspace(site.path());
    harness.type(u"<h1>Now</h1>\n");
    auto token = harness.store.previewReloadToken().get();

    harness.store.refreshPreview();

    EXPECT_EQ(site.read("index.html"), "<h1>Now</h1>\n");
    EXPECT_NE(harness.store.previewReloadToken().get(), token);
    // No autosave waits; only the quiet Git status refresh after the write does.
    EXPECT_EQ(harness.scheduler.pendingTimerCount(), 1u);
    EXPECT_EQ(harness.store.editStateDescription(), "Autosaved changes");
}

TEST(WorkspaceStore, ReplacingWorkspaceDropsSessionsAndHistories)
{
    WorkspaceHarness harness;
    TemporaryDirectory first;
    TemporaryDirectory second;
    writeTwoPageSite(first);
    second.write("index.html", "<h1>Second</h1>\n");
    harness.store.loadWorkspace(first.path());
    harness.type(u"<h1>Edited</h1>\n");
    ASSERT_EQ(harness.store.selectedPageUndoHistory().size(), 1u);

    harness.store.loadWorkspace(second.path());

    EXPECT_EQ(first.read("index.html"), "<h1>Edited</h1>\n");
    EXPECT_TRUE(harness.store.selectedPageUndoHistory().empty());
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Second</h1>\n");
    EXPECT_EQ(harness.scheduler.pendingTimerCount(), 0u);
    // Reopening the first site reads its file afresh: the old session is gone.
    harness.store.loadWorkspace(first.path());
    EXPECT_EQ(harness.store.selectedEditSession()->openedBaselineText, u"<h1>Edited</h1>\n");
}

// The GLib scheduler on the real main loop: the delay is a GLib timeout, the write runs on the
// worker thread and the result comes back to this thread.
TEST(WorkspaceStoreOnMainLoop, AutosaveWritesThroughGLibScheduler)
{
    TemporaryDirectory preferencesFolder;
    Preferences preferences(preferencesFolder.path() / "settings.ini");
    WorkspaceRecentProjectsStore recentProjects(preferences);
    GLibScheduler scheduler;
    WorkspaceStore store(recentProjects, scheduler);
    TemporaryDirectory site;
    writeTwoPageSite(site);
    store.loadWorkspace(site.path());
    auto token = store.previewReloadToken().get();

    store.setEditorText(u"<h1>Typed</h1>\n");
    store.editorTextDidChange();
    EXPECT_EQ(store.editStateDescription(), "Pending autosave");

    auto deadline = g_get_monotonic_time() + 10 * G_USEC_PER_SEC;
    while (store.editStateDescription() != "Autosaved changes" && g_get_monotonic_time() < deadline)
        g_main_context_iteration(nullptr, TRUE);

    EXPECT_EQ(store.editStateDescription(), "Autosaved changes");
    EXPECT_EQ(site.read("index.html"), "<h1>Typed</h1>\n");
    EXPECT_NE(store.previewReloadToken().get(), token);
}

TEST(WorkspaceStoreOnMainLoop, CancelledDelayNeverRuns)
{
    GLibScheduler scheduler;
    bool ran = false;
    {
        auto task = scheduler.schedule(std::chrono::milliseconds(10), [&] { ran = true; });
        task.cancel();
    }
    bool later = false;
    auto task = scheduler.schedule(std::chrono::milliseconds(40), [&] { later = true; });
    auto deadline = g_get_monotonic_time() + 5 * G_USEC_PER_SEC;
    while (!later && g_get_monotonic_time() < deadline)
        g_main_context_iteration(nullptr, TRUE);
    EXPECT_TRUE(later);
    EXPECT_FALSE(ran);
}
