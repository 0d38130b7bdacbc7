#pragma once

#include "QuilloryCore/LiveFetch/HTTPTransfer.h"
#include "QuilloryCore/LiveFetch/LiveSiteFetchResult.h"
#include "QuilloryCore/LiveFetch/WebURL.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// Copies one live page and the same-origin resources it names into a new local folder, with a
// manifest of what it took and what it left. It parses exactly one page, follows no link beyond
// it and never reads CSS or scripts. Requests run one after another on the calling thread.
struct LiveSiteFetcher {
    static constexpr std::size_t defaultMaxAssets = 40;
    static constexpr std::size_t defaultMaxAssetBytes = 10'000'000;

    // How many of the page's references are looked at, in order of first appearance.
    std::size_t maxAssets { defaultMaxAssets };
    // The largest resource kept, in bytes; the page itself is held to the same bound.
    std::size_t maxAssetBytes { defaultMaxAssetBytes };
    HTTPTimeouts timeouts {};

    // Makes a new folder under `parent` (with its parents), requests the page, writes it as
    // "index.html" with every fetched reference pointing at its local copy, and writes the
    // manifest. Throws LiveSiteFetchError, the transport's failure as a QuilloryError, or
    // FileWriteError. The folder stays behind whatever happens once it is made.
    LiveSiteFetchResult fetch(std::string_view startURL, const std::filesystem::path& parent,
                              std::chrono::sys_seconds fetchedAt) const;

    // The start URL for what a user typed: trimmed, with "https://" put in front when it holds no
    // "://". Throws QuilloryError "Enter a live website URL." for nothing and "Enter a valid live
    // website URL." for text that is no URL.
    static std::string startURL(std::string_view typed);

    // Every src and href value of the text, trimmed, empty ones dropped, each once, in order of
    // first appearance. Comments count, srcset and CSS url() do not.
    static std::vector<std::string> resourceReferences(std::string_view html);
    // Where a fetched URL lands in the snapshot: its decoded path made safe, with "/index.html"
    // added when it has no extension; "index.html" for the site root.
    static std::string localRelativePath(const WebURL&);
    // Drops empty, "." and ".." pieces and replaces every character that is not a letter, a
    // number, "-", ".", "_" or "~" by "-".
    static std::string sanitizedPath(std::string_view path);
    // "<slug of the host>-yyyyMMdd-HHmmss" under the parent, with "-2", "-3", ... when taken.
    static std::filesystem::path uniqueSnapshotRoot(const WebURL&, const std::filesystem::path& parent,
                                                    std::chrono::sys_seconds fetchedAt);
    // Lower case, runs of anything but letters and numbers become one "-", "site" when empty.
    static std::string slug(std::string_view text);
    // "2026-11-15T09:10:00Z".
    static std::string iso8601(std::chrono::sys_seconds);
};

}
