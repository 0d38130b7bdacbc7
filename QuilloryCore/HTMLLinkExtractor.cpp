#include "QuilloryCore/HTMLLinkExtractor.h"

#include "QuilloryCore/RegularExpression.h"
#include "QuilloryCore/StringHelpers.h"
#include "QuilloryCore/UnicodeText.h"

#include <optional>

namespace Quillory {

std::vector<std::string> HTMLLinkExtractor::hrefs(std::u16string_view html) const
{
    // Compiled once for the process; a compiled pattern is safe to share between threads.
    static const std::optional<RegularExpression> anchorHref = RegularExpression::make(
        u"<a\\b[^>]*\\bhref\\s*=\\s*[\"']([^\"']+)[\"'][^>]*>", static_cast<unsigned>(RegularExpression::Option::CaseInsensitive));
    std::vector<std::string> found;
    if (!anchorHref)
        return found;
    for (auto& match : anchorHref->allMatches(html)) {
        auto range = match.range(1);
        if (!range)
            continue;
        auto value = StringHelpers::trimmingWhitespaceAndNewlines(html.substr(range->location, range->length));
        found.push_back(UnicodeText::utf8FromUTF16(value));
    }
    return found;
}

}
