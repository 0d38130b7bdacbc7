#include "QuilloryApp/Preview/SitePreviewSchemeHandler.h"

#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;

namespace Quillory {

void PrintTo(const SitePreviewResponse& response, std::ostream* stream)
{
    *stream << "{" << response.statusCode << " " << response.contentType.headerValue() << ", " << response.body.size() << " bytes \""
            << response.body.substr(0, 60) << "\"}";
}

}

namespace {

// A real site folder; the handler is updated with the map its scan makes.
struct Site {
    TemporaryDirectory folder;
    SitePreviewSchemeHandler handler;

    void write(std::string_view relativePath, std::string_view bytes) { folder.write(relativePath, bytes); }
    void scan() { handler.update(SiteGraphBuilder().build(folder.path())); }
    SitePreviewAnswer request(const std::string& url) const { return SitePreviewSchemeHandler::answer(url, handler.resolver()); }
};

SitePreviewResponse response(const SitePreviewAnswer& answer)
{
    if (auto* error = std::get_if<FileReadError>(&answer)) {
        ADD_FAILURE() << "expected a response, the read failed: " << error->what();
        return {};
    }
    return std::get<SitePreviewResponse>(answer);
}

SitePreviewResponse failureText(int statusCode, std::string message)
{
    return { statusCode, { "text/plain", std::string("utf-8") }, std::move(message) };
}

SitePreviewResponse served(std::string mimeType, std::optional<std::string> encoding, std::string bytes)
{
    return { 200, { std::move(mimeType), std::move(encoding) }, std::move(bytes) };
}

struct ContentTypeRow {
    const char* fileName;
    const char* mimeType;
    std::optional<std::string> textEncodingName;
};

TEST(SitePreviewSchemeHandler, EveryExtensionOfTheTableGetsItsMIMETypeAndEncoding)
{
    const ContentTypeRow rows[] = {
        { "page.html", "text/html", "utf-8" },
        { "page.htm", "text/html", "utf-8" },
        { "style.css", "text/css", "utf-8" },
        { "app.js", "text/javascript", "utf-8" },
        { "module.mjs", "text/javascript", "utf-8" },
        { "data.json", "application/json", "utf-8" },
        { "app.js.map", "application/json", std::nullopt },
        { "logo.svg", "image/svg+xml", "utf-8" },
        { "photo.png", "image/png", std::nullopt },
        { "photo.jpg", "image/jpeg", std::nullopt },
        { "photo.jpeg", "image/jpeg", std::nullopt },
        { "anim.gif", "image/gif", std::nullopt },
        { "photo.webp", "image/webp", std::nullopt },
        { "favicon.ico", "image/x-icon", std::nullopt },
        { "font.woff", "font/woff", std::nullopt },
        { "font.woff2", "font/woff2", std::nullopt },
        { "font.ttf", "font/ttf", std::nullopt },
        { "font.otf", "font/otf", std::nullopt },
        { "notes.txt", "text/plain", "utf-8" },
        { "module.wasm", "application/octet-stream", std::nullopt },
        { "LICENSE", "application/octet-stream", std::nullopt },
        { ".htaccess", "application/octet-stream", std::nullopt },
    };
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    for (auto& row : rows)
        site.write(std::string("assets/") + row.fileName, std::string("bytes of ") + row.fileName);
    site.scan();
    for (auto& row : rows) {
        SCOPED_TRACE(row.fileName);
        EXPECT_EQ(response(site.request(std::string("quillory-site://local/assets/") + row.fileName)),
                  served(row.mimeType, row.textEncodingName, std::string("bytes of ") + row.fileName));
    }
}

TEST(SitePreviewSchemeHandler, ContentTypeHeaderNamesTheCharsetOnlyWithAnEncoding)
{
    EXPECT_EQ(SitePreviewSchemeHandler::contentType("/site/a.html").headerValue(), "text/html; charset=utf-8");
    EXPECT_EQ(SitePreviewSchemeHandler::contentType("/site/a.png").headerValue(), "image/png");
    EXPECT_EQ(SitePreviewSchemeHandler::contentType("/site/a.map").headerValue(), "application/json");
}

TEST(SitePreviewSchemeHandler, UpperCaseExtensionIsLowerCasedForTheTable)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.write("STYLE.CSS", "h1 { color: red }");
    site.write("Photo.JPEG", "jpeg bytes");
    site.scan();
    EXPECT_EQ(response(site.request("quillory-site://local/STYLE.CSS")), served("text/css", "utf-8", "h1 { color: red }"));
    EXPECT_EQ(response(site.request("quillory-site://local/Photo.JPEG")), served("image/jpeg", std::nullopt, "jpeg bytes"));
}

TEST(SitePreviewSchemeHandler, PageWithoutExtensionInTheURLIsServedByTheFileItResolvesTo)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.write("about.html", "<h1>About</h1>");
    site.scan();
    EXPECT_EQ(response(site.request("quillory-site://local/about")), served("text/html", "utf-8", "<h1>About</h1>"));
}

