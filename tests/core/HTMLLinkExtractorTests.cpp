#include "QuilloryCore/HTMLLinkExtractor.h"

#include "QuilloryCore/UnicodeText.h"

#include <gtest/gtest.h>

using namespace Quillory;

namespace {

std::vector<std::string> hrefs(std::string_view html)
{
    return HTMLLinkExtractor().hrefs(UnicodeText::utf16(html));
}

using Strings = std::vector<std::string>;

TEST(HTMLLinkExtractor, QuotedHrefsInTextOrderWithDuplicatesKept)
{
    EXPECT_EQ(hrefs("<a href=\"b.html\">B</a> <a href='a.html'>A</a> <a href=\"b.html\">B</a>"),
              (Strings { "b.html", "a.html", "b.html" }));
}

TEST(HTMLLinkExtractor, UnquotedHrefIsNotSeen)
{
    EXPECT_EQ(hrefs("<a href=about.html>About</a><a href=\"ok.html\">ok</a>"), Strings { "ok.html" });
}

TEST(HTMLLinkExtractor, EmptyHrefIsNotSeen)
{
    EXPECT_EQ(hrefs("<a href=\"\">nothing</a>"), Strings {});
}

TEST(HTMLLinkExtractor, ValuesAreTrimmedAndSpacesAroundTheEqualsSignAllowed)
{
    EXPECT_EQ(hrefs("<a class=\"nav\"\n   HREF  =\n '  docs/guide.html \n' target=_blank>Guide</a>"), Strings { "docs/guide.html" });
}

TEST(HTMLLinkExtractor, TagAndAttributeNamesIgnoreCase)
{
    EXPECT_EQ(hrefs("<A HREF=\"UP.HTML\">up</A>"), Strings { "UP.HTML" });
}

TEST(HTMLLinkExtractor, OnlyAnchorElementsCount)
{
    EXPECT_EQ(hrefs("<link href=\"style.css\"><abbr href=\"x.html\">x</abbr><area href=\"map.html\"><a href=\"yes.html\">"),
              Strings { "yes.html" });
}

TEST(HTMLLinkExtractor, AttributeEndingInHrefCountsAfterAWordBoundary)
{
    EXPECT_EQ(hrefs("<a data-href=\"data.html\">x</a><a xhref=\"no.html\">y</a>"), Strings { "data.html" });
}

TEST(HTMLLinkExtractor, ValueStopsAtEitherQuote)
{
    EXPECT_EQ(hrefs("<a href=\"it's.html\">x</a>"), Strings { "it" });
}

TEST(HTMLLinkExtractor, LinksInCommentsAndScriptsCount)
{
    EXPECT_EQ(hrefs("<!-- <a href=\"old.html\">old</a> --><script>s = '<a href=\"made.html\">';</script>"),
              (Strings { "old.html", "made.html" }));
}

TEST(HTMLLinkExtractor, NonASCIIHrefComesBackAsUTF8)
{
    EXPECT_EQ(hrefs("<a href=\"caf\xC3\xA9/\xF0\x9F\x98\x80.html\">x</a>"), Strings { "caf\xC3\xA9/\xF0\x9F\x98\x80.html" });
}

}
