#include "QuilloryCore/Analysis/HTMLTagIndexer.h"

#include "QuilloryCore/Text/CharacterSegmentation.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <unicode/uchar.h>
#include <utility>

namespace Quillory::HTMLTagIndexer {

namespace {

using Attributes = std::map<std::string, IndexedAttribute, std::less<>>;

constexpr std::size_t notFound = std::u16string_view::npos;

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

// The first `wanted` at or after `from`, or notFound.
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

// The scanner's white space: tab, line feed, form feed, carriage return and space. Vertical tab
// and non-ASCII blanks are not white space inside tags.
bool isWhitespace(char16_t unit)
{
    return unit == 9 || unit == 10 || unit == 12 || unit == 13 || unit == 32;
}

bool isASCIILetter(char16_t unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

bool isTagNameCharacter(char16_t unit)
{
    return isASCIILetter(unit) || (unit >= u'0' && unit <= u'9') || unit == u'-' || unit == u':' || unit == u'_';
}

bool isAttributeNameTerminator(char16_t unit)
{
    return isWhitespace(unit) || unit == u'/' || unit == u'=' || unit == u'>';
}

bool isUnquotedValueTerminator(char16_t unit)
{
    return isWhitespace(unit) || unit == u'/' || unit == u'>';
}

char16_t asciiLowercased(char16_t unit)
{
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
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

// A copy of the text with every unpaired surrogate replaced by U+FFFD, or nothing when the text
// is well-formed. The replacement is one unit like the surrogate, so every position stays valid.
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

Utf16Range rangeBetween(std::size_t start, std::size_t end)
{
    return { start, end > start ? end - start : 0 };
}

std::optional<Utf16Range> innerRangeBetween(std::size_t start, std::size_t end)
{
    if (start < end)
        return Utf16Range { start, end - start };
    return std::nullopt;
}

// The tokens of a class attribute: split at every white space character, empty pieces left out.
// A character here is user-perceived, and it counts as white space when its first code point
// has the Unicode White_Space property, so a blank carrying a combining mark still separates.
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
    explicit CollapsedText(std::u16string_view text)
        : m_text(text)
        // Three bytes per unit is the most UTF-8 can take; pages are touched only as written.
        , m_bytes(new char[text.size() * 3 + 1])
    {
    }

    // The length in bytes of the collapsed text made from the units before `position`.
    // Positions must not decrease from one call to the next.
    std::size_t offset(std::size_t position)
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

    // The text between two offsets without a blank at either end; nothing when that is empty.
    std::optional<std::string> trimmedText(std::size_t start, std::size_t end) const
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

private:
    // Collapses a block of ASCII without "<", the bulk of a page's text, without branching on
    // each unit; false (and nothing written) when the block holds anything else.
    static bool collapseASCIIBlock(const char16_t* units, char*& out, bool& afterBlank)
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

    std::u16string_view m_text;
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_length { 0 }; // Bytes written.
    std::size_t m_position { 0 }; // Units read.
    bool m_inCut { false };
    bool m_afterBlank { false };
};

// One opening tag as read. Its record already holds the name, attributes and classes, and the
// scan fills in the rest, so nothing is copied on the way to the result.
struct ParsedOpenTag {
    IndexedTag tag;
    std::size_t openTagStart { 0 }; // The position of "<".
    std::size_t openTagEnd { 0 }; // The position behind ">".
    bool isSelfClosing { false };
};

// An element whose opening tag has been read and whose end has not.
struct PartialTag {
    IndexedTag tag;
    std::size_t openTagStart { 0 };
    std::size_t openTagEnd { 0 };
    // Where the inner text starts in the collapsed text.
    std::size_t innerTextOffset { 0 };
    // Where the counts of this element's children begin in the scanner's sibling counts.
    std::size_t childCountsStart { 0 };
};

class Scanner {
public:
    explicit Scanner(std::u16string_view text)
        : m_text(text)
        , m_length(text.size())
        , m_collapsed(text)
    {
    }

    std::vector<IndexedTag> scan()
    {
        // Most documents hold far fewer elements than this; it only saves early regrowth.
        m_result.reserve(m_length / 64);
        m_stack.reserve(64);
        std::size_t position = 0;
        while (position < m_length) {
            position = findUnit(m_text, u'<', position);
            if (position == notFound)
                break;
            auto next = scanMarkup(position);
            if (!next)
                break;
            position = *next;
        }
        flushOpenElements();
        return std::move(m_result);
    }

private:
    char16_t at(std::size_t position) const { return m_text[position]; }

    std::size_t find(char16_t unit, std::size_t from) const
    {
        return findUnit(m_text, unit, from);
    }

    // Handles the "<" at `position` and says where scanning goes on, or nothing when an
    // unterminated comment ends the scan.
    std::optional<std::size_t> scanMarkup(std::size_t position)
    {
        if (position + 3 < m_length && at(position + 1) == u'!' && at(position + 2) == u'-' && at(position + 3) == u'-') {
            // The search starts at the "<" itself, so "<!-->" closes itself.
            auto close = m_text.find(u"-->", position);
            if (close == notFound)
                return std::nullopt;
            return close + 3;
        }
        if (position + 1 < m_length && at(position + 1) == u'/')
            return scanClosingTag(position);
        if (position + 1 < m_length && at(position + 1) == u'!') {
            auto close = find(u'>', position);
            return close == notFound ? m_length : close + 1;
        }
        ParsedOpenTag parsed;
        if (!readOpeningTag(position, parsed))
            return position + 1;
        return openElement(parsed);
    }

    std::size_t scanClosingTag(std::size_t position)
    {
        std::size_t nameStart = position + 2;
        std::size_t nameEnd = nameStart;
        while (nameEnd < m_length && isTagNameCharacter(at(nameEnd)))
            ++nameEnd;
        auto closeBracket = find(u'>', nameEnd);
        std::size_t close = closeBracket == notFound ? m_length : closeBracket;
        auto name = m_text.substr(nameStart, nameEnd - nameStart);
        if (name.empty() || m_stack.empty())
            return close + 1;

        // A closing tag that matches nothing open closes everything, each element shrinking to
        // its opening tag. This is the chosen treatment of stray closing tags.
        while (!m_stack.empty() && !hasName(m_stack.back().tag.tagName, name)) {
            const auto& orphan = m_stack.back();
            closeInnermost(rangeBetween(orphan.openTagStart, orphan.openTagEnd), std::nullopt);
        }
        if (m_stack.empty())
            return close + 1;

        // Without ">" the range ends one unit behind the text; callers take it as it is.
        const auto& element = m_stack.back();
        closeInnermost(rangeBetween(element.openTagStart, close + 1), innerRangeBetween(element.openTagEnd, position));
        return close + 1;
    }

    // Whether the lower-case `tagName` equals the source name `name` with ASCII folded.
    static bool hasName(std::string_view tagName, std::u16string_view name)
    {
        if (tagName.size() != name.size())
            return false;
        for (std::size_t index = 0; index < name.size(); ++index) {
            if (static_cast<char16_t>(static_cast<unsigned char>(tagName[index])) != asciiLowercased(name[index]))
                return false;
        }
        return true;
    }

    std::size_t openElement(ParsedOpenTag& parsed)
    {
        auto& tag = parsed.tag;
        auto parentCounts = m_siblingCounts.begin() + static_cast<std::ptrdiff_t>(m_stack.empty() ? 0 : m_stack.back().childCountsStart);
        auto counted = std::find_if(parentCounts, m_siblingCounts.end(), [&](const auto& entry) { return entry.first == tag.tagName; });
        if (counted == m_siblingCounts.end()) {
            m_siblingCounts.emplace_back(tag.tagName, 1);
        } else {
            tag.siblingIndex = counted->second;
            ++counted->second;
        }

        tag.ancestorTags.reserve(m_stack.size());
        for (auto open = m_stack.rbegin(); open != m_stack.rend(); ++open)
            tag.ancestorTags.push_back(open->tag.tagName);

        // The self-closing flag wins over everything, so `<script src="a" />` opens no raw text
        // and `<div />` opens no div.
        if (parsed.isSelfClosing || isVoidElement(tag.tagName)) {
            emit(tag, rangeBetween(parsed.openTagStart, parsed.openTagEnd), std::nullopt, 0);
            return parsed.openTagEnd;
        }

        auto innerTextOffset = m_collapsed.offset(parsed.openTagEnd);
        if (isRawTextElement(tag.tagName)) {
            // Nothing inside is scanned, and the inner range runs to behind the closing tag.
            auto end = findRawTextClose(parsed.openTagEnd, tag.tagName);
            emit(tag, rangeBetween(parsed.openTagStart, end), innerRangeBetween(parsed.openTagEnd, end), innerTextOffset);
            return end;
        }
        m_stack.emplace_back(std::move(tag), parsed.openTagStart, parsed.openTagEnd, innerTextOffset, m_siblingCounts.size());
        return parsed.openTagEnd;
    }

    static bool isVoidElement(std::string_view name)
    {
        return std::find(voidElements.begin(), voidElements.end(), name) != voidElements.end();
    }

    // Template is raw text on purpose: nothing inside a template is indexed.
    static bool isRawTextElement(std::string_view name)
    {
        return name == "script" || name == "style" || name == "template";
    }

    // The position behind the ">" of the first "</" + name, matched with ASCII case folded and
    // with no boundary after the name (so "</scripts" ends a script); the text's end without one.
    std::size_t findRawTextClose(std::size_t from, std::string_view tagName) const
    {
        std::size_t needleLength = tagName.size() + 2;
        std::size_t position = from;
        while (position + needleLength <= m_length) {
            position = findUnit(m_text, u'<', position);
            if (position == notFound || position + needleLength > m_length)
                return m_length;
            if (at(position + 1) == u'/' && hasName(tagName, m_text.substr(position + 2, tagName.size()))) {
                auto close = find(u'>', position + needleLength);
                return close == notFound ? m_length : close + 1;
            }
            ++position;
        }
        return m_length;
    }

    // Reads the opening tag whose "<" is at `start` into `parsed`. A tag that is not closed by
    // ">" before the text ends is no tag: the answer is false and nothing of it is kept.
    bool readOpeningTag(std::size_t start, ParsedOpenTag& parsed) const
    {
        if (start + 1 >= m_length || !isASCIILetter(at(start + 1)))
            return false;
        std::size_t nameEnd = start + 1;
        while (nameEnd < m_length && isTagNameCharacter(at(nameEnd)))
            ++nameEnd;
        if (nameEnd >= m_length)
            return false;

        parsed.openTagStart = start;
        parsed.tag.tagName = lowercaseString(start + 1, nameEnd - start - 1);

        std::size_t position = nameEnd;
        while (true) {
            while (position < m_length && isWhitespace(at(position)))
                ++position;
            if (position >= m_length)
                return false;
            char16_t unit = at(position);
            if (unit == u'/') {
                // Never cleared: a "/" anywhere at attribute level makes the tag self-closing.
                parsed.isSelfClosing = true;
                ++position;
                continue;
            }
            if (unit == u'>') {
                parsed.openTagEnd = position + 1;
                return true;
            }

            std::size_t attributeNameStart = position;
            while (position < m_length && !isAttributeNameTerminator(at(position)))
                ++position;
            if (position == attributeNameStart) {
                // A lone "=".
                ++position;
                continue;
            }
            auto attributeName = lowercaseString(attributeNameStart, position - attributeNameStart);

            while (position < m_length && isWhitespace(at(position)))
                ++position;
            Utf16Range valueRange { position, 0 };
            if (position < m_length && at(position) == u'=') {
                ++position;
                while (position < m_length && isWhitespace(at(position)))
                    ++position;
                if (position < m_length && (at(position) == u'"' || at(position) == u'\'')) {
                    char16_t quote = at(position);
                    std::size_t valueStart = position + 1;
                    auto closeQuote = find(quote, valueStart);
                    if (closeQuote == notFound)
                        return false;
                    valueRange = rangeBetween(valueStart, closeQuote);
                    position = closeQuote + 1;
                } else {
                    // "/" ends an unquoted value, so `href=/a/b` is empty and self-closing.
                    std::size_t valueStart = position;
                    while (position < m_length && !isUnquotedValueTerminator(at(position)))
                        ++position;
                    valueRange = rangeBetween(valueStart, position);
                }
            }

            auto valueUnits = m_text.substr(valueRange.location, valueRange.length);
            if (attributeName == "class")
                parsed.tag.classes = classTokens(valueUnits);
            IndexedAttribute attribute;
            appendUTF8(attribute.value, valueUnits);
            attribute.valueRange = valueRange;
            parsed.tag.attributes.insert_or_assign(std::move(attributeName), std::move(attribute));
        }
    }

    // A name from a stretch of the text with only the ASCII capitals folded.
    std::string lowercaseString(std::size_t start, std::size_t length) const
    {
        std::string name(length, '\0');
        for (std::size_t index = 0; index < length; ++index) {
            char16_t unit = at(start + index);
            if (unit >= 0x80) {
                std::u16string folded(m_text.substr(start, length));
                for (auto& foldedUnit : folded)
                    foldedUnit = asciiLowercased(foldedUnit);
                name.clear();
                appendUTF8(name, folded);
                return name;
            }
            name[index] = static_cast<char>(asciiLowercased(unit));
        }
        return name;
    }

    // Completes a record and moves it into the result.
    void emit(IndexedTag& tag, Utf16Range fullRange, std::optional<Utf16Range> innerRange, std::size_t innerTextOffset)
    {
        tag.fullRange = fullRange;
        tag.innerTextRange = innerRange;
        if (innerRange)
            tag.innerText = m_collapsed.trimmedText(innerTextOffset, m_collapsed.offset(innerRange->end()));
        m_result.push_back(std::move(tag));
    }

    // Ends the innermost open element with these ranges.
    void closeInnermost(Utf16Range fullRange, std::optional<Utf16Range> innerRange)
    {
        auto& element = m_stack.back();
        emit(element.tag, fullRange, innerRange, element.innerTextOffset);
        m_siblingCounts.resize(element.childCountsStart);
        m_stack.pop_back();
    }

    // Elements still open at the end run to the end of the text, innermost first.
    void flushOpenElements()
    {
        while (!m_stack.empty()) {
            const auto& element = m_stack.back();
            closeInnermost(rangeBetween(element.openTagStart, m_length), innerRangeBetween(element.openTagEnd, m_length));
        }
    }

    std::u16string_view m_text;
    std::size_t m_length { 0 };
    std::vector<PartialTag> m_stack;
    // Children seen so far under each open element (and at the top level), by tag name, kept as
    // a stack: only the innermost open element gains children, so its counts are always the
    // last stretch, and closing it drops them. Parents have few distinct child names, so a
    // linear search beats a map.
    std::vector<std::pair<std::string, int>> m_siblingCounts;
    std::vector<IndexedTag> m_result;
    CollapsedText m_collapsed;
};

}

std::vector<IndexedTag> index(std::u16string_view html)
{
    auto repaired = repairingUnpairedSurrogates(html);
    std::u16string_view text = repaired ? std::u16string_view(*repaired) : html;
    return Scanner(text).scan();
}

}

namespace {

void combineHash(std::size_t& seed, std::size_t value)
{
    seed ^= value + 0x9E3779B97F4A7C15ULL + (seed << 6) + (seed >> 2);
}

}

std::size_t std::hash<Quillory::IndexedAttribute>::operator()(const Quillory::IndexedAttribute& attribute) const noexcept
{
    std::size_t seed = std::hash<std::string>()(attribute.value);
    combineHash(seed, std::hash<Quillory::Utf16Range>()(attribute.valueRange));
    return seed;
}

std::size_t std::hash<Quillory::IndexedTag>::operator()(const Quillory::IndexedTag& tag) const noexcept
{
    std::size_t seed = std::hash<std::string>()(tag.tagName);
    combineHash(seed, std::hash<Quillory::Utf16Range>()(tag.fullRange));
    combineHash(seed, tag.innerTextRange ? std::hash<Quillory::Utf16Range>()(*tag.innerTextRange) : 0x51);
    combineHash(seed, tag.innerText ? std::hash<std::string>()(*tag.innerText) : 0x52);
    for (const auto& [name, attribute] : tag.attributes) {
        combineHash(seed, std::hash<std::string>()(name));
        combineHash(seed, std::hash<Quillory::IndexedAttribute>()(attribute));
    }
    combineHash(seed, tag.attributes.size());
    for (const auto& name : tag.classes)
        combineHash(seed, std::hash<std::string>()(name));
    combineHash(seed, tag.classes.size());
    for (const auto& name : tag.ancestorTags)
        combineHash(seed, std::hash<std::string>()(name));
    combineHash(seed, tag.ancestorTags.size());
    combineHash(seed, std::hash<int>()(tag.siblingIndex));
    return seed;
}
