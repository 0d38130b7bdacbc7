#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Quillory::UnicodeText {

// Strict UTF-8 to UTF-16: nothing for ill-formed input (overlong forms, surrogates, stray bytes).
// A byte-order mark is kept as the character U+FEFF.
std::optional<std::u16string> utf16FromUTF8(std::string_view utf8);

// UTF-16 to UTF-8. An unpaired surrogate, which a valid text never holds, becomes U+FFFD.
std::string utf8FromUTF16(std::u16string_view utf16);

// Convenience for literals and ASCII-safe input; ill-formed input gives U+FFFD per bad sequence.
std::u16string utf16(std::string_view utf8);

// Whether the bytes are well-formed UTF-8 (the strict rule of utf16FromUTF8).
bool isValidUTF8(std::string_view bytes);

// The bytes as they are when well-formed, else with U+FFFD for each ill-formed sequence: for
// text that is shown or printed and must be UTF-8 whatever it was made from.
std::string replacingInvalidUTF8(std::string_view bytes);

// Whether the units at `offset` and after it are the two halves of one astral character.
inline bool startsSurrogatePair(std::u16string_view text, std::size_t offset)
{
    return offset + 1 < text.size() && text[offset] >= 0xD800 && text[offset] <= 0xDBFF && text[offset + 1] >= 0xDC00 && text[offset + 1] <= 0xDFFF;
}

}
