#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"

#include "QuilloryCore/SiteModel/HTMLLinkExtractor.h"
#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/Text/RegularExpression.h"
#include "QuilloryCore/SiteModel/SiteRouteResolver.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "support/RandomTexts.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <random>

#include <unistd.h>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;

namespace {

SiteMap scan(const TemporaryDirectory& folder)
{
    return SiteGraphBuilder().build(folder.path());
}

std::vector<std::string> pageIDs(const std::vector<SitePage>& pages)
{
    std::vector<std::string> ids;
    for (auto& page : pages)
        ids.push_back(page.id);
    return ids;
}

// One line per node, indented by depth: "id | pageID or - | title".
void appendOutline(const PageTreeNode& node, int depth, std::string& outline)
{
    outline += std::string(static_cast<std::size_t>(depth) * 2, ' ') + node.id + " | " + node.pageID.value_or("-") + " | " + node.title + "\n";
    for (auto& child : node.children)
        appendOutline(child, depth + 1, outline);
}

std::string outline(const PageTreeNode& node)
{
    std::string text;
    appendOutline(node, 0, text);
    return text;
}

std::string page(std::string_view heading, std::string_view body = "")
{
    return "<html><body><h1>" + std::string(heading) + "</h1>" + std::string(body) + "</body></html>\n";
}

TEST(SiteGraphBuilder, EmptyFolderYieldsVirtualSiteRootAndNothingElse)
{
    TemporaryDirectory folder;
    auto map = scan(folder);
    EXPECT_TRUE(map.pages.empty());
    EXPECT_EQ(map.primaryTree.id, "virtual:Site");
    EXPECT_EQ(map.primaryTree.title, "Site");
    EXPECT_EQ(map.primaryTree.pageID, std::nullopt);
    EXPECT_TRUE(map.primaryTree.children.empty());
    EXPECT_TRUE(map.unplacedPages.empty());
    EXPECT_TRUE(map.linksByPageID.empty());
    EXPECT_EQ(map.rootURL, folder.path());
}

TEST(SiteGraphBuilder, RootThatCannotBeListedGivesASiteWithoutPages)
{
    TemporaryDirectory folder;
    auto map = SiteGraphBuilder().build(folder.path() / "missing");
    EXPECT_TRUE(map.pages.empty());
    EXPECT_EQ(map.primaryTree.id, "virtual:Site");
}

TEST(SiteGraphBuilder, SiteWithoutIndexUsesFirstPageInPathOrderAsRootWithoutRepeatingIt)
{
    TemporaryDirectory folder;
    folder.write("about.html", page("About us"));
    folder.write("contact.html", page("Contact"));
    auto map = scan(folder);
    EXPECT_EQ(outline(map.primaryTree),
              "about.html | about.html | About us\n"
              "  contact.html | contact.html | Contact\n");
    EXPECT_TRUE(map.unplacedPages.empty());
}

TEST(SiteGraphBuilder, RootIndexHTMWithoutIndexHTMLIsInNoNodeAndUnplaced)
{
    TemporaryDirectory folder;
    folder.write("index.htm", page("Old home"));
    folder.write("a.html", page("A"));
    auto map = scan(folder);
    EXPECT_EQ(pageIDs(map.pages), (std::vector<std::string> { "a.html", "index.htm" }));
    EXPECT_EQ(outline(map.primaryTree), "a.html | a.html | A\n");
    EXPECT_EQ(pageIDs(map.unplacedPages), std::vector<std::string> { "index.htm" });
}

TEST(SiteGraphBuilder, FolderWithBothIndexFilesUsesIndexHTMLAndLeavesIndexHTMUnplaced)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("docs/index.html", page("Documentation"));
    folder.write("docs/index.htm", page("Old documentation"));
    folder.write("docs/setup.html", page("Setup"));
    auto map = scan(folder);
    EXPECT_EQ(outline(map.primaryTree),
              "index.html | index.html | Home\n"
              "  docs/index.html | docs/index.html | Documentation\n"
              "    docs/setup.html | docs/setup.html | Setup\n");
    EXPECT_EQ(pageIDs(map.unplacedPages), std::vector<std::string> { "docs/index.htm" });
}

TEST(SiteGraphBuilder, FolderWithOnlyIndexHTMUsesIt)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("old/index.htm", page("Archive"));
    auto map = scan(folder);
    EXPECT_EQ(outline(map.primaryTree),
              "index.html | index.html | Home\n"
              "  old/index.htm | old/index.htm | Archive\n");
    EXPECT_TRUE(map.unplacedPages.empty());
}

