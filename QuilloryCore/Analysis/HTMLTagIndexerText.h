#pragma once

#include "QuilloryCore/Text/Utf16Range.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The character classes and text pieces that the tag indexer's scanner is made of.
namespace Quillory::HTMLTagIndexerText {

inline constexpr std::size_t notFound = std::u16string_view::npos;

// The first `wanted` at or after `from`, or notFound.
std::size_t findUnit(std::u16string_view text, char16_t wanted, std::size_t from);

// The scanner's white space: tab, line feed, form feed, carriage return and space. Vertical tab
// and non-ASCII blanks are not white space inside tags.
inline bool isWhitespace(char16_t unit)
{
    return unit == 9 || unit == 10 || unit == 12 || unit == 13 || unit == 32;
}

inline bool isASCIILetter(char16_t unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

inline bool isTagNameCharacter(char16_t unit)
{
    return isASCIILetter(unit) || (unit >= u'0' && unit <= u'9') || unit == u'-' || unit == u':' || unit == u'_';
}

inline bool isAttributeNameTerminator(char16_t unit)
{
    return isWhitespace(unit) || unit == u'/' || unit == u'=' || unit == u'>';
}

inline bool isUnquotedValueTerminator(char16_t unit)
{
    return isWhitespace(unit) || unit == u'/' || unit == u'>';
}

inline char16_t asciiLowercased(char16_t unit)
{
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

// Appends the units as UTF-8; an unpaired surrogate becomes U+FFFD.
void appendUTF8(std::string& out, std::u16string_view units);

// A copy of the text with every unpaired surrogate replaced by U+FFFD, or nothing when the text
// is well-formed. The replacement is one unit like the surrogate, so every position stays valid.
std::optional<std::u16string> repairingUnpairedSurrogates(std::u16string_view text);

inline Utf16Range rangeBetween(std::size_t start, std::size_t end)
{
    return { start, end > start ? end - start : 0 };
}

inline std::optional<Utf16Range> innerRangeBetween(std::size_t start, std::size_t end)
{
    if (start < end)
        return Utf16Range { start, end - start };
    return std::nullopt;
}

// The tokens of a class attribute: split at every white space character, empty pieces left out.
// A character here is user-perceived, and it counts as white space when its first code point
// has the Unicode White_Space property, so a blank carrying a combining mark still separates.
std::vector<std::string> classTokens(std::u16string_view value);

// The visible text of the whole document, built as the scan moves forward: every "<" up to the
// next ">" cut out (a "<" without one cuts the rest), each white space run collapsed to one
// blank, as UTF-8.
//
// An element's inner text is defined on its own inner range alone, yet this one text serves
// every element. Each inner range starts right behind a ">", where a cut over the whole text is
// never inside a "<...>"; and a cut ends at the first ">" whether it began in the range or
// before it. So an element keeps exactly the units that the whole-text cut keeps inside its
// range, and its collapsed text is the stretch of this text between the offsets of the range's
// ends, up to a blank at either end. Every element's text is then a single copy, instead of a
// pass over its range that would make nested elements cost once per level.
class CollapsedText {
public:
    explicit CollapsedText(std::u16string_view text);

    // The length in bytes of the collapsed text made from the units before `position`.
    // Positions must not decrease from one call to the next.
    std::size_t offset(std::size_t position);

    // The text between two offsets without a blank at either end; nothing when that is empty.
    std::optional<std::string> trimmedText(std::size_t start, std::size_t end) const;

private:
    std::u16string_view m_text;
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_length { 0 }; // Bytes written.
    std::size_t m_position { 0 }; // Units read.
    bool m_inCut { false };
    bool m_afterBlank { false };
};

}
