#include "QuilloryCore/LiveFetch/SnapshotFolder.h"

#include "QuilloryCore/Text/FileDescriptor.h"
#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UUID.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace Quillory {

namespace {

bool writeAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        auto written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}

SnapshotFolder::SnapshotFolder(const std::filesystem::path& root)
    : m_root(root)
    , m_descriptor(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (m_descriptor < 0) {
        throw FileWriteError(root, "The folder " + TextFile::quotedFileName(root) + " couldn\u2019t be opened: "
                                       + std::strerror(errno) + ".");
    }
}

SnapshotFolder::~SnapshotFolder()
{
    ::close(m_descriptor);
}

void SnapshotFolder::writeAtomically(std::string_view relativePath, std::string_view bytes) const
{
    auto target = m_root / std::filesystem::path(relativePath);
    auto fail = [&](int error) {
        return FileWriteError(target, "The file " + TextFile::quotedFileName(target) + " couldn\u2019t be saved: "
                                          + std::strerror(error) + ".");
    };

    auto names = FilePaths::components(relativePath);
    for (auto name : names) {
        if (name.empty() || name == "." || name == "..")
            throw fail(EINVAL);
    }
    auto fileName = std::string(names.back());
    names.pop_back();

    // Each folder is opened below the one before; O_NOFOLLOW refuses a symbolic link in its place.
    std::vector<std::unique_ptr<FileDescriptor>> opened;
    int folder = m_descriptor;
    for (auto name : names) {
        std::string component(name);
        if (::mkdirat(folder, component.c_str(), 0755) != 0 && errno != EEXIST)
            throw fail(errno);
        int next = ::openat(folder, component.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (next < 0)
            throw fail(errno);
        opened.push_back(std::make_unique<FileDescriptor>(next));
        folder = next;
    }

    auto temporaryName = "." + fileName.substr(0, 64) + "." + UUID::random().string() + ".tmp";
    int file = ::openat(folder, temporaryName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (file < 0)
        throw fail(errno);
    bool written = writeAll(file, bytes) && ::fsync(file) == 0;
    int writeError = errno;
    if (::close(file) != 0 && written) {
        written = false;
        writeError = errno;
    }
    // rename replaces whatever stands at the name, a symbolic link included, without following it.
    if (!written || ::renameat(folder, temporaryName.c_str(), folder, fileName.c_str()) != 0) {
        int error = written ? errno : writeError;
        ::unlinkat(folder, temporaryName.c_str(), 0);
        throw fail(error);
    }
}

}
