#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "app/support/WorkspaceHarness.h"
#include "support/GitRepository.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace Quillory;
using namespace QuilloryTest;
using namespace std::chrono_literals;
using Kind = FileGitSnapshot::FileState::Kind;

namespace {

// A committed two-page site in a real repository, opened, with the first Git answers delivered.
struct RepositorySite : WorkspaceHarness {
    TemporaryDirectory site;
    GitRepository repository { site.path() };

    RepositorySite()
    {
        site.write("index.html", "<h1>Home</h1>\n");
        site.write("blog/post.html", "<h1>Post</h1>\n");
        repository.commitAll("First pages");
        store.loadWorkspace(site.path());
        scheduler.runBackgroundWorkAndDeliver();
    }

    // Marks what a restore must clear: a pending fence and a shown page snapshot.
    void fillFenceAndSnapshot()
    {
        store.brightloopStore().setPendingFence(BrightloopRect { 1, 1, 20, 20 });
        PageInspectionSnapshot snapshot;
        snapshot.title = "Shown";
        store.pageInspectionStore().setSnapshot(snapshot);
    }
};

}

TEST(WorkspaceStoreGit, LoadingASiteShowsCheckingGitThenTheAnswer)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    GitRepository repository(site.path());
    site.write("index.html", "<h1>Home</h1>\n");
    repository.commitAll("Home");

    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::noWorkspace());
    harness.store.loadWorkspace(site.path());
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::loading());
    EXPECT_EQ(harness.store.selectedPageGitSnapshot().get(), FileGitSnapshot::noSelection());

    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::clean());
    const auto& file = harness.store.selectedPageGitSnapshot().get();
    EXPECT_EQ(file.workspaceRelativePath, "index.html");
    EXPECT_EQ(file.currentFileStatus.kind, Kind::clean);
    ASSERT_EQ(file.history.size(), 1u);
}

TEST(WorkspaceStoreGit, SiteOutsideAnyRepositoryIsNotARepo)
{
    OpenSite harness;
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::notRepository());
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->currentFileStatus,
              FileGitSnapshot::FileState::unavailable("The opened site is not inside a Git repository."));
}

TEST(WorkspaceStoreGit, FailedOpenShowsNoWorkspaceAndDropsTheRunningRefresh)
{
    RepositorySite harness;
    harness.site.write("index.html", "<h1>Changed</h1>\n");
    harness.store.startGitStatusRefresh(std::nullopt, GitRefreshDisplay::markLoading);
    TemporaryDirectory broken;
    broken.write("index.html", "caf\xe9");

    harness.store.loadWorkspace(broken.path());
    harness.scheduler.runBackgroundWorkAndDeliver();

    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::noWorkspace());
    EXPECT_EQ(harness.store.selectedPageGitSnapshot().get(), FileGitSnapshot::noSelection());
}

TEST(WorkspaceStoreGit, WithoutAnOpenSiteARefreshShowsNoWorkspace)
{
    WorkspaceHarness harness;
    harness.store.startGitStatusRefresh(std::nullopt, GitRefreshDisplay::markLoading);
    harness.store.refreshSelectedPageGitSnapshot();
    EXPECT_EQ(harness.scheduler.dispatchedWorkCount(), 0u);
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::noWorkspace());
    EXPECT_EQ(harness.store.selectedPageGitSnapshot().get(), FileGitSnapshot::noSelection());
}

TEST(WorkspaceStoreGit, SelectingAPageResetsItsSnapshotUntilTheNewOneArrives)
{
    RepositorySite harness;
    ASSERT_TRUE(harness.store.requestSelectDocument("blog/post.html"));
    EXPECT_EQ(harness.store.selectedPageGitSnapshot().get(), FileGitSnapshot::noSelection());
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->workspaceRelativePath, "blog/post.html");
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->repoRelativePath, "blog/post.html");
}

