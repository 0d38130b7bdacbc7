#pragma once

#include "QuilloryCore/Text/Utf16Range.h"

#include <string_view>
#include <vector>

namespace Quillory::CharacterSegmentation {

// User-perceived characters (extended grapheme clusters) of a UTF-16 text, as ranges in UTF-16
// code units. A CR LF pair is one character.
std::vector<Utf16Range> characterRanges(std::u16string_view);
std::size_t characterCount(std::u16string_view);

}
