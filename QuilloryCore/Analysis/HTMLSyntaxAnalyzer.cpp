#include "QuilloryCore/Analysis/HTMLSyntaxAnalyzer.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Quillory::HTMLSyntaxAnalyzer {

namespace {

// The first "<" or "&" at or after `from`, or the end: text between markup is most of a page, and
// eight code units are compared at a time where the processor allows. The runs inside a tag are
// short, and a plain loop over them is faster there.
std::size_t nextMarkupCandidate(std::u16string_view text, std::size_t from)
{
    auto n = text.size();
#if defined(__SSE2__)
    const auto opening = _mm_set1_epi16(static_cast<short>(u'<'));
    const auto ampersand = _mm_set1_epi16(static_cast<short>(u'&'));
    while (from + 8 <= n) {
        auto units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + from));
        auto hits = _mm_or_si128(_mm_cmpeq_epi16(units, opening), _mm_cmpeq_epi16(units, ampersand));
        if (auto mask = static_cast<unsigned>(_mm_movemask_epi8(hits)))
            return from + static_cast<std::size_t>(__builtin_ctz(mask)) / 2;
        from += 8;
    }
#endif
    while (from < n && text[from] != u'<' && text[from] != u'&')
        ++from;
    return from;
}

// Classes of the ASCII code units, one bit each. A unit from 128 up is in none of them: no other
// Unicode character takes part in any rule.
enum CharacterClass : std::uint8_t {
    letter = 1 << 0,
    nameCharacter = 1 << 1,
    entityCharacter = 1 << 2,
    // Form feed is deliberately not white space here.
    whiteSpace = 1 << 3,
    // White space, "/", "=" and ">" end an attribute name.
    attributeNameEnd = 1 << 4,
    // White space, "/" and ">" end an unquoted attribute value; "=" does not.
    unquotedValueEnd = 1 << 5,
};

