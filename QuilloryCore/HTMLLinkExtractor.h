#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// Pulls link targets out of HTML text. Only quoted href attributes of <a> elements count;
// comments and scripts are not masked, so a link inside a comment is a link.
struct HTMLLinkExtractor {
    // The href values in text order, trimmed of white space, duplicates kept, as UTF-8.
    std::vector<std::string> hrefs(std::u16string_view html) const;
};

}
