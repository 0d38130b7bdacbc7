#include "QuilloryCore/Editing/UnifiedDiff.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "core/Editing/UnifiedDiffReference.h"

#include "support/FixtureFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

using namespace Quillory;
using Operation = UnifiedDiff::Operation;

namespace {

using Lines = std::vector<std::u16string>;

std::u16string joined(const Lines& lines)
{
    std::u16string text;
    for (std::size_t index = 0; index < lines.size(); ++index) {
        if (index)
            text += u'\n';
        text += lines[index];
    }
    return text;
}

// Random line lists over a few distinct lines, and new lists made from the old one by a few
// block edits, so that ties between deleting and inserting and long common runs are frequent.
class PairMaker {
public:
    explicit PairMaker(std::uint32_t seed)
        : m_random(seed)
    {
    }

    std::pair<Lines, Lines> next(std::size_t maximumLines)
    {
        const std::vector<std::u16string> allLines { u"a", u"b", u"", u"<p>c</p>", u"\r", u"d\r", u"  e", u"f" };
        auto alphabetSize = pick(1, allLines.size());
        auto line = [&] { return allLines[pick(0, alphabetSize - 1)]; };
        Lines oldLines(pick(0, maximumLines));
        for (auto& entry : oldLines)
            entry = line();
        Lines newLines;
        if (pick(0, 3) == 0) {
            newLines.resize(pick(0, maximumLines));
            for (auto& entry : newLines)
                entry = line();
        } else {
            newLines = oldLines;
            for (auto edits = pick(0, 4); edits > 0; --edits) {
                auto at = pick(0, newLines.size());
                auto removed = std::min(pick(0, 3), newLines.size() - at);
                newLines.erase(newLines.begin() + static_cast<std::ptrdiff_t>(at), newLines.begin() + static_cast<std::ptrdiff_t>(at + removed));
                for (auto added = pick(0, 3); added > 0; --added)
                    newLines.insert(newLines.begin() + static_cast<std::ptrdiff_t>(at), line());
            }
        }
        return { std::move(oldLines), std::move(newLines) };
    }

    std::size_t pick(std::size_t low, std::size_t high) { return std::uniform_int_distribution<std::size_t>(low, high)(m_random); }

private:
    std::mt19937 m_random;
};

::testing::AssertionResult sameOperations(const Lines& oldLines, const Lines& newLines)
{
    auto expected = QuilloryTest::UnifiedDiffReference::lineOperations(oldLines, newLines);
    auto actual = UnifiedDiff::lineOperations(oldLines, newLines);
    if (actual == expected)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "old:\n" << UnicodeText::utf8FromUTF16(joined(oldLines)) << "\nnew:\n"
                                         << UnicodeText::utf8FromUTF16(joined(newLines));
}

::testing::AssertionResult sameDiff(std::u16string_view oldText, std::u16string_view newText)
{
    auto expected = QuilloryTest::UnifiedDiffReference::make(oldText, newText, "page.html", "opened", "current");
    auto actual = UnifiedDiff::make(oldText, newText, "page.html", "opened", "current");
    if (actual == expected)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "expected:\n" << UnicodeText::utf8FromUTF16(expected) << "\nactual:\n"
                                         << UnicodeText::utf8FromUTF16(actual);
}

TEST(UnifiedDiffEquivalence, RandomPairsWalkLikeTheFullTable)
{
    PairMaker maker(20261123);
    for (int round = 0; round < 200'000; ++round) {
        // Most pairs are small; every hundredth spans several words of a row and repeats lines
        // often enough for whole match vectors.
        auto [oldLines, newLines] = maker.next(round % 100 == 0 ? 200 : 16);
        ASSERT_TRUE(sameOperations(oldLines, newLines)) << "round " << round;
        if (round % 10 == 0) {
            ASSERT_TRUE(sameDiff(joined(oldLines), joined(newLines))) << "round " << round;
        }
    }
}

TEST(UnifiedDiffEquivalence, LargePairsWalkLikeTheFullTable)
{
    PairMaker maker(7);
    for (int round = 0; round < 4; ++round) {
        auto [oldLines, newLines] = maker.next(2000);
        ASSERT_TRUE(sameOperations(oldLines, newLines)) << "round " << round;
    }
    // Mostly unique lines with scattered edits, the common case of an edited page.
    Lines oldLines;
    for (int line = 0; line < 3000; ++line)
        oldLines.push_back(u"<p>line " + UnicodeText::utf16(std::to_string(line)) + u"</p>");
    auto newLines = oldLines;
    for (std::size_t line = 17; line < newLines.size(); line += 211)
        newLines[line] = u"<p>edited</p>";
    newLines.insert(newLines.begin() + 1500, 40, u"");
    newLines.erase(newLines.begin() + 2600, newLines.begin() + 2700);
    EXPECT_TRUE(sameOperations(oldLines, newLines));
    EXPECT_TRUE(sameOperations(newLines, oldLines));

    // A block of new lines wider than a word between frequent blank lines: carries cross words
    // of all ones inside rows that keep whole match vectors.
    Lines spaced;
    for (int line = 0; line < 600; ++line)
        spaced.push_back(line % 10 == 0 ? u"" : u"<li>" + UnicodeText::utf16(std::to_string(line)) + u"</li>");
    auto widened = spaced;
    for (int line = 0; line < 200; ++line)
        widened.insert(widened.begin() + 300 + line, u"<td>" + UnicodeText::utf16(std::to_string(line)) + u"</td>");
    EXPECT_TRUE(sameOperations(spaced, widened));
    EXPECT_TRUE(sameOperations(widened, spaced));
    auto shortened = spaced;
    shortened.erase(shortened.begin() + 300, shortened.begin() + 312);
    EXPECT_TRUE(sameOperations(shortened, widened));
    EXPECT_TRUE(sameOperations(widened, shortened));
}

TEST(UnifiedDiffEquivalence, FixtureFilesDiffLikeTheFullTable)
{
    std::vector<std::u16string> texts;
    for (const auto& path : QuilloryTest::fixtureFiles()) {
        std::ifstream file(path, std::ios::binary);
        texts.push_back(UnicodeText::utf16(std::string(std::istreambuf_iterator<char>(file), {})));
    }
    ASSERT_GE(texts.size(), 10u);
    for (auto& oldText : texts) {
        for (auto& newText : texts) {
            ASSERT_TRUE(sameDiff(oldText, newText));
        }
        // The same file with every third line edited and a block moved to the end.
        auto edited = oldText;
        for (std::size_t at = edited.find(u'\n'), count = 0; at != std::u16string::npos; at = edited.find(u'\n', at + 1), ++count) {
            if (count % 3 == 0)
                edited.insert(at, u" edited");
        }
        edited += oldText.substr(0, oldText.size() / 3);
        ASSERT_TRUE(sameDiff(oldText, edited));
        ASSERT_TRUE(sameDiff(edited, oldText));
    }
}

TEST(UnifiedDiffEquivalence, LineEndsAndEmptyTextsDiffLikeTheFullTable)
{
    const std::vector<std::u16string> texts { u"", u"\n", u"\n\n", u"a", u"a\n", u"a\r\n", u"\r\n", u"a\r\nb\r\n", u"a\nb\n",
                                              u"a\nb", u"b\na\n", u"\ra\n", u"a\r", u"a\r\nb\n", u"\n\na\n\n" };
    for (auto& oldText : texts) {
        for (auto& newText : texts)
            EXPECT_TRUE(sameDiff(oldText, newText));
    }
}

}
