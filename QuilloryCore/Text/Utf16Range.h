#pragma once

#include <cstddef>
#include <functional>

namespace Quillory {

// A range of a document's text in UTF-16 code units. Every source range in Quillory has this
// unit, so a range found by analysis can go to the editor unchanged.
struct Utf16Range {
    std::size_t location { 0 };
    std::size_t length { 0 };

    constexpr std::size_t end() const { return location + length; }
    constexpr bool contains(std::size_t position) const { return position >= location && position < end(); }
    constexpr bool contains(const Utf16Range& other) const { return other.location >= location && other.end() <= end(); }
    friend constexpr bool operator==(const Utf16Range&, const Utf16Range&) = default;
};

}

template<>
struct std::hash<Quillory::Utf16Range> {
    std::size_t operator()(const Quillory::Utf16Range& range) const noexcept
    {
        return std::hash<std::size_t>()(range.location) * 31 + std::hash<std::size_t>()(range.length);
    }
};
