// The real Vite dev server of the fixture project, started and stopped through the workspace
// store on 127.0.0.1. These tests hold the ports from 5173 up, so CTest runs them one at a time.

#include "app/support/FrontendFixture.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/WorkspaceHarness.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

constexpr std::uint16_t firstPort = WorkspaceStore::frontendPreferredPort;

bool isState(const WorkspaceStore& store, FrontendPreviewState::Case kind)
{
    return store.frontendPreviewStore().state()->kind == kind;
}

bool logContains(const WorkspaceStore& store, const std::string& text)
{
    return store.frontendPreviewStore().logText()->find(text) != std::string::npos;
}

std::string urlOf(std::uint16_t port)
{
    return "http://127.0.0.1:" + std::to_string(port) + "/";
}

std::string commandLineOf(std::uint16_t port)
{
    return "$ npm run dev -- --host 127.0.0.1 --port " + std::to_string(port) + " --strictPort\n";
}

// A fixture copy sharing the installed node_modules, opened in a store.
struct OpenFixture : WorkspaceHarness {
    TemporaryDirectory folder;
    std::filesystem::path root { copyFrontendFixture(folder, FixtureNodeModules::linked) };
    OpenFixture() { store.loadWorkspace(root); }
};

// Stops the store's server, if any, and waits until its whole group is gone and the port free.
void stopAndWait(WorkspaceStore& store, std::uint16_t port)
{
    auto group = store.frontendRunner().devProcessGroup();
    auto launched = group ? std::optional(launchedProcessGroup(*group)) : std::nullopt;
    store.stopFrontendPreview();
    if (launched) {
        EXPECT_TRUE(waitUntilProcessGroupIsGone(*launched));
    }
    EXPECT_TRUE(loopbackPortIsFree(port));
}

TEST(FrontendDevServer, StartRunsViteOnTheFirstPortAndStopEndsTheWholeGroup)
{
    OpenFixture fixture;
    auto& store = fixture.store;
    ASSERT_TRUE(loopbackPortIsFree(firstPort));
    store.requestPageInspectionSnapshot();
    auto token = store.previewReloadToken().get();
    store.startFrontendPreview();

    EXPECT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::running(urlOf(firstPort)));
    EXPECT_EQ(store.frontendPreviewStore().logText().get(), commandLineOf(firstPort));
    EXPECT_NE(store.previewReloadToken().get(), token);
    EXPECT_FALSE(store.pageInspectionStore().isLoading().get());
    EXPECT_EQ(store.previewTarget(), PreviewTarget::frontendServer(FrontendProjectKind::viteReact, urlOf(firstPort)));
    ASSERT_TRUE(store.frontendRunner().devProcessGroup());
    auto group = launchedProcessGroup(*store.frontendRunner().devProcessGroup());
    EXPECT_TRUE(processGroupExists(group));

    // Vite's banner renews the token; the server answers on the loopback port.
    token = store.previewReloadToken().get();
    ASSERT_TRUE(waitUntil([&] { return logContains(store, "ready in"); }, std::chrono::seconds(60))) << store.frontendPreviewStore().logText().get();
    EXPECT_NE(store.previewReloadToken().get(), token);
    EXPECT_FALSE(loopbackPortIsFree(firstPort));

    token = store.previewReloadToken().get();
    store.stopFrontendPreview();
    EXPECT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::stopped());
    EXPECT_NE(store.previewReloadToken().get(), token);
    EXPECT_FALSE(store.frontendRunner().devProcessGroup());
    EXPECT_TRUE(waitUntilProcessGroupIsGone(group));
    EXPECT_TRUE(loopbackPortIsFree(firstPort));
    // The stopped launch's exit reported nothing.
    EXPECT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::stopped());
    EXPECT_EQ(store.previewTarget(), PreviewTarget::unavailable("Start Vite Preview to render this frontend project."));
}

