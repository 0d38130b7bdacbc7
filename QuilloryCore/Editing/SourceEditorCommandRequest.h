#pragma once

#include "QuilloryCore/Text/UUID.h"

#include <cstdint>
#include <string>
#include <variant>

namespace Quillory {

// What the source editor is asked to do.
struct SourceEditorCommand {
    // Puts an empty selection at the start of a 1-based line; numbers below 2 mean the text's start.
    struct JumpToLine {
        std::int64_t line { 1 };
        friend bool operator==(const JumpToLine&, const JumpToLine&) = default;
    };
    // Selects a range in UTF-16 code units, clamped to the text.
    struct SelectUTF16Range {
        std::int64_t location { 0 };
        std::int64_t length { 0 };
        friend bool operator==(const SelectUTF16Range&, const SelectUTF16Range&) = default;
    };

    std::variant<JumpToLine, SelectUTF16Range> value;

    static SourceEditorCommand jumpToLine(std::int64_t line) { return { JumpToLine { line } }; }
    static SourceEditorCommand selectUTF16Range(std::int64_t location, std::int64_t length) { return { SelectUTF16Range { location, length } }; }

    friend bool operator==(const SourceEditorCommand&, const SourceEditorCommand&) = default;
};

// One command for the editor of one document. A request is carried out once, and dropped when
// the editor shows another document.
struct SourceEditorCommandRequest {
    UUID id;
    std::string documentID;
    SourceEditorCommand command;

    friend bool operator==(const SourceEditorCommandRequest&, const SourceEditorCommandRequest&) = default;
};

}
