#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// The line starts of a text in UTF-16 code units. Only a line feed ends a line, so a text that
// ends in one has a last, empty line; a carriage return is an ordinary character.
struct SourceLineIndex {
    std::vector<std::size_t> lineStarts { 0 };
    std::size_t utf16Length { 0 };

    static SourceLineIndex build(std::u16string_view text);
    // The 0-based line holding `offset`: the last line start not greater than it.
    std::size_t lineIndex(std::size_t offset) const;

    friend bool operator==(const SourceLineIndex&, const SourceLineIndex&) = default;
};

// The caret's place for the status display: 1-based line and column, the column in UTF-16 units.
struct SourceEditorStatus {
    int line { 1 };
    int column { 1 };

    // "Ln 12, Col 7".
    std::string_view format(char* buffer, std::size_t size) const;
    static SourceEditorStatus at(const SourceLineIndex&, std::size_t offset);

    friend bool operator==(const SourceEditorStatus&, const SourceEditorStatus&) = default;
};

}
