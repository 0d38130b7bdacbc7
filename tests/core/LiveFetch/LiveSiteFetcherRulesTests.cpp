#include "QuilloryCore/LiveFetch/LiveSiteFetchManifest.h"
#include "QuilloryCore/LiveFetch/LiveSiteFetchResult.h"
#include "QuilloryCore/LiveFetch/LiveSiteFetcher.h"
#include "QuilloryCore/Text/QuilloryErrors.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using Quillory::LiveSiteFetcher;
using Quillory::LiveSiteFetchManifest;
using Quillory::WebURL;

namespace {

std::chrono::sys_seconds date(int hour, int minute, int second)
{
    using namespace std::chrono;
    return sys_days(year(2026) / November / 15) + hours(hour) + minutes(minute) + seconds(second);
}

std::string localPath(const std::string& url)
{
    return LiveSiteFetcher::localRelativePath(*WebURL::parse(url));
}

TEST(LiveSiteFetcherRules, ReferencesAreUniqueTrimmedAndInOrderOfFirstAppearance)
{
    auto html = R"html(<link HREF = " style.css "><img src='a.png'><a href="style.css">again</a>
<!-- <script src="commented.js"></script> --><img data-src="lazy.png"><img srcset="big.png 2x">
<a href="">empty</a><a href="   ">blank</a><div style="background: url(bg.png)"></div><a href="#top">top</a>)html";
    EXPECT_EQ(LiveSiteFetcher::resourceReferences(html),
              (std::vector<std::string> { "style.css", "a.png", "commented.js", "lazy.png", "#top" }));
}

TEST(LiveSiteFetcherRules, LocalPathsAreSanitizedAndFoldersBecomeIndexPages)
{
    EXPECT_EQ(localPath("https://example.org"), "index.html");
    EXPECT_EQ(localPath("https://example.org/"), "index.html");
    EXPECT_EQ(localPath("https://example.org/?page=2#x"), "index.html");
    EXPECT_EQ(localPath("https://example.org/about"), "about/index.html");
    EXPECT_EQ(localPath("https://example.org/blog/"), "blog/index.html");
    EXPECT_EQ(localPath("https://example.org/css/site.css?v=3"), "css/site.css");
    EXPECT_EQ(localPath("https://example.org//double//slash.js"), "double/slash.js");
    EXPECT_EQ(localPath("https://example.org/a%20b/caf%C3%A9%21.png"), "a-b/caf\xC3\xA9-.png");
    EXPECT_EQ(localPath("https://example.org/%2e%2e%2f%2e%2e%2fetc%2fpasswd"), "etc/passwd/index.html");
    EXPECT_EQ(localPath("https://example.org/x/%2e%2e/%2e/y.css"), "x/y.css");
    EXPECT_EQ(localPath("https://example.org/%2e%2e/%2e"), "index.html");
    EXPECT_EQ(localPath("https://example.org/...hidden~_-.txt"), "...hidden~_-.txt");
}

TEST(LiveSiteFetcherRules, SanitizedPathDropsClimbingPiecesInsteadOfApplyingThem)
{
    EXPECT_EQ(LiveSiteFetcher::sanitizedPath("a/../../b/./c d/\\evil"), "a/b/c-d/-evil");
    EXPECT_EQ(LiveSiteFetcher::sanitizedPath("\xD0\xBC\xD0\xB8\xD1\x80/\xE2\x80\xA2"), "\xD0\xBC\xD0\xB8\xD1\x80/-");
}

TEST(LiveSiteFetcherRules, SlugJoinsLowerCaseLabels)
{
    EXPECT_EQ(LiveSiteFetcher::slug("WWW.Example.ORG"), "www-example-org");
    EXPECT_EQ(LiveSiteFetcher::slug("127.0.0.1"), "127-0-0-1");
    EXPECT_EQ(LiveSiteFetcher::slug("--a__b--"), "a-b");
    EXPECT_EQ(LiveSiteFetcher::slug("...."), "site");
    EXPECT_EQ(LiveSiteFetcher::slug(""), "site");
}

