#include "QuilloryCore/Git/FileGitSnapshot.h"

namespace Quillory {

FileGitSnapshot FileGitSnapshot::noSelection()
{
    return unavailable({}, {}, "No page selected.");
}

FileGitSnapshot FileGitSnapshot::unavailable(std::string workspaceRelativePath, std::string repoRelativePath, std::string message)
{
    FileGitSnapshot snapshot;
    snapshot.workspaceRelativePath = std::move(workspaceRelativePath);
    snapshot.repoRelativePath = std::move(repoRelativePath);
    snapshot.currentFileStatus = FileState::unavailable(std::move(message));
    return snapshot;
}

}
