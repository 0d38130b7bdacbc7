#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Quillory::UnifiedDiff {

// One line of a whole-file diff: kept, removed from the old text, or added by the new one.
struct Operation {
    enum class Kind { Equal, Delete, Insert };

    Kind kind { Kind::Equal };
    std::u16string line;

    static Operation equal(std::u16string line) { return { Kind::Equal, std::move(line) }; }
    static Operation deletion(std::u16string line) { return { Kind::Delete, std::move(line) }; }
    static Operation insert(std::u16string line) { return { Kind::Insert, std::move(line) }; }

    friend bool operator==(const Operation&, const Operation&) = default;
};

// The longest common subsequence of two line lists, walked from the start; where both a
// deletion and an insertion keep the subsequence longest, the deletion comes first. Memory grows
// with about sqrt(old lines) x new lines / 8 bytes, not with the product of the line counts (see
// LineAlignment).
std::vector<Operation> lineOperations(const std::vector<std::u16string>& oldLines, const std::vector<std::u16string>& newLines);

// The whole new file against the old one, lines split at "\n" (a CR stays on its line):
// "--- PATH (OLD_LABEL)", "+++ PATH (NEW_LABEL)", "@@", then one line per operation prefixed
// " ", "-" or "+", joined by "\n" without a final one. Equal texts give
// "No changes from opened baseline.". The path and labels are UTF-8; the texts are UTF-16.
std::u16string make(std::u16string_view oldText, std::u16string_view newText, std::string_view filePath,
                    std::string_view oldLabel, std::string_view newLabel);

}
