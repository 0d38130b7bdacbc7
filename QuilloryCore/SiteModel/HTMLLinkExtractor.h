#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// Pulls link targets out of HTML text. Only quoted href attributes of <a> elements count;
// comments and scripts are not masked, so a link inside a comment is a link.
struct HTMLLinkExtractor {
    // The href values in text order, trimmed of white space, duplicates kept, as UTF-8. These are
    // exactly the group-1 captures of every match of the ICU expression
    // <a\b[^>]*\bhref\s*=\s*["']([^"']+)["'][^>]*> (case-insensitive) over the UTF-16 text.
    std::vector<std::string> hrefs(std::u16string_view html) const;
};

}
