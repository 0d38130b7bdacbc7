#include "QuilloryCore/SiteModel/HTMLLinkExtractor.h"

#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <unicode/uchar.h>
#include <unicode/utf16.h>

namespace Quillory {

// The matcher below is written out by hand because ICU's backtracking over every "<" of a site
// was most of a site scan. It takes the expression's matches exactly as ICU does, so its
// character classes are ICU's: \s is White_Space, and \b compares word characters
// ([\p{Alphabetic}\p{M}\p{Nd}\p{Pc}\u200c\u200d]) on either side, looking past combining and
// format characters backwards and finding no boundary in front of one.

namespace {

// The matching runs on UTF-16 code units, or on bytes of a text that is ASCII alone, whose bytes
// are its code units; every test below gives the same answer for either.
// White_Space among ASCII characters: tab to carriage return, and space.
bool isASCIISpace(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

bool isAttributeSpace(char asciiCharacter)
{
    return isASCIISpace(asciiCharacter);
}

bool isAttributeSpace(char16_t character)
{
    // No White_Space character lies outside the BMP, so a code unit can be tested on its own.
    if (character < 0x80)
        return isASCIISpace(static_cast<char>(character));
    return u_hasBinaryProperty(character, UCHAR_WHITE_SPACE);
}

bool isWordCharacter(UChar32 character)
{
    if (character < 0x80)
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9') || character == '_';
    return u_hasBinaryProperty(character, UCHAR_ALPHABETIC) || (U_GET_GC_MASK(character) & (U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK))
        || character == 0x200C || character == 0x200D;
}

// Combining and format characters, which a word boundary test looks through.
bool isBoundaryTransparent(UChar32 character)
{
    if (character < 0x80)
        return false;
    return u_hasBinaryProperty(character, UCHAR_GRAPHEME_EXTEND) || u_charType(character) == U_FORMAT_CHAR;
}

bool isWordBoundary(std::string_view asciiText, std::size_t position)
{
    bool followingIsWord = position < asciiText.size() && isWordCharacter(asciiText[position]);
    bool precedingIsWord = position > 0 && isWordCharacter(asciiText[position - 1]);
    return followingIsWord != precedingIsWord;
}

bool isWordBoundary(std::u16string_view text, std::size_t position)
{
    bool followingIsWord = false;
    if (position < text.size()) {
        UChar32 character;
        U16_GET(text.data(), 0, position, text.size(), character);
        if (isBoundaryTransparent(character))
            return false;
        followingIsWord = isWordCharacter(character);
    }
    bool precedingIsWord = false;
    while (position > 0) {
        UChar32 character;
        U16_PREV(text.data(), 0, position, character);
        if (!isBoundaryTransparent(character)) {
            precedingIsWord = isWordCharacter(character);
            break;
        }
    }
    return followingIsWord != precedingIsWord;
}

// The first `character` at or after `from`, or the text's size: most of a page is text between
// tags, and this search is most of the extractor's time.
std::size_t find(std::string_view text, char character, std::size_t from)
{
    auto found = text.find(character, from);
    return found == std::string_view::npos ? text.size() : found;
}

// The same over code units, four at a time.
std::size_t find(std::u16string_view text, char16_t character, std::size_t from)
{
    constexpr std::uint64_t lowBits = 0x0001000100010001u;
    constexpr std::uint64_t highBits = 0x8000800080008000u;
    const std::uint64_t pattern = lowBits * character;
    auto index = from;
    for (; index + 4 <= text.size(); index += 4) {
        std::uint64_t units;
        std::memcpy(&units, text.data() + index, sizeof units);
        auto difference = units ^ pattern;
        // A lane is zero, that is the character, exactly where this leaves its high bit set;
        // a borrow only ever runs past a zero lane, so the lowest flagged lane is exact.
        auto zeroLanes = (difference - lowBits) & ~difference & highBits;
        if (zeroLanes) {
            auto lane = static_cast<std::size_t>(std::countr_zero(zeroLanes)) / 16;
            return index + (std::endian::native == std::endian::little ? lane : 3 - lane);
        }
    }
    for (; index < text.size(); ++index) {
        if (text[index] == character)
            return index;
    }
    return text.size();
}

template<class Char>
bool isQuote(Char character)
{
    return character == u'"' || character == u'\'';
}

// ASCII letters compared case-insensitively; no other character folds to a, e, f, h or r alone.
template<class Char>
bool isLetter(Char character, char lowercase)
{
    return (character | 0x20) == lowercase;
}

struct LinkMatch {
    std::size_t valueStart;
    std::size_t valueEnd;
    std::size_t matchEnd;
};

// The rest of a match whose "href" begins at `position`: spaces, "=", spaces, a quote, a value of
// no quotes, a quote, and a ">" somewhere after it, which there isn't behind `lastClose`.
template<class Char>
std::optional<LinkMatch> hrefAttributeAt(std::basic_string_view<Char> text, std::size_t position, std::size_t lastClose)
{
    if (!isLetter(text[position], 'h') || !isLetter(text[position + 1], 'r') || !isLetter(text[position + 2], 'e')
        || !isLetter(text[position + 3], 'f') || !isWordBoundary(text, position))
        return std::nullopt;
    auto index = position + 4;
    while (index < text.size() && isAttributeSpace(text[index]))
        ++index;
    if (index == text.size() || text[index] != '=')
        return std::nullopt;
    ++index;
    while (index < text.size() && isAttributeSpace(text[index]))
        ++index;
    if (index == text.size() || !isQuote(text[index]))
        return std::nullopt;
    auto valueStart = ++index;
    while (index < text.size() && !isQuote(text[index]))
        ++index;
    if (index == valueStart || index == text.size())
        return std::nullopt;
    auto valueEnd = index;
    if (valueEnd + 1 > lastClose)
        return std::nullopt;
    auto tagEnd = find(text, Char('>'), valueEnd + 1);
    if (tagEnd == text.size())
        return std::nullopt;
    return LinkMatch { valueStart, valueEnd, tagEnd + 1 };
}

// The backward search for "href" from one ">". Every "<" in front of that ">" makes the same
// search, down to its own "a"; the first, which reaches furthest, serves all that follow.
struct HrefSearch {
    std::size_t close { std::u16string_view::npos };
    // The "href" found nearest the ">", with its match; nothing when there is none.
    std::optional<std::size_t> hrefPosition;
    std::optional<LinkMatch> match;
};

// The match that starts with the "<" at `start`, if any.
template<class Char>
std::optional<LinkMatch> linkAt(std::basic_string_view<Char> text, std::size_t start, std::size_t lastClose, HrefSearch& search)
{
    if (start + 1 >= text.size() || !isLetter(text[start + 1], 'a') || !isWordBoundary(text, start + 2))
        return std::nullopt;
    // [^>]* runs to the first ">" and gives back from there, so the last "href" before that ">"
    // that completes a match is the one taken. The value itself may run past that ">".
    auto firstClose = find(text, Char('>'), start + 2);
    if (search.close != firstClose) {
        search = { firstClose, std::nullopt, std::nullopt };
        for (auto position = firstClose; position >= start + 2 + 4; --position) {
            if (auto match = hrefAttributeAt(text, position - 4, lastClose)) {
                search.hrefPosition = position - 4;
                search.match = match;
                break;
            }
        }
    }
    // Nearer the ">" than the one found there is none; further back it may lie before this "a".
    if (search.hrefPosition && *search.hrefPosition >= start + 2)
        return search.match;
    return std::nullopt;
}

// A value that begins and ends with ASCII other than white space is trimmed already.
std::u16string_view trimmed(std::u16string_view value, std::u16string& storage)
{
    auto isTrimmedEnd = [](char16_t unit) { return unit < 0x80 && !StringHelpers::isWhitespaceOrNewline(unit); };
    if (isTrimmedEnd(value.front()) && isTrimmedEnd(value.back()))
        return value;
    storage = StringHelpers::trimmingWhitespaceAndNewlines(value);
    return storage;
}

// Most values are ASCII, whose code units are their UTF-8 bytes.
std::string utf8(std::u16string_view value)
{
    for (auto unit : value) {
        if (unit >= 0x80)
            return UnicodeText::utf8FromUTF16(value);
    }
    return std::string(value.begin(), value.end());
}

}

template<class Char, class Found>
void HTMLLinkExtractor::forEachLinkValue(std::basic_string_view<Char> html, Found&& found)
{
    // Every match ends with a ">", so none starts behind the last one.
    auto lastClose = html.rfind(Char('>'));
    if (lastClose == std::basic_string_view<Char>::npos)
        return;
    HrefSearch search;
    std::size_t searchFrom = 0;
    for (auto start = find(html, Char('<'), 0); start < lastClose; start = find(html, Char('<'), searchFrom)) {
        auto match = linkAt(html, start, lastClose, search);
        if (!match) {
            searchFrom = start + 1;
            continue;
        }
        found(match->valueStart, match->valueEnd);
        searchFrom = match->matchEnd;
    }
}

std::vector<std::string> HTMLLinkExtractor::hrefs(std::u16string_view html) const
{
    std::vector<std::string> found;
    forEachLinkValue(html, [&](std::size_t valueStart, std::size_t valueEnd) {
        std::u16string storage;
        found.push_back(utf8(trimmed(html.substr(valueStart, valueEnd - valueStart), storage)));
    });
    return found;
}

void HTMLLinkExtractor::asciiHrefs(std::string_view asciiHTML, std::vector<std::string_view>& into) const
{
    into.clear();
    forEachLinkValue(asciiHTML, [&](std::size_t valueStart, std::size_t valueEnd) {
        auto value = asciiHTML.substr(valueStart, valueEnd - valueStart);
        // ASCII white space and line ends are the White_Space characters of ASCII.
        while (!value.empty() && isASCIISpace(value.front()))
            value.remove_prefix(1);
        while (!value.empty() && isASCIISpace(value.back()))
            value.remove_suffix(1);
        into.push_back(value);
    });
}

std::vector<HTMLLinkExtractor::Link> HTMLLinkExtractor::links(std::u16string_view html) const
{
    std::vector<Link> found;
    forEachLinkValue(html, [&](std::size_t valueStart, std::size_t valueEnd) {
        auto value = html.substr(valueStart, valueEnd - valueStart);
        std::u16string storage;
        auto trimmedValue = trimmed(value, storage);
        // Trimming takes white space from both ends only, so the trimmed text stands where its
        // first character does.
        auto leading = trimmedValue.empty() ? std::size_t(0) : value.find(trimmedValue.front());
        found.push_back({ utf8(trimmedValue), Utf16Range { valueStart + leading, trimmedValue.size() } });
    });
    return found;
}

}
