#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace Quillory {

// Base of the typed errors that core operations throw. `what()` is the one line of text the
// store shows the user, also offered as localizedDescription().
class QuilloryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
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
