#include "FuzzSupport.h"

#include "QuilloryCore/Analysis/HTMLTagIndexer.h"
#include "QuilloryCore/Text/UnicodeText.h"

// Any text, unpaired surrogates included: every range lies in the text (a closing tag without
// ">" at the very end may reach one unit past it), every string is UTF-8, and each record's
// ancestors are fewer than the records.

using namespace Quillory;
using QuilloryFuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto input = QuilloryFuzz::bytes(data, size);
    // Odd inputs are read as UTF-8, even ones as raw code units, so both kinds of text are seen.
    auto text = size % 2 ? UnicodeText::utf16(input) : QuilloryFuzz::codeUnits(input);
    auto tags = HTMLTagIndexer::index(text);
    for (auto& tag : tags) {
        check(tag.fullRange.end() <= text.size() + 1, "a full range leaves the text", input);
        if (tag.innerTextRange)
            check(tag.innerTextRange->length > 0 && tag.innerTextRange->end() <= text.size(), "an inner range leaves the text", input);
        check(UnicodeText::isValidUTF8(tag.tagName), "a tag name is not UTF-8", input);
        check(!tag.innerText || (UnicodeText::isValidUTF8(*tag.innerText) && !tag.innerText->empty()), "an inner text is empty or not UTF-8", input);
        for (auto& [name, attribute] : tag.attributes) {
            check(UnicodeText::isValidUTF8(name) && UnicodeText::isValidUTF8(attribute.value), "an attribute is not UTF-8", input);
            check(attribute.valueRange.end() <= text.size(), "an attribute range leaves the text", input);
        }
        check(tag.ancestorTags.size() < tags.size(), "more ancestors than elements", input);
        check(tag.ancestorTags.names().size() == tag.ancestorTags.size(), "the ancestor count is wrong", input);
        check(tag.siblingIndex >= 0, "a negative sibling index", input);
    }
    return 0;
}
