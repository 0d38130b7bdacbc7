#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using QuilloryTest::runChildProcess;
using QuilloryTest::TemporaryDirectory;

namespace {

nlohmann::json sitemap(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command { QUILLORY_CLI_PATH, "sitemap" };
    command.insert(command.end(), arguments.begin(), arguments.end());
    auto result = runChildProcess(command);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardError, "");
    return nlohmann::json::parse(result.standardOutput);
}

TEST(SitemapCommand, PrintsPagesTreeLinksAndDocuments)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>Home</h1><a href=\"docs/\">Docs</a><a href=\"old.htm\">x</a>");
    folder.write("docs/index.html", "<title>Documentation</title><a href=\"../index.html\">up</a>");
    folder.write("docs/setup.html", "<h1>Set &amp; go</h1>");
    folder.write("index.htm", "<h1>Old</h1>");
    folder.write("old.htm", "<p>no heading</p>");
    folder.write("src/main.ts", "export {}");

    auto json = sitemap({ (folder.path() / "docs" / "..").string() });
    EXPECT_EQ(json.size(), 6u);
    EXPECT_EQ(json["rootPath"], folder.path().string());
    EXPECT_EQ(json["pages"], nlohmann::json::parse(R"([
        { "id": "docs/index.html", "relativePath": "docs/index.html", "title": "Documentation" },
        { "id": "docs/setup.html", "relativePath": "docs/setup.html", "title": "Set & go" },
        { "id": "index.htm", "relativePath": "index.htm", "title": "Old" },
        { "id": "index.html", "relativePath": "index.html", "title": "Home" },
        { "id": "old.htm", "relativePath": "old.htm", "title": "Old" }
    ])"));
    EXPECT_EQ(json["primaryTree"], nlohmann::json::parse(R"({
        "id": "index.html", "title": "Home", "pageID": "index.html", "children": [
            { "id": "docs/index.html", "title": "Documentation", "pageID": "docs/index.html", "children": [
                { "id": "docs/setup.html", "title": "Set & go", "pageID": "docs/setup.html", "children": [] }
            ] },
            { "id": "old.htm", "title": "Old", "pageID": "old.htm", "children": [] }
        ]
    })"));
    EXPECT_EQ(json["unplacedPages"], nlohmann::json::parse(R"(["index.htm"])"));
    EXPECT_EQ(json["linksByPageID"], nlohmann::json::parse(R"({
        "docs/index.html": ["index.html"],
        "docs/setup.html": [],
        "index.htm": [],
        "index.html": ["docs/index.html", "old.htm"],
        "old.htm": []
    })"));
    EXPECT_EQ(json["documents"], nlohmann::json::parse(R"([
        { "relativePath": "docs/index.html", "title": "Documentation", "kind": "htmlPage", "pageID": "docs/index.html" },
        { "relativePath": "docs/setup.html", "title": "Set & go", "kind": "htmlPage", "pageID": "docs/setup.html" },
        { "relativePath": "index.htm", "title": "Old", "kind": "htmlPage", "pageID": "index.htm" },
        { "relativePath": "index.html", "title": "Home", "kind": "htmlPage", "pageID": "index.html" },
        { "relativePath": "old.htm", "title": "Old", "kind": "htmlPage", "pageID": "old.htm" }
    ])"));
}

TEST(SitemapCommand, IncludeSourceAddsSourceFilesWithNullPageID)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>App</h1>");
    folder.write("src/App.tsx", "export {}");
    folder.write("src/build/skip.js", "x");
    auto json = sitemap({ folder.path().string(), "--include-source" });
    EXPECT_EQ(json["documents"], nlohmann::json::parse(R"([
        { "relativePath": "index.html", "title": "App", "kind": "htmlPage", "pageID": "index.html" },
        { "relativePath": "src/App.tsx", "title": "src/App.tsx", "kind": "sourceFile", "pageID": null }
    ])"));
}

TEST(SitemapCommand, EmptyFolderHasAVirtualRootWithNullPageID)
{
    TemporaryDirectory folder;
    auto json = sitemap({ folder.path().string() });
    EXPECT_EQ(json["pages"], nlohmann::json::array());
    EXPECT_EQ(json["primaryTree"], nlohmann::json::parse(R"({ "id": "virtual:Site", "title": "Site", "pageID": null, "children": [] })"));
    EXPECT_EQ(json["unplacedPages"], nlohmann::json::array());
    EXPECT_EQ(json["linksByPageID"], nlohmann::json::object());
    EXPECT_EQ(json["documents"], nlohmann::json::array());
}

TEST(SitemapCommand, PageThatIsNotUTF8FailsNamingTheFile)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>Home</h1>");
    folder.write("broken.html", "<h1>\xFF\xFE</h1>");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "sitemap", folder.path().string() });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError.find("\xE2\x80\x9C" "broken.html\xE2\x80\x9D"), std::string::npos) << result.standardError;
    EXPECT_NE(result.standardError.find("UTF-8"), std::string::npos) << result.standardError;
}

TEST(SitemapCommand, FileNameThatIsNotUTF8IsSkippedAndTheScanGoesOn)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>Home</h1>");
    folder.write("caf\xE9.html", "<h1>Cafe</h1>");
    auto json = sitemap({ folder.path().string() });
    EXPECT_EQ(json["pages"], nlohmann::json::parse(R"([{ "id": "index.html", "relativePath": "index.html", "title": "Home" }])"));
}

TEST(SitemapCommand, MissingFolderArgumentIsAUsageError)
{
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "sitemap" });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError.find("usage: quillory-cli sitemap DIR [--include-source]"), std::string::npos) << result.standardError;
}

}