TEST(WorkspaceStoreGit, StaleFileSnapshotAfterSelectingAnotherPageLeavesTheNewOneAlone)
{
    RepositorySite harness;
    harness.site.write("index.html", "<h1>Changed outside</h1>\n");
    harness.store.refreshSelectedPageGitSnapshot();
    // The user moves on before the index page's snapshot is back.
    ASSERT_TRUE(harness.store.requestSelectDocument("blog/post.html"));
    harness.scheduler.runBackgroundWork();
    ASSERT_EQ(harness.scheduler.pendingCompletionCount(), 2u);
    harness.scheduler.deliverCompletions();

    const auto& snapshot = harness.store.selectedPageGitSnapshot().get();
    EXPECT_EQ(snapshot.workspaceRelativePath, "blog/post.html");
    EXPECT_EQ(snapshot.currentFileStatus.kind, Kind::clean);
}

TEST(WorkspaceStoreGit, TwoAutosavesWithin150MillisecondsRunOneStatus)
{
    RepositorySite harness;
    harness.type(u"<h1>One</h1>\n");
    ASSERT_TRUE(harness.store.autosaveCurrentPageIfNeeded());
    harness.scheduler.advance(100ms);
    harness.type(u"<h1>Two</h1>\n");
    ASSERT_TRUE(harness.store.autosaveCurrentPageIfNeeded());
    // Both autosaves refreshed the file snapshot; run those first.
    harness.scheduler.runBackgroundWorkAndDeliver();
    auto before = harness.scheduler.dispatchedWorkCount();

    harness.scheduler.advance(149ms);
    EXPECT_EQ(harness.scheduler.dispatchedWorkCount(), before);
    harness.scheduler.advance(1s);
    EXPECT_EQ(harness.scheduler.dispatchedWorkCount(), before + 1);
    // The quiet refresh doesn't show "Checking Git" meanwhile.
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::clean());
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::dirty({ " M index.html" }));
}

TEST(WorkspaceStoreGit, AutosavesFurtherApartRunAStatusEach)
{
    RepositorySite harness;
    harness.type(u"<h1>One</h1>\n");
    ASSERT_TRUE(harness.store.autosaveCurrentPageIfNeeded());
    harness.scheduler.runBackgroundWorkAndDeliver();
    auto before = harness.scheduler.dispatchedWorkCount();
    harness.scheduler.advance(150ms);
    harness.type(u"<h1>Two</h1>\n");
    ASSERT_TRUE(harness.store.autosaveCurrentPageIfNeeded());
    harness.scheduler.advance(150ms);
    // One status run for each autosave, and the file snapshot of the second autosave.
    EXPECT_EQ(harness.scheduler.dispatchedWorkCount(), before + 3);
}

TEST(WorkspaceStoreGit, BackgroundAutosavePublishesTheFileSnapshotAndRefreshesQuietly)
{
    RepositorySite harness;
    harness.type(u"<h1>Typed</h1>\n");
    harness.scheduler.advance(WorkspaceStore::autosaveDelay);
    harness.scheduler.runBackgroundWorkAndDeliver();

    EXPECT_EQ(harness.site.read("index.html"), "<h1>Typed</h1>\n");
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->currentFileStatus.kind, Kind::modified);
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->currentStatusEntry, " M index.html");
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::clean());
    harness.scheduler.advance(WorkspaceStore::quietGitRefreshDelay);
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::dirty({ " M index.html" }));
}

TEST(WorkspaceStoreGit, RevertRefreshesGitWithLoading)
{
    RepositorySite harness;
    harness.type(u"<h1>Typed</h1>\n");
    ASSERT_TRUE(harness.store.autosaveCurrentPageIfNeeded());
    harness.scheduler.advance(200ms);
    harness.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_EQ(harness.store.gitStatus()->state, GitStatusSnapshot::State::dirty);

    harness.store.revertSelectedPageToOpenedBaseline();
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::loading());
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::clean());
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->currentFileStatus.kind, Kind::clean);
}

TEST(WorkspaceStoreGit, TrackingAddsTheSavedFileToTheIndex)
{
    RepositorySite harness;
    harness.site.write("notes.html", "<h1>Notes</h1>\n");
    harness.store.loadWorkspace(harness.site.path());
    ASSERT_TRUE(harness.store.requestSelectDocument("notes.html"));
    harness.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_EQ(harness.store.selectedPageGitSnapshot()->currentFileStatus.kind, Kind::untracked);
    harness.type(u"<h1>Notes, saved first</h1>\n");

    EXPECT_TRUE(harness.store.trackSelectedPageInGit());
    EXPECT_FALSE(harness.store.errorMessage().get());
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::loading());
    EXPECT_TRUE(harness.repository.indexHolds("notes.html"));
    auto staged = harness.repository.git({ "show", ":notes.html" }).standardOutput;
    EXPECT_EQ(staged, "<h1>Notes, saved first</h1>\n");
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->currentFileStatus.kind, Kind::added);
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::dirty({ "A  notes.html" }));
}

