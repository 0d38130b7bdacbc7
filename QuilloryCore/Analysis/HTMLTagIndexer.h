#pragma once

#include "QuilloryCore/Analysis/AncestorTags.h"
#include "QuilloryCore/Text/Utf16Range.h"

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// One attribute of an indexed tag as it stands in the source.
struct IndexedAttribute {
    // The raw value as UTF-8: case kept, character references not decoded, empty for an
    // attribute written without a value.
    std::string value;
    // The value's characters without its quotes, in UTF-16 code units of the document.
    Utf16Range valueRange;

    friend bool operator==(const IndexedAttribute&, const IndexedAttribute&) = default;
};

// One element of an HTML text with the source ranges that produced it. All ranges count UTF-16
// code units of the indexed text; all strings are UTF-8.
struct IndexedTag {
    // Lower case; only ASCII letters are folded.
    std::string tagName;
    // From the opening tag's "<" to behind the element's end. For a closing tag without ">" at
    // the very end of the text this ends one unit behind the text, and it is left that way.
    Utf16Range fullRange;
    // From behind the opening tag's ">" to the closing tag's "<"; for script, style and template
    // to behind the closing tag's ">". Nothing for void, self-closing and orphaned elements and
    // when it would be empty.
    std::optional<Utf16Range> innerTextRange;
    // The text of the inner range with every "<...>" cut out (so it holds the text of all
    // descendants, joined without separators), white space runs collapsed to one blank and the
    // ends trimmed. Character references are not decoded. Nothing when that text is empty.
    std::optional<std::string> innerText;
    // Keyed by the lower-cased attribute name; a repeated attribute keeps its last occurrence.
    std::map<std::string, IndexedAttribute, std::less<>> attributes;
    // The tokens of the class attribute in source order, case and duplicates kept.
    std::vector<std::string> classes;
    // The open ancestors' tag names, nearest first; empty for a top-level element. Shared with
    // the other records of the same index.
    AncestorTags ancestorTags;
    // Zero-based: how many earlier elements with the same tag name the same parent had.
    int siblingIndex { 0 };

    // The attribute of that lower-case name, or null.
    const IndexedAttribute* attribute(std::string_view name) const
    {
        auto found = attributes.find(name);
        return found == attributes.end() ? nullptr : &found->second;
    }

    friend bool operator==(const IndexedTag&, const IndexedTag&) = default;
};

// A range in a form that serves as an element of a hash set.
struct NSRangeKey {
    std::size_t location { 0 };
    std::size_t length { 0 };

    constexpr NSRangeKey() = default;
    constexpr NSRangeKey(std::size_t rangeLocation, std::size_t rangeLength)
        : location(rangeLocation)
        , length(rangeLength)
    {
    }
    constexpr explicit NSRangeKey(const Utf16Range& range)
        : location(range.location)
        , length(range.length)
    {
    }

    friend constexpr bool operator==(const NSRangeKey&, const NSRangeKey&) = default;
};

// A small, forgiving scanner that finds the elements of an HTML text and their exact source
// ranges, for matching rendered elements back to the characters that produced them. It is not
// a standard HTML parser, and its handling of malformed markup is intentionally its own: stray
// closing tags close everything open, an unquoted "/" makes a tag self-closing, an unterminated
// comment hides the rest of the text, and script, style and template contents are never scanned.
namespace HTMLTagIndexer {

// The elements that never have content. No other name counts as void ("param" included).
inline constexpr std::array<std::string_view, 13> voidElements {
    "area", "base", "br", "col", "embed", "hr", "img", "input", "link", "meta", "source", "track", "wbr",
};

// Indexes `html` (UTF-16 code units; unpaired surrogates are read as U+FFFD). Never fails.
// The result is in order of closing, not document order: an element enters the list when its
// end is known, so children come before their parents, and elements still open at the end of
// the text follow from innermost to outermost.
std::vector<IndexedTag> index(std::u16string_view html);

}

}

template<>
struct std::hash<Quillory::IndexedAttribute> {
    std::size_t operator()(const Quillory::IndexedAttribute&) const noexcept;
};

template<>
struct std::hash<Quillory::IndexedTag> {
    std::size_t operator()(const Quillory::IndexedTag&) const noexcept;
};

template<>
struct std::hash<Quillory::NSRangeKey> {
    std::size_t operator()(const Quillory::NSRangeKey& key) const noexcept
    {
        return std::hash<std::size_t>()(key.location) * 31 + std::hash<std::size_t>()(key.length);
    }
};
