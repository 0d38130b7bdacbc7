#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// The path rules for a page the user creates inside the opened site. Paths are "/"-separated,
// relative to the site root, UTF-8.
namespace Quillory::NewPagePaths {

// Trimmed, backslashes turned into "/", leading "/" removed, empty components dropped, and
// ".html" added when the last component has no extension. Empty when nothing is left.
std::string normalizedNewPagePath(std::string_view input);

// True when a component is "." or ".."; a name with two dots inside it is fine.
bool containsUnsafePathComponent(std::string_view path);

// True when `path` is `ancestor` or lies below it, after resolving symbolic links of both (as far
// as they exist), so a link that leaves the ancestor does not count as inside it.
bool isDescendant(const std::filesystem::path& path, const std::filesystem::path& ancestor);

// All but the last component, joined with "/"; empty for a path of fewer than two components.
std::string parentPath(std::string_view path);

}
