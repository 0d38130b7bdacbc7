#include "QuilloryCore/Editing/PageUndoHistory.h"

#include <gtest/gtest.h>

using namespace Quillory;

namespace {

using Clock = std::chrono::system_clock;

const Clock::time_point firstDate = Clock::time_point(std::chrono::seconds(1'700'000'000));

std::vector<std::u16string> texts(const std::vector<PageUndoSnapshot>& history)
{
    std::vector<std::u16string> result;
    for (auto& snapshot : history)
        result.push_back(snapshot.previewText);
    return result;
}

// The history a user builds by typing: each text in turn is recorded as the text before a change.
std::vector<PageUndoSnapshot> historyOf(const std::vector<std::u16string>& oldestFirst)
{
    std::vector<PageUndoSnapshot> history;
    auto date = firstDate;
    for (auto& text : oldestFirst) {
        PageUndoHistory::record(history, text, date);
        date += std::chrono::seconds(1);
    }
    return history;
}

TEST(PageUndoHistory, RecordPutsTheTextInFrontWithAFreshIdAndTheDate)
{
    std::vector<PageUndoSnapshot> history;
    EXPECT_TRUE(PageUndoHistory::record(history, u"one", firstDate));
    EXPECT_TRUE(PageUndoHistory::record(history, u"two", firstDate + std::chrono::seconds(5)));
    ASSERT_EQ(texts(history), (std::vector<std::u16string> { u"two", u"one" }));
    EXPECT_EQ(history[0].createdAt, firstDate + std::chrono::seconds(5));
    EXPECT_EQ(history[1].createdAt, firstDate);
    EXPECT_NE(history[0].id, history[1].id);
    EXPECT_NE(history[0].id, UUID());
}

TEST(PageUndoHistory, RecordSkipsTheTextOfTheNewestEntry)
{
    auto history = historyOf({ u"one", u"two" });
    auto before = history;
    EXPECT_FALSE(PageUndoHistory::record(history, u"two", firstDate + std::chrono::hours(1)));
    EXPECT_EQ(history, before);
}

TEST(PageUndoHistory, RecordComparesOnlyWithTheNewestEntry)
{
    auto history = historyOf({ u"one", u"two" });
    EXPECT_TRUE(PageUndoHistory::record(history, u"one", firstDate));
    EXPECT_EQ(texts(history), (std::vector<std::u16string> { u"one", u"two", u"one" }));
}

TEST(PageUndoHistory, RecordKeepsTheFiveNewest)
{
    auto history = historyOf({ u"1", u"2", u"3", u"4", u"5", u"6", u"7" });
    EXPECT_EQ(texts(history), (std::vector<std::u16string> { u"7", u"6", u"5", u"4", u"3" }));
}

TEST(PageUndoHistory, UndoWithNoHistoryGivesNothing)
{
    EXPECT_FALSE(PageUndoHistory::undo({}, std::nullopt, u"text", firstDate));
}

TEST(PageUndoHistory, UndoOfAnUnknownIdGivesNothing)
{
    auto history = historyOf({ u"one", u"two" });
    EXPECT_FALSE(PageUndoHistory::undo(history, UUID::random(), u"three", firstDate));
}

TEST(PageUndoHistory, UndoRestoresTheNewestAndRecordsTheReplacedText)
{
    auto history = historyOf({ u"A", u"B" });
    auto undoDate = firstDate + std::chrono::minutes(3);
    auto result = PageUndoHistory::undo(history, std::nullopt, u"C", undoDate);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->restoredText, u"B");
    EXPECT_EQ(texts(result->history), (std::vector<std::u16string> { u"C", u"A" }));
    EXPECT_EQ(result->history[0].createdAt, undoDate);
    EXPECT_NE(result->history[0].id, history[0].id);
    EXPECT_NE(result->history[0].id, history[1].id);
    EXPECT_EQ(result->history[1], history[1]);
}

TEST(PageUndoHistory, UndoOfTheNewestTwiceReturnsToTheTextBeforeTheFirstUndo)
{
    auto history = historyOf({ u"A", u"B" });
    auto first = PageUndoHistory::undo(history, std::nullopt, u"C", firstDate);
    ASSERT_TRUE(first);
    auto second = PageUndoHistory::undo(first->history, std::nullopt, first->restoredText, firstDate);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->restoredText, u"C");
    EXPECT_EQ(texts(second->history), (std::vector<std::u16string> { u"B", u"A" }));
}

TEST(PageUndoHistory, UndoToAnOlderEntryIsAJumpThatKeepsNewerEntries)
{
    auto history = historyOf({ u"A", u"B", u"C" });
    auto result = PageUndoHistory::undo(history, history[1].id, u"D", firstDate);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->restoredText, u"B");
    EXPECT_EQ(texts(result->history), (std::vector<std::u16string> { u"D", u"C", u"A" }));
}

TEST(PageUndoHistory, UndoFindsTheFirstEntryWithTheId)
{
    auto history = historyOf({ u"A", u"B" });
    history.push_back(PageUndoSnapshot { history[0].id, u"duplicate", firstDate });
    auto result = PageUndoHistory::undo(history, history[0].id, u"C", firstDate);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->restoredText, u"B");
    EXPECT_EQ(texts(result->history), (std::vector<std::u16string> { u"C", u"A", u"duplicate" }));
}

TEST(PageUndoHistory, UndoToTheCurrentTextRecordsNothing)
{
    auto history = historyOf({ u"A", u"B" });
    auto result = PageUndoHistory::undo(history, std::nullopt, u"B", firstDate);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->restoredText, u"B");
    EXPECT_EQ(texts(result->history), (std::vector<std::u16string> { u"A" }));
}

TEST(PageUndoHistory, UndoLeavesAtMostFiveEntries)
{
    // Six entries can't come from recording; a list handed in that long is still cut to five.
    std::vector<PageUndoSnapshot> history;
    for (auto text : { u"6", u"5", u"4", u"3", u"2", u"1" })
        history.push_back(PageUndoSnapshot { UUID::random(), text, firstDate });
    auto result = PageUndoHistory::undo(history, history[5].id, u"now", firstDate);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->restoredText, u"1");
    EXPECT_EQ(texts(result->history), (std::vector<std::u16string> { u"now", u"6", u"5", u"4", u"3" }));
}

}
