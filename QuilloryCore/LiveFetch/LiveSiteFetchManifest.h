#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// What one live fetch took and what it left behind, written beside the snapshot as
// "_quillory-fetch-manifest.json".
struct LiveSiteFetchManifest {
    static constexpr std::string_view fileName = "_quillory-fetch-manifest.json";

    struct Entry {
        // The reference as written, or the absolute URL once it was resolved and requested.
        std::string sourceURL;
        // "/"-separated, inside the snapshot folder.
        std::optional<std::string> relativePath;
        std::optional<int> statusCode;
        // Why the resource was skipped.
        std::optional<std::string> note;

        bool operator==(const Entry&) const = default;
    };

    std::string sourceURL;
    // ISO 8601 in UTC without a fraction: "2026-11-15T09:10:00Z".
    std::string fetchedAt;
    std::string entryPage { "index.html" };
    std::vector<Entry> downloadedAssets;
    std::vector<Entry> skippedResources;

    // Pretty-printed JSON with sorted keys and slashes escaped as "\/"; absent optional values are
    // left out rather than written as null.
    std::string encodedJSON() const;
    // The inverse of encodedJSON. Throws QuilloryError naming what is missing or of the wrong type.
    static LiveSiteFetchManifest decode(std::string_view json);

    bool operator==(const LiveSiteFetchManifest&) const = default;
};

}