TEST(SiteGraphBuilder, FolderWithoutIndexPageIsAVirtualNodeTitledFromItsName)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("getting-started_now/first.html", page("First"));
    auto map = scan(folder);
    ASSERT_EQ(map.primaryTree.children.size(), 1u);
    auto& node = map.primaryTree.children[0];
    EXPECT_EQ(node.title, "Getting Started Now");
    EXPECT_EQ(node.id, "virtual:Getting Started Now");
    EXPECT_EQ(node.pageID, std::nullopt);
    ASSERT_EQ(node.children.size(), 1u);
    EXPECT_EQ(node.children[0].id, "getting-started_now/first.html");
}

TEST(SiteGraphBuilder, FolderIndexWithoutHeadingOrTitleIsTitledFromItsFolder)
{
    TemporaryDirectory folder;
    folder.write("docs/index.html", "<p>No heading here</p>\n");
    auto map = scan(folder);
    ASSERT_EQ(map.pages.size(), 1u);
    EXPECT_EQ(map.pages[0].title, "Docs");
}

TEST(SiteGraphBuilder, HeadingTagsAreStrippedAndAmpersandEntityDecoded)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<H1 class=\"big\">\n  A &amp; <b>B</b>\n</H1>");
    auto map = scan(folder);
    ASSERT_EQ(map.pages.size(), 1u);
    EXPECT_EQ(map.pages[0].title, "A & B");
}

TEST(SiteGraphBuilder, OnlyTheAmpersandEntityIsDecoded)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>&lt;Tom&gt; &amp;amp; Jerry</h1>");
    EXPECT_EQ(scan(folder).pages[0].title, "&lt;Tom&gt; &amp; Jerry");
}

TEST(SiteGraphBuilder, EmptyHeadingGivesEmptyTitleEvenWhenTitleElementFollows)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<body><h1></h1><title>Ignored</title></body>");
    folder.write("logo.html", "<title>Not this</title><h1><img src=\"logo.png\"></h1>");
    auto map = scan(folder);
    ASSERT_EQ(map.pages.size(), 2u);
    EXPECT_EQ(map.pages[0].title, "");
    EXPECT_EQ(map.pages[1].title, "");
}

TEST(SiteGraphBuilder, FirstHeadingWinsOverEarlierTitleElement)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<head><title>Window title</title></head><body><h1>First</h1><h1>Second</h1></body>");
    EXPECT_EQ(scan(folder).pages[0].title, "First");
}

TEST(SiteGraphBuilder, TitleElementIsUsedWithoutHeading)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<head><TITLE lang=\"en\">\n  Shop &amp; Caf\xC3\xA9 \n</TITLE></head><body><h2>Not a title</h2></body>");
    EXPECT_EQ(scan(folder).pages[0].title, "Shop & Caf\xC3\xA9");
}

TEST(SiteGraphBuilder, H1PrefixOfAnotherElementIsNoHeading)
{
    TemporaryDirectory folder;
    folder.write("guide.html", "<h1x>Not a heading</h1x>");
    EXPECT_EQ(scan(folder).pages[0].title, "Guide");
}

TEST(SiteGraphBuilder, TreeSortsDigitRunsByValueWhilePagesUsePlainOrder)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("v2-page.html", "<p>no heading</p>");
    folder.write("v10-page.html", "<p>no heading</p>");
    auto map = scan(folder);
    EXPECT_EQ(pageIDs(map.pages), (std::vector<std::string> { "index.html", "v10-page.html", "v2-page.html" }));
    EXPECT_EQ(outline(map.primaryTree),
              "index.html | index.html | Home\n"
              "  v2-page.html | v2-page.html | V2 Page\n"
              "  v10-page.html | v10-page.html | V10 Page\n");
}

TEST(SiteGraphBuilder, TreeOrderIgnoresCaseAndPutsFoldersAmongPagesByTitle)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("b.html", page("banana"));
    folder.write("a.html", page("Cherry"));
    folder.write("zoo/index.html", page("Apple"));
    auto map = scan(folder);
    EXPECT_EQ(outline(map.primaryTree),
              "index.html | index.html | Home\n"
              "  zoo/index.html | zoo/index.html | Apple\n"
              "  b.html | b.html | banana\n"
              "  a.html | a.html | Cherry\n");
}

TEST(SiteGraphBuilder, FolderStandsBeforePageOfTheSameTitle)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("about.html", page("about"));
    folder.write("about/team.html", page("Team"));
    auto map = scan(folder);
    EXPECT_EQ(outline(map.primaryTree),
              "index.html | index.html | Home\n"
              "  virtual:About | - | About\n"
              "    about/team.html | about/team.html | Team\n"
              "  about.html | about.html | about\n");
}

