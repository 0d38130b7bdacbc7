#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory::FilePaths {

// A standardized file path: absolute, "." and ".." removed lexically, no trailing separator, no
// symbolic link resolved.
std::filesystem::path standardized(const std::filesystem::path&);

// Joins a root and a "/"-separated relative path of several components.
std::filesystem::path appending(const std::filesystem::path& root, std::string_view relativePath);

// The extension of the last component without its dot, as given ("HTML" stays "HTML"); empty when
// there is none. A leading dot does not start an extension (".htaccess" has none).
std::string pathExtension(std::string_view path);

// The last component without its extension.
std::string deletingPathExtension(std::string_view component);

// The pieces of a "/"-separated path, views into it: every piece, the empty ones of a leading,
// trailing or doubled "/" included, or only the non-empty ones.
std::vector<std::string_view> components(std::string_view path);
std::vector<std::string_view> nonEmptyComponents(std::string_view path);

// The first `count` components joined by "/".
std::string joinedComponents(const std::vector<std::string_view>& components, std::size_t count);

}
