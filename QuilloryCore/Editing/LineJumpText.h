#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Quillory::LineJumpText {

// The line number a user typed into the line field (UTF-8): the text trimmed of white space and
// line ends, then a decimal integer with an optional "+" or "-" and nothing else. Nothing for
// anything else, a number that does not fit 64 bits included. The number is not limited to the
// text's lines; the editor's jump clamps it.
std::optional<std::int64_t> parse(std::string_view typed);

}
