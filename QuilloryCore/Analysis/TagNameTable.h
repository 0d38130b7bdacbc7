#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// Dense ids for the distinct tag names of one page. The names are stored once, back to back, and
// found through an open-addressing table of compact slots that keep each name's hash, so a page
// with hundreds of thousands of distinct names costs a few bytes per name, no allocation per
// name, and few cache misses per lookup.
class TagNameTable {
public:
    using Id = std::uint32_t;

    // `expectedNames` only sizes the table up front; it grows past it as needed.
    explicit TagNameTable(std::size_t expectedNames = 0);

    // The id of `name` (any bytes), added when it is new. Ids count up from 0 in order of
    // first sight, so a per-name array indexed by id stays dense.
    Id intern(std::string_view name);
    // The id of `name`, or nothing when it was never interned.
    std::optional<Id> find(std::string_view name) const;
    // How many distinct names there are.
    std::size_t size() const { return m_nameStarts.size(); }

private:
    static constexpr Id emptySlot = static_cast<Id>(-1);
    struct Slot {
        std::uint32_t hash { 0 }; // The name hash's high bits, to skip most comparisons.
        Id id { emptySlot };
    };

    static std::size_t hashOf(std::string_view name);
    std::string_view nameOf(Id id) const;
    // The slot holding `name`, or the empty slot where it would go.
    std::size_t slotFor(std::string_view name, std::size_t hash) const;
    void grow();

    std::vector<Slot> m_slots;
    std::size_t m_mask { 0 };
    std::string m_characters;
    std::vector<std::size_t> m_nameStarts;
};

}
