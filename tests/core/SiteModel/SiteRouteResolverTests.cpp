#include "QuilloryCore/SiteModel/SiteRouteResolver.h"

#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;
using Kind = ResolvedSiteResource::Kind;

namespace Quillory {

// Readable failure output.
void PrintTo(const ResolvedSiteResource& resource, std::ostream* stream)
{
    *stream << "{" << resource.kindName() << " " << resource.kind.pageID().value_or("-") << ", requestPath \"" << resource.requestPath
            << "\", relativePath " << resource.relativePath.value_or("-") << ", fileURL "
            << (resource.fileURL ? resource.fileURL->string() : std::string("-")) << "}";
}

}

namespace {

// A real site folder with real pages; the resolver is the one its scan makes.
struct Site {
    TemporaryDirectory folder;

    void page(std::string_view relativePath) { folder.write(relativePath, "<h1>Page</h1>"); }
    void asset(std::string_view relativePath) { folder.write(relativePath, "bytes"); }
    SiteRouteResolver resolver() const { return SiteGraphBuilder().build(folder.path()).routeResolver(); }
    std::filesystem::path file(std::string_view relativePath) const { return folder.path() / relativePath; }
};

ResolvedSiteResource expected(Kind kind, std::string requestPath, std::optional<std::string> relativePath = std::nullopt,
                              std::optional<std::filesystem::path> fileURL = std::nullopt)
{
    return ResolvedSiteResource { std::move(kind), std::move(requestPath), std::move(relativePath), std::move(fileURL) };
}

TEST(SiteRouteResolver, EmptyAndBlankReferencesAreIgnoredWithAnEmptyRequestPath)
{
    Site site;
    site.page("index.html");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve(""), expected(Kind::ignored(), ""));
    EXPECT_EQ(resolver.resolve("  \t\n \xE2\x80\x83"), expected(Kind::ignored(), ""));
}

TEST(SiteRouteResolver, SlashDotAndDotDotLeadToTheRootPage)
{
    Site site;
    site.page("index.html");
    site.page("index.htm");
    auto resolver = site.resolver();
    for (std::string reference : { "/", ".", "..", "../../..", "./", "/./" }) {
        auto resolved = resolver.resolve(reference);
        EXPECT_EQ(resolved, expected(Kind::localPage("index.html"), reference, "index.html", site.file("index.html"))) << reference;
    }
}

TEST(SiteRouteResolver, RootWithoutIndexHTMLIsAMissingRouteAndTriesNoOtherCandidate)
{
    Site site;
    site.page("index.htm");
    site.page("index.html.html");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve("/"), expected(Kind::missingLocalRoute(), "/", "index.html"));
}

TEST(SiteRouteResolver, BareQueryAndFragmentAreIgnoredButSlashQueryIsTheRootPage)
{
    Site site;
    site.page("index.html");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve("?x=1"), expected(Kind::ignored(), "?x=1"));
    EXPECT_EQ(resolver.resolve("#top"), expected(Kind::ignored(), "#top"));
    EXPECT_EQ(resolver.resolve("/?x=1"), expected(Kind::localPage("index.html"), "/?x=1", "index.html", site.file("index.html")));
}

TEST(SiteRouteResolver, RequestPathIsTrimmedAndKeepsQueryAndFragment)
{
    Site site;
    site.page("docs/guide.html");
    auto resolved = site.resolver().resolve("  /docs/guide.html?v=2#intro\n");
    EXPECT_EQ(resolved, expected(Kind::localPage("docs/guide.html"), "/docs/guide.html?v=2#intro", "docs/guide.html", site.file("docs/guide.html")));
}

TEST(SiteRouteResolver, FragmentIsCutBeforeQuery)
{
    Site site;
    site.page("a.html");
    // "#" comes first: the "?" behind it is part of the cut fragment.
    EXPECT_EQ(site.resolver().resolve("a.html#x?y").kind, Kind::localPage("a.html"));
}