TEST(SiteGraphBuilder, FoldersWithoutIndexAndWithTheSameTitleShareAnID)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("read-me/a.html", page("A"));
    folder.write("read_me/b.html", page("B"));
    auto map = scan(folder);
    EXPECT_EQ(outline(map.primaryTree),
              "index.html | index.html | Home\n"
              "  virtual:Read Me | - | Read Me\n"
              "    read-me/a.html | read-me/a.html | A\n"
              "  virtual:Read Me | - | Read Me\n"
              "    read_me/b.html | read_me/b.html | B\n");
}

TEST(SiteGraphBuilder, NestedFoldersWithoutPagesOfTheirOwnStillAppear)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("docs/api/v1.2/index.html", "<p>no heading</p>");
    folder.write("docs/api/v1.2/calls.html", page("Calls"));
    auto map = scan(folder);
    EXPECT_EQ(outline(map.primaryTree),
              "index.html | index.html | Home\n"
              "  virtual:Docs | - | Docs\n"
              "    virtual:Api | - | Api\n"
              "      docs/api/v1.2/index.html | docs/api/v1.2/index.html | V1.2\n"
              "        docs/api/v1.2/calls.html | docs/api/v1.2/calls.html | Calls\n");
    EXPECT_EQ(map.primaryTree.flattenedPageIDs(),
              (std::vector<std::string> { "index.html", "docs/api/v1.2/index.html", "docs/api/v1.2/calls.html" }));
}

TEST(SiteGraphBuilder, TitleFromPathTable)
{
    struct Case {
        std::string_view path;
        std::string_view title;
    };
    const Case cases[] = {
        { "index.html", "Home" },
        { "/index.html", "Index" },
        { "docs/index.html", "Docs" },
        { "docs/guide/index.html", "Guide" },
        { "docs/index.htm", "Index" },
        { "index.htm", "Index" },
        { "getting-started_now", "Getting Started Now" },
        { "FAQ.html", "Faq" },
        { "my--page__two.html", "My Page Two" },
        { "v1.2", "V1" },
        { "notes.tar.gz", "Notes.tar" },
        { "docs//setup.html", "Setup" },
        { "caf\xC3\xA9-\xC3\xA9t\xC3\xA9.html", "Caf\xC3\xA9 \xC3\x89t\xC3\xA9" },
        { "", "" },
    };
    for (auto& testCase : cases)
        EXPECT_EQ(SiteGraphBuilder::titleFromPath(testCase.path), testCase.title) << testCase.path;
}

TEST(SiteGraphBuilder, GitAndNodeModulesFoldersGiveNoPages)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write(".git/index.html", page("Git"));
    folder.write("node_modules/pkg/readme.html", page("Package"));
    folder.write("docs/node_modules/x.html", page("Nested package"));
    auto map = scan(folder);
    EXPECT_EQ(pageIDs(map.pages), std::vector<std::string> { "index.html" });
}

TEST(SiteGraphBuilder, HiddenFileIsSkipped)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write(".draft.html", page("Draft"));
    folder.write("docs/.hidden.html", page("Hidden"));
    EXPECT_EQ(pageIDs(scan(folder).pages), std::vector<std::string> { "index.html" });
}

TEST(SiteGraphBuilder, DistAndBuildFoldersAreScannedForPages)
{
    TemporaryDirectory folder;
    folder.write("dist/index.html", page("Built"));
    folder.write("build/out.html", page("Out"));
    EXPECT_EQ(pageIDs(scan(folder).pages), (std::vector<std::string> { "build/out.html", "dist/index.html" }));
}

TEST(SiteGraphBuilder, UpperCaseHTMExtensionIsFoundAndKeepsItsCase)
{
    TemporaryDirectory folder;
    folder.write("PAGE.HTM", page("Shouting"));
    folder.write("notes.txt", "not a page");
    folder.write("style.css", "h1 {}");
    folder.write("html", "no extension");
    auto map = scan(folder);
    ASSERT_EQ(map.pages.size(), 1u);
    EXPECT_EQ(map.pages[0].relativePath, "PAGE.HTM");
    EXPECT_EQ(map.pages[0].id, "PAGE.HTM");
    EXPECT_EQ(map.pages[0].url, folder.path() / "PAGE.HTM");
}

TEST(SiteGraphBuilder, SymbolicLinksAreNeitherPagesNorFollowedIntoFolders)
{
    TemporaryDirectory outside;
    outside.write("secret/page.html", page("Secret"));
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    std::filesystem::create_symlink(folder.path() / "index.html", folder.path() / "alias.html");
    std::filesystem::create_directory_symlink(outside.path() / "secret", folder.path() / "linked");
    EXPECT_EQ(pageIDs(scan(folder).pages), std::vector<std::string> { "index.html" });
}

