#pragma once

#include "support/TemporaryDirectory.h"

#include <filesystem>

namespace QuilloryTest {

// Makes a fresh temporary folder the process's working directory for the object's lifetime, for
// code that writes below the working directory (live fetch snapshots), and gives the old one back.
class WorkingDirectory {
public:
    WorkingDirectory()
        : m_previous(std::filesystem::current_path())
    {
        std::filesystem::current_path(m_folder.path());
    }
    ~WorkingDirectory() { std::filesystem::current_path(m_previous); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

    const std::filesystem::path& path() const { return m_folder.path(); }

private:
    TemporaryDirectory m_folder;
    std::filesystem::path m_previous;
};

}