TEST(SiteRouteResolver, RelativeReferenceIsLookedUpBesideTheLinkingPage)
{
    Site site;
    site.page("blog/post.html");
    site.page("blog/other.html");
    site.page("other.html");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve("other.html", "blog/post.html"),
              expected(Kind::localPage("blog/other.html"), "other.html", "blog/other.html", site.file("blog/other.html")));
    EXPECT_EQ(resolver.resolve("/other.html", "blog/post.html").kind, Kind::localPage("other.html"));
    EXPECT_EQ(resolver.resolve("other.html", "index.html").kind, Kind::localPage("other.html"));
}

TEST(SiteRouteResolver, ReferenceWithoutExtensionTriesPageCandidatesInOrder)
{
    // about, about.html, about.htm, about/index.html, about/index.htm: each step removes the
    // winner so that the next candidate must answer.
    std::vector<std::string> candidates { "about", "about.html", "about.htm", "about/index.html", "about/index.htm" };
    for (std::size_t first = 0; first < candidates.size(); ++first) {
        // Page lookup never touches the disk, so the pages are given directly: a file "about"
        // and a folder "about" could not stand side by side on disk.
        TemporaryDirectory folder;
        std::vector<SitePage> pages;
        for (std::size_t index = first; index < candidates.size(); ++index)
            pages.emplace_back(candidates[index], folder.path() / candidates[index], "About");
        SiteRouteResolver resolver(folder.path(), pages);
        auto resolved = resolver.resolve("../about", "blog/post.html");
        EXPECT_EQ(resolved, expected(Kind::localPage(candidates[first]), "../about", candidates[first], folder.path() / candidates[first]));
    }
}

TEST(SiteRouteResolver, PageAboutHTMLBeatsAboutIndex)
{
    Site site;
    site.page("about.html");
    site.page("about/index.html");
    EXPECT_EQ(site.resolver().resolve("../about", "blog/post.html").kind, Kind::localPage("about.html"));
}

TEST(SiteRouteResolver, DotDotCannotClimbAboveTheRoot)
{
    Site site;
    site.page("docs/deep/page.html");
    auto resolver = site.resolver();
    for (std::string reference : { "../../etc/passwd", "../../../../../etc/passwd", "/../../etc/passwd", "%2E%2E/%2e%2e/%2E%2E/etc/passwd", "..%2F..%2F..%2Fetc/passwd" }) {
        EXPECT_EQ(resolver.resolve(reference, "docs/deep/page.html"), expected(Kind::missingLocalRoute(), reference, "etc/passwd")) << reference;
        EXPECT_EQ(resolver.resolve(reference), expected(Kind::missingLocalRoute(), reference, "etc/passwd")) << reference;
    }
    site.asset("etc/passwd");
    EXPECT_EQ(site.resolver().resolve("../../../../etc/passwd", "docs/deep/page.html"),
              expected(Kind::localAsset(), "../../../../etc/passwd", "etc/passwd", site.file("etc/passwd")));
}

TEST(SiteRouteResolver, DirectoryWithAndWithoutTrailingSlashGivesTheSameAnswer)
{
    Site site;
    site.page("guide/index.html");
    site.asset("empty/readme.txt");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve("/guide/").kind, Kind::localPage("guide/index.html"));
    EXPECT_EQ(resolver.resolve("/guide").kind, Kind::localPage("guide/index.html"));
    EXPECT_EQ(resolver.resolve("/guide/").relativePath, resolver.resolve("/guide").relativePath);
    // A directory is no regular file, so one without an index page leads nowhere.
    EXPECT_EQ(resolver.resolve("/empty/"), expected(Kind::missingLocalRoute(), "/empty/", "empty"));
    EXPECT_EQ(resolver.resolve("/empty"), expected(Kind::missingLocalRoute(), "/empty", "empty"));
}

