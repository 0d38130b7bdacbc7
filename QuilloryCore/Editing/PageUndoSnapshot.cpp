#include "QuilloryCore/Editing/PageUndoSnapshot.h"

#include "QuilloryCore/Text/CharacterSegmentation.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <string_view>

namespace Quillory {

namespace {

constexpr std::size_t longTitleCharacterCount = 49;
constexpr std::size_t shortenedTitleCharacterCount = 45;

// Line ends are control characters, and a user-perceived character never joins a control
// character with anything but CR with LF, so splitting at these code units gives the same
// pieces as splitting at line-end characters (a CR LF merely leaves an empty piece between).
bool isLineEnd(char16_t codeUnit)
{
    return codeUnit == u'\n' || codeUnit == u'\v' || codeUnit == u'\f' || codeUnit == u'\r' || codeUnit == u'\u0085'
        || codeUnit == u'\u2028' || codeUnit == u'\u2029';
}

std::u16string_view firstNonEmptyLine(std::u16string_view text)
{
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = start;
        while (end < text.size() && !isLineEnd(text[end]))
            ++end;
        if (end > start)
            return text.substr(start, end - start);
        start = end + 1;
    }
    return {};
}

}

std::string PageUndoSnapshot::menuTitle() const
{
    auto line = StringHelpers::trimmingWhitespaceAndNewlines(firstNonEmptyLine(previewText));
    if (line.empty())
        return "Blank page";
    auto characters = CharacterSegmentation::characterRanges(line);
    if (characters.size() < longTitleCharacterCount)
        return UnicodeText::utf8FromUTF16(line);
    auto prefixLength = characters[shortenedTitleCharacterCount - 1].end();
    return UnicodeText::utf8FromUTF16(std::u16string_view(line).substr(0, prefixLength)) + "...";
}

}
