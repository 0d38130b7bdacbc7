#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory::SiteFolderWalk {

struct Entry {
    // "/"-separated path from the site root, without empty components.
    std::string relativePath;
    // The entry's standardized location.
    std::filesystem::path url;
};

// The regular files below `folder`, found by a deep walk in directory order. An entry whose name
// begins with "." or is one of `skippedNames` is left out, and a folder so named is not entered.
// So is an entry whose name is not UTF-8 or holds a control character: no link or URL can name
// it, and no list can show it. Symbolic links are never followed, and a `folder` whose real path
// (every link resolved) is not inside the real path of `standardizedRoot` gives nothing, so
// nothing outside the site is found. Relative paths are taken from `standardizedRoot`. A folder
// that can't be listed gives nothing; an entry whose type can't be read throws FileScanError.
std::vector<Entry> regularFiles(const std::filesystem::path& folder, const std::filesystem::path& standardizedRoot,
                                const std::vector<std::string_view>& skippedNames);

}
