#pragma once

#include "QuilloryCore/Text/UnicodeText.h"

#include <filesystem>
#include <stdexcept>
#include <string>

namespace Quillory {

// Base of the typed errors that core operations throw. `what()` is the one line of text the
// store shows the user, also offered as localizedDescription(). It is always UTF-8: bytes of a
// file name or of a malformed answer that are not become U+FFFD.
class QuilloryError : public std::runtime_error {
public:
    explicit QuilloryError(std::string_view message)
        : std::runtime_error(UnicodeText::replacingInvalidUTF8(message))
    {
    }
    std::string localizedDescription() const { return what(); }
};

// A file could not be read: missing, unreadable, a folder, or not valid UTF-8.
class FileReadError : public QuilloryError {
public:
    FileReadError(std::filesystem::path path, const std::string& message)
        : QuilloryError(message)
        , m_path(std::move(path))
    {
    }
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

// A file could not be written; the file on disk is unchanged.
class FileWriteError : public QuilloryError {
public:
    FileWriteError(std::filesystem::path path, const std::string& message)
        : QuilloryError(message)
        , m_path(std::move(path))
    {
    }
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

// A folder could not be listed or a file's attributes could not be read during a scan.
class FileScanError : public QuilloryError {
public:
    using QuilloryError::QuilloryError;
};

}
