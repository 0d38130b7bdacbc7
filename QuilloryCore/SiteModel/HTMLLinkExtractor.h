#pragma once

#include "QuilloryCore/Text/Utf16Range.h"

#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// Pulls link targets out of HTML text. Only quoted href attributes of <a> elements count;
// comments and scripts are not masked, so a link inside a comment is a link.
struct HTMLLinkExtractor {
    // One link and where its trimmed value stands in the text, in UTF-16 code units.
    struct Link {
        std::string href;
        Utf16Range valueRange;
    };

    // The href values in text order, trimmed of white space, duplicates kept, as UTF-8. These are
    // exactly the group-1 captures of every match of the ICU expression
    // <a\b[^>]*\bhref\s*=\s*["']([^"']+)["'][^>]*> (case-insensitive) over the UTF-16 text.
    std::vector<std::string> hrefs(std::u16string_view html) const;
    // The same hrefs of a text that holds ASCII alone, whose bytes are its UTF-16 code units, as
    // views into it. `into` is cleared first, so that one vector serves many pages.
    void asciiHrefs(std::string_view asciiHTML, std::vector<std::string_view>& into) const;
    // The same links as hrefs, each with the range of its trimmed value.
    std::vector<Link> links(std::u16string_view html) const;

private:
    // Calls `found(valueStart, valueEnd)` for each match's untrimmed value, in text order.
    template<class Char, class Found>
    static void forEachLinkValue(std::basic_string_view<Char> html, Found&& found);
};

}
