#pragma once

#include "QuilloryCore/SiteModel/SiteGraphModels.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace Quillory {

// Finds pages by relative path, exactly byte for byte, as positions in the list it was made
// from. It keeps views of the pages' paths, so the list must outlive it and keep its pages in
// place. Open addressing over one flat table: a lookup hashes once and compares, nearly always,
// one path, with no node to chase and nothing copied.
class SitePageIndex {
public:
    static constexpr std::uint32_t notFound = ~std::uint32_t { 0 };

    SitePageIndex() = default;
    explicit SitePageIndex(std::span<const SitePage> pages);

    // The position of the page whose relativePath is `relativePath`, or notFound. A path that
    // occurs twice answers with its first position.
    std::uint32_t find(std::string_view relativePath) const;
    // The first relativePath that the list holds twice, if any.
    const std::optional<std::string_view>& duplicatePath() const { return m_duplicatePath; }

private:
    struct Slot {
        std::string_view path;
        std::uint32_t hash { 0 };
        std::uint32_t position { notFound };
    };

    static std::uint32_t hashOf(std::string_view path);
    std::size_t slotMask() const { return m_slots.size() - 1; }

    std::vector<Slot> m_slots;
    std::optional<std::string_view> m_duplicatePath;
};

}
