#pragma once

#include "QuilloryCore/Git/FileGitSnapshot.h"
#include "QuilloryCore/Git/GitHistoryEntry.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// How Git's plain-text answers become values. Texts are UTF-8; positions in status lines count
// bytes, which is exact because Git's two-letter codes and the blank after them are ASCII.
namespace Quillory::GitStatusParsing {

// The output split at line ends, empty lines dropped.
std::vector<std::string> lines(std::string_view output);

// The state a `git status --short` line gives its file, tested on its two-letter code in this
// order: "U" conflicted, "?" untracked, "A" added, "D" deleted, anything else modified. So "AD"
// counts as added and "UU", "AU" and "DU" as conflicted.
FileGitSnapshot::FileState::Kind fileState(std::string_view statusLine);

// What follows the first three characters of a status line; empty for a shorter line. A path
// Git quoted keeps its quotes, so it is compared as it stands.
std::string_view statusLinePath(std::string_view statusLine);

// True when the line is about this repository path, also as either side of a rename "old -> new".
bool statusLineNamesPath(std::string_view statusLine, std::string_view repoRelativePath);

// The whole repository's status lines without those about this file, in Git's order.
std::vector<std::string> otherStatusEntries(const std::vector<std::string>& statusLines, std::string_view repoRelativePath);

// Lines of `git log --pretty=format:%h%x09%s`, each split at its first tab; a line that does not
// give two non-empty parts is dropped, so a commit with an empty subject doesn't show.
std::vector<GitHistoryEntry> historyEntries(std::string_view logOutput);

// The file's path below the root, with "/" separators; the file's last component when it does not
// lie below the root. Both are standardized first, no symbolic link resolved.
std::string relativePath(const std::filesystem::path& file, const std::filesystem::path& rootPath);

// The pathspec that asks `git ls-files` for a folder of the site: "blog/" for "blog", "." for the root.
std::string folderPathspec(std::string_view relativeFolderPath);

}
