// The frontend flows of the workspace store that need no running dev server: detection on load,
// the preview target, the checks before a start or an install, and the outcomes of npm runs that
// real npm can't be made to produce (a fake npm script stands in for those, as each test says).

#include "app/support/FrontendFixture.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/WorkspaceHarness.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <unistd.h>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

const char* const nodeMissing = "Node.js was not found. Install Node.js before starting the Vite preview.";
const char* const npmMissing = "npm was not found. Install npm before starting the Vite preview.";

bool isState(const WorkspaceStore& store, FrontendPreviewState::Case kind)
{
    return store.frontendPreviewStore().state()->kind == kind;
}

TEST(WorkspaceStoreFrontend, OpeningTheFixtureDetectsTheProjectAndOpensOnAppJsx)
{
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    auto root = copyFrontendFixture(folder, FixtureNodeModules::linked);
    harness.store.loadWorkspace(root);

    ASSERT_TRUE(harness.store.frontendProject().get());
    EXPECT_EQ(harness.store.frontendProject().get()->rootURL, root);
    EXPECT_TRUE(harness.store.frontendProject().get()->hasNodeModules);
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::ready());
    EXPECT_EQ(harness.store.selectedPageID().get(), "src/App.jsx");
    EXPECT_NE(harness.store.editorText()->find(u"Hello from Vite React"), std::u16string::npos);
    std::vector<std::string> sources;
    for (const auto& document : harness.store.sourceDocuments())
        sources.push_back(document.relativePath);
    EXPECT_EQ(sources, (std::vector<std::string> { "src/App.jsx", "src/index.css", "src/main.jsx" }));
    // A source file is no page: until the server runs there is nothing to render.
    EXPECT_EQ(harness.store.previewTarget(), PreviewTarget::unavailable("Start Vite Preview to render this frontend project."));
    EXPECT_EQ(harness.store.frontendInstallCommandDescription(), "Quillory will run `npm install` in " + root.string() + ".");
}

TEST(WorkspaceStoreFrontend, ViteProjectWithAppTsxAndAnIndexPageSelectsAppTsx)
{
    WorkspaceHarness harness;
    TemporaryDirectory project;
    project.write("package.json", R"({"scripts":{"dev":"vite"},"devDependencies":{"vite":"7"},"dependencies":{"react":"19","react-dom":"19"}})");
    project.write("index.html", "<div id=\"root\"></div>\n");
    project.write("src/main.tsx", "import App from './App';\n");
    project.write("src/App.tsx", "export default function App() { return null; }\n");
    harness.store.loadWorkspace(project.path());
    EXPECT_EQ(harness.store.selectedPageID().get(), "src/App.tsx");
    // No node_modules yet.
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::needsInstall());
}

TEST(WorkspaceStoreFrontend, SelectingAPageOfAProjectWhoseServerIsNotRunningPreviewsItStatically)
{
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::linked));
    ASSERT_TRUE(harness.store.requestSelectDocument("index.html"));
    EXPECT_EQ(harness.store.previewTarget(), PreviewTarget::staticPage("index.html", "quillory-site://local/index.html"));
}

TEST(WorkspaceStoreFrontend, StaticSiteIsUnsupportedAndSaysSelectAPage)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    site.write("styles/site.css", "body {}\n");
    harness.store.loadWorkspace(site.path());
    EXPECT_FALSE(harness.store.frontendProject().get());
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::unsupported("No Vite React project detected."));
    EXPECT_EQ(harness.store.previewTarget(), PreviewTarget::unavailable("Select a page to preview."));
    EXPECT_EQ(harness.store.frontendInstallCommandDescription(), "No frontend project detected.");
    EXPECT_TRUE(harness.store.sourceDocuments().empty());
}

TEST(WorkspaceStoreFrontend, MalformedPackageJSONFailsTheOpenAndClearsTheProject)
{
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    auto root = copyFrontendFixture(folder, FixtureNodeModules::linked);
    harness.store.loadWorkspace(root);
    ASSERT_TRUE(harness.store.frontendProject().get());

    TemporaryDirectory broken;
    broken.write("index.html", "<h1>Home</h1>");
    broken.write("package.json", R"({"scripts":{"dev":5}})");
    harness.store.loadWorkspace(broken.path());
    EXPECT_EQ(harness.store.errorMessage().get(), "package.json: \"scripts.dev\": type must be string, but is number");
    EXPECT_FALSE(harness.store.frontendProject().get());
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::unsupported("No frontend project detected."));
    EXPECT_EQ(harness.store.rootURL().get(), root);
    EXPECT_FALSE(harness.store.siteMap().get());
    EXPECT_EQ(broken.read("package.json"), R"({"scripts":{"dev":5}})");
}

