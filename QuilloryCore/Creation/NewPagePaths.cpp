#include "QuilloryCore/Creation/NewPagePaths.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/StringHelpers.h"

#include <algorithm>
#include <system_error>
#include <vector>

namespace Quillory::NewPagePaths {

namespace {

std::vector<std::string> components(std::string_view path, bool keepEmpty)
{
    std::vector<std::string> result;
    std::size_t start = 0;
    while (start <= path.size()) {
        auto end = path.find('/', start);
        if (end == std::string_view::npos)
            end = path.size();
        if (keepEmpty || end > start)
            result.emplace_back(path.substr(start, end - start));
        start = end + 1;
    }
    return result;
}

std::string joined(const std::vector<std::string>& parts, std::size_t count)
{
    std::string result;
    for (std::size_t index = 0; index < count; ++index) {
        if (index > 0)
            result.push_back('/');
        result += parts[index];
    }
    return result;
}

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
    auto parts = components(path, false);
    auto result = joined(parts, parts.size());
    if (result.empty())
        return result;
    if (FilePaths::pathExtension(result).empty())
        result += ".html";
    return result;
}

bool containsUnsafePathComponent(std::string_view path)
{
    auto parts = components(path, true);
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
    auto parts = components(path, false);
    if (parts.size() < 2)
        return {};
    return joined(parts, parts.size() - 1);
}

}
