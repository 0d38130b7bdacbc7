#pragma once

#include "QuilloryCore/Text/Utf16Range.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Quillory::EditSafety {

// Whether replacing `replacementRange` (UTF-16 code units, clamped to the text) of
// `originalText` by `replacementText` (absent = empty) should ask the user first: true only for
// a text of more than 20 lines where the replaced part, differing from its replacement, spans
// more than half of the text's lines. A pure insertion never asks.
bool largeEditNeedsConfirmation(std::u16string_view originalText, Utf16Range replacementRange,
                                const std::optional<std::u16string>& replacementText);

// 0 for the empty text, else 1 plus the number of user-perceived characters equal to "\n".
// A CR LF pair is one character that is not "\n", so a CR LF text counts as one line.
std::size_t lineCount(std::u16string_view text);

}
