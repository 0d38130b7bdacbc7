#include "QuilloryCore/Editing/UnifiedDiff.h"

#include "QuilloryCore/Editing/LineAlignment.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <bit>
#include <cstdint>
#include <functional>

namespace Quillory::UnifiedDiff {

namespace {

// Equal lines get the same small number, so that the walk compares numbers, never strings.
class LineNumbers {
public:
    explicit LineNumbers(std::size_t lineCount)
        : m_slots(std::bit_ceil(2 * lineCount + 2), 0)
    {
    }

    std::uint32_t number(std::u16string_view line)
    {
        auto mask = m_slots.size() - 1;
        for (auto slot = std::hash<std::u16string_view> {}(line) & mask;; slot = (slot + 1) & mask) {
            if (m_slots[slot] == 0) {
                m_lines.push_back(line);
                m_slots[slot] = static_cast<std::uint32_t>(m_lines.size());
                return m_slots[slot] - 1;
            }
            if (m_lines[m_slots[slot] - 1] == line)
                return m_slots[slot] - 1;
        }
    }

    std::uint32_t count() const { return static_cast<std::uint32_t>(m_lines.size()); }

private:
    std::vector<std::uint32_t> m_slots;
    std::vector<std::u16string_view> m_lines;
};

template<class Lines>
std::vector<LineAlignment::Step> alignedSteps(const Lines& oldLines, const Lines& newLines)
{
    LineNumbers numbers(oldLines.size() + newLines.size());
    std::vector<std::uint32_t> oldNumbers;
    oldNumbers.reserve(oldLines.size());
    for (auto& line : oldLines)
        oldNumbers.push_back(numbers.number(line));
    std::vector<std::uint32_t> newNumbers;
    newNumbers.reserve(newLines.size());
    for (auto& line : newLines)
        newNumbers.push_back(numbers.number(line));
    return LineAlignment::steps(oldNumbers, newNumbers, numbers.count());
}

std::vector<std::u16string_view> splitLines(std::u16string_view text)
{
    std::vector<std::u16string_view> lines;
    std::size_t start = 0;
    while (true) {
        auto end = text.find(u'\n', start);
        if (end == std::u16string_view::npos) {
            lines.push_back(text.substr(start));
            return lines;
        }
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
}

}

std::vector<Operation> lineOperations(const std::vector<std::u16string>& oldLines, const std::vector<std::u16string>& newLines)
{
    std::vector<Operation> operations;
    std::size_t oldIndex = 0;
    std::size_t newIndex = 0;
    for (auto step : alignedSteps(oldLines, newLines)) {
        switch (step) {
        case LineAlignment::Step::Equal:
            operations.push_back(Operation::equal(oldLines[oldIndex++]));
            ++newIndex;
            break;
        case LineAlignment::Step::Delete:
            operations.push_back(Operation::deletion(oldLines[oldIndex++]));
            break;
        case LineAlignment::Step::Insert:
            operations.push_back(Operation::insert(newLines[newIndex++]));
            break;
        }
    }
    return operations;
}

std::u16string make(std::u16string_view oldText, std::u16string_view newText, std::string_view filePath,
                    std::string_view oldLabel, std::string_view newLabel)
{
    if (oldText == newText)
        return u"No changes from opened baseline.";

    auto oldLines = splitLines(oldText);
    auto newLines = splitLines(newText);
    auto steps = alignedSteps(oldLines, newLines);

    auto path = UnicodeText::utf16(filePath);
    std::u16string diff = u"--- " + path + u" (" + UnicodeText::utf16(oldLabel) + u")\n";
    diff += u"+++ " + path + u" (" + UnicodeText::utf16(newLabel) + u")\n";
    diff += u"@@";
    // Every old and every new line is listed once, except that an equal line stands for both.
    std::size_t equalLength = 0;
    std::size_t oldIndex = 0;
    for (auto step : steps) {
        if (step != LineAlignment::Step::Insert) {
            if (step == LineAlignment::Step::Equal)
                equalLength += oldLines[oldIndex].size();
            ++oldIndex;
        }
    }
    diff.reserve(diff.size() + oldText.size() + newText.size() - equalLength + 2 * steps.size());

    oldIndex = 0;
    std::size_t newIndex = 0;
    for (auto step : steps) {
        diff += u'\n';
        switch (step) {
        case LineAlignment::Step::Equal:
            diff += u' ';
            diff += oldLines[oldIndex++];
            ++newIndex;
            break;
        case LineAlignment::Step::Delete:
            diff += u'-';
            diff += oldLines[oldIndex++];
            break;
        case LineAlignment::Step::Insert:
            diff += u'+';
            diff += newLines[newIndex++];
            break;
        }
    }
    return diff;
}

}