TEST(SiteGraphBuilder, RootIsStandardizedAndPagesCarryAbsoluteFileLocations)
{
    TemporaryDirectory folder;
    folder.write("docs/guide.html", page("Guide"));
    auto map = SiteGraphBuilder().build(folder.path() / "." / "docs" / ".." / "");
    EXPECT_EQ(map.rootURL, folder.path());
    ASSERT_EQ(map.pages.size(), 1u);
    EXPECT_EQ(map.pages[0].url, folder.path() / "docs" / "guide.html");
}

TEST(SiteGraphBuilder, LinksKeepFirstAppearanceOrderWithoutDuplicates)
{
    TemporaryDirectory folder;
    folder.write("index.html",
                 "<h1>Home</h1>"
                 "<a href=\"b.html\">B</a>"
                 "<a href='a.html'>A</a>"
                 "<a href=\"/b.html#top\">B again</a>"
                 "<a href=\"b\">B without extension</a>");
    folder.write("a.html", page("A"));
    folder.write("b.html", page("B"));
    auto map = scan(folder);
    EXPECT_EQ(map.linksByPageID.at("index.html"), (std::vector<std::string> { "b.html", "a.html" }));
}

TEST(SiteGraphBuilder, EveryPageHasALinkEntryEvenWithoutLinks)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home", "<a href=\"https://example.org/\">out</a><a href=\"missing.html\">x</a>"
                                           "<a href=\"logo.png\">logo</a><a href=\"#top\">top</a><a href=\"mailto:a@b\">mail</a>"));
    folder.write("logo.png", "png");
    folder.write("quiet.html", page("Quiet"));
    auto map = scan(folder);
    EXPECT_EQ(map.linksByPageID.size(), 2u);
    EXPECT_TRUE(map.linksByPageID.at("index.html").empty());
    EXPECT_TRUE(map.linksByPageID.at("quiet.html").empty());
}

TEST(SiteGraphBuilder, PageLinkingToItselfListsItself)
{
    TemporaryDirectory folder;
    folder.write("docs/guide.html", page("Guide", "<a href=\"guide.html\">me</a><a href=\"../index.html\">home</a>"));
    folder.write("index.html", page("Home", "<a href=\"docs/guide\">guide</a>"));
    auto map = scan(folder);
    EXPECT_EQ(map.linksByPageID.at("docs/guide.html"), (std::vector<std::string> { "docs/guide.html", "index.html" }));
    EXPECT_EQ(map.linksByPageID.at("index.html"), std::vector<std::string> { "docs/guide.html" });
}

TEST(SiteGraphBuilder, UnquotedHrefGivesNoLink)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home", "<a href=about.html>About</a>"));
    folder.write("about.html", page("About"));
    EXPECT_TRUE(scan(folder).linksByPageID.at("index.html").empty());
}

TEST(SiteGraphBuilder, PageThatIsNotUTF8StopsTheWholeBuild)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("docs/latin1.html", "<h1>Caf\xE9</h1>");
    try {
        scan(folder);
        FAIL() << "the build should have failed";
    } catch (const FileReadError& error) {
        EXPECT_EQ(error.path(), folder.path() / "docs" / "latin1.html");
        EXPECT_NE(std::string(error.what()).find("\xE2\x80\x9Clatin1.html\xE2\x80\x9D"), std::string::npos) << error.what();
        EXPECT_NE(std::string(error.what()).find("UTF-8"), std::string::npos) << error.what();
    }
}

TEST(SiteGraphBuilder, UnreadablePageStopsTheWholeBuild)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root reads files regardless of their permissions";
    TemporaryDirectory folder;
    auto locked = folder.write("locked.html", page("Locked"));
    std::filesystem::permissions(locked, std::filesystem::perms::none);
    EXPECT_THROW(scan(folder), FileReadError);
}

TEST(SiteMap, PageWithIDFindsThePageAndNothingForAbsentOrUnknownIDs)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("about.html", page("About"));
    auto map = scan(folder);
    ASSERT_TRUE(map.page("about.html"));
    EXPECT_EQ(map.page("about.html")->title, "About");
    EXPECT_EQ(map.page(std::nullopt), std::nullopt);
    EXPECT_EQ(map.page("gone.html"), std::nullopt);
}

