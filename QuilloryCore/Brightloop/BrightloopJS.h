#pragma once

#include "QuilloryCore/Brightloop/BrightloopModels.h"
#include "QuilloryCore/Text/QuilloryErrors.h"

#include <any>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory::BrightloopJS {

// Why an answer of the collection script could not be read. what() is the user text: the JSON
// library's message (or "not utf8") for invalidJSON, "not a string" for notAString.
class DecodeError : public QuilloryError {
public:
    enum class Kind { invalidJSON, notAString };

    static DecodeError invalidJSON(const std::string& message) { return DecodeError(Kind::invalidJSON, message); }
    static DecodeError notAString() { return DecodeError(Kind::notAString, "not a string"); }

    Kind kind() const { return m_kind; }

private:
    DecodeError(Kind kind, const std::string& message)
        : QuilloryError(message)
        , m_kind(kind)
    {
    }

    Kind m_kind;
};

// The collection function, a parenthesised function expression taking fenceX, fenceY, fenceW
// and fenceH in document-space CSS pixels.
std::string_view walkerSource();

// The collection function applied to the fence: "(x, y, width, height);", each number printed
// with six decimals regardless of the process's locale, and "0" for a NaN or infinite one.
std::string script(const BrightloopRect& fence);

// The value an evaluation produced: an empty `std::any` for nothing, a `std::string` (or
// `std::string_view`, `const char*`) for a JavaScript string; any other content is not a string.
// Throws DecodeError::notAString, or what decode(jsonString) throws.
std::vector<BrightloopDOMRecord> decode(const std::any& evalResult);

// Decodes the script's JSON array (UTF-8). Decoding is all or nothing: a malformed record makes
// the whole answer fail with DecodeError::invalidJSON and no partial list.
std::vector<BrightloopDOMRecord> decode(const std::string& jsonString);

}
