#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace QuilloryTest {

// A fresh folder below the system's temporary directory, removed with everything in it
// when the object goes away. Tests build their sites here with real files.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    // Writes bytes (as given, no conversion) to a path relative to the folder, making parent folders.
    std::filesystem::path write(std::string_view relativePath, std::string_view bytes) const;
    // Reads a file's bytes as they are on disk.
    std::string read(std::string_view relativePath) const;

private:
    std::filesystem::path m_path;
};

std::string readBytes(const std::filesystem::path&);

}
