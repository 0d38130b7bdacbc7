#include "QuilloryCore/Creation/NewPagePaths.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/StringHelpers.h"

#include <algorithm>
#include <system_error>
#include <vector>

namespace Quillory::NewPagePaths {

namespace {

std::string resolvedComparablePath(const std::filesystem::path& path)
{
    std::error_code error;
    auto resolved = std::filesystem::weakly_canonical(path, error);
    if (error)
        resolved = path;
    std::string text = FilePaths::standardized(resolved).string();
    auto first = text.find_first_not_of('/');
    if (first == std::string::npos)
        return {};
    auto last = text.find_last_not_of('/');
    return text.substr(first, last - first + 1);
}

}

std::string normalizedNewPagePath(std::string_view input)
{
    auto path = StringHelpers::trimmingWhitespaceAndNewlines(input);
    std::replace(path.begin(), path.end(), '\\', '/');
    auto parts = FilePaths::nonEmptyComponents(path);
    auto result = FilePaths::joinedComponents(parts, parts.size());
    if (result.empty())
        return result;
    if (FilePaths::pathExtension(result).empty())
        result += ".html";
    return result;
}

bool containsUnsafePathComponent(std::string_view path)
{
    auto parts = FilePaths::components(path);
    return std::any_of(parts.begin(), parts.end(), [](const auto& part) { return part == "." || part == ".."; });
}

bool isDescendant(const std::filesystem::path& path, const std::filesystem::path& ancestor)
{
    auto candidate = resolvedComparablePath(path);
    auto root = resolvedComparablePath(ancestor);
    if (candidate == root)
        return true;
    return candidate.size() > root.size() && candidate.compare(0, root.size(), root) == 0 && candidate[root.size()] == '/';
}

std::string parentPath(std::string_view path)
{
    auto parts = FilePaths::nonEmptyComponents(path);
    if (parts.size() < 2)
        return {};
    return FilePaths::joinedComponents(parts, parts.size() - 1);
}

}