TEST(SiteMap, PageIDForHrefResolvesFromTheReferringPage)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("blog/post.html", page("Post"));
    folder.write("blog/other.html", page("Other"));
    folder.write("other.html", page("Root other"));
    folder.write("img/logo.png", "png");
    auto map = scan(folder);
    EXPECT_EQ(map.pageID("other.html", "blog/post.html"), "blog/other.html");
    EXPECT_EQ(map.pageID("other.html", std::nullopt), "other.html");
    // An unknown referring page counts as no referring page.
    EXPECT_EQ(map.pageID("other.html", "gone/page.html"), "other.html");
    EXPECT_EQ(map.pageID("../img/logo.png", "blog/post.html"), std::nullopt);
    EXPECT_EQ(map.pageID("https://example.org/", "index.html"), std::nullopt);
}

TEST(SiteMap, RouteResolverServesTheMapsPages)
{
    TemporaryDirectory folder;
    folder.write("guide/index.html", page("Guide"));
    auto map = scan(folder);
    auto resolved = map.routeResolver().resolve("/guide/");
    EXPECT_EQ(resolved.kind, ResolvedSiteResource::Kind::localPage("guide/index.html"));
    EXPECT_EQ(map.routeResolver().rootURL(), folder.path());
}

TEST(SiteLinkIndex, GivesLinkedPagesInStoredOrder)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home", "<a href=\"c.html\">c</a><a href=\"a.html\">a</a>"));
    folder.write("a.html", page("A"));
    folder.write("c.html", page("C"));
    auto map = scan(folder);
    auto links = map.localLinks();
    EXPECT_EQ(links.pagesByID.size(), 3u);
    EXPECT_EQ(links.linksByPageID, map.linksByPageID);
    auto home = *map.page("index.html");
    EXPECT_EQ(pageIDs(links[home]), (std::vector<std::string> { "c.html", "a.html" }));
    EXPECT_EQ(links.linksFrom(home), links[home]);
    EXPECT_TRUE(links[*map.page("a.html")].empty());
}

TEST(SiteLinkIndex, DropsIDsWithoutPageAndGivesNothingForAnUnknownPage)
{
    SitePage home("index.html", "/site/index.html", "Home");
    SitePage about("about.html", "/site/about.html", "About");
    SiteMap map { "/site", { about, home }, PageTreeNode("Home", "index.html", {}), {},
                  { { "index.html", { "gone.html", "about.html" } }, { "about.html", {} } } };
    SiteLinkIndex links(map);
    EXPECT_EQ(pageIDs(links[home]), std::vector<std::string> { "about.html" });
    EXPECT_TRUE(links[SitePage("stranger.html", "/site/stranger.html", "Stranger")].empty());
}

TEST(PageTreeNode, IDIsThePageIDOrVirtualTitle)
{
    EXPECT_EQ(PageTreeNode("Docs", "docs/index.html", {}).id, "docs/index.html");
    EXPECT_EQ(PageTreeNode("Docs", std::nullopt, {}).id, "virtual:Docs");
}

TEST(PageTreeNode, FlattenedPageIDsArePreorderAndOutlineChildrenIsAbsentOnALeaf)
{
    PageTreeNode leaf("Leaf", "a/leaf.html", {});
    PageTreeNode folder("A", std::nullopt, { leaf, PageTreeNode("Two", "a/two.html", {}) });
    PageTreeNode root("Home", "index.html", { folder, PageTreeNode("Last", "last.html", {}) });
    EXPECT_EQ(root.flattenedPageIDs(), (std::vector<std::string> { "index.html", "a/leaf.html", "a/two.html", "last.html" }));
    EXPECT_EQ(leaf.outlineChildren(), nullptr);
    ASSERT_NE(root.outlineChildren(), nullptr);
    EXPECT_EQ(root.outlineChildren()->size(), 2u);
}

TEST(SitePage, IDIsTheRelativePath)
{
    SitePage page("docs/guide/index.html", "/site/docs/guide/index.html", "");
    EXPECT_EQ(page.id, "docs/guide/index.html");
    EXPECT_EQ(page.relativePath, "docs/guide/index.html");
    EXPECT_EQ(page.title, "");
}

TEST(SiteGraphBuilder, FoldersWhoseNamesShareAPrefixKeepTheirOwnPages)
{
    TemporaryDirectory folder;
    folder.write("index.html", page("Home"));
    folder.write("a/index.html", page("A"));
    folder.write("a/x.html", page("A X"));
    folder.write("a-b/y.html", page("AB Y"));
    folder.write("a.html", page("A Page"));
    folder.write("a/b/z.html", page("A B Z"));
    folder.write("ab/w.html", page("AB W"));
    EXPECT_EQ(outline(scan(folder).primaryTree),
              "index.html | index.html | Home\n"
              "  a/index.html | a/index.html | A\n"
              "    a/x.html | a/x.html | A X\n"
              "    virtual:B | - | B\n"
              "      a/b/z.html | a/b/z.html | A B Z\n"
              "  virtual:A B | - | A B\n"
              "    a-b/y.html | a-b/y.html | AB Y\n"
              "  a.html | a.html | A Page\n"
              "  virtual:Ab | - | Ab\n"
              "    ab/w.html | ab/w.html | AB W\n");
}

