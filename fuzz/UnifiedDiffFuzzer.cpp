#include "FuzzSupport.h"

#include "QuilloryCore/Editing/UnifiedDiff.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>

// The line diff through its public API against a plain longest-common-subsequence table written
// here: the kept and removed lines give the old text, the kept and added ones the new text, and
// the kept ones are as many as the longest common subsequence has. The input is the old text, a
// NUL, and the new text.

using namespace Quillory;
using QuilloryFuzz::check;

namespace {

std::vector<std::u16string> lines(std::string_view text)
{
    std::vector<std::u16string> result;
    std::size_t start = 0;
    while (true) {
        auto end = text.find('\n', start);
        result.push_back(UnicodeText::utf16(text.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start)));
        if (end == std::string_view::npos)
            return result;
        start = end + 1;
    }
}

std::size_t longestCommonSubsequence(const std::vector<std::u16string>& a, const std::vector<std::u16string>& b)
{
    std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1, 0));
    for (std::size_t i = 1; i <= a.size(); ++i) {
        for (std::size_t j = 1; j <= b.size(); ++j)
            table[i][j] = a[i - 1] == b[j - 1] ? table[i - 1][j - 1] + 1 : std::max(table[i - 1][j], table[i][j - 1]);
    }
    return table[a.size()][b.size()];
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto input = QuilloryFuzz::bytes(data, size);
    auto split = input.find('\0');
    auto oldLines = lines(input.substr(0, split));
    auto newLines = lines(split == std::string_view::npos ? std::string_view() : input.substr(split + 1));
    // The table grows with the product of the line counts; small texts find the same faults.
    if (oldLines.size() > 300 || newLines.size() > 300)
        return 0;

    std::vector<std::u16string> oldAgain;
    std::vector<std::u16string> newAgain;
    std::size_t kept = 0;
    for (auto& operation : UnifiedDiff::lineOperations(oldLines, newLines)) {
        if (operation.kind != UnifiedDiff::Operation::Kind::Insert)
            oldAgain.push_back(operation.line);
        if (operation.kind != UnifiedDiff::Operation::Kind::Delete)
            newAgain.push_back(operation.line);
        kept += operation.kind == UnifiedDiff::Operation::Kind::Equal;
    }
    check(oldAgain == oldLines, "the kept and removed lines are not the old text", input);
    check(newAgain == newLines, "the kept and added lines are not the new text", input);
    check(kept == longestCommonSubsequence(oldLines, newLines), "the kept lines are not a longest common subsequence", input);
    return 0;
}
