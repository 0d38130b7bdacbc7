#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The crafted pages that once made the scanners super-linear, shared by their tests and the
// growth benchmark (header-only, so the benchmark needs no test library).
namespace QuilloryTest {

inline std::u16string repeatedText(std::u16string_view piece, std::size_t count)
{
    std::u16string text;
    text.reserve(piece.size() * count);
    for (std::size_t index = 0; index < count; ++index)
        text += piece;
    return text;
}

// `<t0/><t1/>...`: `count` empty elements of distinct names.
inline std::u16string distinctSiblings(std::size_t count)
{
    std::u16string text;
    for (std::size_t index = 0; index < count; ++index) {
        auto digits = std::to_string(index);
        text += u"<t" + std::u16string(digits.begin(), digits.end()) + u"/>";
    }
    return text;
}

}