TEST(FrontendDevServer, PortHeldByATestSocketMovesTheServerToTheNext)
{
    OpenFixture fixture;
    HeldPorts held(firstPort, 1);
    ASSERT_TRUE(held.holdsAll());
    fixture.store.startFrontendPreview();
    EXPECT_EQ(fixture.store.frontendPreviewStore().state().get(), FrontendPreviewState::running(urlOf(firstPort + 1)));
    EXPECT_EQ(fixture.store.frontendPreviewStore().logText().get(), commandLineOf(firstPort + 1));
    ASSERT_TRUE(waitUntil([&] { return logContains(fixture.store, "ready in"); }, std::chrono::seconds(60)));
    EXPECT_TRUE(isState(fixture.store, FrontendPreviewState::Case::running));
    stopAndWait(fixture.store, firstPort + 1);
}

TEST(FrontendDevServer, AllTwentyPortsHeldTries5173AndShowsTheExitMessage)
{
    OpenFixture fixture;
    HeldPorts held(firstPort, FrontendProjectRunner::portAttempts);
    ASSERT_TRUE(held.holdsAll());
    EXPECT_EQ(FrontendProjectRunner::firstAvailablePort(firstPort, FrontendProjectRunner::portAttempts), firstPort);
    fixture.store.startFrontendPreview();
    EXPECT_EQ(fixture.store.frontendPreviewStore().state().get(), FrontendPreviewState::running(urlOf(firstPort)));
    auto group = launchedProcessGroup(*fixture.store.frontendRunner().devProcessGroup());
    ASSERT_TRUE(waitUntil([&] { return !isState(fixture.store, FrontendPreviewState::Case::running); }, std::chrono::seconds(60)));
    EXPECT_EQ(fixture.store.frontendPreviewStore().state().get(),
              FrontendPreviewState::failed("Vite preview exited unexpectedly. Check the preview log for details."));
    EXPECT_TRUE(waitUntilProcessGroupIsGone(group));
}

TEST(FrontendDevServer, StopThenStartAtOnceKeepsTheNewLaunchRunning)
{
    OpenFixture fixture;
    auto& store = fixture.store;
    store.startFrontendPreview();
    auto oldGroup = launchedProcessGroup(*store.frontendRunner().devProcessGroup());
    ASSERT_TRUE(waitUntil([&] { return logContains(store, "ready in"); }, std::chrono::seconds(60)));

    store.stopFrontendPreview();
    store.startFrontendPreview();
    ASSERT_TRUE(isState(store, FrontendPreviewState::Case::running));
    auto newState = store.frontendPreviewStore().state().get();
    auto newGroup = launchedProcessGroup(*store.frontendRunner().devProcessGroup());
    EXPECT_NE(newGroup.id, oldGroup.id);
    // The old server's exit comes and goes without touching the new launch.
    EXPECT_TRUE(waitUntilProcessGroupIsGone(oldGroup));
    waitFor(std::chrono::milliseconds(300));
    EXPECT_EQ(store.frontendPreviewStore().state().get(), newState);
    EXPECT_EQ(store.frontendRunner().devProcessGroup(), newGroup.id);
    auto newURL = *newState.runningURL();
    stopAndWait(store, static_cast<std::uint16_t>(std::stoi(newURL.substr(newURL.rfind(':') + 1))));
}

TEST(FrontendDevServer, SigtermFromOutsideShowsVitePreviewStopped)
{
    OpenFixture fixture;
    auto& store = fixture.store;
    store.startFrontendPreview();
    auto group = launchedProcessGroup(*store.frontendRunner().devProcessGroup());
    ASSERT_TRUE(waitUntil([&] { return logContains(store, "ready in"); }, std::chrono::seconds(60)));
    auto token = store.previewReloadToken().get();
    // Not the stop button: the group is ended the way the runner ends it, so status 15 arrives.
    ASSERT_EQ(kill(-group.id, SIGTERM), 0);
    ASSERT_TRUE(waitUntil([&] { return !isState(store, FrontendPreviewState::Case::running); }));
    EXPECT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::failed("Vite preview stopped."));
    EXPECT_NE(store.previewReloadToken().get(), token);
    EXPECT_TRUE(waitUntilProcessGroupIsGone(group));
    EXPECT_TRUE(loopbackPortIsFree(firstPort));
}

