#pragma once

#include <filesystem>
#include <string_view>

namespace Quillory {

// The folder of one live snapshot, held open, and the one way files get into it. Every folder
// on the way to a file is opened relative to the one above it without following symbolic links,
// and the file is renamed into place from a fresh temporary beside it, so nothing a server sends
// and nothing already lying in the folder can lead a write outside it.
class SnapshotFolder {
public:
    // Opens an existing folder. Throws FileWriteError when it can't be opened as a folder.
    explicit SnapshotFolder(const std::filesystem::path& root);
    ~SnapshotFolder();
    SnapshotFolder(const SnapshotFolder&) = delete;
    SnapshotFolder& operator=(const SnapshotFolder&) = delete;

    // Writes bytes atomically at a "/"-separated path of plain names, making the folders on the
    // way. An empty, "." or ".." name, or a symbolic link on the way, fails. Throws FileWriteError
    // with the system's reason; the target is then untouched and no temporary file stays.
    void writeAtomically(std::string_view relativePath, std::string_view bytes) const;

private:
    std::filesystem::path m_root;
    int m_descriptor;
};

}
