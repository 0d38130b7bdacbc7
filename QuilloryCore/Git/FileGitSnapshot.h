#pragma once

#include "QuilloryCore/Git/GitHistoryEntry.h"

#include <optional>
#include <string>
#include <vector>

namespace Quillory {

// The Git state and short history of one file of the opened site, for the Git details.
struct FileGitSnapshot {
    struct FileState {
        enum class Kind {
            clean,
            modified,
            added,
            deleted,
            untracked,
            conflicted,
            // `message` says why.
            unavailable,
        };

        Kind kind { Kind::clean };
        std::string message;

        static FileState unavailable(std::string message) { return { Kind::unavailable, std::move(message) }; }
        bool operator==(const FileState&) const = default;
    };

    std::string workspaceRelativePath;
    std::string repoRelativePath;
    FileState currentFileStatus;
    // The file's own line of `git status --short`, as Git printed it.
    std::optional<std::string> currentStatusEntry;
    // The status lines of every other changed path of the repository, also outside the site.
    std::vector<std::string> otherStatusEntries;
    // Newest first, at most eight.
    std::vector<GitHistoryEntry> history;

    // Both paths empty, unavailable with "No page selected.".
    static FileGitSnapshot noSelection();
    // The snapshot when Git cannot answer for this file.
    static FileGitSnapshot unavailable(std::string workspaceRelativePath, std::string repoRelativePath, std::string message);

    bool operator==(const FileGitSnapshot&) const = default;
};

}
