#include "QuilloryCore/Editing/LineJumpText.h"

#include "QuilloryCore/Text/StringHelpers.h"

#include <charconv>
#include <string>

namespace Quillory::LineJumpText {

std::optional<std::int64_t> parse(std::string_view typed)
{
    std::string trimmed = StringHelpers::trimmingWhitespaceAndNewlines(typed);
    std::string_view digits = trimmed;
    bool negative = false;
    if (!digits.empty() && (digits.front() == '+' || digits.front() == '-')) {
        negative = digits.front() == '-';
        digits.remove_prefix(1);
    }
    // from_chars would take a sign of its own; only plain digits may follow ours.
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos)
        return std::nullopt;
    std::string number = (negative ? "-" : "") + std::string(digits);
    std::int64_t value = 0;
    auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc() || end != number.data() + number.size())
        return std::nullopt;
    return value;
}

}
