#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Quillory::StringHelpers {

// The file-browser order for anything a user sees in a list: case ignored, digit runs compared
// by value ("v2" before "v10"). Negative, zero or positive like strcmp. Texts are UTF-8.
int localizedStandardCompare(std::string_view, std::string_view);
bool localizedStandardLess(std::string_view, std::string_view);

// Case-folded substring test, for search fields.
bool localizedCaseInsensitiveContains(std::string_view text, std::string_view query);

// First character of each whitespace-separated word upper-cased, the rest lower-cased
// (full Unicode case mapping): "FAQ" gives "Faq", "getting" gives "Getting".
std::string capitalized(std::string_view);

// Trims Unicode white space and line ends (Z* categories, U+0009 to U+000D, U+0085) from both ends.
// The UTF-8 form keeps every other byte as it is, ill-formed ones included.
std::string trimmingWhitespaceAndNewlines(std::string_view);
std::u16string trimmingWhitespaceAndNewlines(std::u16string_view);
bool isWhitespaceOrNewline(char32_t);

// Decodes %XX sequences. Nothing for a malformed sequence or bytes that are not valid UTF-8.
std::optional<std::string> removingPercentEncoding(std::string_view);

// ASCII-only lower-casing: tag and attribute names fold by this rule alone.
std::string asciiLowercased(std::string_view);
std::u16string asciiLowercased(std::u16string_view);

bool startsWith(std::string_view text, std::string_view prefix);
bool endsWith(std::string_view text, std::string_view suffix);

}
