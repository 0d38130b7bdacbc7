#include "support/GitRepository.h"

#include <gtest/gtest.h>

namespace QuilloryTest {

namespace {

ChildProcessResult runGit(const std::filesystem::path& folder, const std::vector<std::string>& arguments)
{
    std::vector<std::string> command { "/usr/bin/env",
        "GIT_AUTHOR_NAME=Quillory Tests", "GIT_AUTHOR_EMAIL=tests@quillory.invalid", "GIT_AUTHOR_DATE=2026-01-02T03:04:05Z",
        "GIT_COMMITTER_NAME=Quillory Tests", "GIT_COMMITTER_EMAIL=tests@quillory.invalid", "GIT_COMMITTER_DATE=2026-01-02T03:04:05Z",
        "git", "-C", folder.string() };
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runChildProcess(command);
}

}

GitRepository::GitRepository(std::filesystem::path folder)
    : m_path(std::move(folder))
{
    std::filesystem::create_directories(m_path);
    git({ "init", "--quiet", "--initial-branch=main" });
}

ChildProcessResult GitRepository::git(const std::vector<std::string>& arguments) const
{
    auto result = runGit(m_path, arguments);
    EXPECT_EQ(result.exitStatus, 0) << "git " << (arguments.empty() ? "" : arguments.front()) << ": " << result.standardError;
    return result;
}

void GitRepository::commitAll(const std::string& message) const
{
    git({ "add", "--all" });
    git({ "commit", "--quiet", "--allow-empty-message", "-m", message });
}

bool GitRepository::indexHolds(const std::string& repoRelativePath) const
{
    return runGit(m_path, { "ls-files", "--error-unmatch", "--", repoRelativePath }).exitStatus == 0;
}

}
