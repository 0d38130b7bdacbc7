#include "QuilloryCore/Analysis/HTMLTagIndexerText.h"

#include "QuilloryCore/Text/CharacterSegmentation.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <unicode/uchar.h>
#include <utility>

namespace Quillory::HTMLTagIndexerText {

namespace {

// Eight code units, for the searches that most of the scanning time goes to. The vector
// extension compiles to plain SIMD instructions wherever the compiler has them.
using UnitBlock = std::uint16_t __attribute__((vector_size(16)));
constexpr std::size_t unitsPerBlock = sizeof(UnitBlock) / sizeof(char16_t);

UnitBlock loadBlock(const char16_t* units)
{
    UnitBlock block;
    std::memcpy(&block, units, sizeof block);
    return block;
}

// A lane-wise comparison result (all bits set where true) as one byte per lane in a 64-bit word.
template<typename Mask>
std::uint64_t laneBits(Mask mask)
{
    using ByteMask = std::int8_t __attribute__((vector_size(unitsPerBlock)));
    ByteMask bytes = __builtin_convertvector(mask, ByteMask);
    std::uint64_t bits;
    static_assert(sizeof bits == sizeof bytes);
    std::memcpy(&bits, &bytes, sizeof bits);
    return bits;
}

// The index of the first true lane of a non-zero laneBits result.
std::size_t firstLane(std::uint64_t bits)
{
    if constexpr (std::endian::native == std::endian::little)
        return static_cast<std::size_t>(std::countr_zero(bits)) / 8;
    else
        return static_cast<std::size_t>(std::countl_zero(bits)) / 8;
}

bool isHighSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(char16_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Unicode White_Space, the meaning of "\s" in the regular expressions that normalize text.
bool isUnicodeWhitespace(char32_t character)
{
    if (character < 0x80)
        return (character >= 9 && character <= 13) || character == 32;
    return u_isUWhiteSpace(static_cast<UChar32>(character));
}

// Writes one code point as UTF-8 and returns the position behind it.
char* writeCodePoint(char* out, char32_t character)
{
    if (character < 0x80) {
        *out++ = static_cast<char>(character);
    } else if (character < 0x800) {
        *out++ = static_cast<char>(0xC0 | (character >> 6));
        *out++ = static_cast<char>(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        *out++ = static_cast<char>(0xE0 | (character >> 12));
        *out++ = static_cast<char>(0x80 | ((character >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (character & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | (character >> 18));
        *out++ = static_cast<char>(0x80 | ((character >> 12) & 0x3F));
        *out++ = static_cast<char>(0x80 | ((character >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (character & 0x3F));
    }
    return out;
}

// The code point that starts at `position`, and how many units it takes. The scanned text holds
// no unpaired surrogates (they are repaired before scanning), but a stretch cut out of it is
// still read defensively.
std::pair<char32_t, std::size_t> codePointAt(std::u16string_view text, std::size_t position)
{
    char16_t unit = text[position];
    if (isHighSurrogate(unit) && position + 1 < text.size() && isLowSurrogate(text[position + 1]))
        return { 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) + (text[position + 1] - 0xDC00), 2 };
    if (isHighSurrogate(unit) || isLowSurrogate(unit))
        return { 0xFFFD, 1 };
    return { unit, 1 };
}

// Collapses a block of ASCII without "<", the bulk of a page's text, without branching on
// each unit; false (and nothing written) when the block holds anything else.
bool collapseASCIIBlock(const char16_t* units, char*& out, bool& afterBlank)
{
    UnitBlock block = loadBlock(units);
    if (laneBits((block >= std::uint16_t(0x80)) | (block == std::uint16_t('<'))))
        return false;
    for (std::size_t index = 0; index < unitsPerBlock; ++index) {
        char16_t unit = units[index];
        bool isBlank = static_cast<char16_t>(unit - 9) <= 4 || unit == u' ';
        *out = isBlank ? ' ' : static_cast<char>(unit);
        out += !(isBlank && afterBlank);
        afterBlank = isBlank;
    }
    return true;
}

}

std::size_t findUnit(std::u16string_view text, char16_t wanted, std::size_t from)
{
    const char16_t* units = text.data();
    std::size_t size = text.size();
    std::size_t position = from;
    UnitBlock needle = UnitBlock {} + static_cast<std::uint16_t>(wanted);
    for (; position + unitsPerBlock <= size; position += unitsPerBlock) {
        if (auto bits = laneBits(loadBlock(units + position) == needle))
            return position + firstLane(bits);
    }
    for (; position < size; ++position) {
        if (units[position] == wanted)
            return position;
    }
    return notFound;
}

void appendUTF8(std::string& out, std::u16string_view units)
{
    std::size_t start = out.size();
    if (std::all_of(units.begin(), units.end(), [](char16_t unit) { return unit < 0x80; })) {
        out.resize(start + units.size());
        for (std::size_t index = 0; index < units.size(); ++index)
            out[start + index] = static_cast<char>(units[index]);
        return;
    }
    // Three bytes per unit is the most UTF-8 can take (a surrogate pair makes four from two).
    out.resize(start + units.size() * 3);
    char* end = out.data() + start;
    std::size_t position = 0;
    while (position < units.size()) {
        if (units[position] < 0x80) {
            *end++ = static_cast<char>(units[position]);
            ++position;
            continue;
        }
        auto [character, width] = codePointAt(units, position);
        end = writeCodePoint(end, character);
        position += width;
    }
    out.resize(static_cast<std::size_t>(end - out.data()));
}

std::optional<std::u16string> repairingUnpairedSurrogates(std::u16string_view text)
{
    // Most texts hold no surrogate at all; blocks without one are passed over at once.
    const char16_t* units = text.data();
    std::size_t size = text.size();
    std::size_t position = 0;
    std::optional<std::u16string> repaired;
    UnitBlock surrogateMask = UnitBlock {} + std::uint16_t(0xF800);
    UnitBlock surrogateBits = UnitBlock {} + std::uint16_t(0xD800);
    while (position < size) {
        if (position + unitsPerBlock <= size && !laneBits((loadBlock(units + position) & surrogateMask) == surrogateBits)) {
            position += unitsPerBlock;
            continue;
        }
        std::size_t blockEnd = std::min(size, position + unitsPerBlock);
        for (; position < blockEnd; ++position) {
            char16_t unit = units[position];
            if ((unit & 0xF800) != 0xD800)
                continue;
            if (isHighSurrogate(unit) && position + 1 < size && isLowSurrogate(units[position + 1])) {
                // The pair may reach into the next block; step over both halves.
                ++position;
                continue;
            }
            if (!repaired)
                repaired.emplace(text);
            (*repaired)[position] = 0xFFFD;
        }
    }
    return repaired;
}

std::vector<std::string> classTokens(std::u16string_view value)
{
    std::vector<std::string> tokens;
    if (std::any_of(value.begin(), value.end(), [](char16_t unit) { return unit >= 0x80; })) {
        std::string token;
        for (auto character : CharacterSegmentation::characterRanges(value)) {
            auto cluster = value.substr(character.location, character.length);
            if (!isUnicodeWhitespace(codePointAt(cluster, 0).first)) {
                appendUTF8(token, cluster);
                continue;
            }
            if (!token.empty())
                tokens.push_back(std::move(token));
            token.clear();
        }
        if (!token.empty())
            tokens.push_back(std::move(token));
        return tokens;
    }

    // ASCII: every character is one unit.
    std::size_t count = 0;
    for (std::size_t index = 0; index < value.size(); ++index)
        count += !isUnicodeWhitespace(value[index]) && (index == 0 || isUnicodeWhitespace(value[index - 1]));
    tokens.reserve(count);
    std::size_t position = 0;
    while (position < value.size()) {
        if (isUnicodeWhitespace(value[position])) {
            ++position;
            continue;
        }
        std::size_t end = position;
        while (end < value.size() && !isUnicodeWhitespace(value[end]))
            ++end;
        auto& token = tokens.emplace_back(end - position, '\0');
        for (std::size_t index = position; index < end; ++index)
            token[index - position] = static_cast<char>(value[index]);
        position = end;
    }
    return tokens;
}

CollapsedText::CollapsedText(std::u16string_view text)
    : m_text(text)
    // Three bytes per unit is the most UTF-8 can take; pages are touched only as written.
    , m_bytes(new char[text.size() * 3 + 1])
{
}

std::size_t CollapsedText::offset(std::size_t position)
{
    // The state lives in locals while the loop writes bytes, which could alias any member.
    const char16_t* units = m_text.data();
    std::size_t length = m_text.size();
    std::size_t current = m_position;
    bool inCut = m_inCut;
    bool afterBlank = m_afterBlank;
    char* out = m_bytes.get() + m_length;
    while (current < position) {
        if (inCut) {
            // Nothing inside a cut is kept, so running past `position` changes no offset.
            auto close = findUnit(m_text, u'>', current);
            current = close == notFound ? length : close + 1;
            inCut = false;
            continue;
        }
        if (current + unitsPerBlock <= position && collapseASCIIBlock(units + current, out, afterBlank)) {
            current += unitsPerBlock;
            continue;
        }
        char16_t unit = units[current];
        if (unit == u'<') {
            inCut = true;
            ++current;
            continue;
        }
        if (unit < 0x80) {
            if (!isUnicodeWhitespace(unit)) {
                *out++ = static_cast<char>(unit);
                afterBlank = false;
            } else if (!afterBlank) {
                *out++ = ' ';
                afterBlank = true;
            }
            ++current;
            continue;
        }
        auto [character, width] = codePointAt(m_text, current);
        if (isUnicodeWhitespace(character)) {
            if (!afterBlank)
                *out++ = ' ';
            afterBlank = true;
        } else {
            out = writeCodePoint(out, character);
            afterBlank = false;
        }
        current += width;
    }
    m_position = current;
    m_inCut = inCut;
    m_afterBlank = afterBlank;
    m_length = static_cast<std::size_t>(out - m_bytes.get());
    return m_length;
}

std::optional<std::string> CollapsedText::trimmedText(std::size_t start, std::size_t end) const
{
    const char* bytes = m_bytes.get();
    if (start < end && bytes[start] == ' ')
        ++start;
    if (start < end && bytes[end - 1] == ' ')
        --end;
    if (start >= end)
        return std::nullopt;
    return std::string(bytes + start, end - start);
}

}
