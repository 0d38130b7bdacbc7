#include "QuilloryApp/Support/ApplicationResources.h"

#include <system_error>

namespace Quillory::ApplicationResources {

std::vector<std::filesystem::path> searchFolders(const std::filesystem::path& executable)
{
    auto folder = executable.parent_path();
    return { folder, (folder / ".." / "share" / "quillory").lexically_normal() };
}

std::optional<std::filesystem::path> url(const std::filesystem::path& relativePath, const std::vector<std::filesystem::path>& folders)
{
    for (const auto& folder : folders) {
        std::error_code error;
        auto candidate = folder / relativePath;
        if (std::filesystem::exists(candidate, error))
            return candidate;
    }
    return std::nullopt;
}

std::optional<std::filesystem::path> url(const std::filesystem::path& relativePath)
{
    std::error_code error;
    auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error || executable.empty())
        return std::nullopt;
    return url(relativePath, searchFolders(executable));
}

}
