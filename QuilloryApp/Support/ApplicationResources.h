#pragma once

#include <filesystem>
#include <optional>
#include <vector>

namespace Quillory::ApplicationResources {

// The folders that may hold the run-time resources of the program at `executable`, in the order
// they are tried: its own folder (a build tree), then "../share/quillory" relative to it (an
// installation).
std::vector<std::filesystem::path> searchFolders(const std::filesystem::path& executable);

// The first of `folders` that holds `relativePath`, joined with it; nothing when none does.
std::optional<std::filesystem::path> url(const std::filesystem::path& relativePath, const std::vector<std::filesystem::path>& folders);

// The same beside the running program; nothing when its path can't be read.
std::optional<std::filesystem::path> url(const std::filesystem::path& relativePath);

}
