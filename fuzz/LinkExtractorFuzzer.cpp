#include "FuzzSupport.h"

#include "QuilloryCore/SiteModel/HTMLLinkExtractor.h"
#include "QuilloryCore/Text/RegularExpression.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/UnicodeText.h"

// The hand-written link matcher against the regular expression it stands for, run by ICU.

using namespace Quillory;
using QuilloryFuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const auto anchorHref = RegularExpression::make(u"<a\\b[^>]*\\bhref\\s*=\\s*[\"']([^\"']+)[\"'][^>]*>",
                                                           static_cast<unsigned>(RegularExpression::Option::CaseInsensitive));
    // ICU's backtracking over many unclosed anchors grows with the cube of the text; a couple of
    // kilobytes hold every shape of markup the matcher has to get right.
    if (size > 2048)
        return 0;
    auto input = QuilloryFuzz::bytes(data, size);
    auto html = size % 2 ? UnicodeText::utf16(input) : QuilloryFuzz::codeUnits(input);
    std::vector<std::string> expected;
    for (auto& match : anchorHref->allMatches(html)) {
        if (auto range = match.range(1))
            expected.push_back(UnicodeText::utf8FromUTF16(StringHelpers::trimmingWhitespaceAndNewlines(html.substr(range->location, range->length))));
    }
    check(HTMLLinkExtractor().hrefs(html) == expected, "the extractor and the expression disagree", input);
    return 0;
}
