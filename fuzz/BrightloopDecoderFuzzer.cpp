#include "FuzzSupport.h"

#include "QuilloryCore/Brightloop/BrightloopJS.h"
#include "QuilloryCore/Text/UnicodeText.h"

// Any answer of the collection script: it decodes or fails with a DecodeError whose text is UTF-8.

using namespace Quillory;
using QuilloryFuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto input = QuilloryFuzz::bytes(data, size);
    try {
        auto records = BrightloopJS::decode(std::string(input));
        for (auto& record : records) {
            check(UnicodeText::isValidUTF8(record.tagName), "a tag name is not UTF-8", input);
            (void)record.isVisuallySuppressed();
            (void)record.rect.area();
        }
    } catch (const BrightloopJS::DecodeError& error) {
        check(UnicodeText::isValidUTF8(error.what()), "an error text is not UTF-8", input);
    }
    return 0;
}
