#include "FuzzSupport.h"

#include "QuilloryCore/Brightloop/BrightloopJS.h"
#include "QuilloryCore/Brightloop/BrightloopSourceMapper.h"
#include "QuilloryCore/Text/UnicodeText.h"

// The source mapper both ways round: a fuzzed page under fixed records (first byte even), and a
// fixed page under records decoded from the fuzzed answer (first byte odd). Every source range
// lies in the page and every label and reason is UTF-8.

using namespace Quillory;
using QuilloryFuzz::check;

namespace {

const BrightloopRect fence { 0, 0, 800, 600 };

BrightloopDOMRecord record(std::string tagName, std::optional<std::string> text, std::vector<std::string> classes = {})
{
    BrightloopDOMRecordFields fields;
    fields.tagName = std::move(tagName);
    fields.rect = { 10, 10, 200, 20 };
    fields.textSnippet = std::move(text);
    fields.classList = std::move(classes);
    fields.ancestorTags = { "div", "body", "html" };
    fields.ancestorSignatures = { "div.card", "body", "html" };
    fields.siblingIndex = 0;
    fields.isVisible = true;
    return BrightloopDOMRecord(std::move(fields));
}

std::vector<BrightloopDOMRecord> fixedRecords()
{
    auto link = record("a", "Read more");
    link.attributes = { { "href", "/about" }, { "class", "more" } };
    auto image = record("img", std::nullopt);
    image.attributes = { { "src", "logo.png" }, { "alt", "Logo" } };
    auto before = record("span", std::nullopt, { "badge" });
    before.pseudoElement = "::before";
    before.renderedTextSnippet = "New";
    before.attributes = { { "data-label", "New" } };
    auto shadow = record("button", "Go");
    shadow.inShadowDOM = true;
    shadow.shadowHostTagName = "my-widget";
    shadow.shadowHostAttributes = { { "label", "Go" } };
    auto custom = record("my-widget", std::nullopt);
    custom.attributes = { { "label", "Go" }, { "id", "w" } };
    custom.elementID = "w";
    return { record("h1", "Welcome"), record("p", "Some text", { "lead" }), record("div", std::nullopt, { "card" }), link, image, before, shadow, custom };
}

constexpr std::u16string_view fixedPage = u"<!doctype html><html><head><style>.badge::before { content: attr(data-label); }</style></head>"
                                          u"<body><div class=card><h1>Welcome</h1><p class=lead>Some <b>text</b></p>"
                                          u"<a href=\"/about\" class=more>Read more</a><img src=logo.png alt=Logo>"
                                          u"<span class=badge data-label=New></span><my-widget id=w label=Go></my-widget></div></body></html>";

void checkResult(const BrightloopResult& result, std::size_t pageSize, std::string_view input)
{
    for (auto& candidate : result.candidates()) {
        if (candidate.sourceRange)
            check(candidate.sourceRange->utf16End() <= pageSize + 1, "a source range leaves the page", input);
        check(UnicodeText::isValidUTF8(candidate.label) && UnicodeText::isValidUTF8(candidate.reason), "a label or reason is not UTF-8", input);
        check(candidate.overlapFraction >= 0 && candidate.overlapFraction <= 1, "an overlap outside 0 to 1", input);
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    auto input = QuilloryFuzz::bytes(data, size);
    auto rest = input.substr(1);
    BrightloopSelection selection { "index.html", "index.html", fence };
    if (data[0] % 2 == 0) {
        static const auto records = fixedRecords();
        auto page = UnicodeText::utf16(rest);
        checkResult(BrightloopSourceMapper::map(records, page, "index.html", selection), page.size(), input);
        return 0;
    }
    std::vector<BrightloopDOMRecord> records;
    try {
        records = BrightloopJS::decode(std::string(rest));
    } catch (const BrightloopJS::DecodeError&) {
        return 0;
    }
    checkResult(BrightloopSourceMapper::map(records, fixedPage, "index.html", selection), fixedPage.size(), input);
    return 0;
}
