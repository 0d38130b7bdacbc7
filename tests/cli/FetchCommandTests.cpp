#include "support/ChildProcess.h"
#include "support/SocketHTTPServer.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using QuilloryTest::HTTPReply;
using QuilloryTest::HTTPRequest;
using QuilloryTest::runChildProcess;
using QuilloryTest::SocketHTTPServer;
using QuilloryTest::TemporaryDirectory;

namespace {

TEST(FetchCommand, PrintsTheSnapshotItsManifestAndTheSummary)
{
    SocketHTTPServer server;
    SocketHTTPServer otherOrigin;
    server.serve("/docs/start", "text/html",
                 "<link href=\"site.css\"><img src=\"missing.png\"><script src=\"" + otherOrigin.url("/x.js") + "\"></script>");
    server.serve("/docs/site.css", "text/css", "h1 { color: teal; }");
    TemporaryDirectory parent;

    auto result = runChildProcess({ QUILLORY_CLI_PATH, "fetch", server.url("/docs/start"), "--into", parent.path().string(),
                                    "--date", "2026-11-15T09:10:00Z" });

    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardError, "");
    auto root = parent.path() / "127-0-0-1-20261115-091000";
    auto json = nlohmann::json::parse(result.standardOutput);
    auto expectedManifest = nlohmann::json {
        { "sourceURL", server.url("/docs/start") },
        { "fetchedAt", "2026-11-15T09:10:00Z" },
        { "entryPage", "index.html" },
        { "downloadedAssets", { { { "sourceURL", server.url("/docs/site.css") }, { "relativePath", "docs/site.css" }, { "statusCode", 200 } } } },
        { "skippedResources",
          { { { "sourceURL", server.url("/docs/missing.png") }, { "relativePath", "docs/missing.png" }, { "statusCode", 404 },
              { "note", "HTTP status was not successful" } },
            { { "sourceURL", otherOrigin.url("/x.js") }, { "note", "External or unsupported resource" } } } },
    };
    EXPECT_EQ(json, (nlohmann::json { { "rootPath", root.string() },
                                      { "manifest", expectedManifest },
                                      { "summary", "Fetched " + server.url("/docs/start")
                                                       + " into 127-0-0-1-20261115-091000 with 1 asset and 2 skipped resources." } }));
    EXPECT_EQ(nlohmann::json::parse(QuilloryTest::readBytes(root / "_quillory-fetch-manifest.json")), expectedManifest);
    EXPECT_EQ(QuilloryTest::readBytes(root / "docs/site.css"), "h1 { color: teal; }");
}

TEST(FetchCommand, FailuresExitOneWithTheMessageOnStandardError)
{
    SocketHTTPServer server;
    server.serve("/gone", "text/html", "gone", 404);
    server.serve("/latin1", "text/html", "<p>Caf\xE9</p>");
    TemporaryDirectory parent;
    struct Case {
        std::string url;
        std::string message;
    };
    const Case cases[] = {
        { server.url("/gone"), "The live site returned HTTP 404.\n" },
        { server.url("/latin1"), "The fetched page was empty.\n" },
        { "ftp://example.org/", "Enter an http or https URL.\n" },
        { "http:///path", "The live site URL does not include a host.\n" },
        { "   ", "Enter a live website URL.\n" },
        { "exa mple.org", "Enter a valid live website URL.\n" },
    };
    for (auto& testCase : cases) {
        auto result = runChildProcess({ QUILLORY_CLI_PATH, "fetch", testCase.url, "--into", parent.path().string() });
        EXPECT_EQ(result.exitStatus, 1) << testCase.url;
        EXPECT_EQ(result.standardOutput, "") << testCase.url;
        EXPECT_EQ(result.standardError, testCase.message) << testCase.url;
    }
}

TEST(FetchCommand, MissingFolderOrBadDateIsAUsageError)
{
    auto noFolder = runChildProcess({ QUILLORY_CLI_PATH, "fetch", "https://example.org" });
    EXPECT_EQ(noFolder.exitStatus, 1);
    EXPECT_NE(noFolder.standardError.find("usage: quillory-cli fetch URL --into PARENT_DIR"), std::string::npos) << noFolder.standardError;
    auto badDate = runChildProcess({ QUILLORY_CLI_PATH, "fetch", "https://example.org", "--into", "/tmp", "--date", "2026-13-01T00:00:00Z" });
    EXPECT_EQ(badDate.exitStatus, 1);
    EXPECT_NE(badDate.standardError.find("--date"), std::string::npos) << badDate.standardError;
}

TEST(FetchCommand, PeakMemoryStaysBoundedForATwoHundredMegabyteAsset)
{
    SocketHTTPServer server;
    server.serve("/", "text/html", "<img src=\"/huge.bin\"><link href=\"/small.css\">");
    server.route("/huge.bin", [](const HTTPRequest&) { return HTTPReply::streamed(200'000'000); });
    server.serve("/small.css", "text/css", "p {}");
    TemporaryDirectory parent;

    auto result = runChildProcess({ QUILLORY_CLI_PATH, "fetch", server.url("/"), "--into", parent.path().string() });

    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
    auto json = nlohmann::json::parse(result.standardOutput);
    EXPECT_EQ(json["manifest"]["skippedResources"],
              nlohmann::json({ { { "sourceURL", server.url("/huge.bin") }, { "relativePath", "huge.bin" }, { "statusCode", 200 },
                                 { "note", "Resource exceeded the per-asset size limit" } } }));
    EXPECT_EQ(json["manifest"]["downloadedAssets"].size(), 1u);
    // The default limit is 10 MB; the process never came near holding the 200 MB.
    EXPECT_LT(result.maxResidentKilobytes, 64 * 1024) << result.maxResidentKilobytes << " kB";
}

}