TEST(SiteRouteResolver, DoubledSlashesVanish)
{
    Site site;
    site.page("docs/guide.html");
    EXPECT_EQ(site.resolver().resolve("/docs//guide.html/").kind, Kind::localPage("docs/guide.html"));
}

TEST(SiteRouteResolver, FolderNameWithExtensionIsItsOnlyCandidate)
{
    Site site;
    site.page("v1.2/index.html");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve("/v1.2/"), expected(Kind::missingLocalRoute(), "/v1.2/", "v1.2"));
    EXPECT_EQ(resolver.resolve("/v1.2/index.html").kind, Kind::localPage("v1.2/index.html"));
}

TEST(SiteRouteResolver, FileOnDiskIsAnAssetOnlyUnderItsExactPath)
{
    Site site;
    site.page("index.html");
    site.asset("img/logo.png");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve("/img/logo.png"), expected(Kind::localAsset(), "/img/logo.png", "img/logo.png", site.file("img/logo.png")));
    EXPECT_EQ(resolver.resolve("/img/logo"), expected(Kind::missingLocalRoute(), "/img/logo", "img/logo"));
    EXPECT_EQ(resolver.resolve("logo.png", "img/index.html").kind, Kind::localAsset());
}

TEST(SiteRouteResolver, SymbolicLinkIsNoAsset)
{
    TemporaryDirectory outside;
    auto secret = outside.write("secret.txt", "secret");
    Site site;
    std::filesystem::create_symlink(secret, site.file("secret.txt"));
    EXPECT_EQ(site.resolver().resolve("/secret.txt"), expected(Kind::missingLocalRoute(), "/secret.txt", "secret.txt"));
}

TEST(SiteRouteResolver, PercentEncodedBlankFindsThePageAndStrayPercentStaysUndecoded)
{
    Site site;
    site.page("a b.html");
    site.page("100%.html");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve("/a%20b.html"), expected(Kind::localPage("a b.html"), "/a%20b.html", "a b.html", site.file("a b.html")));
    EXPECT_EQ(resolver.resolve("/100%.html"), expected(Kind::localPage("100%.html"), "/100%.html", "100%.html", site.file("100%.html")));
}

TEST(SiteRouteResolver, EncodedSlashSplitsLikeASlash)
{
    Site site;
    site.page("docs/guide.html");
    EXPECT_EQ(site.resolver().resolve("/docs%2Fguide.html").kind, Kind::localPage("docs/guide.html"));
}

TEST(SiteRouteResolver, PercentSequenceThatIsNotUTF8StaysUndecoded)
{
    Site site;
    site.asset("caf%E9.txt");
    EXPECT_EQ(site.resolver().resolve("caf%E9.txt"), expected(Kind::localAsset(), "caf%E9.txt", "caf%E9.txt", site.file("caf%E9.txt")));
}

TEST(SiteRouteResolver, PageLookupIsCaseSensitive)
{
    Site site;
    site.page("page.html");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve("Page.HTML"), expected(Kind::missingLocalRoute(), "Page.HTML", "Page.HTML"));
    EXPECT_EQ(resolver.resolve("page.html").kind, Kind::localPage("page.html"));
}

TEST(SiteRouteResolver, TelephoneAndMailAreExternalAndScriptAndInlineDataAreIgnored)
{
    Site site;
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve("tel:+123"), expected(Kind::external(), "tel:+123"));
    EXPECT_EQ(resolver.resolve("MAILTO:a"), expected(Kind::external(), "MAILTO:a"));
    EXPECT_EQ(resolver.resolve("JavaScript:void(0)"), expected(Kind::ignored(), "JavaScript:void(0)"));
    EXPECT_EQ(resolver.resolve("data:image/png;base64,iVBORw0KGgo="), expected(Kind::ignored(), "data:image/png;base64,iVBORw0KGgo="));
}