TEST(SitePreviewSchemeHandler, RootURLServesTheIndexPage)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.scan();
    EXPECT_EQ(response(site.request("quillory-site://local/")), served("text/html", "utf-8", "<h1>Home</h1>"));
}

TEST(SitePreviewSchemeHandler, RootURLWithoutIndexPageIsRouteNotFound)
{
    Site site;
    site.write("about.html", "<h1>About</h1>");
    site.scan();
    EXPECT_EQ(response(site.request("quillory-site://local/")), failureText(404, "Route not found"));
}

TEST(SitePreviewSchemeHandler, AnyOtherHostOfTheSchemeServesTheSameFile)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.write("css/site.css", "body { margin: 0 }");
    site.scan();
    auto expected = served("text/css", "utf-8", "body { margin: 0 }");
    EXPECT_EQ(response(site.request("quillory-site://elsewhere.example/css/site.css")), expected);
    EXPECT_EQ(response(site.request("quillory-site://127.0.0.1:8080/css/site.css")), expected);
    EXPECT_EQ(response(site.request("QUILLORY-SITE://LOCAL/css/site.css")), expected);
}

TEST(SitePreviewSchemeHandler, EmptyFileIsACompletedResponseWithNoBytes)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.write("empty.css", "");
    site.scan();
    auto answer = response(site.request("quillory-site://local/empty.css"));
    EXPECT_EQ(answer, served("text/css", "utf-8", ""));
    EXPECT_EQ(answer.body.size(), 0u);
}

TEST(SitePreviewSchemeHandler, HTMLIsDeliveredByteForByteWithNothingInjected)
{
    // A byte-order mark, CRLF line ends, a NUL and a stray invalid UTF-8 byte all pass unchanged.
    std::string bytes = "\xEF\xBB\xBF<!doctype html>\r\n<html><head><title>T</title></head>\r\n<body>\xFF";
    bytes.push_back('\0');
    bytes += "<p>caf\xC3\xA9</p></body></html>\r\n";
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.scan();
    // Written after the scan, which reads pages as text: the handler reads whatever is on disk.
    site.write("index.html", bytes);
    auto answer = response(site.request("quillory-site://local/index.html"));
    EXPECT_EQ(answer.body, bytes);
    EXPECT_EQ(answer.body.find("<base"), std::string::npos);
    EXPECT_EQ(answer.statusCode, 200);
}

TEST(SitePreviewSchemeHandler, PercentEncodedPathIsDecodedBeforeResolving)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.write("about us/caf\xC3\xA9.html", "<h1>Caf\xC3\xA9</h1>");
    site.scan();
    EXPECT_EQ(response(site.request("quillory-site://local/about%20us/caf%C3%A9.html")), served("text/html", "utf-8", "<h1>Caf\xC3\xA9</h1>"));
}

TEST(SitePreviewSchemeHandler, RequestWithoutURLIsBadRequest)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.scan();
    EXPECT_EQ(response(SitePreviewSchemeHandler::answer(std::nullopt, site.handler.resolver())), failureText(400, "Missing request URL"));
    EXPECT_EQ(response(SitePreviewSchemeHandler::answer(std::nullopt, std::nullopt)), failureText(400, "Missing request URL"));
}

TEST(SitePreviewSchemeHandler, NoSiteBeforeTheFirstUpdate)
{
    SitePreviewSchemeHandler handler;
    EXPECT_FALSE(handler.resolver().has_value());
    EXPECT_EQ(response(SitePreviewSchemeHandler::answer("quillory-site://local/", handler.resolver())), failureText(404, "No site is open"));
}

TEST(SitePreviewSchemeHandler, UpdateWithoutMapAnswersNoSiteIsOpenUntilTheNextSite)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.scan();
    ASSERT_EQ(response(site.request("quillory-site://local/")).statusCode, 200);

    site.handler.update(std::nullopt);
    EXPECT_EQ(response(site.request("quillory-site://local/")), failureText(404, "No site is open"));
    EXPECT_EQ(response(site.request("quillory-site://local/index.html")), failureText(404, "No site is open"));

    Site next;
    next.write("index.html", "<h1>Next</h1>");
    site.handler.update(SiteGraphBuilder().build(next.folder.path()));
    EXPECT_EQ(response(site.request("quillory-site://local/")), served("text/html", "utf-8", "<h1>Next</h1>"));
}

TEST(SitePreviewSchemeHandler, ResolverCopiedBeforeAnUpdateKeepsServingTheOldSite)
{
    Site site;
    site.write("index.html", "<h1>Old</h1>");
    site.scan();
    auto copy = site.handler.resolver();
    site.handler.update(std::nullopt);
    EXPECT_EQ(response(SitePreviewSchemeHandler::answer("quillory-site://local/", copy)), served("text/html", "utf-8", "<h1>Old</h1>"));
}

