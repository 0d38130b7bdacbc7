#include "QuilloryCore/Editing/UnifiedDiff.h"

#include <gtest/gtest.h>

using namespace Quillory;
using Operation = UnifiedDiff::Operation;

namespace {

std::vector<std::u16string> lines(std::initializer_list<const char16_t*> values)
{
    return { values.begin(), values.end() };
}

TEST(UnifiedDiff, EqualTextsHaveNoChanges)
{
    EXPECT_EQ(UnifiedDiff::make(u"<p>one</p>\n", u"<p>one</p>\n", "index.html", "opened", "current"), u"No changes from opened baseline.");
    EXPECT_EQ(UnifiedDiff::make(u"", u"", "index.html", "opened", "current"), u"No changes from opened baseline.");
}

TEST(UnifiedDiff, OneLineChangeListsTheWholeFileWithTheDeletionFirst)
{
    auto diff = UnifiedDiff::make(u"<h1>Home</h1>\n<p>old</p>\n<p>end</p>\n", u"<h1>Home</h1>\n<p>new</p>\n<p>end</p>\n",
                                  "docs/index.html", "opened", "current");
    EXPECT_EQ(diff,
              u"--- docs/index.html (opened)\n"
              u"+++ docs/index.html (current)\n"
              u"@@\n"
              u" <h1>Home</h1>\n"
              u"-<p>old</p>\n"
              u"+<p>new</p>\n"
              u" <p>end</p>\n"
              u" ");
}

TEST(UnifiedDiff, CarriageReturnStaysOnItsLine)
{
    auto diff = UnifiedDiff::make(u"a\r\nb\r\n", u"a\r\nc\r\n", "page.html", "opened", "current");
    EXPECT_EQ(diff, u"--- page.html (opened)\n+++ page.html (current)\n@@\n a\r\n-b\r\n+c\r\n ");
}

TEST(UnifiedDiff, AddingAFinalLineFeedAddsAnEmptyLine)
{
    auto diff = UnifiedDiff::make(u"a", u"a\n", "page.html", "opened", "current");
    EXPECT_EQ(diff, u"--- page.html (opened)\n+++ page.html (current)\n@@\n a\n+");
}

TEST(UnifiedDiff, EmptyOldTextIsOneEmptyLine)
{
    auto diff = UnifiedDiff::make(u"", u"x", "page.html", "opened", "current");
    EXPECT_EQ(diff, u"--- page.html (opened)\n+++ page.html (current)\n@@\n-\n+x");
}

TEST(UnifiedDiff, PathAndLabelsAreUTF8)
{
    auto diff = UnifiedDiff::make(u"a", u"\u00e9\U0001F600", "caf\u00e9/\u00fcber.html", "vorher", "nachher");
    EXPECT_EQ(diff, u"--- caf\u00e9/\u00fcber.html (vorher)\n+++ caf\u00e9/\u00fcber.html (nachher)\n@@\n-a\n+\u00e9\U0001F600");
}

TEST(UnifiedDiff, ReplacedBlockListsDeletionsBeforeInsertions)
{
    EXPECT_EQ(UnifiedDiff::lineOperations(lines({ u"a", u"b" }), lines({ u"c", u"d" })),
              (std::vector<Operation> { Operation::deletion(u"a"), Operation::deletion(u"b"), Operation::insert(u"c"), Operation::insert(u"d") }));
}

TEST(UnifiedDiff, InsertionComesFirstWhenItKeepsMoreLinesInCommon)
{
    EXPECT_EQ(UnifiedDiff::lineOperations(lines({ u"a", u"b" }), lines({ u"c", u"a", u"b" })),
              (std::vector<Operation> { Operation::insert(u"c"), Operation::equal(u"a"), Operation::equal(u"b") }));
}

TEST(UnifiedDiff, RemainingLinesAreDeletedThenInserted)
{
    EXPECT_EQ(UnifiedDiff::lineOperations(lines({ u"a", u"b", u"c" }), lines({ u"a" })),
              (std::vector<Operation> { Operation::equal(u"a"), Operation::deletion(u"b"), Operation::deletion(u"c") }));
    EXPECT_EQ(UnifiedDiff::lineOperations(lines({ u"a" }), lines({ u"a", u"x", u"y" })),
              (std::vector<Operation> { Operation::equal(u"a"), Operation::insert(u"x"), Operation::insert(u"y") }));
    EXPECT_EQ(UnifiedDiff::lineOperations({}, lines({ u"x" })), (std::vector<Operation> { Operation::insert(u"x") }));
    EXPECT_EQ(UnifiedDiff::lineOperations(lines({ u"x" }), {}), (std::vector<Operation> { Operation::deletion(u"x") }));
    EXPECT_TRUE(UnifiedDiff::lineOperations({}, {}).empty());
}

TEST(UnifiedDiff, EqualLinesAreTakenAsSoonAsTheyMeet)
{
    // The walk takes a matching pair at once, so the repeated line matches the first "a".
    EXPECT_EQ(UnifiedDiff::lineOperations(lines({ u"a" }), lines({ u"a", u"a" })),
              (std::vector<Operation> { Operation::equal(u"a"), Operation::insert(u"a") }));
}

TEST(UnifiedDiff, LongestCommonSubsequenceIsKept)
{
    // Old "a b c a b b a" and new "c b a b a c" have four lines in common; where deleting and
    // inserting keep equally many, the deletion comes first.
    auto operations = UnifiedDiff::lineOperations(lines({ u"a", u"b", u"c", u"a", u"b", u"b", u"a" }),
                                                  lines({ u"c", u"b", u"a", u"b", u"a", u"c" }));
    EXPECT_EQ(operations,
              (std::vector<Operation> { Operation::deletion(u"a"), Operation::deletion(u"b"), Operation::equal(u"c"),
                                        Operation::deletion(u"a"), Operation::equal(u"b"), Operation::insert(u"a"),
                                        Operation::equal(u"b"), Operation::equal(u"a"), Operation::insert(u"c") }));
}

}
