#pragma once

#include "support/ChildProcess.h"

#include <filesystem>
#include <string>
#include <vector>

namespace QuilloryTest {

// A real Git repository made with the system's `git` in a folder the test owns. Commits get a
// fixed author, committer and date through the environment, so no user configuration is needed
// and hashes don't depend on the clock.
class GitRepository {
public:
    // Runs `git init` in the folder (made if missing), on a branch named "main".
    explicit GitRepository(std::filesystem::path folder);

    const std::filesystem::path& path() const { return m_path; }

    // Runs git with these arguments in the repository; a failure fails the calling test.
    ChildProcessResult git(const std::vector<std::string>& arguments) const;
    // Stages everything and commits it.
    void commitAll(const std::string& message) const;
    // True when the index holds this repository path.
    bool indexHolds(const std::string& repoRelativePath) const;

private:
    std::filesystem::path m_path;
};

}
