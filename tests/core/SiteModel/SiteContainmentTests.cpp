#include "QuilloryCore/SiteModel/EditableDocument.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "QuilloryCore/SiteModel/SiteRouteResolver.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;
using Kind = ResolvedSiteResource::Kind;

namespace {

// A site cloned from elsewhere, beside a folder of the user's own that it must never reach.
// Both are real folders; the links in the site are real symbolic links.
struct HostileSite {
    TemporaryDirectory site;
    TemporaryDirectory home;

    HostileSite()
    {
        site.write("index.html", "<h1>Home</h1><a href=\"blog/post.html\">post</a>");
        site.write("blog/post.html", "<h1>Post</h1>");
        site.write("blog/logo.png", "png");
        home.write("secret.txt", "the user's secret");
        home.write("notes/diary.html", "<h1>Diary</h1>");
        home.write("src/private.js", "secret()");
    }

    void link(std::string_view name, const std::filesystem::path& target) const
    {
        std::filesystem::create_directory_symlink(target, site.path() / name);
    }
    SiteMap map() const { return SiteGraphBuilder().build(site.path()); }
    SiteRouteResolver resolver() const { return map().routeResolver(); }
};

std::vector<std::string> pagePaths(const SiteMap& map)
{
    std::vector<std::string> paths;
    for (auto& page : map.pages)
        paths.push_back(page.relativePath);
    return paths;
}

TEST(SiteContainment, FolderLinkOutOfTheSiteResolvesNothing)
{
    HostileSite hostile;
    hostile.link("homelink", hostile.home.path());
    hostile.link("etclink", "/etc");
    auto resolver = hostile.resolver();

    auto secret = resolver.resolve("/homelink/secret.txt");
    EXPECT_EQ(secret.kind, Kind::missingLocalRoute());
    EXPECT_EQ(secret.relativePath, "homelink/secret.txt");
    EXPECT_EQ(secret.fileURL, std::nullopt);
    EXPECT_EQ(resolver.resolve("/etclink/passwd").kind, Kind::missingLocalRoute());
    EXPECT_EQ(resolver.resolve("etclink/hostname", std::string_view("blog/../index.html")).kind, Kind::missingLocalRoute());
    EXPECT_EQ(resolver.resolveURL("quillory-site://local/homelink/secret.txt").kind, Kind::missingLocalRoute());
    EXPECT_EQ(resolver.page("/homelink/notes/diary.html"), nullptr);
}

TEST(SiteContainment, FolderLinkThatStaysInsideTheSiteKeepsWorking)
{
    HostileSite hostile;
    hostile.link("current", hostile.site.path() / "blog");
    auto resolver = hostile.resolver();
    auto logo = resolver.resolve("/current/logo.png");
    EXPECT_EQ(logo.kind, Kind::localAsset());
    EXPECT_EQ(logo.fileURL, hostile.site.path() / "current" / "logo.png");
    EXPECT_TRUE(resolver.isServableFile(hostile.site.path() / "current" / "logo.png"));
    EXPECT_FALSE(resolver.leavesSite(hostile.site.path() / "current" / "logo.png"));
}

TEST(SiteContainment, FileLinkLeavesTheSiteWhereverItPoints)
{
    HostileSite hostile;
    std::filesystem::create_symlink(hostile.home.path() / "secret.txt", hostile.site.path() / "secret.txt");
    std::filesystem::create_symlink(hostile.site.path() / "blog" / "logo.png", hostile.site.path() / "alias.png");
    auto resolver = hostile.resolver();
    EXPECT_EQ(resolver.resolve("/secret.txt").kind, Kind::missingLocalRoute());
    EXPECT_TRUE(resolver.leavesSite(hostile.site.path() / "secret.txt"));
    // A link is never served, even one to a file of the site: its own path is what was asked.
    EXPECT_EQ(resolver.resolve("/alias.png").kind, Kind::missingLocalRoute());
}

TEST(SiteContainment, LeavesSiteAnswersForPathsOutsideTheRootAndNotForNothing)
{
    HostileSite hostile;
    hostile.link("homelink", hostile.home.path());
    auto resolver = hostile.resolver();
    EXPECT_TRUE(resolver.leavesSite(hostile.home.path() / "secret.txt"));
    EXPECT_TRUE(resolver.leavesSite(hostile.site.path() / "homelink" / "secret.txt"));
    EXPECT_TRUE(resolver.leavesSite(hostile.site.path() / "homelink"));
    EXPECT_FALSE(resolver.leavesSite(hostile.site.path() / "deleted.html"));
    EXPECT_FALSE(resolver.leavesSite(hostile.site.path() / "index.html"));
}

TEST(SiteContainment, SiteOpenedThroughALinkServesItsFiles)
{
    HostileSite hostile;
    TemporaryDirectory elsewhere;
    auto opened = elsewhere.path() / "site";
    std::filesystem::create_directory_symlink(hostile.site.path(), opened);
    auto resolver = SiteGraphBuilder().build(opened).routeResolver();
    EXPECT_EQ(resolver.resolve("/blog/logo.png").kind, Kind::localAsset());
    EXPECT_EQ(resolver.resolve("/blog/post.html").kind, Kind::localPage("blog/post.html"));
}

TEST(SiteContainment, ScanListsNoPageBehindAFolderLink)
{
    HostileSite hostile;
    hostile.link("homelink", hostile.home.path());
    auto map = hostile.map();
    EXPECT_EQ(pagePaths(map), (std::vector<std::string> { "blog/post.html", "index.html" }));
}

TEST(SiteContainment, LoopingFolderLinkEndsTheScanWithThePagesOnDisk)
{
    HostileSite hostile;
    hostile.link("blog/up", "..");
    hostile.link("self", ".");
    auto map = hostile.map();
    EXPECT_EQ(pagePaths(map), (std::vector<std::string> { "blog/post.html", "index.html" }));
    // Through the loop the files are still those of the site, so they resolve.
    auto resolver = map.routeResolver();
    EXPECT_EQ(resolver.resolve("/blog/up/blog/up/self/blog/logo.png").kind, Kind::localAsset());
}

TEST(SiteContainment, LinkedSourceFolderListsNoDocument)
{
    HostileSite hostile;
    hostile.link("src", hostile.home.path() / "src");
    auto map = hostile.map();
    auto documents = EditableDocumentBuilder::build(map.rootURL, map, IncludeFrontendSource::yes);
    for (auto& document : documents)
        EXPECT_EQ(document.kind, EditableDocumentKind::htmlPage) << document.relativePath;
    EXPECT_EQ(documents.size(), 2u);
}

TEST(SiteContainment, LinkedFolderInsideTheSourcesIsNotEntered)
{
    HostileSite hostile;
    hostile.site.write("src/main.js", "main()");
    std::filesystem::create_directory_symlink(hostile.home.path() / "src", hostile.site.path() / "src" / "lib");
    auto map = hostile.map();
    auto documents = EditableDocumentBuilder::build(map.rootURL, map, IncludeFrontendSource::yes);
    std::vector<std::string> sources;
    for (auto& document : documents) {
        if (document.kind == EditableDocumentKind::sourceFile)
            sources.push_back(document.relativePath);
    }
    EXPECT_EQ(sources, (std::vector<std::string> { "src/main.js" }));
}

TEST(SiteContainment, DecodedNULIsAMissingRouteWithTheNULEscaped)
{
    HostileSite hostile;
    auto resolver = hostile.resolver();
    auto resolved = resolver.resolve("/index.html%00.js");
    EXPECT_EQ(resolved.kind, Kind::missingLocalRoute());
    EXPECT_EQ(resolved.relativePath, "index.html%00.js");
    EXPECT_EQ(resolved.fileURL, std::nullopt);
    EXPECT_EQ(resolver.page("/index.html%00.js"), nullptr);
    EXPECT_EQ(resolver.resolveURL("quillory-site://local/index.html%2500.js").kind, Kind::missingLocalRoute());
}

TEST(SiteContainment, ControlCharactersInAPathAreMissingRoutes)
{
    HostileSite hostile;
    auto resolver = hostile.resolver();
    using namespace std::string_literals;
    for (const auto& reference : { "/blog/post.html%0A"s, "/blog%09/post.html"s, "/index.html%7F"s, "/index.html\0.js"s, "index.html\x01"s }) {
        auto resolved = resolver.resolve(reference);
        EXPECT_EQ(resolved.kind, Kind::missingLocalRoute()) << reference;
        ASSERT_TRUE(resolved.relativePath) << reference;
        EXPECT_TRUE(std::none_of(resolved.relativePath->begin(), resolved.relativePath->end(),
                                 [](char character) { return static_cast<unsigned char>(character) < 0x20 || character == 0x7F; }))
            << *resolved.relativePath;
        EXPECT_EQ(resolver.page(reference), nullptr) << reference;
    }
}

TEST(SiteContainment, FileNameThatIsNotUTF8IsSkippedAndTheScanGoesOn)
{
    HostileSite hostile;
    hostile.site.write("bad\xff.html", "<h1>Bad</h1>");
    hostile.site.write("dir\xc3/inner.html", "<h1>Inner</h1>");
    hostile.site.write("src/ok.js", "ok()");
    hostile.site.write("src/bad\xfe.js", "bad()");
    auto map = hostile.map();
    EXPECT_EQ(pagePaths(map), (std::vector<std::string> { "blog/post.html", "index.html" }));
    auto documents = EditableDocumentBuilder::build(map.rootURL, map, IncludeFrontendSource::yes);
    EXPECT_EQ(documents.size(), 3u);
}

}