// One table lookup per code unit instead of a chain of comparisons: the tag loops run over most
// of a page.
constexpr std::array<std::uint8_t, 128> characterClasses = [] {
    std::array<std::uint8_t, 128> classes {};
    for (char16_t unit = 0; unit < 128; ++unit) {
        auto isLetter = (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
        auto isName = isLetter || (unit >= u'0' && unit <= u'9') || unit == u'-' || unit == u':' || unit == u'_';
        auto isWhiteSpace = unit == u'\t' || unit == u'\n' || unit == u'\r' || unit == u' ';
        std::uint8_t unitClasses = 0;
        if (isLetter)
            unitClasses |= letter;
        if (isName)
            unitClasses |= nameCharacter;
        if (isName || unit == u'#')
            unitClasses |= entityCharacter;
        if (isWhiteSpace)
            unitClasses |= whiteSpace;
        if (isWhiteSpace || unit == u'/' || unit == u'>') {
            unitClasses |= attributeNameEnd;
            unitClasses |= unquotedValueEnd;
        }
        if (unit == u'=')
            unitClasses |= attributeNameEnd;
        classes[unit] = unitClasses;
    }
    return classes;
}();

bool isIn(char16_t unit, std::uint8_t classes)
{
    return unit < characterClasses.size() && (characterClasses[unit] & classes) != 0;
}

bool isEntityCharacter(char16_t unit)
{
    return isIn(unit, entityCharacter);
}

bool isLetter(char16_t unit)
{
    return isIn(unit, letter);
}

// The first position at or behind `from` whose unit is not in `classes`, or the text's length.
std::size_t runEnd(std::u16string_view text, std::size_t from, std::uint8_t classes)
{
    while (from < text.size() && isIn(text[from], classes))
        ++from;
    return from;
}

// The first position at or behind `from` whose unit is in `classes`, or the text's length.
std::size_t findClass(std::u16string_view text, std::size_t from, std::uint8_t classes)
{
    while (from < text.size() && !isIn(text[from], classes))
        ++from;
    return from;
}

std::size_t nameRunEnd(std::u16string_view text, std::size_t from)
{
    return runEnd(text, from, nameCharacter);
}

std::string loweredName(std::u16string_view text, std::size_t from, std::size_t to)
{
    std::string name;
    name.reserve(to - from);
    for (auto index = from; index < to; ++index) {
        auto unit = text[index];
        name.push_back(static_cast<char>(unit >= u'A' && unit <= u'Z' ? unit + 32 : unit));
    }
    return name;
}

// Just behind the first occurrence of `marker` at or behind `from`, or the text's length.
std::size_t skipUntil(std::u16string_view text, std::size_t from, std::u16string_view marker)
{
    if (from > text.size())
        return text.size();
    auto found = text.find(marker, from);
    return found == std::u16string_view::npos ? text.size() : found + marker.size();
}

std::size_t skipWhiteSpace(std::u16string_view text, std::size_t from)
{
    return runEnd(text, from, whiteSpace);
}

void append(std::vector<HTMLSyntaxSpan>& spans, HTMLSyntaxKind kind, std::size_t from, std::size_t to)
{
    spans.push_back(HTMLSyntaxSpan { kind, Utf16Range { from, to - from } });
}

// The spans of one tag starting at the "<" at `i`; the position behind it, or nothing when the
// tag is not one or the text ends inside it. Spans appended before a failure stay.
std::optional<std::size_t> scanTagSpans(std::u16string_view text, std::size_t i, std::vector<HTMLSyntaxSpan>& spans)
{
    auto n = text.size();
    if (i + 1 >= n)
        return std::nullopt;
    auto j = i + 1;
    if (text[j] == u'/' && ++j >= n)
        return std::nullopt;
    if (!isLetter(text[j]))
        return std::nullopt;
    append(spans, HTMLSyntaxKind::tagBracket, i, j);
    auto p = nameRunEnd(text, j);
    append(spans, HTMLSyntaxKind::tagName, j, p);
    if (p >= n)
        return std::nullopt;
    while (true) {
        p = skipWhiteSpace(text, p);
        if (p >= n)
            return std::nullopt;
        auto unit = text[p];
        if (unit == u'/') {
            if (p + 1 < n && text[p + 1] == u'>') {
                append(spans, HTMLSyntaxKind::tagBracket, p, p + 2);
                return p + 2;
            }
            ++p;
            continue;
        }
        if (unit == u'>') {
            append(spans, HTMLSyntaxKind::tagBracket, p, p + 1);
            return p + 1;
        }
        auto nameEnd = findClass(text, p, attributeNameEnd);
        if (nameEnd == p) {
            ++p;
            continue;
        }
        append(spans, HTMLSyntaxKind::attributeName, p, nameEnd);
        p = skipWhiteSpace(text, nameEnd);
        if (p >= n)
            return std::nullopt;
        if (text[p] != u'=')
            continue;
        append(spans, HTMLSyntaxKind::attributeOperator, p, p + 1);
        p = skipWhiteSpace(text, p + 1);
        if (p >= n)
            return std::nullopt;
        if (text[p] == u'"' || text[p] == u'\'') {
            auto closing = text.find(text[p], p + 1);
            auto valueEnd = closing == std::u16string_view::npos ? n : closing + 1;
            append(spans, HTMLSyntaxKind::attributeValue, p, valueEnd);
            p = valueEnd;
        } else {
            // An unquoted value: "=" does not end it, and an empty one gets no span.
            auto valueEnd = findClass(text, p, unquotedValueEnd);
            if (valueEnd > p)
                append(spans, HTMLSyntaxKind::attributeValue, p, valueEnd);
            p = valueEnd;
        }
        if (p >= n)
            return std::nullopt;
    }
}

struct OpenTag {
    std::string tagName;
    std::size_t start { 0 };
    std::size_t openTagEnd { 0 };
    bool isSelfClosing { false };
};

std::optional<OpenTag> readOpeningTag(std::u16string_view text, std::size_t i)
{
    auto n = text.size();
    if (i + 1 >= n || !isLetter(text[i + 1]))
        return std::nullopt;
    auto nameEnd = nameRunEnd(text, i + 1);
    OpenTag tag { loweredName(text, i + 1, nameEnd), i, 0, false };
    for (auto p = nameEnd; p < n; ++p) {
        auto unit = text[p];
        if (unit == u'"' || unit == u'\'') {
            auto closing = text.find(unit, p + 1);
            if (closing == std::u16string_view::npos)
                return std::nullopt;
            p = closing;
        } else if (unit == u'/') {
            // Any unquoted slash counts, so `<a href=/about>` is self-closing like `<br/>`.
            tag.isSelfClosing = true;
        } else if (unit == u'>') {
            tag.openTagEnd = p + 1;
            return tag;
        }
    }
    return std::nullopt;
}

struct ClosingTag {
    std::optional<std::string> name;
    std::size_t next { 0 };
};

// Called with "</" at `i`. The name needs no leading letter; the tag ends at the first ">"
// behind the name, quotes or not.
ClosingTag readClosingTagName(std::u16string_view text, std::size_t i)
{
    auto nameEnd = nameRunEnd(text, i + 2);
    auto closing = text.find(u'>', nameEnd);
    ClosingTag tag { std::nullopt, closing == std::u16string_view::npos ? text.size() : closing + 1 };
    if (nameEnd > i + 2)
        tag.name = loweredName(text, i + 2, nameEnd);
    return tag;
}

bool isVoidElement(const std::string& name)
{
    static const std::array<std::string_view, 13> voidElements {
        "area", "base", "br", "col", "embed", "hr", "img", "input", "link", "meta", "source", "track", "wbr",
    };
    return std::find(voidElements.begin(), voidElements.end(), name) != voidElements.end();
}

// 1-based line numbers by line feeds, from a table built on first use.
class LineCounter {
public:
    explicit LineCounter(std::u16string_view text)
        : m_text(text)
    {
    }

    // The line of the unit at `position`: the line feeds before it, plus one.
    int lineAt(std::size_t position)
    {
        if (!m_built) {
            for (std::size_t index = 0; index < m_text.size(); ++index) {
                if (m_text[index] == u'\n')
                    m_lineFeeds.push_back(index);
            }
            m_built = true;
        }
        return static_cast<int>(std::lower_bound(m_lineFeeds.begin(), m_lineFeeds.end(), position) - m_lineFeeds.begin()) + 1;
    }

private:
    std::u16string_view m_text;
    std::vector<std::size_t> m_lineFeeds;
    bool m_built { false };
};

}

