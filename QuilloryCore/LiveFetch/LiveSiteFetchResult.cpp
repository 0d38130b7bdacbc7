#include "QuilloryCore/LiveFetch/LiveSiteFetchResult.h"

namespace Quillory {

std::string liveFetchSummary(const LiveSiteFetchResult& result)
{
    auto counted = [](std::size_t count, const char* noun) {
        return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
    };
    return "Fetched " + result.manifest.sourceURL + " into " + result.rootURL.filename().string() + " with "
        + counted(result.manifest.downloadedAssets.size(), "asset") + " and "
        + counted(result.manifest.skippedResources.size(), "skipped resource") + ".";
}

}