TEST(SiteGraphBuilder, NonASCIIPageKeepsItsTitleAndLinks)
{
    TemporaryDirectory folder;
    folder.write("index.html", "\xEF\xBB\xBF<h1>Caf\xC3\xA9 \xF0\x9F\x98\x80</h1><a href=\"caf\xC3\xA9.html\">x</a><a href='docs/'>d</a>");
    folder.write("caf\xC3\xA9.html", page("Menu"));
    folder.write("docs/index.html", page("Docs"));
    auto map = scan(folder);
    EXPECT_EQ(map.page("index.html")->title, "Caf\xC3\xA9 \xF0\x9F\x98\x80");
    EXPECT_EQ(map.linksByPageID.at("index.html"), (std::vector<std::string> { "caf\xC3\xA9.html", "docs/index.html" }));
}

// The stored links are those that resolving every href of every page with the full resolver gives.
TEST(SiteGraphBuilder, LinksAreWhatResolvingEveryHrefGives)
{
    TemporaryDirectory folder;
    const std::vector<std::string> paths = { "index.html", "about.html", "blog/index.html", "blog/post.html", "blog/2024/a b.html",
                                             "docs/index.htm", "docs/guide.html", "docs/v1.2/index.html", "docs/deep/x/y.html", "100%.html" };
    const std::vector<std::string> hrefs = { "about.html", "/about", "../about", "blog/", "/blog", "post.html", "../blog/post", "2024/a%20b.html",
                                             "/blog/2024/a b", "guide", "../docs/guide.html?x=1#top", "/docs/", "v1.2/", "/docs/v1.2",
                                             "x/y", "deep/x/y.html", "../../../../index.html", "./", ".", "..", "/", "#top", "?q",
                                             "https://example.org/", "mailto:a@b", "javascript:void(0)", "/100%.html", "100%25.html",
                                             "missing.html", "/img/logo.png", "//cdn/x", " about.html ", "ABOUT.HTML", "%zz", "blog//post.html" };
    std::mt19937 random(5);
    std::uniform_int_distribution<std::size_t> pick(0, hrefs.size() - 1);
    for (auto& path : paths) {
        std::string text = "<h1>" + path + "</h1>";
        for (int link = 0; link < 12; ++link)
            text += "<a href=\"" + hrefs[pick(random)] + "\">l</a>";
        folder.write(path, text);
    }
    folder.write("img/logo.png", "png");

    auto map = scan(folder);
    auto resolver = map.routeResolver();
    ASSERT_EQ(map.pages.size(), paths.size());
    for (auto& sitePage : map.pages) {
        std::vector<std::string> expected;
        for (auto& href : HTMLLinkExtractor().hrefs(TextFile::readUTF8(sitePage.url))) {
            auto target = resolver.resolve(href, sitePage.relativePath).kind.pageID();
            if (target && std::find(expected.begin(), expected.end(), *target) == expected.end())
                expected.push_back(*target);
        }
        EXPECT_EQ(map.linksByPageID.at(sitePage.id), expected) << sitePage.id;
    }
}

// The title rule as ICU expressions, the way the builder once ran it; pageTitle's hand-written
// matching must give exactly its results.
std::string expressionTitle(std::u16string_view html, std::string_view relativePath)
{
    constexpr unsigned options = RegularExpression::Option::CaseInsensitive | RegularExpression::Option::DotMatchesLineSeparators;
    static const auto heading = RegularExpression::make(u"<h1\\b[^>]*>(.*?)</h1>", options);
    static const auto titleElement = RegularExpression::make(u"<title\\b[^>]*>(.*?)</title>", options);
    static const auto tag = RegularExpression::make(u"<[^>]+>");
    auto capture = [&](const std::optional<RegularExpression>& expression) -> std::optional<std::u16string_view> {
        auto match = expression->firstMatch(html);
        if (!match || !match->range(1))
            return std::nullopt;
        return html.substr(match->range(1)->location, match->range(1)->length);
    };
    auto content = capture(heading);
    if (!content)
        content = capture(titleElement);
    if (!content)
        return SiteGraphBuilder::titleFromPath(relativePath);
    auto withoutTags = tag->replacingMatches(*content, u"");
    std::u16string decoded;
    for (std::size_t index = 0; index < withoutTags.size(); ++index) {
        if (withoutTags.compare(index, 5, u"&amp;") == 0) {
            decoded.push_back(u'&');
            index += 4;
        } else {
            decoded.push_back(withoutTags[index]);
        }
    }
    return UnicodeText::utf8FromUTF16(StringHelpers::trimmingWhitespaceAndNewlines(decoded));
}

