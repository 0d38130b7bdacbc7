#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Quillory {

// Where `node` and `npm` were found: a snapshot, refreshed only by a new detection.
struct FrontendToolAvailability {
    // Absolute path of the `node` executable.
    std::optional<std::string> nodePath;
    // Absolute path of the `npm` executable.
    std::optional<std::string> npmPath;

    // The tools as they are on this machine now, looked up in `candidateFolders()`.
    static FrontendToolAvailability current();
    // The fixed, ordered folders searched for each tool: /usr/local/bin/, /usr/bin/, then
    // $HOME/.local/bin/ when HOME is set. PATH is never consulted.
    static std::vector<std::filesystem::path> candidateFolders();
    // Each tool is the first `folder/name` that is an executable regular file (links followed).
    static FrontendToolAvailability inFolders(const std::vector<std::filesystem::path>& folders);

    friend bool operator==(const FrontendToolAvailability&, const FrontendToolAvailability&) = default;
};

}

template<>
struct std::hash<Quillory::FrontendToolAvailability> {
    std::size_t operator()(const Quillory::FrontendToolAvailability& tools) const noexcept
    {
        std::hash<std::optional<std::string>> hashPath;
        return hashPath(tools.nodePath) * 31 + hashPath(tools.npmPath);
    }
};
