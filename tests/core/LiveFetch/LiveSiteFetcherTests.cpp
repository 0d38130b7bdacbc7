#include "QuilloryCore/LiveFetch/LiveSiteFetchError.h"
#include "QuilloryCore/LiveFetch/LiveSiteFetcher.h"
#include "QuilloryCore/Text/TextFile.h"
#include "support/SocketHTTPServer.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using Quillory::LiveSiteFetcher;
using Quillory::LiveSiteFetchError;
using Quillory::LiveSiteFetchManifest;
using QuilloryTest::HTTPReply;
using QuilloryTest::HTTPRequest;
using QuilloryTest::SocketHTTPServer;
using QuilloryTest::TemporaryDirectory;

namespace {

using Entry = LiveSiteFetchManifest::Entry;

const auto fetchDate = std::chrono::sys_days(std::chrono::year(2026) / std::chrono::November / std::chrono::day(15))
    + std::chrono::hours(9) + std::chrono::minutes(10);
constexpr const char* snapshotName = "127-0-0-1-20261115-091000";

// A small limit and short timeouts, so that the edge cases stay small and quick.
LiveSiteFetcher testFetcher()
{
    LiveSiteFetcher fetcher;
    fetcher.maxAssetBytes = 1000;
    fetcher.timeouts.connect = std::chrono::seconds(2);
    fetcher.timeouts.stall = std::chrono::seconds(1);
    fetcher.timeouts.total = std::chrono::seconds(20);
    return fetcher;
}

// Every file and folder below `root`, relative to it, symbolic links not followed.
std::set<std::string> tree(const std::filesystem::path& root)
{
    std::set<std::string> paths;
    for (auto& entry : std::filesystem::recursive_directory_iterator(root))
        paths.insert(std::filesystem::relative(entry.path(), root).string());
    return paths;
}

const Entry* findEntry(const std::vector<Entry>& entries, const std::string& sourceURL)
{
    auto found = std::find_if(entries.begin(), entries.end(), [&](auto& entry) { return entry.sourceURL == sourceURL; });
    return found == entries.end() ? nullptr : &*found;
}

TEST(LiveSiteFetcher, HandlesTheFirstFortyOfFortyOneReferencesAndCountsDuplicatesOnce)
{
    SocketHTTPServer server;
    std::string page = "<!doctype html><link href=\"/a1.css\"><link href='/a1.css'>";
    for (int index = 1; index <= 41; ++index) {
        page += "<img src=\"/a" + std::to_string(index) + ".css\">";
        server.serve("/a" + std::to_string(index) + ".css", "text/css", "/* asset " + std::to_string(index) + " */");
    }
    page += "<p>/a1.css</p>";
    server.serve("/", "text/html", page);
    TemporaryDirectory parent;

    auto result = LiveSiteFetcher().fetch(server.url("/"), parent.path(), fetchDate);

    EXPECT_EQ(result.rootURL, parent.path() / snapshotName);
    EXPECT_EQ(result.manifest.downloadedAssets.size(), 40u);
    EXPECT_TRUE(result.manifest.skippedResources.empty());
    EXPECT_EQ(result.manifest.downloadedAssets.front(), (Entry { server.url("/a1.css"), "a1.css", 200, std::nullopt }));
    EXPECT_EQ(result.manifest.downloadedAssets.back(), (Entry { server.url("/a40.css"), "a40.css", 200, std::nullopt }));
    EXPECT_EQ(server.requestCount("/a1.css"), 1);
    EXPECT_EQ(server.requestCount("/a41.css"), 0);
    EXPECT_FALSE(std::filesystem::exists(result.rootURL / "a41.css"));

    auto written = QuilloryTest::readBytes(result.rootURL / "index.html");
    // Every occurrence of a fetched reference's text is replaced, wherever it stands.
    EXPECT_NE(written.find("<link href=\"a1.css\"><link href='a1.css'>"), std::string::npos) << written;
    EXPECT_NE(written.find("<p>a1.css</p>"), std::string::npos);
    EXPECT_NE(written.find("<img src=\"/a41.css\">"), std::string::npos);
    EXPECT_EQ(QuilloryTest::readBytes(result.rootURL / "a7.css"), "/* asset 7 */");
    auto manifestText = QuilloryTest::readBytes(result.rootURL / "_quillory-fetch-manifest.json");
    EXPECT_EQ(LiveSiteFetchManifest::decode(manifestText), result.manifest);
    EXPECT_EQ(manifestText.find("a41"), std::string::npos);
}

TEST(LiveSiteFetcher, EveryKindOfReferenceGetsItsEntryAndNothingLeavesTheSnapshotFolder)
{
    SocketHTTPServer server;
    SocketHTTPServer otherOrigin;
    auto fetcher = testFetcher();
    const std::string longName(300, 'n');
    std::string page = R"html(<!doctype html><html><head>
<link rel="stylesheet" href="style.css"><script src="moved.js"></script>
<a href="#top">Top</a> <a href="/">Home</a> <img src="missing.png">
<img src="exact.bin"><img src="over.bin"><img src="to-file"><link href="hang.css">
<script src="OTHER/lib.js"></script><a href="mailto:team@example.org">Mail</a>
<img src="../../../../escape.css"><img src="%2e%2e%2f%2e%2e%2fetc%2fpasswd.css">
<img src="LONG.css"><img src="a%20b.css"><img src="a!b.css"><img src="bad%zz.css">
</head><body id="top">#top</body></html>)html";
    page.replace(page.find("OTHER"), 5, otherOrigin.origin());
    page.replace(page.find("LONG"), 4, longName);
    server.serve("/guide/start", "text/html", page);
    server.serve("/guide/style.css", "text/css", "body { color: teal; }");
    server.redirect("/guide/moved.js", "/real.js");
    server.serve("/real.js", "text/javascript", "console.log('moved');");
    server.serve("/guide/exact.bin", "application/octet-stream", std::string(1000, 'e'));
    server.serve("/guide/over.bin", "application/octet-stream", std::string(1001, 'o'));
    server.redirect("/guide/to-file", "file:///etc/passwd");
    server.route("/guide/hang.css", [](const HTTPRequest&) { return HTTPReply::silent(); });
    server.serve("/escape.css", "text/css", "/* escape */");
    server.serve("/guide/%2e%2e%2f%2e%2e%2fetc%2fpasswd.css", "text/css", "/* encoded */");
    server.serve("/guide/" + longName + ".css", "text/css", "/* long */");
    server.serve("/guide/a%20b.css", "text/css", "/* space */");
    server.serve("/guide/a!b.css", "text/css", "/* bang */");
    otherOrigin.serve("/lib.js", "text/javascript", "/* other */");

    TemporaryDirectory sandbox;
    auto parent = sandbox.path() / "Playgrounds" / "fetched-live";
    auto result = fetcher.fetch(server.url("/guide/start"), parent, fetchDate);
    auto root = result.rootURL;
    auto start = server.url("/guide/start");

    auto& downloaded = result.manifest.downloadedAssets;
    auto& skipped = result.manifest.skippedResources;
    EXPECT_EQ(result.manifest.sourceURL, start);
    EXPECT_EQ(result.manifest.fetchedAt, "2026-11-15T09:10:00Z");
    EXPECT_EQ(result.manifest.entryPage, "index.html");

    // Fetched like any asset, under the local path of the redirect's start, with the final status.
    EXPECT_EQ(downloaded, (std::vector<Entry> {
                              { server.url("/guide/style.css"), "guide/style.css", 200, std::nullopt },
                              { server.url("/guide/moved.js"), "guide/moved.js", 200, std::nullopt },
                              { start + "#top", "guide/start/index.html", 200, std::nullopt },
                              { server.url("/guide/exact.bin"), "guide/exact.bin", 200, std::nullopt },
                              { server.url("/escape.css"), "escape.css", 200, std::nullopt },
                              { server.url("/guide/%2e%2e%2f%2e%2e%2fetc%2fpasswd.css"), "guide/etc/passwd.css", 200, std::nullopt },
                              { server.url("/guide/a%20b.css"), "guide/a-b.css", 200, std::nullopt },
                              { server.url("/guide/a!b.css"), "guide/a-b.css", 200, std::nullopt },
                          }));
    EXPECT_EQ(*findEntry(skipped, "/"), (Entry { "/", std::nullopt, std::nullopt, "Skipped page-like root resource" }));
    EXPECT_EQ(*findEntry(skipped, server.url("/guide/missing.png")),
              (Entry { server.url("/guide/missing.png"), "guide/missing.png", 404, "HTTP status was not successful" }));
    EXPECT_EQ(*findEntry(skipped, server.url("/guide/over.bin")),
              (Entry { server.url("/guide/over.bin"), "guide/over.bin", 200, "Resource exceeded the per-asset size limit" }));
    EXPECT_EQ(*findEntry(skipped, otherOrigin.url("/lib.js")),
              (Entry { otherOrigin.url("/lib.js"), std::nullopt, std::nullopt, "External or unsupported resource" }));
    EXPECT_EQ(*findEntry(skipped, "mailto:team@example.org"),
              (Entry { "mailto:team@example.org", std::nullopt, std::nullopt, "External or unsupported resource" }));
    EXPECT_EQ(*findEntry(skipped, "bad%zz.css"), (Entry { "bad%zz.css", std::nullopt, std::nullopt, "Could not resolve URL" }));
    auto toFile = findEntry(skipped, server.url("/guide/to-file"));
    ASSERT_TRUE(toFile);
    EXPECT_EQ(toFile->relativePath, "guide/to-file/index.html");
    EXPECT_EQ(toFile->statusCode, std::nullopt);
    EXPECT_NE(toFile->note.value_or("").find("file"), std::string::npos) << toFile->note.value_or("");
    auto hang = findEntry(skipped, server.url("/guide/hang.css"));
    ASSERT_TRUE(hang);
    EXPECT_EQ(hang->relativePath, "guide/hang.css");
    EXPECT_EQ(hang->statusCode, std::nullopt);
    EXPECT_FALSE(hang->note.value_or("").empty());
    auto longEntry = findEntry(skipped, server.url("/guide/" + longName + ".css"));
    ASSERT_TRUE(longEntry);
    EXPECT_EQ(longEntry->relativePath, "guide/" + longName + ".css");
    EXPECT_EQ(longEntry->statusCode, std::nullopt);
    EXPECT_NE(longEntry->note.value_or("").find("File name too long"), std::string::npos) << longEntry->note.value_or("");
    EXPECT_EQ(skipped.size(), 9u);

    // The later of two URLs with one local path wins; no file for what was skipped.
    EXPECT_EQ(QuilloryTest::readBytes(root / "guide/a-b.css"), "/* bang */");
    EXPECT_EQ(QuilloryTest::readBytes(root / "guide/exact.bin"), std::string(1000, 'e'));
    EXPECT_EQ(QuilloryTest::readBytes(root / "guide/moved.js"), "console.log('moved');");
    EXPECT_EQ(tree(sandbox.path()),
              (std::set<std::string> { "Playgrounds", "Playgrounds/fetched-live", std::string("Playgrounds/fetched-live/") + snapshotName,
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/index.html",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/_quillory-fetch-manifest.json",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/escape.css",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/guide",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/guide/style.css",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/guide/moved.js",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/guide/start",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/guide/start/index.html",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/guide/exact.bin",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/guide/etc",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/guide/etc/passwd.css",
                                       std::string("Playgrounds/fetched-live/") + snapshotName + "/guide/a-b.css" }));

    // Fetched references point at their copies; the rest stay as written.
    auto written = QuilloryTest::readBytes(root / "index.html");
    EXPECT_NE(written.find("href=\"guide/style.css\""), std::string::npos);
    EXPECT_NE(written.find("<a href=\"guide/start/index.html\">Top</a>"), std::string::npos);
    EXPECT_NE(written.find("<body id=\"top\">guide/start/index.html</body>"), std::string::npos);
    EXPECT_NE(written.find("src=\"missing.png\""), std::string::npos);
    EXPECT_NE(written.find("src=\"over.bin\""), std::string::npos);
    EXPECT_NE(written.find(otherOrigin.url("/lib.js")), std::string::npos);
    EXPECT_NE(written.find("<a href=\"/\">Home</a>"), std::string::npos);
    EXPECT_EQ(otherOrigin.requests().size(), 0u);

    // No header of our own travels with the requests.
    for (auto& request : server.requests()) {
        EXPECT_EQ(request.headers.count("user-agent"), 0u) << request.target;
        EXPECT_EQ(request.headers.count("accept"), 0u) << request.target;
        EXPECT_EQ(request.headers.count("cookie"), 0u) << request.target;
    }
}

TEST(LiveSiteFetcher, RootLinksAndAFragmentOnARootStartURLAreSkippedAsPageLike)
{
    SocketHTTPServer server;
    auto start = server.origin();
    server.serve("/", "text/html", "<a href=\"#top\">a</a><a href=\"/\">b</a><a href=\"" + start + "/\">c</a><a href=\"/?lang=en\">d</a>");
    TemporaryDirectory parent;
    auto result = testFetcher().fetch(start, parent.path(), fetchDate);
    const char* note = "Skipped page-like root resource";
    EXPECT_EQ(result.manifest.skippedResources, (std::vector<Entry> { { "#top", std::nullopt, std::nullopt, note },
                                                                      { "/", std::nullopt, std::nullopt, note },
                                                                      { start + "/", std::nullopt, std::nullopt, note },
                                                                      { "/?lang=en", std::nullopt, std::nullopt, note } }));
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST(LiveSiteFetcher, PageWithoutReferencesGivesAnIndexAndEmptyLists)
{
    SocketHTTPServer server;
    server.serve("/plain.html", "text/html", "<h1>Nothing to fetch</h1>");
    TemporaryDirectory parent;
    auto result = testFetcher().fetch(server.url("/plain.html"), parent.path(), fetchDate);
    EXPECT_EQ(tree(result.rootURL), (std::set<std::string> { "index.html", "_quillory-fetch-manifest.json" }));
    EXPECT_EQ(QuilloryTest::readBytes(result.rootURL / "index.html"), "<h1>Nothing to fetch</h1>");
    EXPECT_EQ(Quillory::liveFetchSummary(result),
              "Fetched " + server.url("/plain.html") + " into " + snapshotName + " with 0 assets and 0 skipped resources.");
}

TEST(LiveSiteFetcher, SameHostTwiceInOneSecondGetsASuffix)
{
    SocketHTTPServer server;
    server.serve("/", "text/html", "<p>one</p>");
    TemporaryDirectory parent;
    auto first = testFetcher().fetch(server.url("/"), parent.path(), fetchDate);
    auto second = testFetcher().fetch(server.url("/"), parent.path(), fetchDate);
    EXPECT_EQ(first.rootURL.filename(), snapshotName);
    EXPECT_EQ(second.rootURL.filename(), std::string(snapshotName) + "-2");
    EXPECT_EQ(QuilloryTest::readBytes(first.rootURL / "index.html"), "<p>one</p>");
}

TEST(LiveSiteFetcher, PageFailuresThrowTheirErrorAndLeaveTheFolderBehind)
{
    SocketHTTPServer server;
    server.serve("/latin1.html", "text/html; charset=iso-8859-1", "<p>Caf\xE9</p>");
    server.serve("/empty.html", "text/html", "");
    server.serve("/gone.html", "text/html", "<p>gone</p>", 404);
    server.route("/silent.html", [](const HTTPRequest&) { return HTTPReply::silent(); });
    server.route("/huge.html", [](const HTTPRequest&) { return HTTPReply::streamed(5000); });
    TemporaryDirectory parent;
    auto fetcher = testFetcher();

    auto expectError = [&](const std::string& path, const LiveSiteFetchError& expected, const char* message) {
        try {
            fetcher.fetch(server.url(path), parent.path(), fetchDate);
            ADD_FAILURE() << path << " did not fail";
        } catch (const LiveSiteFetchError& error) {
            EXPECT_EQ(error, expected);
            EXPECT_STREQ(error.what(), message);
        }
    };
    expectError("/latin1.html", LiveSiteFetchError::emptyHTML(), "The fetched page was empty.");
    EXPECT_TRUE(std::filesystem::is_empty(parent.path() / snapshotName));
    expectError("/empty.html", LiveSiteFetchError::emptyHTML(), "The fetched page was empty.");
    expectError("/gone.html", LiveSiteFetchError::badStatus(404), "The live site returned HTTP 404.");
    EXPECT_EQ(tree(parent.path()).size(), 3u);

    // A server that never answers, or answers without end, ends in an error rather than a wait.
    EXPECT_THROW(fetcher.fetch(server.url("/silent.html"), parent.path(), fetchDate), Quillory::QuilloryError);
    EXPECT_THROW(fetcher.fetch(server.url("/huge.html"), parent.path(), fetchDate), Quillory::QuilloryError);
    auto closedPort = server.origin();
    {
        SocketHTTPServer gone;
        closedPort = gone.url("/");
    }
    EXPECT_THROW(fetcher.fetch(closedPort, parent.path(), fetchDate), Quillory::QuilloryError);
}

TEST(LiveSiteFetcher, OnlyHttpAndHttpsWithAHostAreFetchedAndNothingIsMadeOtherwise)
{
    TemporaryDirectory parent;
    auto fetcher = testFetcher();
    EXPECT_EQ([&] {
        try {
            fetcher.fetch("ftp://example.org/file", parent.path(), fetchDate);
        } catch (const LiveSiteFetchError& error) {
            return std::string(error.what());
        }
        return std::string();
    }(), "Enter an http or https URL.");
    EXPECT_THROW(fetcher.fetch("file:///etc/passwd", parent.path(), fetchDate), LiveSiteFetchError);
    try {
        fetcher.fetch("http:///no-host", parent.path(), fetchDate);
        ADD_FAILURE();
    } catch (const LiveSiteFetchError& error) {
        EXPECT_EQ(error, LiveSiteFetchError::noHost());
        EXPECT_STREQ(error.what(), "The live site URL does not include a host.");
    }
    EXPECT_TRUE(std::filesystem::is_empty(parent.path()));
}

TEST(LiveSiteFetcher, SymbolicLinksPlantedInTheSnapshotAreNeverFollowed)
{
    SocketHTTPServer server;
    TemporaryDirectory parent;
    TemporaryDirectory outside;
    outside.write("victim.css", "original");
    auto root = parent.path() / snapshotName;
    server.serve("/", "text/html", "<link href=\"/plant.css\"><link href=\"/assets/x.css\"><link href=\"/victim.css\">");
    // While the fetch runs, something else puts links into the snapshot folder.
    server.route("/plant.css", [&](const HTTPRequest&) {
        std::filesystem::create_directory_symlink(outside.path(), root / "assets");
        std::filesystem::create_symlink(outside.path() / "victim.css", root / "victim.css");
        std::filesystem::create_symlink(outside.path() / "page.html", root / "index.html");
        return HTTPReply { 200, {}, "/* plant */" };
    });
    server.serve("/assets/x.css", "text/css", "/* through the link */");
    server.serve("/victim.css", "text/css", "/* replaced */");

    auto result = testFetcher().fetch(server.url("/"), parent.path(), fetchDate);

    EXPECT_EQ(tree(outside.path()), (std::set<std::string> { "victim.css" }));
    EXPECT_EQ(outside.read("victim.css"), "original");
    auto linked = findEntry(result.manifest.skippedResources, server.url("/assets/x.css"));
    ASSERT_TRUE(linked);
    EXPECT_EQ(linked->relativePath, "assets/x.css");
    EXPECT_FALSE(linked->note.value_or("").empty());
    // A link standing at a file's own name is replaced by the file, not written through.
    EXPECT_FALSE(std::filesystem::is_symlink(root / "victim.css"));
    EXPECT_EQ(QuilloryTest::readBytes(root / "victim.css"), "/* replaced */");
    EXPECT_FALSE(std::filesystem::is_symlink(root / "index.html"));
}

TEST(LiveSiteFetcher, AnAssetFarBeyondTheLimitIsAbandonedWithoutBeingKept)
{
    SocketHTTPServer server;
    server.serve("/", "text/html", "<img src=\"/huge.bin\">");
    server.route("/huge.bin", [](const HTTPRequest&) { return HTTPReply::streamed(200'000'000); });
    TemporaryDirectory parent;
    auto fetcher = testFetcher();
    fetcher.maxAssetBytes = 1'000'000;
    auto result = fetcher.fetch(server.url("/"), parent.path(), fetchDate);
    EXPECT_EQ(result.manifest.skippedResources,
              (std::vector<Entry> { { server.url("/huge.bin"), "huge.bin", 200, "Resource exceeded the per-asset size limit" } }));
    EXPECT_FALSE(std::filesystem::exists(result.rootURL / "huge.bin"));
}

}
