#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace QuilloryTest {

// Calls `check` with `rounds` texts, each made of 0 to `maximumPieces` pieces drawn at random
// from `pieces`, the same texts for the same seed. Stops early when `check` returns false.
void forEachRandomText(const std::vector<std::u16string>& pieces, std::uint32_t seed, int maximumPieces, int rounds,
                       const std::function<bool(const std::u16string&)>& check);

}
