// The store's live fetch flow over a manual scheduler: the fetch itself runs for real against a
// loopback server, on the test's thread when the test hands the work over. The server here runs
// on threads of its own, because the test's thread is busy inside the fetch meanwhile and a main
// loop server could not answer.

#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "app/support/WorkspaceHarness.h"
#include "support/SocketHTTPServer.h"
#include "support/TemporaryDirectory.h"
#include "support/WorkingDirectory.h"

#include <gtest/gtest.h>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

struct FetchingSite : OpenSite {
    WorkingDirectory workingDirectory;
    SocketHTTPServer server;

    FetchingSite()
    {
        store.liveSiteFetcher().maxAssetBytes = 1000;
        store.liveSiteFetcher().timeouts.stall = std::chrono::seconds(1);
        server.serve("/", "text/html", "<!doctype html><title>Live Home</title><link href=\"/css/site.css\"><img src=\"/gone.png\">");
        server.serve("/css/site.css", "text/css", "body { color: teal; }");
    }

    std::filesystem::path playgrounds() const { return workingDirectory.path() / "Playgrounds" / "fetched-live"; }
};

TEST(WorkspaceStoreLiveFetch, SuccessOpensTheSnapshotAndSetsTheSummary)
{
    FetchingSite harness;
    auto& store = harness.store;
    auto oldRoot = store.rootURL().get();
    std::vector<bool> loadingChanges;
    ScopedConnection observer { store.liveFetchIsLoading().changed.connect([&] { loadingChanges.push_back(store.liveFetchIsLoading().get()); }) };
    // The load's Git refreshes are background work of their own.
    auto loadWork = harness.scheduler.pendingWorkCount();

    store.fetchLiveSite("  " + harness.server.url("/") + "\n");

    // While the fetch runs the old workspace stays open.
    EXPECT_TRUE(store.liveFetchIsLoading().get());
    EXPECT_EQ(store.rootURL().get(), oldRoot);
    EXPECT_EQ(store.selectedPageID().get(), "index.html");
    EXPECT_EQ(harness.scheduler.pendingWorkCount(), loadWork + 1);
    EXPECT_EQ(harness.server.requests().size(), 0u);

    harness.scheduler.runBackgroundWorkAndDeliver();

    EXPECT_EQ(loadingChanges, (std::vector<bool> { true, false }));
    ASSERT_TRUE(store.rootURL().get());
    auto root = *store.rootURL().get();
    EXPECT_EQ(root.parent_path(), harness.playgrounds());
    EXPECT_EQ(root.filename().string().rfind("127-0-0-1-", 0), 0u) << root;
    ASSERT_TRUE(store.siteMap().get());
    EXPECT_EQ(store.selectedPageID().get(), "index.html");
    EXPECT_NE(UnicodeText::utf8FromUTF16(store.editorText().get()).find("<link href=\"css/site.css\">"), std::string::npos);
    EXPECT_EQ(store.liveFetchSummary().get(),
              "Fetched " + harness.server.url("/") + " into " + root.filename().string() + " with 1 asset and 1 skipped resource.");
    EXPECT_EQ(store.errorMessage().get(), std::nullopt);
    EXPECT_TRUE(std::filesystem::exists(root / "_quillory-fetch-manifest.json"));
    // The user's own site got nothing.
    EXPECT_FALSE(std::filesystem::exists(harness.site.path() / "Playgrounds"));
}

TEST(WorkspaceStoreLiveFetch, PendingTextIsWrittenBeforeTheFetchStarts)
{
    FetchingSite harness;
    harness.type(u"<h1>Home, edited</h1>\n");
    harness.store.fetchLiveSite(harness.server.url("/"));
    EXPECT_EQ(harness.site.read("index.html"), "<h1>Home, edited</h1>\n");
    // The autosave delay was cancelled; only the quiet Git status refresh after the write waits.
    EXPECT_EQ(harness.scheduler.pendingTimerCount(), 1u);
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_TRUE(harness.store.liveFetchSummary().get());
}

TEST(WorkspaceStoreLiveFetch, TextThatIsNoURLStopsBeforeAnythingStarts)
{
    FetchingSite harness;
    auto loadWork = harness.scheduler.dispatchedWorkCount();
    struct Case {
        const char* typed;
        const char* message;
    };
    const Case cases[] = { { " \n\t", "Enter a live website URL." }, { "exa mple.org", "Enter a valid live website URL." } };
    for (auto& testCase : cases) {
        harness.store.fetchLiveSite(testCase.typed);
        EXPECT_EQ(harness.store.errorMessage().get(), testCase.message);
        EXPECT_FALSE(harness.store.liveFetchIsLoading().get());
        EXPECT_EQ(harness.scheduler.dispatchedWorkCount(), loadWork);
    }
    EXPECT_FALSE(std::filesystem::exists(harness.workingDirectory.path() / "Playgrounds"));
}

TEST(WorkspaceStoreLiveFetch, FailuresReportTheirTextAndKeepTheWorkspace)
{
    FetchingSite harness;
    auto& store = harness.store;
    harness.server.serve("/gone", "text/html", "gone", 404);
    auto oldRoot = store.rootURL().get();

    store.fetchLiveSite("ftp://example.org/");
    EXPECT_TRUE(store.liveFetchIsLoading().get());
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(store.errorMessage().get(), "Enter an http or https URL.");
    EXPECT_FALSE(store.liveFetchIsLoading().get());

    store.fetchLiveSite(harness.server.url("/gone"));
    EXPECT_EQ(store.errorMessage().get(), std::nullopt);
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(store.errorMessage().get(), "The live site returned HTTP 404.");
    EXPECT_FALSE(store.liveFetchIsLoading().get());
    EXPECT_EQ(store.rootURL().get(), oldRoot);
    EXPECT_EQ(store.liveFetchSummary().get(), std::nullopt);
    // The folder made before the page failed stays behind, empty.
    ASSERT_TRUE(std::filesystem::exists(harness.playgrounds()));
    auto left = std::filesystem::directory_iterator(harness.playgrounds())->path();
    EXPECT_TRUE(std::filesystem::is_empty(left));
}

TEST(WorkspaceStoreLiveFetch, TheSummaryGoesWhenTheNextFetchStarts)
{
    FetchingSite harness;
    auto& store = harness.store;
    store.fetchLiveSite(harness.server.url("/"));
    harness.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_TRUE(store.liveFetchSummary().get());
    auto first = *store.rootURL().get();

    store.fetchLiveSite(harness.server.url("/"));
    EXPECT_EQ(store.liveFetchSummary().get(), std::nullopt);
    harness.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_TRUE(store.liveFetchSummary().get());
    // Each fetch has its own folder; the earlier one is untouched.
    EXPECT_NE(*store.rootURL().get(), first);
    EXPECT_TRUE(std::filesystem::exists(first / "index.html"));
}

TEST(WorkspaceStoreLiveFetch, AResultArrivingAfterTheStoreIsGoneIsDropped)
{
    WorkingDirectory workingDirectory;
    SocketHTTPServer server;
    server.serve("/", "text/html", "<p>late</p>");
    ManualScheduler scheduler;
    {
        TemporaryDirectory preferencesFolder;
        Preferences preferences(preferencesFolder.path() / "settings.ini");
        WorkspaceRecentProjectsStore recentProjects(preferences);
        WorkspaceStore store(recentProjects, scheduler);
        store.fetchLiveSite(server.url("/"));
        scheduler.runBackgroundWork();
    }
    scheduler.deliverCompletions();
    EXPECT_EQ(server.requestCount("/"), 1);
}

}
