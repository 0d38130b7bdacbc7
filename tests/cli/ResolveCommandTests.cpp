#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using QuilloryTest::runChildProcess;
using QuilloryTest::TemporaryDirectory;

namespace {

nlohmann::json resolve(const TemporaryDirectory& folder, const std::vector<std::string>& arguments)
{
    std::vector<std::string> command { QUILLORY_CLI_PATH, "resolve", folder.path().string() };
    command.insert(command.end(), arguments.begin(), arguments.end());
    auto result = runChildProcess(command);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardError, "");
    return nlohmann::json::parse(result.standardOutput);
}

TEST(ResolveCommand, LocalPageFromTheLinkingPage)
{
    TemporaryDirectory folder;
    folder.write("blog/post.html", "<h1>Post</h1>");
    folder.write("blog/other.html", "<h1>Other</h1>");
    auto json = resolve(folder, { " other.html#top ", "--from", "blog/post.html" });
    EXPECT_EQ(json, nlohmann::json({ { "kind", "localPage" },
                                     { "pageID", "blog/other.html" },
                                     { "requestPath", "other.html#top" },
                                     { "relativePath", "blog/other.html" },
                                     { "filePath", (folder.path() / "blog" / "other.html").string() } }));
}

TEST(ResolveCommand, LocalAssetHasAFileAndNoPage)
{
    TemporaryDirectory folder;
    folder.write("img/logo.png", "png");
    auto json = resolve(folder, { "/img/logo.png" });
    EXPECT_EQ(json, nlohmann::json({ { "kind", "localAsset" },
                                     { "pageID", nullptr },
                                     { "requestPath", "/img/logo.png" },
                                     { "relativePath", "img/logo.png" },
                                     { "filePath", (folder.path() / "img" / "logo.png").string() } }));
}

TEST(ResolveCommand, MissingRouteIsConfinedToTheSite)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>Home</h1>");
    auto json = resolve(folder, { "../../etc/passwd", "--from", "index.html" });
    EXPECT_EQ(json, nlohmann::json({ { "kind", "missingLocalRoute" },
                                     { "pageID", nullptr },
                                     { "requestPath", "../../etc/passwd" },
                                     { "relativePath", "etc/passwd" },
                                     { "filePath", nullptr } }));
}

TEST(ResolveCommand, ExternalAndIgnoredCarryOnlyTheRequestPath)
{
    TemporaryDirectory folder;
    EXPECT_EQ(resolve(folder, { "MAILTO:a@example.org" }),
              nlohmann::json({ { "kind", "external" }, { "pageID", nullptr }, { "requestPath", "MAILTO:a@example.org" }, { "relativePath", nullptr }, { "filePath", nullptr } }));
    EXPECT_EQ(resolve(folder, { "?x=1" }),
              nlohmann::json({ { "kind", "ignored" }, { "pageID", nullptr }, { "requestPath", "?x=1" }, { "relativePath", nullptr }, { "filePath", nullptr } }));
}

TEST(ResolveCommand, PageThatIsNotUTF8FailsNamingTheFile)
{
    TemporaryDirectory folder;
    folder.write("latin1.html", "<h1>Caf\xE9</h1>");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "resolve", folder.path().string(), "/" });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError.find("\xE2\x80\x9Clatin1.html\xE2\x80\x9D"), std::string::npos) << result.standardError;
}

TEST(ResolveCommand, FolderLinkOutOfTheSiteIsAMissingRoute)
{
    TemporaryDirectory folder;
    TemporaryDirectory home;
    folder.write("index.html", "<h1>Home</h1>");
    home.write("passwd", "root:x:0:0");
    std::filesystem::create_directory_symlink(home.path(), folder.path() / "etclink");
    std::filesystem::create_directory_symlink("/etc", folder.path() / "realetc");
    EXPECT_EQ(resolve(folder, { "/etclink/passwd" }), nlohmann::json({ { "kind", "missingLocalRoute" },
                                                                        { "pageID", nullptr },
                                                                        { "requestPath", "/etclink/passwd" },
                                                                        { "relativePath", "etclink/passwd" },
                                                                        { "filePath", nullptr } }));
    EXPECT_EQ(resolve(folder, { "/realetc/passwd" })["kind"], "missingLocalRoute");
}

TEST(ResolveCommand, DecodedNULIsAMissingRoute)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>Home</h1>");
    EXPECT_EQ(resolve(folder, { "/index.html%00.js" }), nlohmann::json({ { "kind", "missingLocalRoute" },
                                                                          { "pageID", nullptr },
                                                                          { "requestPath", "/index.html%00.js" },
                                                                          { "relativePath", "index.html%00.js" },
                                                                          { "filePath", nullptr } }));
}

TEST(ResolveCommand, ReferenceThatIsNotUTF8PrintsAsReplacementCharacters)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>Home</h1>");
    auto json = resolve(folder, { "x\xff/%2e%2e/" });
    EXPECT_EQ(json["kind"], "missingLocalRoute");
    EXPECT_EQ(json["requestPath"], "x\xEF\xBF\xBD/%2e%2e/");
}

TEST(ResolveCommand, MissingReferenceIsAUsageError)
{
    TemporaryDirectory folder;
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "resolve", folder.path().string() });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError.find("usage: quillory-cli resolve DIR REFERENCE [--from PAGE_PATH]"), std::string::npos) << result.standardError;
}

}
