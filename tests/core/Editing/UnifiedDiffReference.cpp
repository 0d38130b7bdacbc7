#include "core/Editing/UnifiedDiffReference.h"

#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <cstdint>

namespace QuilloryTest::UnifiedDiffReference {

using Quillory::UnifiedDiff::Operation;

namespace {

std::vector<std::u16string> splitLines(std::u16string_view text)
{
    std::vector<std::u16string> lines;
    std::size_t start = 0;
    while (true) {
        auto end = text.find(u'\n', start);
        if (end == std::u16string_view::npos) {
            lines.emplace_back(text.substr(start));
            return lines;
        }
        lines.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
}

}

std::vector<Operation> lineOperations(const std::vector<std::u16string>& oldLines, const std::vector<std::u16string>& newLines)
{
    auto oldCount = oldLines.size();
    auto newCount = newLines.size();
    // Cell (i, j) holds the length of the longest common subsequence of oldLines[i...] and newLines[j...].
    auto columns = newCount + 1;
    std::vector<std::uint32_t> table((oldCount + 1) * columns, 0);
    auto cell = [&](std::size_t i, std::size_t j) -> std::uint32_t& { return table[i * columns + j]; };
    for (auto i = oldCount; i-- > 0;) {
        for (auto j = newCount; j-- > 0;) {
            if (oldLines[i] == newLines[j])
                cell(i, j) = cell(i + 1, j + 1) + 1;
            else
                cell(i, j) = std::max(cell(i + 1, j), cell(i, j + 1));
        }
    }

    std::vector<Operation> operations;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < oldCount && j < newCount) {
        if (oldLines[i] == newLines[j]) {
            operations.push_back(Operation::equal(oldLines[i]));
            ++i;
            ++j;
        } else if (cell(i + 1, j) < cell(i, j + 1)) {
            operations.push_back(Operation::insert(newLines[j]));
            ++j;
        } else {
            operations.push_back(Operation::deletion(oldLines[i]));
            ++i;
        }
    }
    for (; i < oldCount; ++i)
        operations.push_back(Operation::deletion(oldLines[i]));
    for (; j < newCount; ++j)
        operations.push_back(Operation::insert(newLines[j]));
    return operations;
}

std::u16string make(std::u16string_view oldText, std::u16string_view newText, std::string_view filePath,
                    std::string_view oldLabel, std::string_view newLabel)
{
    if (oldText == newText)
        return u"No changes from opened baseline.";

    using Quillory::UnicodeText::utf16;
    auto path = utf16(filePath);
    std::u16string diff = u"--- " + path + u" (" + utf16(oldLabel) + u")\n";
    diff += u"+++ " + path + u" (" + utf16(newLabel) + u")\n";
    diff += u"@@";
    for (auto& operation : lineOperations(splitLines(oldText), splitLines(newText))) {
        diff += u'\n';
        diff += operation.kind == Operation::Kind::Equal ? u' ' : operation.kind == Operation::Kind::Delete ? u'-' : u'+';
        diff += operation.line;
    }
    return diff;
}

}
