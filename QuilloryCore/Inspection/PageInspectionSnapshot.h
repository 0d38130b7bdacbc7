#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace Quillory {

// What a rendered page holds, read from its live DOM and CSSOM. Strings are UTF-8; the script's
// text limits count UTF-16 code units.

struct PageInspectionHeading {
    std::int64_t level { 0 }; // 1 to 6, or 0 when the tag name gives no number.
    std::string text;
    std::optional<std::string> elementID; // Nothing for an empty id.

    friend bool operator==(const PageInspectionHeading&, const PageInspectionHeading&) = default;
};

struct PageInspectionLink {
    std::string href; // As written, not resolved.
    std::string text;
    bool isLocal { false };

    friend bool operator==(const PageInspectionLink&, const PageInspectionLink&) = default;
};

struct PageInspectionImage {
    std::string src; // As written.
    std::optional<std::string> alt; // Nothing when the attribute is missing.
    bool isMissingAlt { false };

    friend bool operator==(const PageInspectionImage&, const PageInspectionImage&) = default;
};

struct PageInspectionStylesheet {
    std::optional<std::string> href; // Nothing for an inline sheet.
    std::int64_t ruleCount { 0 };
    std::optional<std::string> inaccessibleReason; // Set when the sheet's rules can't be read.

    friend bool operator==(const PageInspectionStylesheet&, const PageInspectionStylesheet&) = default;
};

struct PageInspectionSnapshot {
    std::string title;
    std::optional<std::string> language;
    std::vector<PageInspectionHeading> headings; // Document order.
    std::vector<PageInspectionLink> links; // Document order.
    std::vector<PageInspectionImage> images; // Document order.
    std::vector<PageInspectionStylesheet> stylesheets; // The document's sheet list order.

    std::int64_t headingCount() const { return static_cast<std::int64_t>(headings.size()); }
    std::int64_t imageCount() const { return static_cast<std::int64_t>(images.size()); }
    std::int64_t stylesheetCount() const { return static_cast<std::int64_t>(stylesheets.size()); }
    std::int64_t localLinkCount() const
    {
        std::int64_t count = 0;
        for (const auto& link : links)
            count += link.isLocal ? 1 : 0;
        return count;
    }
    std::int64_t externalLinkCount() const { return static_cast<std::int64_t>(links.size()) - localLinkCount(); }
    std::int64_t missingAltImageCount() const
    {
        std::int64_t count = 0;
        for (const auto& image : images)
            count += image.isMissingAlt ? 1 : 0;
        return count;
    }
    // The counts come from the page, so the sum stops at the largest value instead of
    // overflowing, and a negative count (which the decoder refuses) adds nothing.
    std::int64_t cssRuleCount() const
    {
        constexpr auto largest = std::numeric_limits<std::int64_t>::max();
        std::int64_t count = 0;
        for (const auto& sheet : stylesheets) {
            auto rules = std::max<std::int64_t>(sheet.ruleCount, 0);
            count = rules > largest - count ? largest : count + rules;
        }
        return count;
    }
    std::int64_t inaccessibleStylesheetCount() const
    {
        std::int64_t count = 0;
        for (const auto& sheet : stylesheets)
            count += sheet.inaccessibleReason ? 1 : 0;
        return count;
    }

    friend bool operator==(const PageInspectionSnapshot&, const PageInspectionSnapshot&) = default;
};

}
