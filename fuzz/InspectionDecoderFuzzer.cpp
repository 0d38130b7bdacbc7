#include "FuzzSupport.h"

#include "QuilloryCore/Inspection/PageInspectionJS.h"
#include "QuilloryCore/Text/UnicodeText.h"

// Any answer of the page snapshot script: it decodes with counts that add up without overflow,
// or fails with a DecodeError whose text is UTF-8.

using namespace Quillory;
using QuilloryFuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto input = QuilloryFuzz::bytes(data, size);
    try {
        auto snapshot = PageInspectionJS::decode(std::string(input));
        check(snapshot.cssRuleCount() >= 0, "a negative rule count", input);
        for (auto& sheet : snapshot.stylesheets)
            check(sheet.ruleCount >= 0, "a stylesheet with a negative rule count", input);
        check(snapshot.localLinkCount() + snapshot.externalLinkCount() == static_cast<std::int64_t>(snapshot.links.size()), "links miscounted", input);
        check(snapshot.missingAltImageCount() <= snapshot.imageCount(), "images miscounted", input);
        check(snapshot.inaccessibleStylesheetCount() <= snapshot.stylesheetCount(), "stylesheets miscounted", input);
    } catch (const PageInspectionJS::DecodeError& error) {
        check(UnicodeText::isValidUTF8(error.what()), "an error text is not UTF-8", input);
    }
    return 0;
}
