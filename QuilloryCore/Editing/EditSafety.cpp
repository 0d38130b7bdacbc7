#include "QuilloryCore/Editing/EditSafety.h"

#include "QuilloryCore/Text/CharacterSegmentation.h"

#include <algorithm>

namespace Quillory::EditSafety {

namespace {

// A replacement asks only on pages of more than this many lines.
constexpr std::size_t smallPageLineCount = 20;
constexpr double largeReplacementLineShare = 0.5;

}

bool largeEditNeedsConfirmation(std::u16string_view originalText, Utf16Range replacementRange,
                                const std::optional<std::u16string>& replacementText)
{
    if (originalText.empty())
        return false;
    auto location = std::min(replacementRange.location, originalText.size());
    auto length = std::min(replacementRange.length, originalText.size() - location);
    if (length < 1)
        return false;

    auto originalLineCount = lineCount(originalText);
    if (originalLineCount <= smallPageLineCount)
        return false;

    auto replacedText = originalText.substr(location, length);
    if (replacedText == (replacementText ? std::u16string_view(*replacementText) : std::u16string_view()))
        return false;

    return static_cast<double>(lineCount(replacedText)) / static_cast<double>(originalLineCount) > largeReplacementLineShare;
}

std::size_t lineCount(std::u16string_view text)
{
    if (text.empty())
        return 0;
    std::size_t lineEnds = 0;
    for (auto character : CharacterSegmentation::characterRanges(text)) {
        if (character.length == 1 && text[character.location] == u'\n')
            ++lineEnds;
    }
    return 1 + lineEnds;
}

}
