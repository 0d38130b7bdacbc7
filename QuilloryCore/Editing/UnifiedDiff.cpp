#include "QuilloryCore/Editing/UnifiedDiff.h"

#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <utility>

namespace Quillory::UnifiedDiff {

namespace {

// Lines become small integers first, so that filling the table compares numbers, not strings.
std::pair<std::vector<std::uint32_t>, std::vector<std::uint32_t>> lineNumbers(const std::vector<std::u16string>& oldLines,
                                                                               const std::vector<std::u16string>& newLines)
{
    std::unordered_map<std::u16string_view, std::uint32_t> numbers;
    auto number = [&](const std::u16string& line) {
        return numbers.try_emplace(line, static_cast<std::uint32_t>(numbers.size())).first->second;
    };
    std::vector<std::uint32_t> oldNumbers;
    oldNumbers.reserve(oldLines.size());
    for (auto& line : oldLines)
        oldNumbers.push_back(number(line));
    std::vector<std::uint32_t> newNumbers;
    newNumbers.reserve(newLines.size());
    for (auto& line : newLines)
        newNumbers.push_back(number(line));
    return { std::move(oldNumbers), std::move(newNumbers) };
}

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
    auto [oldNumbers, newNumbers] = lineNumbers(oldLines, newLines);
    auto oldCount = oldLines.size();
    auto newCount = newLines.size();

    // Cell (i, j) holds the length of the longest common subsequence of oldLines[i...] and
    // newLines[j...]; one flat row-major vector of 32-bit counts keeps 5,000 by 5,000 lines near 100 MB.
    auto columns = newCount + 1;
    std::vector<std::uint32_t> table((oldCount + 1) * columns, 0);
    auto cell = [&](std::size_t i, std::size_t j) -> std::uint32_t& { return table[i * columns + j]; };
    for (auto i = oldCount; i-- > 0;) {
        for (auto j = newCount; j-- > 0;) {
            if (oldNumbers[i] == newNumbers[j])
                cell(i, j) = cell(i + 1, j + 1) + 1;
            else
                cell(i, j) = std::max(cell(i + 1, j), cell(i, j + 1));
        }
    }

    std::vector<Operation> operations;
    operations.reserve(oldCount + newCount);
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < oldCount && j < newCount) {
        if (oldNumbers[i] == newNumbers[j]) {
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

    auto path = UnicodeText::utf16(filePath);
    std::u16string diff = u"--- " + path + u" (" + UnicodeText::utf16(oldLabel) + u")\n";
    diff += u"+++ " + path + u" (" + UnicodeText::utf16(newLabel) + u")\n";
    diff += u"@@";
    for (auto& operation : lineOperations(splitLines(oldText), splitLines(newText))) {
        diff += u'\n';
        switch (operation.kind) {
        case Operation::Kind::Equal:
            diff += u' ';
            break;
        case Operation::Kind::Delete:
            diff += u'-';
            break;
        case Operation::Kind::Insert:
            diff += u'+';
            break;
        }
        diff += operation.line;
    }
    return diff;
}

}
