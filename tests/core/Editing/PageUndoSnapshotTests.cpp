#include "QuilloryCore/Editing/PageUndoSnapshot.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <gtest/gtest.h>

using namespace Quillory;

namespace {

std::string menuTitle(std::u16string text)
{
    return PageUndoSnapshot { UUID::random(), std::move(text), std::chrono::system_clock::now() }.menuTitle();
}

std::u16string repeated(std::u16string_view piece, std::size_t count)
{
    std::u16string text;
    for (std::size_t index = 0; index < count; ++index)
        text += piece;
    return text;
}

TEST(PageUndoSnapshot, TitleSkipsLeadingBlankLines)
{
    EXPECT_EQ(menuTitle(u"\n\n<h1>Title</h1>\n<p>Body</p>\n"), "<h1>Title</h1>");
}

TEST(PageUndoSnapshot, TitleSkipsLeadingCRLFAndOtherLineEnds)
{
    EXPECT_EQ(menuTitle(u"\r\n\r\n\u2028\u000C<p>Body</p>\r\n"), "<p>Body</p>");
}

TEST(PageUndoSnapshot, FirstLineOfSpacesOnlyGivesBlankPage)
{
    EXPECT_EQ(menuTitle(u"   \t \n<h1>Title</h1>\n"), "Blank page");
}

TEST(PageUndoSnapshot, EmptyTextGivesBlankPage)
{
    EXPECT_EQ(menuTitle(u""), "Blank page");
    EXPECT_EQ(menuTitle(u"\n\r\n\n"), "Blank page");
}

TEST(PageUndoSnapshot, TitleIsTrimmed)
{
    EXPECT_EQ(menuTitle(u"  \t<p>Hello</p>\u00A0 \nnext"), "<p>Hello</p>");
}

TEST(PageUndoSnapshot, FortyEightCharactersStayWhole)
{
    auto line = repeated(u"abcdefgh", 6);
    ASSERT_EQ(line.size(), 48u);
    EXPECT_EQ(menuTitle(line + u"\nmore"), UnicodeText::utf8FromUTF16(line));
}

TEST(PageUndoSnapshot, FortyNineCharactersAreShortenedToFortyFive)
{
    auto line = repeated(u"abcdefgh", 6) + u"X";
    ASSERT_EQ(line.size(), 49u);
    EXPECT_EQ(menuTitle(line), UnicodeText::utf8FromUTF16(line.substr(0, 45)) + "...");
}

TEST(PageUndoSnapshot, AstralCharactersCountOnceEach)
{
    // 48 emoji are 96 UTF-16 code units but 48 characters, so the title stays whole.
    auto emoji = repeated(u"\U0001F600", 48);
    EXPECT_EQ(menuTitle(emoji), UnicodeText::utf8FromUTF16(emoji));
    auto flags = repeated(u"\U0001F1E9\U0001F1EA", 49);
    EXPECT_EQ(menuTitle(flags), UnicodeText::utf8FromUTF16(repeated(u"\U0001F1E9\U0001F1EA", 45)) + "...");
}

TEST(PageUndoSnapshot, CombiningMarksBelongToTheirCharacter)
{
    auto accented = repeated(u"e\u0301", 48);
    EXPECT_EQ(menuTitle(accented), UnicodeText::utf8FromUTF16(accented));
    EXPECT_EQ(menuTitle(accented + u"e\u0301"), UnicodeText::utf8FromUTF16(repeated(u"e\u0301", 45)) + "...");
}

TEST(PageUndoSnapshot, EqualWhenAllFieldsAreEqual)
{
    auto now = std::chrono::system_clock::now();
    auto id = UUID::random();
    PageUndoSnapshot snapshot { id, u"text", now };
    EXPECT_EQ(snapshot, (PageUndoSnapshot { id, u"text", now }));
    EXPECT_NE(snapshot, (PageUndoSnapshot { UUID::random(), u"text", now }));
    EXPECT_NE(snapshot, (PageUndoSnapshot { id, u"other", now }));
    EXPECT_NE(snapshot, (PageUndoSnapshot { id, u"text", now + std::chrono::seconds(1) }));
}

}