TEST(WorkspaceStoreFrontend, StartAndInstallWithoutAProjectSayNoProjectWasDetected)
{
    OpenSite harness;
    harness.store.startFrontendPreview();
    EXPECT_EQ(harness.store.errorMessage().get(), "No frontend project detected.");
    harness.store.clearErrorMessage();
    harness.store.installFrontendDependencies();
    EXPECT_EQ(harness.store.errorMessage().get(), "No frontend project detected.");
    harness.store.requestFrontendDependencyInstall();
    EXPECT_FALSE(harness.store.isShowingFrontendInstallConfirmation());
    // Stopping without a project leaves the state alone.
    harness.store.stopFrontendPreview();
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::unsupported("No Vite React project detected."));
}

TEST(WorkspaceStoreFrontend, StartWithoutNodeModulesNeedsInstallAndTheRequestRaisesTheConfirmation)
{
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::absent));
    harness.store.frontendPreviewStore().setState(FrontendPreviewState::stopped());
    harness.store.startFrontendPreview();
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::needsInstall());
    EXPECT_FALSE(harness.store.frontendRunner().devProcessGroup());

    harness.store.requestFrontendDependencyInstall();
    EXPECT_TRUE(harness.store.isShowingFrontendInstallConfirmation());
    harness.store.setShowingFrontendInstallConfirmation(false);
    EXPECT_FALSE(harness.store.frontendPreviewStore().isShowingInstallConfirmation().get());
}

TEST(WorkspaceStoreFrontend, MissingToolsFailTheStartAndTheInstallWithTheirSentences)
{
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    TemporaryDirectory noTools;
    harness.store.setFrontendToolFolders({ noTools.path() });
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::linked));
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::failed(nodeMissing));
    harness.store.startFrontendPreview();
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::failed(nodeMissing));
    harness.store.installFrontendDependencies();
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(),
              FrontendPreviewState::failed("Node.js was not found. Install Node.js before installing dependencies."));

    // Node alone.
    std::filesystem::create_symlink("/usr/bin/node", noTools.path() / "node");
    harness.store.loadWorkspace(folder.path() / "vite-react");
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::failed(npmMissing));
    harness.store.startFrontendPreview();
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::failed(npmMissing));
    harness.store.installFrontendDependencies();
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(),
              FrontendPreviewState::failed("npm was not found. Install npm before installing dependencies."));
}

TEST(WorkspaceStoreFrontend, DevServerExitingWith127ShowsTheMessageNamingNodeAndNpm)
{
    // Real npm finds its scripts; a fake one is the way to a dev server that exits with 127.
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    harness.store.setFrontendToolFolders({ makeFakeNpmFolder(folder, "echo 'sh: 1: vite: not found' >&2\nexit 127") });
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::linked));
    pid_t ownGroup = getpgrp();
    harness.store.startFrontendPreview();
    ASSERT_TRUE(isState(harness.store, FrontendPreviewState::Case::running));
    // The fake npm often ends before the launch can read its id; then there is no group to watch.
    auto launched = harness.store.frontendRunner().devProcessGroup();
    auto group = launched ? std::optional(launchedProcessGroup(*launched)) : std::nullopt;
    auto token = harness.store.previewReloadToken().get();
    // A busy machine can take long to start even a shell; the exit still comes.
    ASSERT_TRUE(waitUntil([&] { return isState(harness.store, FrontendPreviewState::Case::failed); }, std::chrono::seconds(90)));
    EXPECT_EQ(harness.store.frontendPreviewStore().state()->displayText(),
              "Vite preview could not find a required command. Check that Node.js and npm are available to Quillory.");
    EXPECT_NE(harness.store.previewReloadToken().get(), token);
    EXPECT_FALSE(harness.store.frontendRunner().devProcessGroup());
    if (group) {
        EXPECT_TRUE(waitUntilProcessGroupIsGone(*group));
    }
    // The log is kept through a failure.
    EXPECT_EQ(harness.store.frontendPreviewStore().logText()->rfind("$ npm run dev -- --host 127.0.0.1 --port ", 0), 0u);
    // However fast the launch ended, this process's own group was never touched.
    EXPECT_EQ(getpgrp(), ownGroup);
    harness.store.stopFrontendPreview();
    EXPECT_EQ(getpgrp(), ownGroup);
}