void expectTitleAsExpression(std::u16string_view html)
{
    EXPECT_EQ(SiteGraphBuilder::pageTitle(html, "docs/some-page.html"), expressionTitle(html, "docs/some-page.html"))
        << "text: " << UnicodeText::utf8FromUTF16(html);
}

TEST(SiteGraphBuilder, TitleRuleDetails)
{
    EXPECT_EQ(SiteGraphBuilder::pageTitle(u"<h1 class=x>A<br>B</h1>", "p.html"), "AB");
    EXPECT_EQ(SiteGraphBuilder::pageTitle(u"<H1>Up</H1 >", "p.html"), "P");
    EXPECT_EQ(SiteGraphBuilder::pageTitle(u"<h1>a <<b>> c</h1>", "p.html"), "a > c");
    EXPECT_EQ(SiteGraphBuilder::pageTitle(u"<h1>a <> b <c</h1>", "p.html"), "a <> b <c");
    EXPECT_EQ(SiteGraphBuilder::pageTitle(u"<h1\u0301>no</h1><TITLE lang=en>\nYes\n</Title>", "p.html"), "Yes");
    EXPECT_EQ(SiteGraphBuilder::pageTitle(u"<h1 title=\"a>b\">x</h1>", "p.html"), "b\">x");
}

// Every code point after the element names, where the matching tests ICU's word boundary, and in
// place of a letter of each name, which only that letter in either case may match.
TEST(SiteGraphBuilder, TitleForEveryCodePointInEveryPlaceMatchesTheExpressions)
{
    const std::vector<std::pair<std::u16string, std::u16string>> places = {
        { u"<h1", u">t</h1>" }, { u"<", u"1>t</h1>" }, { u"<title", u">t</title>" }, { u"<t", u"tle>t</title>" },
    };
    for (auto& [before, after] : places) {
        for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
            std::u16string text = before;
            if (codePoint < 0x10000) {
                text.push_back(static_cast<char16_t>(codePoint));
            } else {
                text.push_back(static_cast<char16_t>(0xD7C0 + (codePoint >> 10)));
                text.push_back(static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF)));
            }
            text += after;
            if (SiteGraphBuilder::pageTitle(text, "p.html") != expressionTitle(text, "p.html")) {
                expectTitleAsExpression(text);
                return;
            }
        }
    }
}

TEST(SiteGraphBuilder, TitleOfRandomTextsMatchesTheExpressions)
{
    const std::vector<std::u16string> pieces = {
        u"<h1", u"<H1", u"</h1>", u"</H1>", u"</h1", u"<title", u"<TITLE", u"</title>", u"</Title>", u"<", u">", u"/", u"h1",
        u"title", u"<b>", u"</b>", u"<>", u"&amp;", u"&amp", u"&lt;", u" ", u"\n", u"\r\n", u"\t", u"\u00A0", u"\u2028", u"\u3000",
        u"x", u"1", u"_", u"-", u"=", u"\"", u"\u00E9", u"\u0301", u"\u200D", u"\u00AD", u"\U0001F600", u"\u1E96", u"\u0130",
        u"\xD800", u"\xDC00", u"<img src=x>", u"Title Words",
    };
    QuilloryTest::forEachRandomText(pieces, 99, 30, 200000, [&](const std::u16string& text) {
        expectTitleAsExpression(text);
        return !HasFailure();
    });
}

}

