#include "QuilloryCore/Text/FilePaths.h"

namespace Quillory::FilePaths {

std::filesystem::path standardized(const std::filesystem::path& path)
{
    std::error_code error;
    auto absolute = std::filesystem::absolute(path, error);
    if (error)
        absolute = path;
    auto normal = absolute.lexically_normal();
    auto text = normal.string();
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

std::filesystem::path appending(const std::filesystem::path& root, std::string_view relativePath)
{
    auto text = root.string();
    if (relativePath.empty())
        return text;
    if (text.empty() || text.back() != '/')
        text.push_back('/');
    text.append(relativePath);
    return text;
}

std::string pathExtension(std::string_view path)
{
    while (!path.empty() && path.back() == '/')
        path.remove_suffix(1);
    auto slash = path.find_last_of('/');
    auto component = slash == std::string_view::npos ? path : path.substr(slash + 1);
    auto dot = component.find_last_of('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == component.size())
        return {};
    return std::string(component.substr(dot + 1));
}

std::string deletingPathExtension(std::string_view component)
{
    auto extension = pathExtension(component);
    if (extension.empty())
        return std::string(component);
    return std::string(component.substr(0, component.size() - extension.size() - 1));
}

std::vector<std::string_view> components(std::string_view path)
{
    std::vector<std::string_view> result;
    std::size_t start = 0;
    while (start <= path.size()) {
        auto slash = path.find('/', start);
        auto end = slash == std::string_view::npos ? path.size() : slash;
        result.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    return result;
}

std::vector<std::string_view> nonEmptyComponents(std::string_view path)
{
    auto result = components(path);
    std::erase_if(result, [](std::string_view component) { return component.empty(); });
    return result;
}

std::string joinedComponents(const std::vector<std::string_view>& components, std::size_t count)
{
    std::string path;
    for (std::size_t index = 0; index < count; ++index) {
        if (index)
            path.push_back('/');
        path.append(components[index]);
    }
    return path;
}

}
