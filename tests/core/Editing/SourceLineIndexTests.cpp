#include "QuilloryCore/Editing/SourceLineIndex.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <gtest/gtest.h>

using namespace Quillory;

namespace {

std::string formatted(SourceEditorStatus status)
{
    char buffer[48];
    return std::string(status.format(buffer, sizeof buffer));
}

TEST(SourceLineIndex, EmptyDocumentIsLineOneColumnOne)
{
    auto index = SourceLineIndex::build(u"");
    EXPECT_EQ(index.lineStarts, std::vector<std::size_t> { 0 });
    EXPECT_EQ(formatted(SourceEditorStatus::at(index, 0)), "Ln 1, Col 1");
    EXPECT_EQ(SourceLineIndex {}.lineIndex(5), 0u);
}

TEST(SourceLineIndex, LetterAndLineFeedHaveTwoLinesAndTheCaretBehindIsOnTheSecond)
{
    auto index = SourceLineIndex::build(u"a\n");
    EXPECT_EQ(index.lineStarts, (std::vector<std::size_t> { 0, 2 }));
    EXPECT_EQ(SourceEditorStatus::at(index, 2), (SourceEditorStatus { 2, 1 }));
    EXPECT_EQ(SourceEditorStatus::at(index, 1), (SourceEditorStatus { 1, 2 }));
}

TEST(SourceLineIndex, AstralCharacterCountsTwoColumns)
{
    auto text = UnicodeText::utf16("x\n\xF0\x9F\x98\x80" "ab");
    auto index = SourceLineIndex::build(text);
    EXPECT_EQ(SourceEditorStatus::at(index, 5), (SourceEditorStatus { 2, 4 }));
    EXPECT_EQ(formatted(SourceEditorStatus::at(index, 5)), "Ln 2, Col 4");
}

TEST(SourceLineIndex, CarriageReturnIsAnOrdinaryCharacterAndOffsetsAreLimited)
{
    auto index = SourceLineIndex::build(u"a\r\nb\rc");
    EXPECT_EQ(index.lineStarts, (std::vector<std::size_t> { 0, 3 }));
    EXPECT_EQ(SourceEditorStatus::at(index, 6), (SourceEditorStatus { 2, 4 }));
    EXPECT_EQ(SourceEditorStatus::at(index, 600), (SourceEditorStatus { 2, 4 }));
}

}