namespace {

// The scan resolves each href once per folder and remembers the answer; the links must be those
// of asking the route resolver about every href of every page, deduplicated in order.
TEST(SiteGraphBuilder, LinksEqualResolvingEveryHrefOfEveryPage)
{
    TemporaryDirectory folder;
    const std::vector<std::string> paths { "index.html", "about.html", "a.htm", "docs/index.html", "docs/guide.html", "docs/deep/x.html",
                                           "docs/deep/index.htm", "blog/post-1.html", "blog/post 2.html", "blog/index.html", "b/docs/guide.html" };
    const std::vector<std::string> hrefs { "about.html", "/about.html", "../about.html", "guide", "guide.html", "./guide.html",
                                           "deep/", "deep", "/docs/", "/docs", "..", "../..", "#top", "https://example.org/",
                                           "post%202.html", "post 2.html", "/blog/?page=2", "index.html#x", " about.html ", "a",
                                           "../docs/deep/x.html", "x.html", "/b/docs/guide", "mailto:someone@example.org", "//cdn.example.org/x",
                                           "missing.html", "%zz.html", "docs/../docs/guide.html", "/" };
    std::mt19937 random(3);
    std::uniform_int_distribution<std::size_t> pick(0, hrefs.size() - 1);
    for (auto& path : paths) {
        std::string html = "<h1>" + path + "</h1>\n";
        for (int link = 0; link < 25; ++link)
            html += "<a href=\"" + hrefs[pick(random)] + "\">link</a>\n";
        folder.write(path, html);
    }

    auto map = scan(folder);
    auto resolver = map.routeResolver();
    HTMLLinkExtractor extractor;
    ASSERT_EQ(map.pages.size(), paths.size());
    std::size_t linkCount = 0;
    for (auto& page : map.pages) {
        std::vector<std::string> expected;
        for (auto& href : extractor.hrefs(UnicodeText::utf16(QuilloryTest::readBytes(page.url)))) {
            auto target = resolver.page(href, page.relativePath);
            if (target && std::find(expected.begin(), expected.end(), target->id) == expected.end())
                expected.push_back(target->id);
        }
        EXPECT_EQ(map.linksByPageID.at(page.id), expected) << page.id;
        linkCount += expected.size();
    }
    EXPECT_GT(linkCount, 4 * paths.size());
}

}

namespace {

// A page of ASCII alone is titled from its bytes; the title must be that of its UTF-16 form.
TEST(SiteGraphBuilder, ASCIITitleOfRandomTextsEqualsTheTitleOfTheirCodeUnits)
{
    const std::vector<std::u16string> pieces = {
        u"<h1", u"<H1", u"</h1>", u"</H1>", u"</h1", u"<title", u"<TITLE", u"</title>", u"</Title>", u"<", u">", u"/", u"h1",
        u"title", u"<b>", u"</b>", u"<>", u"&amp;", u"&AMP;", u"&amp", u"&lt;", u" ", u"\n", u"\r\n", u"\t", u"\v", u"\f",
        u"x", u"1", u"_", u"-", u"=", u"\"", u"<img src=x>", u"Title Words", u"\x01", u"\x7F",
    };
    QuilloryTest::forEachRandomText(pieces, 20261123, 30, 200000, [&](const std::u16string& text) {
        std::string bytes(text.begin(), text.end());
        EXPECT_EQ(SiteGraphBuilder::asciiPageTitle(bytes, "docs/some-page.html"), SiteGraphBuilder::pageTitle(text, "docs/some-page.html"))
            << "text: " << bytes;
        return !HasFailure();
    });
}

// The scan finds titles and links on the bytes of ASCII pages and on the text of all others;
// a caller that looks at every page's text gets the same map.
TEST(SiteGraphBuilder, MapIsTheSameWhetherOrNotTheTextOfEveryPageIsAskedFor)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>Home &amp; more</h1><a href=\"caf\xC3\xA9.html\">c</a><a href=\"docs/\">d</a>");
    folder.write("caf\xC3\xA9.html", "<title>Caf\xC3\xA9</title><a href=\"/\">home</a><a href=\" docs/a.html \">a</a>");
    folder.write("docs/index.html", "<H1 class=x>Docs <em>all</em></H1><a href='a'>a</a><a href=\"../caf%C3%A9.html\">c</a>");
    folder.write("docs/a.html", "<p>no heading</p><a href=\"index.html#top\">up</a>");

    auto plain = scan(folder);
    std::vector<std::string> visited;
    auto visiting = SiteGraphBuilder().build(folder.path(), [&](const SitePage& page, std::u16string_view) { visited.push_back(page.id); });
    EXPECT_EQ(visited.size(), 4u);
    EXPECT_EQ(plain.pages, visiting.pages);
    EXPECT_EQ(plain.linksByPageID, visiting.linksByPageID);
    EXPECT_EQ(plain.primaryTree, visiting.primaryTree);
    EXPECT_EQ(plain.page(std::string("index.html"))->title, "Home & more");
    EXPECT_EQ(plain.page(std::string("docs/index.html"))->title, "Docs all");
    EXPECT_EQ(plain.linksByPageID.at("index.html"), (std::vector<std::string> { "caf\xC3\xA9.html", "docs/index.html" }));
    EXPECT_EQ(plain.linksByPageID.at("docs/index.html"), (std::vector<std::string> { "docs/a.html", "caf\xC3\xA9.html" }));
}

}