TEST(WorkspaceStoreFrontend, InstallThatFailsSilentlyGivesCommandFailedWithExit1)
{
    // Real npm always explains a failure; a fake one fails with status 1 and says nothing.
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    harness.store.setFrontendToolFolders({ makeFakeNpmFolder(folder, "exit 1") });
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::absent));
    harness.store.installFrontendDependencies();
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::installing());
    ASSERT_TRUE(waitUntil([&] { return !isState(harness.store, FrontendPreviewState::Case::installing); }));
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::failed("Command failed with exit 1."));
    EXPECT_EQ(harness.store.frontendPreviewStore().logText().get(), "$ npm install\n");
}

TEST(WorkspaceStoreFrontend, FailedInstallShowsNpmsOutputAndKeepsItInTheLog)
{
    // A fake npm whose failure output is known exactly, stdout before stderr.
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    harness.store.setFrontendToolFolders({ makeFakeNpmFolder(folder, "echo 'to stderr' >&2\necho 'to stdout'\nexit 3") });
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::absent));
    harness.store.installFrontendDependencies();
    ASSERT_TRUE(waitUntil([&] { return !isState(harness.store, FrontendPreviewState::Case::installing); }));
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::failed("to stdout\nto stderr\n"));
    EXPECT_EQ(harness.store.frontendPreviewStore().logText().get(), "$ npm install\nto stdout\nto stderr\n");
}

TEST(WorkspaceStoreFrontend, InstallThatLeavesNoNodeModulesYetExitsZeroLeadsToReadyThenStartNeedsInstall)
{
    // Real npm install always makes node_modules for the fixture; a fake one succeeds doing nothing.
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    harness.store.setFrontendToolFolders({ makeFakeNpmFolder(folder, "exit 0") });
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::absent));
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::needsInstall());
    harness.store.installFrontendDependencies();
    ASSERT_TRUE(waitUntil([&] { return !isState(harness.store, FrontendPreviewState::Case::installing); }));
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::ready());
    EXPECT_FALSE(harness.store.frontendProject().get()->hasNodeModules);
    harness.store.startFrontendPreview();
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::needsInstall());
}

TEST(WorkspaceStoreFrontend, InstallResultForAReplacedWorkspaceIsDropped)
{
    // A fake npm that takes a moment, so that another folder opens meanwhile.
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    harness.store.setFrontendToolFolders({ makeFakeNpmFolder(folder, "sleep 1\nexit 1") });
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::absent));
    harness.store.installFrontendDependencies();
    TemporaryDirectory other;
    auto otherRoot = copyFrontendFixture(other, FixtureNodeModules::linked);
    harness.store.loadWorkspace(otherRoot);
    waitFor(std::chrono::milliseconds(2000));
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::ready());
}

TEST(WorkspaceStoreFrontend, ReadyInWhileStoppedGivesNoReloadButReachesTheLog)
{
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::linked));
    harness.store.frontendPreviewStore().setState(FrontendPreviewState::stopped());
    auto token = harness.store.previewReloadToken().get();
    harness.store.handleFrontendRunnerOutput("  VITE v7.1.12  ready in 300 ms\n");
    EXPECT_EQ(harness.store.previewReloadToken().get(), token);
    EXPECT_EQ(harness.store.frontendPreviewStore().logText().get(), "  VITE v7.1.12  ready in 300 ms\n");

    // While running, each chunk by itself: a banner split between two chunks does not count.
    harness.store.frontendPreviewStore().setState(FrontendPreviewState::running("http://127.0.0.1:5173/"));
    harness.store.handleFrontendRunnerOutput("ready ");
    harness.store.handleFrontendRunnerOutput("in 300 ms");
    EXPECT_EQ(harness.store.previewReloadToken().get(), token);
    harness.store.handleFrontendRunnerOutput("  Local:   http://127.0.0.1:5173/\n");
    EXPECT_NE(harness.store.previewReloadToken().get(), token);
    EXPECT_EQ(harness.store.previewTarget(), PreviewTarget::frontendServer(FrontendProjectKind::viteReact, "http://127.0.0.1:5173/"));
}

TEST(WorkspaceStoreFrontend, StopLeavesAStateOtherThanRunningAsItIs)
{
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFrontendFixture(folder, FixtureNodeModules::linked));
    auto token = harness.store.previewReloadToken().get();
    harness.store.stopFrontendPreview();
    EXPECT_EQ(harness.store.frontendPreviewStore().state().get(), FrontendPreviewState::ready());
    EXPECT_EQ(harness.store.previewReloadToken().get(), token);
}

}
