#pragma once

#include "QuilloryCore/LiveFetch/LiveSiteFetchManifest.h"

#include <filesystem>
#include <string>

namespace Quillory {

// The snapshot folder a live fetch made, and its manifest.
struct LiveSiteFetchResult {
    std::filesystem::path rootURL;
    LiveSiteFetchManifest manifest;

    bool operator==(const LiveSiteFetchResult&) const = default;
};

// "Fetched URL into FOLDER with D assets and S skipped resources.", singular for a count of 1.
std::string liveFetchSummary(const LiveSiteFetchResult&);

}