TEST(LiveSiteFetcherRules, SnapshotRootTakesTheNextFreeSuffix)
{
    QuilloryTest::TemporaryDirectory parent;
    auto url = *WebURL::parse("https://Docs.Example.org/guide");
    auto first = LiveSiteFetcher::uniqueSnapshotRoot(url, parent.path(), date(9, 10, 0));
    EXPECT_EQ(first, parent.path() / "docs-example-org-20261115-091000");
    std::filesystem::create_directory(first);
    EXPECT_EQ(LiveSiteFetcher::uniqueSnapshotRoot(url, parent.path(), date(9, 10, 0)), parent.path() / "docs-example-org-20261115-091000-2");
    parent.write("docs-example-org-20261115-091000-2", "a file takes the name too");
    EXPECT_EQ(LiveSiteFetcher::uniqueSnapshotRoot(url, parent.path(), date(9, 10, 0)), parent.path() / "docs-example-org-20261115-091000-3");
    EXPECT_EQ(LiveSiteFetcher::iso8601(date(9, 10, 0)), "2026-11-15T09:10:00Z");
}

TEST(LiveSiteFetcherRules, ManifestIsPrettySortedWithEscapedSlashesAndNoNulls)
{
    LiveSiteFetchManifest manifest;
    manifest.sourceURL = "https://example.org/a";
    manifest.fetchedAt = "2026-11-15T09:10:00Z";
    manifest.downloadedAssets = { { "https://example.org/s.css", "s.css", 200, std::nullopt } };
    manifest.skippedResources = { { "https://other.test/x.js", std::nullopt, std::nullopt, "External or unsupported resource" } };
    EXPECT_EQ(manifest.encodedJSON(), R"({
  "downloadedAssets": [
    {
      "relativePath": "s.css",
      "sourceURL": "https:\/\/example.org\/s.css",
      "statusCode": 200
    }
  ],
  "entryPage": "index.html",
  "fetchedAt": "2026-11-15T09:10:00Z",
  "skippedResources": [
    {
      "note": "External or unsupported resource",
      "sourceURL": "https:\/\/other.test\/x.js"
    }
  ],
  "sourceURL": "https:\/\/example.org\/a"
})");
    EXPECT_EQ(LiveSiteFetchManifest::decode(manifest.encodedJSON()), manifest);
}

TEST(LiveSiteFetcherRules, ManifestDecoderRequiresEveryTopLevelKey)
{
    EXPECT_THROW(LiveSiteFetchManifest::decode(R"({"sourceURL":"x","fetchedAt":"y","entryPage":"index.html","downloadedAssets":[]})"),
                 Quillory::QuilloryError);
    EXPECT_THROW(LiveSiteFetchManifest::decode(R"({"sourceURL":"x","fetchedAt":"y","entryPage":"index.html","downloadedAssets":[{}],"skippedResources":[]})"),
                 Quillory::QuilloryError);
    EXPECT_THROW(LiveSiteFetchManifest::decode("not json"), Quillory::QuilloryError);
}

TEST(LiveSiteFetcherRules, SummaryCountsWithSingularForOne)
{
    Quillory::LiveSiteFetchResult result { "/tmp/p/example-org-20261115-091000", {} };
    result.manifest.sourceURL = "https://example.org";
    EXPECT_EQ(Quillory::liveFetchSummary(result), "Fetched https://example.org into example-org-20261115-091000 with 0 assets and 0 skipped resources.");
    result.manifest.downloadedAssets.resize(1);
    result.manifest.skippedResources.resize(1);
    EXPECT_EQ(Quillory::liveFetchSummary(result), "Fetched https://example.org into example-org-20261115-091000 with 1 asset and 1 skipped resource.");
    result.manifest.downloadedAssets.resize(2);
    result.manifest.skippedResources.resize(3);
    EXPECT_EQ(Quillory::liveFetchSummary(result), "Fetched https://example.org into example-org-20261115-091000 with 2 assets and 3 skipped resources.");
}

}

namespace {

TEST(LiveSiteFetcherRules, TypedTextBecomesAStartURL)
{
    EXPECT_EQ(LiveSiteFetcher::startURL("  example.org/about \n"), "https://example.org/about");
    EXPECT_EQ(LiveSiteFetcher::startURL("http://example.org"), "http://example.org");
    // Another scheme passes here and is refused by the fetch itself.
    EXPECT_EQ(LiveSiteFetcher::startURL("ftp://example.org/file"), "ftp://example.org/file");
    auto message = [](const char* typed) {
        try {
            LiveSiteFetcher::startURL(typed);
        } catch (const Quillory::QuilloryError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_EQ(message(" \t\n"), "Enter a live website URL.");
    EXPECT_EQ(message("exa mple.org"), "Enter a valid live website URL.");
}

}
