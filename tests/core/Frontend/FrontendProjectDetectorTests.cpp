#include "QuilloryCore/Frontend/FrontendProjectDetector.h"

#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;

namespace {

const FrontendToolAvailability bothTools { "/opt/tools/bin/node", "/opt/tools/bin/npm" };
const char* const viteReactManifest = R"({"scripts":{"dev":"vite"},"dependencies":{"vite":"5","react":"18","react-dom":"18"}})";

std::optional<FrontendProject> detect(const TemporaryDirectory& folder, FrontendToolAvailability tools = bothTools)
{
    return FrontendProjectDetector(std::move(tools)).detect(folder.path());
}

std::string decodeErrorOf(const std::string& manifest)
{
    TemporaryDirectory folder;
    folder.write("package.json", manifest);
    try {
        detect(folder);
    } catch (const FrontendManifestDecodeError& error) {
        return error.what();
    }
    return "no error";
}

TEST(FrontendProjectDetector, FolderWithoutPackageJSONIsNoProjectAndNoError)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>Home</h1>");
    EXPECT_EQ(detect(folder), std::nullopt);
}

TEST(FrontendProjectDetector, ViteReactProjectCarriesItsScriptRootAndTools)
{
    TemporaryDirectory folder;
    folder.write("package.json", viteReactManifest);
    std::filesystem::create_directory(folder.path() / "node_modules");
    auto project = detect(folder);
    ASSERT_TRUE(project);
    EXPECT_EQ(*project, (FrontendProject { FrontendProjectKind::viteReact, folder.path(), "vite", true, bothTools }));
}

TEST(FrontendProjectDetector, RootIsStandardized)
{
    TemporaryDirectory folder;
    folder.write("site/package.json", viteReactManifest);
    auto project = FrontendProjectDetector(bothTools).detect(folder.path() / "site" / "." / ".." / "site");
    ASSERT_TRUE(project);
    EXPECT_EQ(project->rootURL, folder.path() / "site");
}

TEST(FrontendProjectDetector, InvalidJSONIsAnError)
{
    EXPECT_NE(decodeErrorOf("{\"scripts\": ").find("package.json: [json.exception.parse_error"), std::string::npos);
}

TEST(FrontendProjectDetector, ArrayAtTheTopIsAnError)
{
    EXPECT_EQ(decodeErrorOf("[]"), "package.json: type must be object, but is array");
}

TEST(FrontendProjectDetector, DevScriptAsANumberIsADecodingErrorNotAnAbsentProject)
{
    EXPECT_EQ(decodeErrorOf(R"({"scripts":{"dev":5},"dependencies":{"vite":"5","react":"18","react-dom":"18"}})"),
              "package.json: \"scripts.dev\": type must be string, but is number");
}

TEST(FrontendProjectDetector, EveryReadMapRejectsAWrongType)
{
    EXPECT_EQ(decodeErrorOf(R"({"scripts":"vite"})"), "package.json: \"scripts\": type must be object, but is string");
    EXPECT_EQ(decodeErrorOf(R"({"dependencies":["vite"]})"), "package.json: \"dependencies\": type must be object, but is array");
    EXPECT_EQ(decodeErrorOf(R"({"devDependencies":{"vite":true}})"), "package.json: \"devDependencies.vite\": type must be string, but is boolean");
    EXPECT_EQ(decodeErrorOf(R"({"peerDependencies":3})"), "package.json: \"peerDependencies\": type must be object, but is number");
}

TEST(FrontendProjectDetector, OtherKeysAreIgnoredWhateverTheirType)
{
    TemporaryDirectory folder;
    folder.write("package.json", R"({"name":7,"private":true,"engines":["x"],"scripts":{"dev":"vite"},"dependencies":{"vite":"5","react":"18","react-dom":"18"}})");
    EXPECT_TRUE(detect(folder));
}

TEST(FrontendProjectDetector, UnreadablePackageJSONIsAReadError)
{
    TemporaryDirectory folder;
    std::filesystem::create_directory(folder.path() / "package.json");
    EXPECT_THROW(detect(folder), FileReadError);
}

TEST(FrontendProjectDetector, MissingReactDOMIsNoProject)
{
    TemporaryDirectory folder;
    folder.write("package.json", R"({"scripts":{"dev":"vite"},"dependencies":{"vite":"5","react":"18"}})");
    EXPECT_EQ(detect(folder), std::nullopt);
}

TEST(FrontendProjectDetector, PackagesCountInAnyOfTheThreeLists)
{
    TemporaryDirectory folder;
    folder.write("package.json", R"({"scripts":{"dev":"vite --host"},"devDependencies":{"vite":"5"},"dependencies":{"react":"18"},"peerDependencies":{"react-dom":"18"}})");
    auto project = detect(folder);
    ASSERT_TRUE(project);
    EXPECT_EQ(project->devScript, "vite --host");
}

TEST(FrontendProjectDetector, DevScriptMustContainLowerCaseVite)
{
    struct Case {
        const char* script;
        bool detected;
    };
    for (auto [script, detected] : { Case { "vite", true }, Case { "cross-env X=1 vite", true }, Case { "invite", true }, Case { "Vite", false },
                                     Case { "npm run start", false } }) {
        TemporaryDirectory folder;
        folder.write("package.json", std::string(R"({"scripts":{"dev":")") + script + R"("},"dependencies":{"vite":"5","react":"18","react-dom":"18"}})");
        EXPECT_EQ(detect(folder).has_value(), detected) << script;
    }
}

TEST(FrontendProjectDetector, NoScriptsOrNoDevScriptIsNoProject)
{
    TemporaryDirectory folder;
    folder.write("package.json", R"({"dependencies":{"vite":"5","react":"18","react-dom":"18"}})");
    EXPECT_EQ(detect(folder), std::nullopt);
    folder.write("package.json", R"({"scripts":{"start":"vite"},"dependencies":{"vite":"5","react":"18","react-dom":"18"}})");
    EXPECT_EQ(detect(folder), std::nullopt);
}

TEST(FrontendProjectDetector, NodeModulesAsAPlainFileYieldsNeedsInstall)
{
    TemporaryDirectory folder;
    folder.write("package.json", viteReactManifest);
    folder.write("node_modules", "not a folder");
    auto project = detect(folder);
    ASSERT_TRUE(project);
    EXPECT_FALSE(project->hasNodeModules);
    EXPECT_EQ(project->initialPreviewState(), FrontendPreviewState::needsInstall());
}

TEST(FrontendProjectDetector, NodeModulesAsALinkToAFolderCounts)
{
    TemporaryDirectory folder;
    folder.write("package.json", viteReactManifest);
    std::filesystem::create_directory(folder.path() / "shared_modules");
    std::filesystem::create_directory_symlink(folder.path() / "shared_modules", folder.path() / "node_modules");
    EXPECT_TRUE(detect(folder)->hasNodeModules);
}

}
