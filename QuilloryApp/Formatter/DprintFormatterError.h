#pragma once

#include "QuilloryCore/Text/QuilloryErrors.h"

#include <cstdint>
#include <string>

namespace Quillory {

// Why the formatter gave no text. `what()` is the sentence the window shows.
class DprintFormatterError : public QuilloryError {
public:
    enum class Kind {
        unsupportedExtension,
        missingResource,
        processFailed,
        outputDecodingFailed,
    };

    // "dprint does not support formatting PATH."
    static DprintFormatterError unsupportedExtension(const std::string& documentPath);
    // "Bundled dprint resource is missing: TEXT."
    static DprintFormatterError missingResource(const std::string& pathOrName);
    // The message, or "dprint formatting failed." when it is empty.
    static DprintFormatterError processFailed(std::int32_t status, const std::string& message);
    static DprintFormatterError outputDecodingFailed();

    Kind kind() const { return m_kind; }
    // The exit status, or the signal that ended the process; 0 for the other kinds.
    std::int32_t status() const { return m_status; }

private:
    DprintFormatterError(Kind, std::int32_t status, const std::string& description);

    Kind m_kind;
    std::int32_t m_status;
};

}
