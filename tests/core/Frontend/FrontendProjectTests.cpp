#include "QuilloryCore/Frontend/FrontendPreviewExitMessage.h"
#include "QuilloryCore/Frontend/FrontendProjectCommands.h"

#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;

namespace {

FrontendProject project(FrontendToolAvailability tools, bool hasNodeModules = true)
{
    return { FrontendProjectKind::viteReact, "/work/site", "vite", hasNodeModules, std::move(tools) };
}

TEST(FrontendProjectKind, NamesAndRawValue)
{
    EXPECT_EQ(displayName(FrontendProjectKind::viteReact), "Vite React");
    EXPECT_EQ(toString(FrontendProjectKind::viteReact), "viteReact");
}

TEST(FrontendProject, InitialPreviewStateTakesTheFirstRuleThatHolds)
{
    EXPECT_EQ(project({ std::nullopt, std::nullopt }).initialPreviewState(),
              FrontendPreviewState::failed("Node.js was not found. Install Node.js before starting the Vite preview."));
    EXPECT_EQ(project({ "/usr/bin/node", std::nullopt }).initialPreviewState(),
              FrontendPreviewState::failed("npm was not found. Install npm before starting the Vite preview."));
    EXPECT_EQ(project({ "/usr/bin/node", "/usr/bin/npm" }, true).initialPreviewState(), FrontendPreviewState::ready());
    EXPECT_EQ(project({ "/usr/bin/node", "/usr/bin/npm" }, false).initialPreviewState(), FrontendPreviewState::needsInstall());
}

TEST(FrontendPreviewState, DisplayTextAndCaseNames)
{
    struct Case {
        FrontendPreviewState state;
        const char* text;
        const char* name;
    };
    for (const auto& [state, text, name] : {
             Case { FrontendPreviewState::unsupported("No frontend project detected."), "No frontend project detected.", "unsupported" },
             Case { FrontendPreviewState::running("http://127.0.0.1:5173/"), "Running at http://127.0.0.1:5173/", "running" },
             Case { FrontendPreviewState::failed("Vite preview stopped."), "Vite preview stopped.", "failed" },
             Case { FrontendPreviewState::needsInstall(), "Dependencies not installed", "needsInstall" },
             Case { FrontendPreviewState::ready(), "Ready to start", "ready" },
             Case { FrontendPreviewState::installing(), "Installing dependencies...", "installing" },
             Case { FrontendPreviewState::stopped(), "Preview stopped", "stopped" },
         }) {
        EXPECT_EQ(state.displayText(), text);
        EXPECT_EQ(state.caseName(), name);
    }
    EXPECT_NE(FrontendPreviewState::running("http://127.0.0.1:5173/"), FrontendPreviewState::running("http://127.0.0.1:5174/"));
    EXPECT_EQ(*FrontendPreviewState::running("http://127.0.0.1:5173/").runningURL(), "http://127.0.0.1:5173/");
    EXPECT_EQ(FrontendPreviewState::stopped().runningURL(), nullptr);
}

TEST(FrontendProjectCommands, BothToolsInOneFolderGiveThatFolderOnce)
{
    auto command = FrontendProjectCommands::installCommand(project({ "/opt/homebrew/bin/node", "/opt/homebrew/bin/npm" }));
    EXPECT_EQ(command, (FrontendProcessCommand { "/opt/homebrew/bin/npm", { "install" }, "/work/site", { "/opt/homebrew/bin" } }));
    EXPECT_EQ(FrontendProjectCommands::toolDirectoryPrefixes(project({ "/opt/homebrew/bin/node", "/opt/homebrew/bin/npm" })),
              (std::vector<std::string> { "/opt/homebrew/bin", "/opt/homebrew/bin" }));
}

TEST(FrontendProjectCommands, DevCommandBindsTheLoopbackAddressOnExactlyThePort)
{
    auto command = FrontendProjectCommands::devCommand(project({ "/usr/local/bin/node", "/usr/bin/npm" }), 5174);
    EXPECT_EQ(command, (FrontendProcessCommand { "/usr/bin/npm",
                                                 { "run", "dev", "--", "--host", "127.0.0.1", "--port", "5174", "--strictPort" },
                                                 "/work/site",
                                                 { "/usr/local/bin", "/usr/bin" } }));
}

TEST(FrontendProjectCommands, WithoutNpmTheProgramIsEnvWithTheSameArguments)
{
    auto command = FrontendProjectCommands::devCommand(project({ "/usr/bin/node", std::nullopt }), 5173);
    EXPECT_EQ(command.executablePath, "/usr/bin/env");
    EXPECT_EQ(command.arguments.front(), "run");
    EXPECT_EQ(command.pathPrefixes, std::vector<std::string> { "/usr/bin" });
    EXPECT_EQ(FrontendProjectCommands::installCommand(project({ std::nullopt, std::nullopt })).pathPrefixes, std::vector<std::string> {});
}

TEST(FrontendProcessCommand, PrefixesLeadThePathWithoutDuplicatesOrEmptyPieces)
{
    FrontendProcessCommand command { "/opt/homebrew/bin/npm", { "install" }, "/work/site", { "/opt/homebrew/bin" } };
    auto environment = command.processEnvironment({ { "PATH", "/usr/bin::/opt/homebrew/bin" }, { "HOME", "/home/q" } });
    EXPECT_EQ(environment, (std::map<std::string, std::string> { { "CI", "1" }, { "HOME", "/home/q" }, { "PATH", "/opt/homebrew/bin:/usr/bin" } }));
}

TEST(FrontendProcessCommand, NoPathAndNoPrefixesKeepsNoPathButSetsCI)
{
    FrontendProcessCommand command { "/usr/bin/env", { "install" }, "/work/site", {} };
    EXPECT_EQ(command.processEnvironment({ { "CI", "0" } }), (std::map<std::string, std::string> { { "CI", "1" } }));
}

TEST(FrontendProcessCommand, AnEmptyJoinedPathLeavesThePathAsItWas)
{
    FrontendProcessCommand command { "/usr/bin/env", {}, "/work/site", {} };
    EXPECT_EQ(command.processEnvironment({ { "PATH", "::" } }).at("PATH"), "::");
}

TEST(FrontendProcessCommand, RemovingDuplicatesKeepsFirstOccurrences)
{
    EXPECT_EQ(removingDuplicates({ "b", "", "a", "b", "c", "a" }), (std::vector<std::string> { "b", "a", "c" }));
}

TEST(FrontendPreviewExitMessage, StatusesAndTheirMessages)
{
    EXPECT_EQ(FrontendPreviewExitMessage::message(15), "Vite preview stopped.");
    EXPECT_EQ(FrontendPreviewExitMessage::message(127),
              "Vite preview could not find a required command. Check that Node.js and npm are available to Quillory.");
    for (int status : { 0, 1, 2, 143, -1 })
        EXPECT_EQ(FrontendPreviewExitMessage::message(status), "Vite preview exited unexpectedly. Check the preview log for details.");
}

TEST(FrontendToolAvailability, FirstExecutableFileInTheFolderOrderWins)
{
    TemporaryDirectory folders;
    auto write = [&](const std::string& path, std::filesystem::perms permissions) {
        folders.write(path, "#!/bin/sh\n");
        std::filesystem::permissions(folders.path() / path, permissions);
    };
    auto executable = std::filesystem::perms::owner_all;
    // A plain file without the execute bit and a folder named like a tool are passed over.
    write("first/node", std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    std::filesystem::create_directories(folders.path() / "first" / "npm");
    write("second/node", executable);
    write("third/node", executable);
    write("third/npm", executable);
    auto tools = FrontendToolAvailability::inFolders({ folders.path() / "first", folders.path() / "second", folders.path() / "third" });
    EXPECT_EQ(tools, (FrontendToolAvailability { (folders.path() / "second" / "node").string(), (folders.path() / "third" / "npm").string() }));
    EXPECT_EQ(FrontendToolAvailability::inFolders({ folders.path() / "missing" }), (FrontendToolAvailability {}));
}

TEST(FrontendToolAvailability, ALinkToAnExecutableCounts)
{
    TemporaryDirectory folders;
    folders.write("real/npm-cli.js", "#!/bin/sh\n");
    std::filesystem::permissions(folders.path() / "real/npm-cli.js", std::filesystem::perms::owner_all);
    std::filesystem::create_directories(folders.path() / "bin");
    std::filesystem::create_symlink(folders.path() / "real/npm-cli.js", folders.path() / "bin/npm");
    EXPECT_EQ(FrontendToolAvailability::inFolders({ folders.path() / "bin" }).npmPath, (folders.path() / "bin" / "npm").string());
}

TEST(FrontendToolAvailability, FixedFoldersIgnoringPath)
{
    auto* home = std::getenv("HOME");
    std::vector<std::filesystem::path> expected { "/usr/local/bin/", "/usr/bin/" };
    if (home && *home)
        expected.push_back(std::filesystem::path(home) / ".local/bin/");
    EXPECT_EQ(FrontendToolAvailability::candidateFolders(), expected);
}

}
