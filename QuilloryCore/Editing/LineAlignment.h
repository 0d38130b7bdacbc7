#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace Quillory::LineAlignment {

enum class Step : std::uint8_t { Equal, Delete, Insert };

// The walk of the whole-file diff over two lists of interned line ids (`idCount` bounds every
// id): from the first lines on, equal lines are kept at once; otherwise a line of the old list is
// deleted when that still keeps the longest common subsequence of the rest, else a line of the new
// list is inserted; the lines left over at the end are deleted, then inserted.
//
// It gives the steps of the walk over the full longest-common-subsequence table without holding
// that table: rows of the table are bit vectors filled word by word, only every k-th row (k about
// the square root of the old line count) is kept, and the rows between two kept ones are filled
// again, with a log of the words each row changed, when the walk reaches them. Memory grows with
// about sqrt(old lines) x new lines / 8 bytes; time with old lines x new lines / 64 for lines that
// repeat often, and with the line counts alone where most lines are unique.
std::vector<Step> steps(std::span<const std::uint32_t> oldIDs, std::span<const std::uint32_t> newIDs, std::uint32_t idCount);

}
