#include "FuzzSupport.h"

#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/UnicodeText.h"

// The UTF-8 reader: the validity test agrees with the strict converter, well-formed text comes
// back unchanged from every round trip, and what is made for display is always UTF-8.

using namespace Quillory;
using QuilloryFuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto input = QuilloryFuzz::bytes(data, size);
    auto strict = UnicodeText::utf16FromUTF8(input);
    auto valid = UnicodeText::isValidUTF8(input);
    check(valid == strict.has_value(), "the validity test and the strict converter disagree", input);
    auto replaced = UnicodeText::replacingInvalidUTF8(input);
    check(UnicodeText::isValidUTF8(replaced), "a replaced text is not UTF-8", input);
    if (valid) {
        check(replaced == input, "a valid text was changed", input);
        check(UnicodeText::utf8FromUTF16(*strict) == input, "the round trip changed a valid text", input);
        check(UnicodeText::utf16(input) == *strict, "the lenient converter differs on a valid text", input);
    }
    auto trimmed = StringHelpers::trimmingWhitespaceAndNewlines(input);
    check(input.find(trimmed) != std::string_view::npos, "trimming changed the bytes it kept", input);
    check(UnicodeText::isValidUTF8(trimmed) || !valid, "trimming a valid text made it invalid", input);
    if (auto decoded = StringHelpers::removingPercentEncoding(input))
        check(UnicodeText::isValidUTF8(*decoded), "percent decoding gave bytes that are not UTF-8", input);
    return 0;
}
