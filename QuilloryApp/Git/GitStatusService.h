#pragma once

#include "QuilloryCore/Git/FileGitSnapshot.h"
#include "QuilloryCore/Git/GitCommandResult.h"
#include "QuilloryCore/Git/GitHistoryEntry.h"
#include "QuilloryCore/Git/GitStatusSnapshot.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Quillory {

// Restoring a file from HEAD: the restored text, or why it failed.
struct GitFileRestoreResult {
    bool succeeded { false };
    std::string text;
    std::string message;
};

// Adding a file to the index: success, or why it failed.
struct GitFileTrackingResult {
    bool succeeded { false };
    std::string message;
};

// The one place that talks to Git: runs the `git` tool found on the program's search path and
// turns its answers into values. Every operation blocks until Git is done and never throws; the
// store calls the status operations from a worker thread. One process-wide lock is held for the
// whole run of each Git process, so at most one runs at a time in the program.
class GitStatusService {
public:
    struct TrackedFolderStatus {
        enum class Kind {
            tracked,
            untracked,
            notRepository,
            failed,
        };
        Kind kind { Kind::failed };
        std::string message;
    };

    // Runs "/usr/bin/env git" with these arguments, no environment change and no working folder:
    // every call names its folder with "-C". A failed launch gives status 1 and the launch error.
    static GitCommandResult runGit(const std::vector<std::string>& arguments);

    // The working tree's status for the status strip.
    static GitStatusSnapshot snapshot(const std::filesystem::path& rootURL);
    // One file's state, the repository's other changes and the file's last eight commits.
    static FileGitSnapshot fileSnapshot(const std::filesystem::path& rootURL, const std::filesystem::path& fileURL,
                                        const std::string& workspaceRelativePath);
    // Whether Git tracks any file in this folder of the site ("" is the site's root).
    static TrackedFolderStatus trackedFolderStatus(const std::filesystem::path& rootURL, const std::string& relativeFolderPath);
    // `git add` of this one file.
    static GitFileTrackingResult addFileToTracking(const std::filesystem::path& rootURL, const std::filesystem::path& fileURL);
    // Overwrites the file with its text at HEAD (written atomically); a text that is not valid UTF-8
    // reads as empty, so the file is then emptied.
    static GitFileRestoreResult restoreFileFromHEAD(const std::filesystem::path& rootURL, const std::filesystem::path& fileURL);
    // Newest first, at most eight; empty when Git can't say (a repository without commits).
    static std::vector<GitHistoryEntry> fileHistory(const std::string& repoRootPath, const std::string& repoRelativePath);
};

}
