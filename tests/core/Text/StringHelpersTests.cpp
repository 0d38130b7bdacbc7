#include "QuilloryCore/Text/CharacterSegmentation.h"
#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/RegularExpression.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/UUID.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace Quillory;

namespace {

TEST(StringHelpers, StandardCompareOrdersDigitRunsByValueAndIgnoresCase)
{
    EXPECT_LT(StringHelpers::localizedStandardCompare("v2-page.html", "v10-page.html"), 0);
    EXPECT_LT(StringHelpers::localizedStandardCompare("apple", "Banana"), 0);
    EXPECT_EQ(StringHelpers::localizedStandardCompare("Docs", "docs"), 0);
    std::vector<std::string> names { "page10.html", "Page2.html", "page1.html" };
    std::stable_sort(names.begin(), names.end(), StringHelpers::localizedStandardLess);
    EXPECT_EQ(names, (std::vector<std::string> { "page1.html", "Page2.html", "page10.html" }));
}

TEST(StringHelpers, Capitalized)
{
    EXPECT_EQ(StringHelpers::capitalized("FAQ"), "Faq");
    EXPECT_EQ(StringHelpers::capitalized("getting started now"), "Getting Started Now");
    EXPECT_EQ(StringHelpers::capitalized("\u00e9t\u00c9"), "\u00c9t\u00e9");
}

TEST(StringHelpers, TrimsUnicodeWhiteSpace)
{
    EXPECT_EQ(StringHelpers::trimmingWhitespaceAndNewlines("\n\t a b \r\n"), "a b");
    EXPECT_EQ(StringHelpers::trimmingWhitespaceAndNewlines("\u00a0x\u2003"), "x");
    EXPECT_EQ(StringHelpers::trimmingWhitespaceAndNewlines(u"\u2028 y \u0085"), u"y");
    EXPECT_EQ(StringHelpers::trimmingWhitespaceAndNewlines("   "), "");
}

TEST(StringHelpers, PercentDecoding)
{
    EXPECT_EQ(StringHelpers::removingPercentEncoding("a%20b.html"), "a b.html");
    EXPECT_EQ(StringHelpers::removingPercentEncoding("%C3%A9"), "\u00e9");
    EXPECT_EQ(StringHelpers::removingPercentEncoding("100%.html"), std::nullopt);
    EXPECT_EQ(StringHelpers::removingPercentEncoding("%zz"), std::nullopt);
    EXPECT_EQ(StringHelpers::removingPercentEncoding("%E9"), std::nullopt);
    EXPECT_EQ(StringHelpers::removingPercentEncoding("%2"), std::nullopt);
}

TEST(StringHelpers, CaseInsensitiveContains)
{
    EXPECT_TRUE(StringHelpers::localizedCaseInsensitiveContains("Getting Started", "START"));
    EXPECT_FALSE(StringHelpers::localizedCaseInsensitiveContains("Guide", "x"));
}

TEST(RegularExpression, CaseInsensitiveDotAllCapture)
{
    auto expression = RegularExpression::make(u"<h1\\b[^>]*>(.*?)</h1>", RegularExpression::Option::CaseInsensitive | RegularExpression::Option::DotMatchesLineSeparators);
    ASSERT_TRUE(expression);
    auto match = expression->firstMatch(u"x<H1 class=a>A\nB</h1>");
    ASSERT_TRUE(match);
    EXPECT_EQ(match->range(1), (Utf16Range { 13, 3 }));
}

TEST(RegularExpression, InvalidPatternIsNothing)
{
    EXPECT_FALSE(RegularExpression::make(u"(unclosed"));
}

TEST(RegularExpression, ReplacesLiterally)
{
    auto expression = RegularExpression::make(u"<[^>]+>");
    EXPECT_EQ(expression->replacingMatches(u"A <b>B</b> $1", u""), u"A B $1");
}

TEST(CharacterSegmentation, CRLFIsOneCharacter)
{
    EXPECT_EQ(CharacterSegmentation::characterCount(u"a\r\nb"), 3u);
    EXPECT_EQ(CharacterSegmentation::characterCount(u"\U0001F600e\u0301"), 2u);
}

TEST(FilePaths, StandardizedRemovesDotComponents)
{
    EXPECT_EQ(FilePaths::standardized("/tmp/a/./b/../c/").string(), "/tmp/a/c");
    EXPECT_EQ(FilePaths::pathExtension("v1.2"), "2");
    EXPECT_EQ(FilePaths::pathExtension(".htaccess"), "");
    EXPECT_EQ(FilePaths::pathExtension("a/PAGE.HTM"), "HTM");
    EXPECT_EQ(FilePaths::deletingPathExtension("v1.2"), "v1");
}

TEST(UUID, RandomValuesDifferAndFormat)
{
    auto a = UUID::random();
    auto b = UUID::random();
    EXPECT_NE(a, b);
    EXPECT_EQ(a.string().size(), 36u);
    EXPECT_EQ(a.string()[14], '4');
}

}
