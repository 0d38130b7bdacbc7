#include "QuilloryCore/Text/CharacterSegmentation.h"
#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/RegularExpression.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/UUID.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "support/RandomTexts.h"

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
    StringHelpers::stableSortLocalizedStandard(names, [](const std::string& name) -> std::string_view { return name; });
    EXPECT_EQ(names, (std::vector<std::string> { "page1.html", "Page2.html", "page10.html" }));
}

// Keys replace pairwise comparisons in every sort a user sees, so their order must be the
// comparison's exactly, ties included, over case, accents, digit runs and punctuation.
TEST(StringHelpers, SortKeysOrderLikeTheStandardCompare)
{
    const std::vector<std::u16string> pieces { u"a", u"A", u"b", u"\u00e9", u"E", u"e\u0301", u"0", u"1", u"2", u"10", u"007", u"-", u" ",
                                               u"_", u"/", u".html", u"\u00df", u"ss", u"\u0663", u"Z", u"\u4e2d", u"\U0001F600" };
    std::vector<std::string> texts;
    QuilloryTest::forEachRandomText(pieces, 31, 6, 400, [&](const std::u16string& text) {
        texts.push_back(UnicodeText::utf8FromUTF16(text));
        return true;
    });
    for (auto& a : texts) {
        auto keyA = StringHelpers::localizedStandardSortKey(a);
        for (auto& b : texts) {
            auto keyB = StringHelpers::localizedStandardSortKey(b);
            int expected = StringHelpers::localizedStandardCompare(a, b);
            int actual = keyA < keyB ? -1 : keyB < keyA ? 1 : 0;
            ASSERT_EQ(actual, expected) << a << " | " << b;
        }
    }

    auto expected = texts;
    std::stable_sort(expected.begin(), expected.end(),
                     [](const std::string& a, const std::string& b) { return StringHelpers::localizedStandardCompare(a, b) < 0; });
    auto sorted = texts;
    StringHelpers::stableSortLocalizedStandard(sorted, [](const std::string& text) -> std::string_view { return text; });
    EXPECT_EQ(sorted, expected);
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
