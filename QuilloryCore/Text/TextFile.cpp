#include "QuilloryCore/Text/TextFile.h"

#include "QuilloryCore/Text/FileDescriptor.h"
#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quillory::TextFile {

namespace {

std::string systemReason(int error)
{
    return std::strerror(error);
}

mode_t currentUmask()
{
    // umask can only be read by setting it; restore at once. Called only when creating a file.
    mode_t mask = ::umask(022);
    ::umask(mask);
    return mask;
}

}

std::string quotedFileName(const std::filesystem::path& path)
{
    auto name = path.filename().string();
    if (name.empty())
        name = path.string();
    return "\u201C" + name + "\u201D";
}

std::string readBytes(const std::filesystem::path& path)
{
    std::string bytes;
    readBytes(path, bytes);
    return bytes;
}

void readBytes(const std::filesystem::path& path, std::string& into)
{
    readBytesAt(AT_FDCWD, path.c_str(), path, into);
}

void readBytesAt(int folderDescriptor, const char* name, const std::filesystem::path& path, std::string& into)
{
    auto fail = [&](int error) -> FileReadError {
        return FileReadError(path, "The file " + quotedFileName(path) + " couldn\u2019t be opened: " + systemReason(error) + ".");
    };
    FileDescriptor file(::openat(folderDescriptor, name, O_RDONLY | O_CLOEXEC));
    if (file.get() < 0)
        throw fail(errno);
    struct stat info { };
    if (::fstat(file.get(), &info) != 0)
        throw fail(errno);
    if (S_ISDIR(info.st_mode))
        throw fail(EISDIR);
    // Room for one byte more than the size: a file that hasn't grown is read by one call straight
    // into place, and the next call finds its end. One that has grown gets more room as it needs.
    into.resize(static_cast<std::size_t>(std::max<off_t>(info.st_size, 0)) + 1);
    std::size_t filled = 0;
    for (;;) {
        if (filled == into.size())
            into.resize(2 * into.size());
        ssize_t count = ::read(file.get(), into.data() + filled, into.size() - filled);
        if (count < 0) {
            if (errno == EINTR)
                continue;
            throw fail(errno);
        }
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    into.resize(filled);
}

std::u16string readUTF8(const std::filesystem::path& path)
{
    return decodeUTF8(readBytes(path), path);
}

std::u16string decodeUTF8(std::string_view bytes, const std::filesystem::path& path)
{
    auto text = UnicodeText::utf16FromUTF8(bytes);
    if (!text)
        throw FileReadError(path, "The file " + quotedFileName(path) + " couldn\u2019t be opened because it isn\u2019t valid UTF-8 text (" + path.string() + ").");
    return std::move(*text);
}

void writeBytesAtomically(const std::filesystem::path& path, std::string_view bytes)
{
    auto fail = [&](int error) -> FileWriteError {
        return FileWriteError(path, "The file " + quotedFileName(path) + " couldn\u2019t be saved: " + systemReason(error) + ".");
    };

    struct stat existing { };
    bool targetExists = ::stat(path.c_str(), &existing) == 0;
    if (targetExists && S_ISDIR(existing.st_mode))
        throw fail(EISDIR);
    // A rename would replace even a read-only file; refuse as an in-place write would.
    if (targetExists && ::access(path.c_str(), W_OK) != 0)
        throw fail(errno);

    auto folder = path.parent_path();
    if (folder.empty())
        folder = ".";
    std::string temporaryName = (folder / ("." + path.filename().string() + ".quillory-XXXXXX")).string();
    FileDescriptor file(::mkstemp(temporaryName.data()));
    if (file.get() < 0)
        throw fail(errno);

    auto abandon = [&](int error) -> FileWriteError {
        ::unlink(temporaryName.c_str());
        return fail(error);
    };

    mode_t mode = targetExists ? (existing.st_mode & 07777) : (0666 & ~currentUmask());
    if (::fchmod(file.get(), mode) != 0)
        throw abandon(errno);

    const char* cursor = bytes.data();
    std::size_t remaining = bytes.size();
    while (remaining > 0) {
        ssize_t written = ::write(file.get(), cursor, remaining);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            throw abandon(errno);
        }
        cursor += written;
        remaining -= static_cast<std::size_t>(written);
    }
    if (::fsync(file.get()) != 0)
        throw abandon(errno);
    if (::close(file.release()) != 0)
        throw abandon(errno);
    if (::rename(temporaryName.c_str(), path.c_str()) != 0)
        throw abandon(errno);

    // Make the rename itself durable; a failure here leaves a complete file either way.
    FileDescriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0)
        ::fsync(directory.get());
}

void writeUTF8Atomically(const std::filesystem::path& path, std::u16string_view text)
{
    writeBytesAtomically(path, UnicodeText::utf8FromUTF16(text));
}

}
