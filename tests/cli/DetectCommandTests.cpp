#include "QuilloryCore/Frontend/FrontendToolAvailability.h"

#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using QuilloryTest::runChildProcess;
using QuilloryTest::TemporaryDirectory;

namespace {

nlohmann::json optionalPath(const std::optional<std::string>& path)
{
    return path ? nlohmann::json(*path) : nlohmann::json(nullptr);
}

nlohmann::json detect(const std::filesystem::path& folder)
{
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "detect", folder.string() });
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardError, "");
    return nlohmann::json::parse(result.standardOutput);
}

TEST(DetectCommand, FixtureProjectWithItsToolsAndItsFirstState)
{
    // The Vite React fixture, with its dependencies installed by scripts/install-deps.sh.
    auto fixture = std::filesystem::path(QUILLORY_TEST_FIXTURES) / "frontend" / "vite-react";
    ASSERT_TRUE(std::filesystem::is_directory(fixture / "node_modules")) << "run scripts/install-deps.sh";
    auto tools = Quillory::FrontendToolAvailability::current();
    ASSERT_TRUE(tools.nodePath && tools.npmPath) << "Node.js and npm are needed for the frontend tests";
    EXPECT_EQ(detect(fixture), nlohmann::json({ { "frontendProject",
                                                  { { "kind", "viteReact" },
                                                    { "rootPath", fixture.string() },
                                                    { "devScript", "vite" },
                                                    { "hasNodeModules", true },
                                                    { "nodePath", *tools.nodePath },
                                                    { "npmPath", *tools.npmPath } } },
                                                { "initialPreviewState", "ready" },
                                                { "message", "Ready to start" } }));
}

TEST(DetectCommand, ProjectWithoutNodeModulesNeedsInstall)
{
    TemporaryDirectory folder;
    folder.write("package.json", R"({"scripts":{"dev":"cross-env X=1 vite"},"devDependencies":{"vite":"7","react":"19"},"peerDependencies":{"react-dom":"19"}})");
    auto tools = Quillory::FrontendToolAvailability::current();
    auto json = detect(folder.path());
    EXPECT_EQ(json["frontendProject"], nlohmann::json({ { "kind", "viteReact" },
                                                        { "rootPath", folder.path().string() },
                                                        { "devScript", "cross-env X=1 vite" },
                                                        { "hasNodeModules", false },
                                                        { "nodePath", optionalPath(tools.nodePath) },
                                                        { "npmPath", optionalPath(tools.npmPath) } }));
    if (tools.nodePath && tools.npmPath) {
        EXPECT_EQ(json["initialPreviewState"], "needsInstall");
        EXPECT_EQ(json["message"], "Dependencies not installed");
    }
}

TEST(DetectCommand, StaticSiteIsNoProject)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>Home</h1>");
    folder.write("package.json", R"({"scripts":{"dev":"npm run start"},"dependencies":{"vite":"7","react":"19","react-dom":"19"}})");
    EXPECT_EQ(detect(folder.path()), nlohmann::json({ { "frontendProject", nullptr },
                                                      { "initialPreviewState", "unsupported" },
                                                      { "message", "No Vite React project detected." } }));
}

TEST(DetectCommand, DecodingErrorGoesToStandardErrorWithStatusOne)
{
    TemporaryDirectory folder;
    folder.write("package.json", R"({"scripts":{"dev":5}})");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "detect", folder.path().string() });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError, "package.json: \"scripts.dev\": type must be string, but is number\n");
}

TEST(DetectCommand, MissingFolderArgumentIsAUsageError)
{
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "detect" });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.standardError.find("usage: quillory-cli detect DIR"), std::string::npos);
}

}
