#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

using QuilloryTest::runChildProcess;
using QuilloryTest::TemporaryDirectory;

namespace {

QuilloryTest::ChildProcessResult check(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command { QUILLORY_CLI_PATH, "check" };
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runChildProcess(command);
}

}

TEST(CheckCommand, SiteWithEveryLinkAnsweredExitsZeroAndPrintsNothing)
{
    TemporaryDirectory site;
    site.write("index.html", "<a href=\"about.html\">About</a> <a href='https://example.org/x'>x</a> <a href=\"#top\">top</a>");
    site.write("about.html", "<a href=\"/\">Home</a> <a href=\"img/logo.png\">logo</a>");
    site.write("img/logo.png", "png");
    auto result = check({ site.path().string() });
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError, "");
}

TEST(CheckCommand, MissingRoutesPrintLikeACompilerWithLineAndUTF16Column)
{
    TemporaryDirectory site;
    // Line 3 starts after a CR LF and an LF; the astral character before the second link counts
    // two UTF-16 code units.
    site.write("index.html", "<h1>Home</h1>\r\n<p>\n<a href=\"about.htm\">About</a> \xF0\x9F\x98\x80<a href='docs/'>Docs</a>\n");
    site.write("blog/post.html", "<h1>Post</h1>\n\n<A HREF=\"../gone.html\">x</A>\n");
    auto result = check({ site.path().string(), "--format", "text" });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "blog/post.html:3:10: missing local route \"../gone.html\"\n"
                                     "index.html:3:10: missing local route \"about.htm\"\n"
                                     "index.html:3:42: missing local route \"docs/\"\n");
}

TEST(CheckCommand, JSONFormListsMissingRoutesAndUnplacedPages)
{
    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>\n  <a href=\" missing.html \">gone</a>\n");
    // The unplaced pages are those the site map reports.
    site.write("drafts/notes/idea.html", "<h1>Idea</h1>");
    auto result = check({ site.path().string(), "--format", "json" });
    EXPECT_EQ(result.exitStatus, 1) << result.standardError;
    auto json = nlohmann::json::parse(result.standardOutput);
    EXPECT_EQ(json["pageCount"], 2);
    EXPECT_EQ(json["missingLocalRoutes"], nlohmann::json::parse(R"([{"page": "index.html", "reference": "missing.html", "line": 2, "column": 13}])"));
    auto sitemap = runChildProcess({ QUILLORY_CLI_PATH, "sitemap", site.path().string() });
    EXPECT_EQ(json["unplacedPages"], nlohmann::json::parse(sitemap.standardOutput)["unplacedPages"]);
    EXPECT_EQ(json["rootPath"], site.path().string());
}

TEST(CheckCommand, LinksInCommentsAndScriptsCountAsTheSiteScanReadsThem)
{
    TemporaryDirectory site;
    site.write("index.html", "<!-- <a href=\"old.html\">old</a> -->\n<script>let s = '<a href=\"js.html\">';</script>\n");
    auto result = check({ site.path().string() });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "index.html:1:15: missing local route \"old.html\"\n"
                                     "index.html:2:27: missing local route \"js.html\"\n");
}

TEST(CheckCommand, PercentEncodedReferencesResolveToTheirFiles)
{
    TemporaryDirectory site;
    site.write("index.html", "<a href=\"my%20page.html\">ok</a>\n<a href=\"no%20page.html\">missing</a>\n");
    site.write("my page.html", "<h1>Mine</h1>");
    auto result = check({ site.path().string() });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "index.html:2:10: missing local route \"no%20page.html\"\n");
}

TEST(CheckCommand, UsageAndUnreadableFoldersExitTwo)
{
    auto noFolder = check({});
    EXPECT_EQ(noFolder.exitStatus, 2);
    EXPECT_NE(noFolder.standardError.find("usage: quillory-cli check DIR"), std::string::npos);

    TemporaryDirectory site;
    auto badFormat = check({ site.path().string(), "--format", "xml" });
    EXPECT_EQ(badFormat.exitStatus, 2);

    auto missingFolder = check({ (site.path() / "nowhere").string() });
    EXPECT_EQ(missingFolder.exitStatus, 2);
    EXPECT_NE(missingFolder.standardError.find("is not a folder"), std::string::npos);

    site.write("index.html", "<h1>\xFF</h1>");
    auto invalidPage = check({ site.path().string() });
    EXPECT_EQ(invalidPage.exitStatus, 2);
    EXPECT_NE(invalidPage.standardError, "");
}