// Appending a span must stay a few stores, as markup holds one every four code units. Left to
// itself the compiler keeps the vector's append out of line, and each call then passes the span
// through memory and stalls reading it back; flattening inlines everything the scan calls.
[[gnu::flatten]] std::vector<HTMLSyntaxSpan> spans(std::u16string_view text)
{
    std::vector<HTMLSyntaxSpan> result;
    // Markup holds about a span every four code units; growing by doubling would copy them repeatedly.
    result.reserve(text.size() / 3);
    auto n = text.size();
    std::size_t i = 0;
    while ((i = nextMarkupCandidate(text, i)) < n) {
        if (text[i] == u'&') {
            if (i + 1 < n && isEntityCharacter(text[i + 1])) {
                auto end = runEnd(text, i + 2, entityCharacter);
                if (end < n && text[end] == u';') {
                    append(result, HTMLSyntaxKind::entity, i, end + 1);
                    i = end + 1;
                    continue;
                }
            }
            ++i;
            continue;
        }
        // Tags are most of the markup, so the unit behind the "<" decides first; only "!" can begin
        // a comment.
        auto next = i + 1 < n ? text[i + 1] : u'\0';
        if (next == u'!' && text.substr(i + 2, 2) == u"--") {
            auto end = skipUntil(text, i + 4, u"-->");
            append(result, HTMLSyntaxKind::comment, i, end);
            i = end;
        } else if (next == u'!' || next == u'?') {
            auto closing = text.find(u'>', i);
            auto end = closing == std::u16string_view::npos ? n : closing + 1;
            append(result, HTMLSyntaxKind::declaration, i, end);
            i = end;
        } else if (auto end = scanTagSpans(text, i, result)) {
            i = *end;
        } else {
            // The text behind a failed "<" is scanned again as plain text, on purpose.
            ++i;
        }
    }
    return result;
}

std::vector<HTMLFoldRegion> foldRegions(std::u16string_view text)
{
    std::vector<HTMLFoldRegion> regions;
    std::vector<OpenTag> stack;
    LineCounter lines(text);
    auto n = text.size();
    std::size_t i = 0;
    while (i < n) {
        if (text[i] != u'<') {
            ++i;
            continue;
        }
        if (text.substr(i).starts_with(u"<!--")) {
            auto end = text.find(u"-->", i + 4);
            // An unterminated comment swallows the rest, and what is still open yields nothing.
            if (end == std::u16string_view::npos)
                break;
            i = end + 3;
            continue;
        }
        auto next = i + 1 < n ? text[i + 1] : u'\0';
        if (i + 1 < n && (next == u'!' || next == u'?')) {
            auto closing = text.find(u'>', i);
            if (closing == std::u16string_view::npos)
                break;
            i = closing + 1;
            continue;
        }
        if (i + 1 < n && next == u'/') {
            auto closingTag = readClosingTagName(text, i);
            auto closeStart = i;
            i = closingTag.next;
            if (!closingTag.name || stack.empty())
                continue;
            // Pop up to the matching name; a stray closing tag empties the whole stack.
            std::optional<OpenTag> match;
            while (!stack.empty()) {
                auto top = std::move(stack.back());
                stack.pop_back();
                if (top.tagName == *closingTag.name) {
                    match = std::move(top);
                    break;
                }
            }
            if (!match)
                continue;
            auto closeEnd = closingTag.next;
            auto startLine = lines.lineAt(match->start);
            auto endLine = lines.lineAt(closeEnd);
            if (startLine >= endLine || closeStart < match->openTagEnd + 1)
                continue;
            regions.push_back({ match->tagName + "-" + std::to_string(match->start) + "-" + std::to_string(closeEnd), match->tagName,
                                { match->start, closeEnd - match->start }, { match->openTagEnd, closeStart - match->openTagEnd },
                                startLine, endLine });
            continue;
        }
        auto tag = readOpeningTag(text, i);
        if (!tag) {
            ++i;
            continue;
        }
        i = tag->openTagEnd;
        if (!tag->isSelfClosing && !isVoidElement(tag->tagName))
            stack.push_back(std::move(*tag));
    }
    std::stable_sort(regions.begin(), regions.end(), [](const HTMLFoldRegion& a, const HTMLFoldRegion& b) {
        if (a.startLine != b.startLine)
            return a.startLine < b.startLine;
        return a.fullRange.length > b.fullRange.length;
    });
    return regions;
}

}
