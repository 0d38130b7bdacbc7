#include "QuilloryCore/Analysis/TagNameTable.h"

#include <algorithm>
#include <bit>
#include <functional>

namespace Quillory {

namespace {

// The low bits of a hash pick the slot and the high bits are kept in it, so the two filter
// independently.
std::uint32_t shortHashOf(std::size_t hash)
{
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(hash) >> 32);
}

// At most half the slots are used, so that probe runs stay short.
std::size_t slotCountFor(std::size_t names)
{
    return std::bit_ceil(std::max<std::size_t>(16, names * 2));
}

}

TagNameTable::TagNameTable(std::size_t expectedNames)
    : m_slots(slotCountFor(expectedNames))
    , m_mask(m_slots.size() - 1)
{
    m_nameStarts.reserve(expectedNames);
}

std::size_t TagNameTable::hashOf(std::string_view name)
{
    return std::hash<std::string_view>()(name);
}

std::string_view TagNameTable::nameOf(Id id) const
{
    std::size_t start = m_nameStarts[id];
    std::size_t end = id + 1 < m_nameStarts.size() ? m_nameStarts[id + 1] : m_characters.size();
    return std::string_view(m_characters).substr(start, end - start);
}

std::size_t TagNameTable::slotFor(std::string_view name, std::size_t hash) const
{
    auto shortHash = shortHashOf(hash);
    std::size_t slot = hash & m_mask;
    while (true) {
        const auto& candidate = m_slots[slot];
        if (candidate.id == emptySlot || (candidate.hash == shortHash && nameOf(candidate.id) == name))
            return slot;
        slot = (slot + 1) & m_mask;
    }
}

TagNameTable::Id TagNameTable::intern(std::string_view name)
{
    if ((size() + 1) * 2 > m_slots.size())
        grow();
    auto hash = hashOf(name);
    auto& slot = m_slots[slotFor(name, hash)];
    if (slot.id != emptySlot)
        return slot.id;
    slot.hash = shortHashOf(hash);
    slot.id = static_cast<Id>(size());
    m_nameStarts.push_back(m_characters.size());
    m_characters.append(name);
    return slot.id;
}

std::optional<TagNameTable::Id> TagNameTable::find(std::string_view name) const
{
    const auto& slot = m_slots[slotFor(name, hashOf(name))];
    if (slot.id == emptySlot)
        return std::nullopt;
    return slot.id;
}

void TagNameTable::grow()
{
    std::vector<Slot> slots(m_slots.size() * 2);
    m_slots.swap(slots);
    m_mask = m_slots.size() - 1;
    for (const auto& old : slots) {
        if (old.id == emptySlot)
            continue;
        // Only the slot's position needs the full hash; it is computed again from the name.
        m_slots[slotFor(nameOf(old.id), hashOf(nameOf(old.id)))] = old;
    }
}

}