TEST(FrontendDevServer, OpeningAnotherFolderEndsTheServer)
{
    OpenFixture fixture;
    auto& store = fixture.store;
    store.startFrontendPreview();
    auto group = launchedProcessGroup(*store.frontendRunner().devProcessGroup());
    ASSERT_TRUE(waitUntil([&] { return logContains(store, "ready in"); }, std::chrono::seconds(60)));

    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>");
    store.loadWorkspace(site.path());
    EXPECT_FALSE(store.frontendRunner().devProcessGroup());
    EXPECT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::unsupported("No Vite React project detected."));
    EXPECT_EQ(store.frontendPreviewStore().logText().get(), "");
    EXPECT_TRUE(waitUntilProcessGroupIsGone(group));
    EXPECT_TRUE(loopbackPortIsFree(firstPort));
    EXPECT_EQ(store.previewTarget(), PreviewTarget::staticPage("index.html", "quillory-site://local/index.html"));
}

TEST(FrontendDevServer, DestroyingTheStoreEndsTheServerBeforeItReturns)
{
    auto fixture = std::make_unique<OpenFixture>();
    fixture->store.startFrontendPreview();
    auto group = launchedProcessGroup(*fixture->store.frontendRunner().devProcessGroup());
    ASSERT_TRUE(waitUntil([&] { return logContains(fixture->store, "ready in"); }, std::chrono::seconds(60)));
    fixture.reset();
    EXPECT_FALSE(processGroupExists(group));
    EXPECT_TRUE(loopbackPortIsFree(firstPort));
}

TEST(FrontendDevServer, WarmupReloadsFollowTheRunningURL)
{
    OpenFixture fixture;
    auto& store = fixture.store;
    int reloads = 0;
    ScopedConnection counting { store.previewReloadToken().changed.connect([&] { ++reloads; }) };

    // The first launch at 5174, while a test socket holds 5173.
    auto held = std::make_unique<HeldPorts>(firstPort, 1);
    store.startFrontendPreview();
    ASSERT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::running(urlOf(firstPort + 1)));
    // No main loop runs below, so only the scheduled reloads change the token.
    reloads = 0;
    fixture.scheduler.advance(std::chrono::milliseconds(349));
    EXPECT_EQ(reloads, 0);
    fixture.scheduler.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(reloads, 1);

    // A restart at another URL: the first task ends at its next step, the new one goes on.
    held.reset();
    store.stopFrontendPreview();
    store.startFrontendPreview();
    ASSERT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::running(urlOf(firstPort)));
    reloads = 0;
    fixture.scheduler.advance(std::chrono::milliseconds(350));
    EXPECT_EQ(reloads, 1);
    fixture.scheduler.advance(std::chrono::milliseconds(550));
    EXPECT_EQ(reloads, 1);
    EXPECT_EQ(fixture.scheduler.pendingTimerCount(), 1u);
    fixture.scheduler.advance(std::chrono::milliseconds(350));
    EXPECT_EQ(reloads, 2);
    fixture.scheduler.advance(std::chrono::milliseconds(1600));
    EXPECT_EQ(reloads, 3);
    EXPECT_EQ(fixture.scheduler.pendingTimerCount(), 0u);

    // A restart at the same URL: the earlier task goes on alongside the new one.
    stopAndWait(store, firstPort);
    store.startFrontendPreview();
    auto firstGroup = launchedProcessGroup(*store.frontendRunner().devProcessGroup());
    fixture.scheduler.advance(std::chrono::milliseconds(350));
    store.stopFrontendPreview();
    ASSERT_TRUE(waitUntilProcessGroupIsGone(firstGroup));
    ASSERT_TRUE(waitUntil([&] { return loopbackPortIsFree(firstPort); }));
    store.startFrontendPreview();
    ASSERT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::running(urlOf(firstPort)));
    EXPECT_EQ(fixture.scheduler.pendingTimerCount(), 2u);
    reloads = 0;
    fixture.scheduler.advance(std::chrono::milliseconds(900));
    EXPECT_EQ(reloads, 2);

    // Stopped: every task ends at its next step.
    store.stopFrontendPreview();
    reloads = 0;
    fixture.scheduler.advance(std::chrono::milliseconds(5000));
    EXPECT_EQ(reloads, 0);
    EXPECT_EQ(fixture.scheduler.pendingTimerCount(), 0u);
}

}