TEST(SitePreviewSchemeHandler, ExternalAndIgnoredReferencesAreNotHandled)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.scan();
    auto notHandled = failureText(404, "Route not handled by local preview");
    EXPECT_EQ(response(site.request("https://example.com/")), notHandled);
    EXPECT_EQ(response(site.request("mailto:someone@example.com")), notHandled);
    EXPECT_EQ(response(site.request("javascript:void(0)")), notHandled);
    EXPECT_EQ(response(site.request("data:text/plain,hello")), notHandled);
}

TEST(SitePreviewSchemeHandler, LocalRouteWithoutPageOrFileIsRouteNotFound)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.scan();
    EXPECT_EQ(response(site.request("quillory-site://local/missing.html")), failureText(404, "Route not found"));
    EXPECT_EQ(response(site.request("quillory-site://local/missing/data.json")), failureText(404, "Route not found"));
}

TEST(SitePreviewSchemeHandler, PageOrAssetWithoutFileURLIsMissingLocalFile)
{
    // The route resolver always names the file of a page or asset, so this row is reached with a
    // resolution made by hand.
    using Kind = ResolvedSiteResource::Kind;
    ResolvedSiteResource page { Kind::localPage("about.html"), "/about.html", "about.html", std::nullopt };
    ResolvedSiteResource asset { Kind::localAsset(), "/logo.png", "logo.png", std::nullopt };
    SiteRouteResolver resolver("/site", {});
    EXPECT_EQ(response(SitePreviewSchemeHandler::answer(page, resolver)), failureText(404, "Missing local file"));
    EXPECT_EQ(response(SitePreviewSchemeHandler::answer(asset, resolver)), failureText(404, "Missing local file"));
}

TEST(SitePreviewSchemeHandler, PageDeletedAfterTheLastUpdateFailsWithTheReadError)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.write("gone.html", "<h1>Gone</h1>");
    site.scan();
    std::filesystem::remove(site.folder.path() / "gone.html");

    // It still resolves to its page, since the resolver has not seen the deletion.
    auto resolved = site.handler.resolver()->resolveURL("quillory-site://local/gone.html");
    EXPECT_EQ(resolved.kind, ResolvedSiteResource::Kind::localPage("gone.html"));

    auto answer = site.request("quillory-site://local/gone.html");
    ASSERT_TRUE(std::holds_alternative<FileReadError>(answer));
    auto& error = std::get<FileReadError>(answer);
    EXPECT_EQ(error.path(), site.folder.path() / "gone.html");
    EXPECT_NE(std::string(error.what()).find("gone.html"), std::string::npos) << error.what();
}

}

namespace {

TEST(SitePreviewSchemeHandler, NothingOutsideTheSitesRealFolderIsServed)
{
    Site site;
    TemporaryDirectory home;
    home.write("secret.txt", "the user's secret");
    site.write("index.html", "<h1>Home</h1>");
    site.write("blog/logo.png", "png");
    std::filesystem::create_directory_symlink(home.path(), site.folder.path() / "homelink");
    std::filesystem::create_directory_symlink("/etc", site.folder.path() / "etclink");
    std::filesystem::create_directory_symlink("blog", site.folder.path() / "current");
    site.scan();
    EXPECT_EQ(response(site.request("quillory-site://local/homelink/secret.txt")), failureText(404, "Route not found"));
    EXPECT_EQ(response(site.request("quillory-site://local/etclink/passwd")), failureText(404, "Route not found"));
    // A folder link that stays inside the site still serves.
    EXPECT_EQ(response(site.request("quillory-site://local/current/logo.png")), served("image/png", std::nullopt, "png"));
}

TEST(SitePreviewSchemeHandler, DecodedNULIsRouteNotFound)
{
    Site site;
    site.write("index.html", "<h1>Home</h1>");
    site.scan();
    EXPECT_EQ(response(site.request("quillory-site://local/index.html%00.js")), failureText(404, "Route not found"));
    EXPECT_EQ(response(site.request("quillory-site://local/index.html%2500.js")), failureText(404, "Route not found"));
}

TEST(SitePreviewSchemeHandler, ResolvedFileThatLeavesTheSiteIsNotRead)
{
    // Whatever a resolution says, the handler asks the resolver again before it reads.
    Site site;
    TemporaryDirectory home;
    auto secret = home.write("secret.txt", "the user's secret");
    site.write("index.html", "<h1>Home</h1>");
    site.scan();
    using Kind = ResolvedSiteResource::Kind;
    ResolvedSiteResource outside { Kind::localAsset(), "/secret.txt", "secret.txt", secret };
    EXPECT_EQ(response(SitePreviewSchemeHandler::answer(outside, *site.handler.resolver())), failureText(404, "Route not found"));
}

}
