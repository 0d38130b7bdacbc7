#include "QuilloryCore/Editing/EditSafety.h"

#include <gtest/gtest.h>

using namespace Quillory;

namespace {

// "line 1" to "line N" joined by `lineEnd`, without a final line end, so the text has N lines.
std::u16string page(std::size_t lineCount, std::u16string_view lineEnd = u"\n")
{
    std::u16string text;
    for (std::size_t line = 1; line <= lineCount; ++line) {
        if (line > 1)
            text += lineEnd;
        for (char digit : "line " + std::to_string(line))
            text += static_cast<char16_t>(digit);
    }
    return text;
}

Utf16Range wholeText(std::u16string_view text)
{
    return { 0, text.size() };
}

struct LineCountCase {
    const char* name;
    std::u16string text;
    std::size_t lineCount;
};

void PrintTo(const LineCountCase& testCase, std::ostream* stream)
{
    *stream << testCase.name;
}

class EditSafetyLineCount : public testing::TestWithParam<LineCountCase> { };

TEST_P(EditSafetyLineCount, CountsLineFeedCharacters)
{
    EXPECT_EQ(EditSafety::lineCount(GetParam().text), GetParam().lineCount);
}

INSTANTIATE_TEST_SUITE_P(Texts, EditSafetyLineCount,
    testing::Values(
        LineCountCase { "Empty", u"", 0 },
        LineCountCase { "OneLine", u"<p>one</p>", 1 },
        LineCountCase { "FinalLineFeed", u"<p>one</p>\n", 2 },
        LineCountCase { "OnlyLineFeeds", u"\n\n", 3 },
        LineCountCase { "CRLFIsNotALineFeed", u"a\r\nb\r\nc\r\n", 1 },
        LineCountCase { "MixedLineEnds", u"a\r\nb\nc\rd", 2 },
        LineCountCase { "CombiningMarkAfterLineFeed", u"a\n\u0301b", 2 },
        LineCountCase { "AstralCharacters", u"\U0001F600\n\U0001F600", 2 }),
    [](const testing::TestParamInfo<LineCountCase>& testCase) { return std::string(testCase.param.name); });

TEST(EditSafety, ReplacingAllOfATwentyOneLineFileAsks)
{
    auto text = page(21);
    ASSERT_EQ(EditSafety::lineCount(text), 21u);
    EXPECT_TRUE(EditSafety::largeEditNeedsConfirmation(text, wholeText(text), u"new"));
}

TEST(EditSafety, ReplacingAllOfATwentyLineFileDoesNotAsk)
{
    auto text = page(20);
    ASSERT_EQ(EditSafety::lineCount(text), 20u);
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, wholeText(text), u"new"));
}

TEST(EditSafety, TenWholeLinesWithTheirLastLineEndAsk)
{
    auto text = page(21);
    auto tenLinesWithLineEnd = page(10) + u"\n";
    ASSERT_EQ(text.substr(0, tenLinesWithLineEnd.size()), tenLinesWithLineEnd);
    ASSERT_EQ(EditSafety::lineCount(tenLinesWithLineEnd), 11u);
    EXPECT_TRUE(EditSafety::largeEditNeedsConfirmation(text, { 0, tenLinesWithLineEnd.size() }, u""));
}

TEST(EditSafety, TenWholeLinesWithoutTheirLastLineEndDoNotAsk)
{
    auto text = page(21);
    auto tenLines = page(10);
    ASSERT_EQ(EditSafety::lineCount(tenLines), 10u);
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, { 0, tenLines.size() }, u""));
}

TEST(EditSafety, ReplacingTextByTheIdenticalTextNeverAsks)
{
    auto text = page(40);
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, wholeText(text), text));
}

TEST(EditSafety, CRLFFileNeverAsks)
{
    auto text = page(40, u"\r\n");
    ASSERT_EQ(EditSafety::lineCount(text), 1u);
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, wholeText(text), u"new"));
}

TEST(EditSafety, PureInsertionNeverAsks)
{
    auto text = page(40);
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, { 7, 0 }, page(100)));
}

TEST(EditSafety, EmptyTextNeverAsks)
{
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(u"", { 0, 10 }, u"new"));
}

TEST(EditSafety, AbsentReplacementIsADeletion)
{
    auto text = page(21);
    EXPECT_TRUE(EditSafety::largeEditNeedsConfirmation(text, wholeText(text), std::nullopt));
}

TEST(EditSafety, DeletingPartOfOneLineDoesNotAsk)
{
    auto text = page(21);
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, { 0, 3 }, std::nullopt));
}

TEST(EditSafety, LengthPastTheEndIsClampedToTheRest)
{
    auto text = page(21);
    auto lineEleven = page(10).size() + 1;
    auto lineTwelve = page(11).size() + 1;
    // From line 11 to the end is 11 of 21 lines; from line 12, 10 of 21.
    EXPECT_TRUE(EditSafety::largeEditNeedsConfirmation(text, { lineEleven, SIZE_MAX }, u""));
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, { lineTwelve, SIZE_MAX }, u""));
    EXPECT_TRUE(EditSafety::largeEditNeedsConfirmation(text, { 0, text.size() + 500 }, u"new"));
}

TEST(EditSafety, LocationPastTheEndIsAnInsertionThatNeverAsks)
{
    auto text = page(21);
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, { text.size() + 10, 100 }, u"new"));
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, { SIZE_MAX, SIZE_MAX }, u"new"));
}

}
