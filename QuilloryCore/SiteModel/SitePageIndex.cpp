#include "QuilloryCore/SiteModel/SitePageIndex.h"

#include <algorithm>
#include <bit>
#include <functional>

namespace Quillory {

SitePageIndex::SitePageIndex(std::span<const SitePage> pages)
{
    // At most half full, so that a probe for a missing path ends after a slot or two.
    m_slots.resize(std::bit_ceil(std::max<std::size_t>(2 * pages.size(), 8)));
    for (std::uint32_t position = 0; position < pages.size(); ++position) {
        std::string_view path = pages[position].relativePath;
        auto hash = hashOf(path);
        auto slot = hash & slotMask();
        for (; m_slots[slot].position != notFound; slot = (slot + 1) & slotMask()) {
            if (m_slots[slot].hash == hash && m_slots[slot].path == path)
                break;
        }
        if (m_slots[slot].position != notFound) {
            if (!m_duplicatePath)
                m_duplicatePath = path;
            continue;
        }
        m_slots[slot] = { path, hash, position };
    }
}

std::uint32_t SitePageIndex::find(std::string_view relativePath) const
{
    if (m_slots.empty())
        return notFound;
    auto hash = hashOf(relativePath);
    for (auto slot = hash & slotMask(); m_slots[slot].position != notFound; slot = (slot + 1) & slotMask()) {
        if (m_slots[slot].hash == hash && m_slots[slot].path == relativePath)
            return m_slots[slot].position;
    }
    return notFound;
}

std::uint32_t SitePageIndex::hashOf(std::string_view path)
{
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(path));
}

}