TEST(SiteRouteResolver, OtherHostsAreExternalInAnyCase)
{
    Site site;
    auto resolver = site.resolver();
    for (std::string reference : { "http://example.org/", "HTTPS://example.org/a.html", "//cdn.example.org/lib.js", " https:x" })
        EXPECT_EQ(resolver.resolve(reference).kind, Kind::external()) << reference;
}

TEST(SiteRouteResolver, UnlistedSchemesWalkOnAsRelativePaths)
{
    Site site;
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolve("ftp://example.org/file.txt"), expected(Kind::missingLocalRoute(), "ftp://example.org/file.txt", "ftp:/example.org/file.txt"));
    EXPECT_EQ(resolver.resolve("about:blank"), expected(Kind::missingLocalRoute(), "about:blank", "about:blank"));
}

TEST(SiteRouteResolver, SiteSchemeURLWithDoubleSlashPathIsExternal)
{
    Site site;
    site.page("index.html");
    auto resolved = site.resolver().resolveURL("quillory-site://local//evil.example/page.html");
    EXPECT_EQ(resolved, expected(Kind::external(), "//evil.example/page.html"));
}

TEST(SiteRouteResolver, SiteSchemeURLResolvesItsDecodedPathOnAnyHost)
{
    Site site;
    site.page("index.html");
    site.page("docs/a b.html");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolveURL("quillory-site://local/docs/a%20b.html?x=1#top"),
              expected(Kind::localPage("docs/a b.html"), "/docs/a b.html", "docs/a b.html", site.file("docs/a b.html")));
    EXPECT_EQ(resolver.resolveURL("QUILLORY-SITE://elsewhere/docs/a%20b.html").kind, Kind::localPage("docs/a b.html"));
    EXPECT_EQ(resolver.resolveURL("quillory-site://local"), expected(Kind::localPage("index.html"), "/", "index.html", site.file("index.html")));
    EXPECT_EQ(resolver.resolveURL("quillory-site://local/").kind, Kind::localPage("index.html"));
}

TEST(SiteRouteResolver, SiteSchemePathIsDecodedTwiceAndDecodedDelimitersCutIt)
{
    Site site;
    site.page("a b.html");
    site.page("what.html");
    auto resolver = site.resolver();
    // %2520 becomes %20 in the URL's path and a blank in the resolver.
    EXPECT_EQ(resolver.resolveURL("quillory-site://local/a%2520b.html").kind, Kind::localPage("a b.html"));
    // A decoded "?" is taken for the start of a query.
    EXPECT_EQ(resolver.resolveURL("quillory-site://local/what.html%3Fnot-a-query"),
              expected(Kind::localPage("what.html"), "/what.html?not-a-query", "what.html", site.file("what.html")));
}

TEST(SiteRouteResolver, OtherSchemeURLsResolveThroughTheirText)
{
    Site site;
    site.page("index.html");
    auto resolver = site.resolver();
    EXPECT_EQ(resolver.resolveURL("https://example.org/index.html"), expected(Kind::external(), "https://example.org/index.html"));
    EXPECT_EQ(resolver.resolveURL("index.html").kind, Kind::localPage("index.html"));
    EXPECT_EQ(resolver.resolveURL("file:///etc/passwd").kind, Kind::missingLocalRoute());
    EXPECT_EQ(resolver.resolveURL("blob.html", "docs/page.html").relativePath, "docs/blob.html");
}

TEST(SiteRouteResolver, OrderOfPagesHasNoEffect)
{
    TemporaryDirectory folder;
    SitePage about("about.html", folder.path() / "about.html", "About");
    SitePage aboutIndex("about/index.html", folder.path() / "about/index.html", "About index");
    SiteRouteResolver forward(folder.path(), { about, aboutIndex });
    SiteRouteResolver backward(folder.path(), { aboutIndex, about });
    EXPECT_EQ(forward.resolve("about"), backward.resolve("about"));
    EXPECT_EQ(forward.resolve("about").kind, Kind::localPage("about.html"));
}

