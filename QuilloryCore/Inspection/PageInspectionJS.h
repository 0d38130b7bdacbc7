#pragma once

#include "QuilloryCore/Inspection/PageInspectionSnapshot.h"
#include "QuilloryCore/Text/QuilloryErrors.h"

#include <any>
#include <string>
#include <string_view>

namespace Quillory::PageInspectionJS {

// Why an answer of the inspection script could not be read. what() is the user text: the JSON
// library's message (or "not utf8") for invalidJSON, "not a string" for notAString.
class DecodeError : public QuilloryError {
public:
    enum class Kind { invalidJSON, notAString };

    static DecodeError invalidJSON(const std::string& message) { return DecodeError(Kind::invalidJSON, message); }
    static DecodeError notAString() { return DecodeError(Kind::notAString, "not a string"); }

    Kind kind() const { return m_kind; }

    friend bool operator==(const DecodeError& a, const DecodeError& b)
    {
        return a.m_kind == b.m_kind && std::string_view(a.what()) == std::string_view(b.what());
    }

private:
    DecodeError(Kind kind, const std::string& message)
        : QuilloryError(message)
        , m_kind(kind)
    {
    }

    Kind m_kind;
};

// The inspection function, a parenthesised function expression that takes no arguments and
// returns the snapshot as a JSON string.
std::string_view snapshotSource();

// The inspection function called: snapshotSource() followed by "();", for evaluation as one
// expression in the page.
std::string script();

// The value an evaluation produced: an empty `std::any` for nothing, a `std::string` (or
// `std::string_view`, `const char*`) for a JavaScript string; any other content is not a string.
// Throws DecodeError::notAString, or what decode(jsonString) throws.
PageInspectionSnapshot decode(const std::any& evalResult);

// Decodes the script's JSON object (UTF-8). Required: "title" and the four lists, and in their
// entries a heading's "level" and "text", a link's "href", "text" and "isLocal", an image's "src"
// and "isMissingAlt", a stylesheet's "ruleCount". The other known keys may be null or absent;
// unknown keys are ignored. All or nothing: any mismatch throws DecodeError::invalidJSON with the
// JSON library's message, and ill-formed UTF-8 throws it with "not utf8".
PageInspectionSnapshot decode(const std::string& jsonString);

}
