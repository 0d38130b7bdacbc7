#include "QuilloryCore/LiveFetch/WebURL.h"

#include <gtest/gtest.h>

using Quillory::WebURL;

namespace {

std::optional<std::string> resolved(const std::string& reference, const std::string& base = "https://Example.org/dir/page.html?x=1")
{
    auto baseURL = WebURL::parse(base);
    EXPECT_TRUE(baseURL);
    auto url = WebURL::resolve(reference, *baseURL);
    return url ? std::optional(url->absoluteString()) : std::nullopt;
}

TEST(WebURL, ResolvesEveryKindOfReferenceAgainstTheBase)
{
    struct Case {
        const char* reference;
        const char* expected;
    };
    const Case cases[] = {
        { "style.css", "https://Example.org/dir/style.css" },
        { "./img/a.png", "https://Example.org/dir/img/a.png" },
        { "../up.js", "https://Example.org/up.js" },
        { "../../../../too-far.js", "https://Example.org/too-far.js" },
        { "/root.css", "https://Example.org/root.css" },
        { "/", "https://Example.org/" },
        { "//cdn.example.net/lib.js", "https://cdn.example.net/lib.js" },
        { "?y=2", "https://Example.org/dir/page.html?y=2" },
        { "#top", "https://Example.org/dir/page.html?x=1#top" },
        { "http://other.test:8080/a?b#c", "http://other.test:8080/a?b#c" },
        { "mailto:someone@example.org", "mailto:someone@example.org" },
        { "%2e%2e%2fsecret", "https://Example.org/dir/%2e%2e%2fsecret" },
        { "caf\xC3\xA9.png", "https://Example.org/dir/caf%C3%A9.png" },
    };
    for (auto& testCase : cases)
        EXPECT_EQ(resolved(testCase.reference), testCase.expected) << testCase.reference;
}

// Found by fuzzing: the user information went into the request line as written.
TEST(WebURL, UserInformationIsEncodedLikeEveryOtherPart)
{
    EXPECT_EQ(resolved("//na\xC3\xAFve<x>@cdn.example.net/lib.js"), "https://na%C3%AFve%3Cx%3E@cdn.example.net/lib.js");
    auto url = WebURL::parse("http://\xBB\xA5|t@example.org/");
    ASSERT_TRUE(url);
    EXPECT_EQ(url->userInfo, "%BB%A5%7Ct");
}

TEST(WebURL, TextThatIsNoURLDoesNotResolve)
{
    EXPECT_EQ(resolved("my file.png"), std::nullopt);
    EXPECT_EQ(resolved("bad%zzescape.png"), std::nullopt);
    EXPECT_EQ(resolved("http://host:99999/"), std::nullopt);
    EXPECT_EQ(resolved("http://host:12ab/"), std::nullopt);
    EXPECT_EQ(WebURL::parse("example.org"), std::nullopt);
}

TEST(WebURL, RelativePathOnAnEmptyBasePathStartsAtTheRoot)
{
    EXPECT_EQ(resolved("a.css", "http://example.org"), "http://example.org/a.css");
    EXPECT_EQ(resolved("#top", "http://example.org"), "http://example.org#top");
}

TEST(WebURL, SameOriginComparesSchemeHostAndEffectivePort)
{
    auto url = [](const char* text) { return *WebURL::parse(text); };
    EXPECT_TRUE(url("HTTP://Example.ORG/a").isSameOrigin(url("http://example.org:80/b")));
    EXPECT_TRUE(url("https://example.org/").isSameOrigin(url("https://example.org:443/")));
    EXPECT_FALSE(url("http://example.org/").isSameOrigin(url("https://example.org/")));
    EXPECT_FALSE(url("http://example.org/").isSameOrigin(url("http://example.org:8080/")));
    EXPECT_FALSE(url("http://example.org/").isSameOrigin(url("http://www.example.org/")));
    EXPECT_EQ(url("ftp://example.org/").effectivePort(), std::nullopt);
    EXPECT_EQ(url("http://[::1]:8080/x").host, "[::1]");
    EXPECT_EQ(url("http://[::1]:8080/x").port, 8080);
}

TEST(WebURL, DecodedPathFallsBackToTheWrittenPath)
{
    EXPECT_EQ(WebURL::parse("http://h/a%20b/%2e%2e%2fc")->decodedPath(), "/a b/../c");
    EXPECT_EQ(WebURL::parse("http://h/bad%FFbyte")->decodedPath(), "/bad%FFbyte");
}

}
