#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory::StringHelpers {

// The file-browser order for anything a user sees in a list: case ignored, digit runs compared
// by value ("v2" before "v10"). Negative, zero or positive like strcmp. Texts are UTF-8.
int localizedStandardCompare(std::string_view, std::string_view);

// A key for the same order: comparing two keys as plain strings gives what
// localizedStandardCompare gives for their texts, equal keys included. One key per text and
// plain comparisons cost far less than comparing the texts pair by pair.
std::string localizedStandardSortKey(std::string_view);

// Sorts `items` stably, ascending by localizedStandardCompare of `text(item)` (UTF-8), with one
// key per item.
template<class Item, class Text>
void stableSortLocalizedStandard(std::vector<Item>& items, Text text)
{
    std::vector<std::string> keys;
    keys.reserve(items.size());
    for (const auto& item : items)
        keys.push_back(localizedStandardSortKey(text(item)));
    std::vector<std::uint32_t> order(items.size());
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) { return keys[a] < keys[b]; });
    std::vector<Item> sorted;
    sorted.reserve(items.size());
    for (auto index : order)
        sorted.push_back(std::move(items[index]));
    items = std::move(sorted);
}

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
