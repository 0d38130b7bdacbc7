#include "QuilloryCore/Analysis/HTMLTagIndexer.h"

#include "QuilloryCore/Analysis/HTMLTagIndexerText.h"
#include "QuilloryCore/Analysis/TagNameTable.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>

namespace Quillory::HTMLTagIndexer {

namespace {

using namespace HTMLTagIndexerText;

// How many earlier children of each name the innermost open element (or the top level) has
// had. One counter per distinct name serves every parent: a counter belongs to the parent that
// last set it, so it reads as zero for any other; a parent that takes a counter over logs the old
// value, and closing it puts back what it took. That costs a constant per element however many
// names a parent's children have, where a map per parent costs a node per name and child.
class SiblingCounts {
public:
    using Owner = std::uint64_t;
    static constexpr Owner topLevel = 0;

    // Where the log stands, to be kept by an element when it opens.
    std::size_t mark() const { return m_log.size(); }

    // The sibling index of the next child named `name` of `parent`, counted.
    int next(TagNameTable::Id name, Owner parent)
    {
        if (name >= m_counters.size())
            m_counters.resize(name + 1);
        auto& counter = m_counters[name];
        if (counter.owner != parent) {
            m_log.push_back({ name, counter });
            counter = { parent, 0 };
        }
        return counter.count++;
    }

    // Gives back every counter taken since `mark`: the element that kept it has closed.
    void restore(std::size_t mark)
    {
        while (m_log.size() > mark) {
            m_counters[m_log.back().name] = m_log.back().counter;
            m_log.pop_back();
        }
    }

private:
    struct Counter {
        Owner owner { topLevel };
        int count { 0 };
    };
    struct Taken {
        TagNameTable::Id name { 0 };
        Counter counter;
    };
    std::vector<Counter> m_counters;
    std::vector<Taken> m_log;
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
    // This element's entry in the chain of ancestor names.
    std::size_t ancestorLink { AncestorTags::none };
    // Whose sibling counters its children use, and the counter log's length when it opened.
    SiblingCounts::Owner countOwner { SiblingCounts::topLevel };
    std::size_t countMark { 0 };
};

class Scanner {
public:
    explicit Scanner(std::u16string_view text)
        : m_text(text)
        , m_length(text.size())
        , m_collapsed(text)
        , m_ancestorChain(std::make_shared<AncestorTags::Chain>())
    {
    }

    std::vector<IndexedTag> scan()
    {
        // Enough room for the records, the open elements and the names: regrowth would copy
        // every record, touch twice the memory and hash every name again. Room never written
        // costs no memory.
        auto elements = mostElements();
        m_result.reserve(elements);
        m_stack.reserve(elements);
        m_ancestorChain->reserve(elements);
        m_names = TagNameTable(elements);
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

    // Every element starts with "<" and a letter.
    std::size_t mostElements() const
    {
        std::size_t count = 0;
        for (auto position = find(u'<', 0); position != notFound; position = find(u'<', position + 1))
            count += position + 1 < m_length && isASCIILetter(at(position + 1));
        return count;
    }

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
        // Counted by name, so that a parent with many differently named children costs no more
        // than one with few.
        auto parent = m_stack.empty() ? SiblingCounts::topLevel : m_stack.back().countOwner;
        tag.siblingIndex = m_siblingCounts.next(m_names.intern(tag.tagName), parent);

        auto parentLink = m_stack.empty() ? AncestorTags::none : m_stack.back().ancestorLink;
        tag.ancestorTags = AncestorTags(m_ancestorChain, parentLink, m_stack.size());

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
        // Only an element that stays open can be an ancestor, so only it joins the chain.
        m_ancestorChain->push_back({ tag.tagName, parentLink });
        PartialTag element;
        element.tag = std::move(tag);
        element.openTagStart = parsed.openTagStart;
        element.openTagEnd = parsed.openTagEnd;
        element.innerTextOffset = innerTextOffset;
        element.ancestorLink = m_ancestorChain->size() - 1;
        element.countOwner = ++m_lastCountOwner;
        element.countMark = m_siblingCounts.mark();
        m_stack.push_back(std::move(element));
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
    //
    // From a given position at attribute level a read goes on alike whatever came before, so a
    // read that fails marks every such position it passed, and a later read that reaches one
    // fails there at once: a page of unclosed tags is read once, not once per "<".
    bool readOpeningTag(std::size_t start, ParsedOpenTag& parsed)
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

        m_attributeLevelPositions.clear();
        auto fail = [&] {
            if (m_failingPositions.empty())
                m_failingPositions.resize(m_length + 1);
            for (auto position : m_attributeLevelPositions)
                m_failingPositions[position] = true;
            return false;
        };
        std::size_t position = nameEnd;
        while (true) {
            while (position < m_length && isWhitespace(at(position)))
                ++position;
            if (position >= m_length)
                return fail();
            if (!m_failingPositions.empty() && m_failingPositions[position])
                return fail();
            m_attributeLevelPositions.push_back(position);
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
            if (position >= m_length || at(position) != u'=') {
                // A valueless attribute stores an empty value and leaves the classes as they are.
                parsed.tag.attributes.insert_or_assign(std::move(attributeName), IndexedAttribute { {}, { position, 0 } });
                continue;
            }
            ++position;
            while (position < m_length && isWhitespace(at(position)))
                ++position;
            Utf16Range valueRange;
            if (position < m_length && (at(position) == u'"' || at(position) == u'\'')) {
                char16_t quote = at(position);
                std::size_t valueStart = position + 1;
                auto closeQuote = findQuote(quote, valueStart);
                if (closeQuote == notFound)
                    return fail();
                valueRange = rangeBetween(valueStart, closeQuote);
                position = closeQuote + 1;
            } else {
                // "/" ends an unquoted value, so `href=/a/b` is empty and self-closing.
                std::size_t valueStart = position;
                while (position < m_length && !isUnquotedValueTerminator(at(position)))
                    ++position;
                valueRange = rangeBetween(valueStart, position);
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

    // The next `quote` at or after `from`. Behind the last one there is none, which is known
    // without a search.
    std::size_t findQuote(char16_t quote, std::size_t from)
    {
        auto& last = quote == u'"' ? m_lastDoubleQuote : m_lastSingleQuote;
        if (!last)
            last = m_text.rfind(quote);
        if (*last == notFound || from > *last)
            return notFound;
        return find(quote, from);
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
        m_siblingCounts.restore(element.countMark);
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
    TagNameTable m_names;
    SiblingCounts m_siblingCounts;
    SiblingCounts::Owner m_lastCountOwner { SiblingCounts::topLevel };
    std::vector<IndexedTag> m_result;
    CollapsedText m_collapsed;
    // The names of all elements that were ever open, shared by every record's ancestor list.
    std::shared_ptr<AncestorTags::Chain> m_ancestorChain;
    // Attribute-level positions from which reading a tag is known to fail; empty until one does.
    std::vector<bool> m_failingPositions;
    // The attribute-level positions of the read under way.
    std::vector<std::size_t> m_attributeLevelPositions;
    std::optional<std::size_t> m_lastDoubleQuote;
    std::optional<std::size_t> m_lastSingleQuote;
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
