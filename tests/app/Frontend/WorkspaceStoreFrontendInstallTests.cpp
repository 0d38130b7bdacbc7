// `npm install` end to end on a copy of the fixture without node_modules: the real npm against
// the registry (its cache makes a second run quick), then the real dev server.

#include "app/support/FrontendFixture.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/WorkspaceHarness.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

bool isState(const WorkspaceStore& store, FrontendPreviewState::Case kind)
{
    return store.frontendPreviewStore().state()->kind == kind;
}

TEST(WorkspaceStoreFrontendInstall, InstallThenStartOnACopyWithoutNodeModules)
{
    WorkspaceHarness harness;
    auto& store = harness.store;
    TemporaryDirectory folder;
    auto root = copyFrontendFixture(folder, FixtureNodeModules::absent);
    store.loadWorkspace(root);
    EXPECT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::needsInstall());

    store.requestFrontendDependencyInstall();
    ASSERT_TRUE(store.isShowingFrontendInstallConfirmation());
    store.setShowingFrontendInstallConfirmation(false);
    store.installFrontendDependencies();
    EXPECT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::installing());
    EXPECT_EQ(store.frontendPreviewStore().logText().get(), "$ npm install\n");
    ASSERT_TRUE(waitUntil([&] { return !isState(store, FrontendPreviewState::Case::installing); }, std::chrono::minutes(9)));
    ASSERT_EQ(store.frontendPreviewStore().state().get(), FrontendPreviewState::ready()) << store.frontendPreviewStore().logText().get();
    EXPECT_TRUE(store.frontendProject().get()->hasNodeModules);
    EXPECT_TRUE(std::filesystem::is_directory(root / "node_modules" / "vite"));
    // npm's summary reaches the log after the command line.
    EXPECT_NE(store.frontendPreviewStore().logText()->find("packages"), std::string::npos) << store.frontendPreviewStore().logText().get();

    // The installed copy runs; no other test holds the ports while installs run alone.
    store.startFrontendPreview();
    ASSERT_TRUE(isState(store, FrontendPreviewState::Case::running));
    auto group = launchedProcessGroup(*store.frontendRunner().devProcessGroup());
    ASSERT_TRUE(waitUntil([&] { return store.frontendPreviewStore().logText()->find("ready in") != std::string::npos; }, std::chrono::seconds(60)));
    store.stopFrontendPreview();
    EXPECT_TRUE(waitUntilProcessGroupIsGone(group));
}

}