TEST(SiteRouteResolver, RootIsStandardized)
{
    TemporaryDirectory folder;
    folder.write("img/a.png", "png");
    SiteRouteResolver resolver(folder.path() / "img" / ".." / ".", {});
    EXPECT_EQ(resolver.rootURL(), folder.path());
    EXPECT_EQ(resolver.resolve("img/./a.png").fileURL, folder.path() / "img" / "a.png");
}

TEST(SiteRouteResolver, PageAgreesWithResolveOnBytesThatAreNotUTF8)
{
    Site site;
    site.page("index.html");
    auto resolver = site.resolver();
    for (std::string reference : { "x\xff/%2e%2e/", " x\xff/%2e%2e/ ", "\xe2\x80\x83x\xff/..", "%ff/../index.html", "\xc3/../" }) {
        auto resolved = resolver.resolve(reference);
        auto* page = resolver.page(reference);
        EXPECT_EQ(page ? std::optional<std::string>(page->id) : std::nullopt, resolved.kind.pageID()) << reference;
    }
    // The bytes stay as they were written: trimming decodes only the ends.
    EXPECT_EQ(resolver.resolve("x\xff/%2e%2e/"), expected(Kind::missingLocalRoute(), "x\xff/%2e%2e/", "x\xff/%2e%2e"));
    EXPECT_EQ(resolver.resolve(" \xe2\x80\x83x\xff ").requestPath, "x\xff");
}

TEST(SiteRouteResolver, PageAgreesWithResolveOverTheFuzzCorpus)
{
    Site site;
    for (auto path : { "index.html", "about.html", "a b.html", "blog/post.html", "blog/index.htm", "secret.html" })
        site.page(path);
    site.asset("blog/logo.png");
    auto resolver = site.resolver();
    std::size_t inputs = 0;
    for (auto& entry : std::filesystem::directory_iterator(std::filesystem::path(QUILLORY_FUZZ_CORPUS) / "route-resolver")) {
        // A corpus input is the reference, or "FROM\nREFERENCE", as the harness reads it.
        auto input = QuilloryTest::readBytes(entry.path());
        std::optional<std::string> from;
        auto reference = input;
        if (auto newline = input.find('\n'); newline != std::string::npos) {
            from = input.substr(0, newline);
            reference = input.substr(newline + 1);
        }
        auto resolved = resolver.resolve(reference, from);
        auto* page = resolver.page(reference, from);
        EXPECT_EQ(page ? std::optional<std::string>(page->id) : std::nullopt, resolved.kind.pageID()) << entry.path();
        ++inputs;
    }
    EXPECT_GE(inputs, 20u);
}

TEST(SiteRouteResolverDeathTest, DuplicatePagePathAborts)
{
    SitePage page("a.html", "/site/a.html", "A");
    EXPECT_DEATH(SiteRouteResolver("/site", { page, page }), "a\\.html.*twice");
}

TEST(ResolvedSiteResource, KindNamesAreTheCaseNames)
{
    auto named = [](Kind kind) { return ResolvedSiteResource { std::move(kind), "", std::nullopt, std::nullopt }.kindName(); };
    EXPECT_EQ(named(Kind::localPage("a.html")), "localPage");
    EXPECT_EQ(named(Kind::localAsset()), "localAsset");
    EXPECT_EQ(named(Kind::missingLocalRoute()), "missingLocalRoute");
    EXPECT_EQ(named(Kind::external()), "external");
    EXPECT_EQ(named(Kind::ignored()), "ignored");
}

TEST(ResolvedSiteResource, KindEqualityComparesThePageID)
{
    EXPECT_EQ(Kind::localPage("a.html"), Kind::localPage("a.html"));
    EXPECT_NE(Kind::localPage("a.html"), Kind::localPage("b.html"));
    EXPECT_NE(Kind::localAsset(), Kind::missingLocalRoute());
    EXPECT_EQ(Kind::localPage("a.html").pageID(), "a.html");
    EXPECT_EQ(Kind::external().pageID(), std::nullopt);
}

}
