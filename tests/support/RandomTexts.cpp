#include "support/RandomTexts.h"

#include <random>

namespace QuilloryTest {

void forEachRandomText(const std::vector<std::u16string>& pieces, std::uint32_t seed, int maximumPieces, int rounds,
                       const std::function<bool(const std::u16string&)>& check)
{
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::size_t> piece(0, pieces.size() - 1);
    std::uniform_int_distribution<int> length(0, maximumPieces);
    for (int round = 0; round < rounds; ++round) {
        std::u16string text;
        for (int count = length(random); count > 0; --count)
            text += pieces[piece(random)];
        if (!check(text))
            return;
    }
}

}
