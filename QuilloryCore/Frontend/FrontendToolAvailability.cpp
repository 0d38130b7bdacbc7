#include "QuilloryCore/Frontend/FrontendToolAvailability.h"

#include <cstdlib>
#include <system_error>
#include <unistd.h>

namespace Quillory {

namespace {

bool isExecutableFile(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

std::optional<std::string> findExecutable(const std::string& name, const std::vector<std::filesystem::path>& folders)
{
    for (const auto& folder : folders) {
        auto candidate = folder / name;
        if (isExecutableFile(candidate))
            return candidate.string();
    }
    return std::nullopt;
}

}

FrontendToolAvailability FrontendToolAvailability::current()
{
    return inFolders(candidateFolders());
}

std::vector<std::filesystem::path> FrontendToolAvailability::candidateFolders()
{
    std::vector<std::filesystem::path> folders { "/usr/local/bin/", "/usr/bin/" };
    if (const char* home = std::getenv("HOME"); home && *home)
        folders.push_back(std::filesystem::path(home) / ".local/bin/");
    return folders;
}

FrontendToolAvailability FrontendToolAvailability::inFolders(const std::vector<std::filesystem::path>& folders)
{
    return { findExecutable("node", folders), findExecutable("npm", folders) };
}

}
