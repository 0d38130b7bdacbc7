#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "QuilloryCore/SiteModel/SiteLinkCheck.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;

TEST(SiteLinkCheck, ReportsOnlyMissingLocalRoutesWithTheirPositions)
{
    TemporaryDirectory site;
    site.write("index.html", "<a href=\"about.html\">a</a>\r<a href=\"mailto:x@example.org\">m</a><a href=\"nope.html#x\">n</a>");
    site.write("about.html", "<h1>About</h1>");
    auto report = SiteLinkCheck::check(site.path());
    EXPECT_EQ(report.pageCount, 2u);
    // A lone CR ends a line too.
    ASSERT_EQ(report.missingRoutes.size(), 1u);
    EXPECT_EQ(report.missingRoutes[0], (MissingLocalRoute { "index.html", "nope.html#x", 2, 46 }));
}

TEST(SiteLinkCheck, ReadsTheSamePagesAsTheSiteScanAndEachOnce)
{
    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>");
    site.write("blog/index.html", "<title>Blog</title>");
    site.write("blog/post.html", "<h1>Post</h1>");
    std::vector<std::string> visited;
    auto map = SiteGraphBuilder().build(site.path(), [&](const SitePage& page, std::u16string_view) { visited.push_back(page.id); });
    EXPECT_EQ(visited, (std::vector<std::string> { "blog/index.html", "blog/post.html", "index.html" }));
    EXPECT_EQ(map.pages.size(), 3u);
    EXPECT_EQ(map.pages[0].title, "Blog");
}

TEST(SiteLinkCheck, AScanErrorReachesTheCaller)
{
    TemporaryDirectory site;
    site.write("index.html", "\xC3(");
    EXPECT_ANY_THROW(SiteLinkCheck::check(site.path()));
}
