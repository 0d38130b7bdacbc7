#include "support/TemporaryDirectory.h"

#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace QuilloryTest {

TemporaryDirectory::TemporaryDirectory()
{
    std::random_device device;
    std::mt19937_64 generator(device());
    auto base = std::filesystem::temp_directory_path();
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::ostringstream name;
        name << "quillory-test-" << std::hex << generator();
        auto candidate = base / name.str();
        if (std::filesystem::create_directory(candidate)) {
            m_path = candidate;
            return;
        }
    }
    throw std::runtime_error("could not create a temporary directory");
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code error;
    // Tests may leave read-only folders behind; make everything removable first.
    for (auto it = std::filesystem::recursive_directory_iterator(m_path, error);
         !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error))
        std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, error);
    std::filesystem::remove_all(m_path, error);
}

std::filesystem::path TemporaryDirectory::write(std::string_view relativePath, std::string_view bytes) const
{
    auto target = m_path / std::filesystem::path(relativePath);
    std::filesystem::create_directories(target.parent_path());
    std::ofstream stream(target, std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream)
        throw std::runtime_error("could not write " + target.string());
    return target;
}

std::string TemporaryDirectory::read(std::string_view relativePath) const
{
    return readBytes(m_path / std::filesystem::path(relativePath));
}

std::string readBytes(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        throw std::runtime_error("could not read " + path.string());
    std::ostringstream contents;
    contents << stream.rdbuf();
    return contents.str();
}

}