TEST(WorkspaceStoreGit, TrackingAndRestoringWithoutASelectionSayNoFileSelected)
{
    WorkspaceHarness harness;
    EXPECT_FALSE(harness.store.trackSelectedPageInGit());
    EXPECT_EQ(harness.store.errorMessage().get(), "No file selected.");
    harness.store.clearErrorMessage();
    EXPECT_FALSE(harness.store.restoreSelectedPageFromGitHead());
    EXPECT_EQ(harness.store.errorMessage().get(), "No file selected.");
}

TEST(WorkspaceStoreGit, TrackingOutsideARepositoryShowsWhy)
{
    OpenSite harness;
    EXPECT_FALSE(harness.store.trackSelectedPageInGit());
    EXPECT_EQ(harness.store.errorMessage().get(), "The opened site is not inside a Git repository.");
}

TEST(WorkspaceStoreGit, RestoreThrowsTheEditorTextAwayAndWritesHead)
{
    RepositorySite harness;
    harness.type(u"<h1>Saved edit</h1>\n");
    ASSERT_TRUE(harness.store.autosaveCurrentPageIfNeeded());
    harness.type(u"<h1>Unsaved edit</h1>\n");
    harness.fillFenceAndSnapshot();
    auto token = harness.store.previewReloadToken().get();

    EXPECT_TRUE(harness.store.restoreSelectedPageFromGitHead());

    EXPECT_EQ(harness.site.read("index.html"), "<h1>Home</h1>\n");
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Home</h1>\n");
    const auto* session = harness.store.selectedEditSession();
    ASSERT_TRUE(session);
    EXPECT_EQ(session->currentText, u"<h1>Home</h1>\n");
    EXPECT_EQ(session->lastAutosavedText, u"<h1>Home</h1>\n");
    EXPECT_EQ(session->openedBaselineText, u"<h1>Home</h1>\n");
    EXPECT_NE(harness.store.previewReloadToken().get(), token);
    EXPECT_FALSE(harness.store.brightloopStore().pendingFence().get());
    EXPECT_FALSE(harness.store.pageInspectionStore().snapshot().get());
    EXPECT_FALSE(harness.store.errorMessage().get());
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::loading());
    // The pending autosave was cancelled: nothing writes the thrown-away text later.
    harness.scheduler.advance(5s);
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.site.read("index.html"), "<h1>Home</h1>\n");
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::clean());
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->currentFileStatus.kind, Kind::clean);
}

TEST(WorkspaceStoreGit, RestoreKeepsTheOpenedBaseline)
{
    RepositorySite harness;
    // The page changed on disk before it was opened, so its baseline differs from HEAD.
    harness.site.write("blog/post.html", "<h1>Opened text</h1>\n");
    ASSERT_TRUE(harness.store.requestSelectDocument("blog/post.html"));

    EXPECT_TRUE(harness.store.restoreSelectedPageFromGitHead());
    const auto* session = harness.store.selectedEditSession();
    ASSERT_TRUE(session);
    EXPECT_EQ(session->openedBaselineText, u"<h1>Opened text</h1>\n");
    EXPECT_EQ(session->currentText, u"<h1>Post</h1>\n");
    EXPECT_EQ(harness.store.editStateDescription(), "Autosaved changes");
}

TEST(WorkspaceStoreGit, RestoringAFileHeadLacksShowsGitsMessage)
{
    RepositorySite harness;
    harness.site.write("new.html", "<h1>New</h1>\n");
    harness.store.loadWorkspace(harness.site.path());
    ASSERT_TRUE(harness.store.requestSelectDocument("new.html"));

    EXPECT_FALSE(harness.store.restoreSelectedPageFromGitHead());
    EXPECT_EQ(harness.store.errorMessage().get(), "fatal: path 'new.html' exists on disk, but not in 'HEAD'");
    EXPECT_EQ(harness.site.read("new.html"), "<h1>New</h1>\n");
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>New</h1>\n");
}
