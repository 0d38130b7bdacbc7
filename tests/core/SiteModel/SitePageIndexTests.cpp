#include "QuilloryCore/SiteModel/SitePageIndex.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace Quillory;

namespace {

std::vector<SitePage> pagesAt(const std::vector<std::string>& paths)
{
    std::vector<SitePage> pages;
    for (auto& path : paths)
        pages.emplace_back(path, "/site/" + path, "T");
    return pages;
}

TEST(SitePageIndex, FindsEveryPageAtItsPositionAndNothingElse)
{
    std::vector<std::string> paths;
    for (int page = 0; page < 3000; ++page)
        paths.push_back("section-" + std::to_string(page % 7) + "/page-" + std::to_string(page) + ".html");
    auto pages = pagesAt(paths);
    SitePageIndex index(pages);
    for (std::uint32_t position = 0; position < pages.size(); ++position)
        ASSERT_EQ(index.find(paths[position]), position) << paths[position];
    for (int page = 3000; page < 6000; ++page)
        ASSERT_EQ(index.find("section-0/page-" + std::to_string(page) + ".html"), SitePageIndex::notFound);
    EXPECT_EQ(index.duplicatePath(), std::nullopt);
}

TEST(SitePageIndex, ComparesPathsExactly)
{
    auto pages = pagesAt({ "page.html", "a b.html", "docs/index.html" });
    SitePageIndex index(pages);
    EXPECT_EQ(index.find("page.html"), 0u);
    EXPECT_EQ(index.find("a b.html"), 1u);
    EXPECT_EQ(index.find("docs/index.html"), 2u);
    for (std::string_view other : { "Page.html", "PAGE.HTML", "page.htm", "page.html/", "/page.html", "a%20b.html", "docs", "", "docs/" })
        EXPECT_EQ(index.find(other), SitePageIndex::notFound) << other;
}

TEST(SitePageIndex, EmptyListFindsNothing)
{
    SitePageIndex index(std::vector<SitePage> {});
    EXPECT_EQ(index.find("index.html"), SitePageIndex::notFound);
    EXPECT_EQ(SitePageIndex().find("index.html"), SitePageIndex::notFound);
}

TEST(SitePageIndex, PathListedTwiceIsReportedAndAnswersWithItsFirstPosition)
{
    auto pages = pagesAt({ "a.html", "b.html", "a.html", "b.html" });
    SitePageIndex index(pages);
    ASSERT_TRUE(index.duplicatePath());
    EXPECT_EQ(*index.duplicatePath(), "a.html");
    EXPECT_EQ(index.find("a.html"), 0u);
    EXPECT_EQ(index.find("b.html"), 1u);
}

}
