#include "QuilloryApp/Git/GitStatusService.h"

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Git/GitStatusParsing.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <gio/gio.h>
#include <mutex>
#include <signal.h>
#include <unistd.h>

namespace Quillory {

namespace {

constexpr const char* notInsideRepositoryMessage = "The opened site is not inside a Git repository.";

// Held for the whole life of each Git process, whoever runs it, so that at most one runs at a time.
std::mutex commandLock;

std::string decodedUTF8(GBytes* bytes)
{
    if (!bytes)
        return {};
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    std::string_view text(data ? data : "", size);
    // Output that isn't UTF-8 reads as nothing rather than as an error.
    if (!UnicodeText::utf16FromUTF8(text))
        return {};
    return std::string(text);
}

std::string trimmed(std::string_view text)
{
    return StringHelpers::trimmingWhitespaceAndNewlines(text);
}

// A Git process in its own process group. If it is given up before Git has been waited for (the
// streams could not be read), the whole group is ended and reaped, so no helper Git started
// outlives the run.
class GitProcess {
public:
    explicit GitProcess(GSubprocess* process)
        : m_process(GRef<GSubprocess>::adopt(process))
    {
    }
    GitProcess(const GitProcess&) = delete;
    GitProcess& operator=(const GitProcess&) = delete;
    ~GitProcess()
    {
        if (m_hasExited)
            return;
        if (const char* identifier = g_subprocess_get_identifier(m_process.get()))
            ::kill(-static_cast<pid_t>(std::stol(identifier)), SIGKILL);
        g_subprocess_wait(m_process.get(), nullptr, nullptr);
    }

    // Reads both streams to their end at the same time, so a large output can't fill one pipe
    // while Git waits, then waits for the exit.
    GitCommandResult communicate()
    {
        GBytes* output = nullptr;
        GBytes* error = nullptr;
        GError* failure = nullptr;
        bool communicated = g_subprocess_communicate(m_process.get(), nullptr, nullptr, &output, &error, &failure);
        auto outputHolder = GRef<GBytes>::adopt(output);
        auto errorHolder = GRef<GBytes>::adopt(error);
        if (!communicated) {
            GitCommandResult result { 1, {}, failure ? failure->message : "Git's output could not be read." };
            g_clear_error(&failure);
            return result;
        }
        m_hasExited = true;
        std::int32_t status = 1;
        if (g_subprocess_get_if_exited(m_process.get()))
            status = g_subprocess_get_exit_status(m_process.get());
        else if (g_subprocess_get_if_signaled(m_process.get()))
            status = g_subprocess_get_term_sig(m_process.get());
        return { status, decodedUTF8(output), decodedUTF8(error) };
    }

private:
    GRef<GSubprocess> m_process;
    bool m_hasExited { false };
};

GitCommandResult runGitAt(const std::filesystem::path& folder, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), { "-C", folder.string() });
    return GitStatusService::runGit(arguments);
}

// The top level of the repository that holds the root, or nothing outside any repository.
std::optional<std::string> topLevel(const std::filesystem::path& rootURL)
{
    auto result = runGitAt(rootURL, { "rev-parse", "--show-toplevel" });
    if (!result.succeeded())
        return std::nullopt;
    return trimmed(result.output);
}

}

GitCommandResult GitStatusService::runGit(const std::vector<std::string>& arguments)
{
    std::lock_guard lock(commandLock);

    std::vector<const char*> argv { "/usr/bin/env", "git" };
    for (const auto& argument : arguments)
        argv.push_back(argument.c_str());
    argv.push_back(nullptr);

    auto launcher = GRef<GSubprocessLauncher>::adopt(g_subprocess_launcher_new(static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE)));
    // Its own process group, so that the run can be ended as a whole.
    g_subprocess_launcher_set_child_setup(launcher.get(), +[](gpointer) { ::setpgid(0, 0); }, nullptr, nullptr);
    GError* failure = nullptr;
    GSubprocess* process = g_subprocess_launcher_spawnv(launcher.get(), argv.data(), &failure);
    if (!process) {
        GitCommandResult result { 1, {}, failure ? failure->message : "Git could not be started." };
        g_clear_error(&failure);
        return result;
    }
    return GitProcess(process).communicate();
}

GitStatusSnapshot GitStatusService::snapshot(const std::filesystem::path& rootURL)
{
    if (!runGitAt(rootURL, { "rev-parse", "--is-inside-work-tree" }).succeeded())
        return GitStatusSnapshot::notRepository();
    auto status = runGitAt(rootURL, { "status", "--short" });
    if (!status.succeeded())
        return GitStatusSnapshot::unavailable(trimmed(status.error));
    auto lines = GitStatusParsing::lines(status.output);
    if (lines.empty())
        return GitStatusSnapshot::clean();
    return GitStatusSnapshot::dirty(std::move(lines));
}

FileGitSnapshot GitStatusService::fileSnapshot(const std::filesystem::path& rootURL, const std::filesystem::path& fileURL,
                                               const std::string& workspaceRelativePath)
{
    auto repoRoot = topLevel(rootURL);
    if (!repoRoot)
        return FileGitSnapshot::unavailable(workspaceRelativePath, workspaceRelativePath, notInsideRepositoryMessage);
    auto repoPath = GitStatusParsing::relativePath(fileURL, *repoRoot);

    auto fileStatus = runGitAt(*repoRoot, { "status", "--short", "--", repoPath });
    if (!fileStatus.succeeded())
        return FileGitSnapshot::unavailable(workspaceRelativePath, repoPath, trimmed(fileStatus.error));
    auto repositoryStatus = runGitAt(*repoRoot, { "status", "--short" });

    FileGitSnapshot snapshot;
    snapshot.workspaceRelativePath = workspaceRelativePath;
    snapshot.repoRelativePath = repoPath;
    auto fileLines = GitStatusParsing::lines(fileStatus.output);
    if (!fileLines.empty())
        snapshot.currentStatusEntry = fileLines.front();
    snapshot.otherStatusEntries = GitStatusParsing::otherStatusEntries(GitStatusParsing::lines(repositoryStatus.output), repoPath);
    snapshot.history = fileHistory(*repoRoot, repoPath);
    if (snapshot.currentStatusEntry)
        snapshot.currentFileStatus.kind = GitStatusParsing::fileState(*snapshot.currentStatusEntry);
    return snapshot;
}

std::vector<GitHistoryEntry> GitStatusService::fileHistory(const std::string& repoRootPath, const std::string& repoRelativePath)
{
    auto log = runGitAt(repoRootPath, { "log", "--max-count=8", "--pretty=format:%h%x09%s", "--", repoRelativePath });
    if (!log.succeeded())
        return {};
    return GitStatusParsing::historyEntries(log.output);
}

GitStatusService::TrackedFolderStatus GitStatusService::trackedFolderStatus(const std::filesystem::path& rootURL, const std::string& relativeFolderPath)
{
    if (!runGitAt(rootURL, { "rev-parse", "--is-inside-work-tree" }).succeeded())
        return { TrackedFolderStatus::Kind::notRepository, {} };
    auto files = runGitAt(rootURL, { "ls-files", "--", GitStatusParsing::folderPathspec(relativeFolderPath) });
    if (!files.succeeded())
        return { TrackedFolderStatus::Kind::failed, trimmed(files.error) };
    if (trimmed(files.output).empty())
        return { TrackedFolderStatus::Kind::untracked, {} };
    return { TrackedFolderStatus::Kind::tracked, {} };
}

GitFileTrackingResult GitStatusService::addFileToTracking(const std::filesystem::path& rootURL, const std::filesystem::path& fileURL)
{
    auto repoRoot = topLevel(rootURL);
    if (!repoRoot)
        return { false, notInsideRepositoryMessage };
    auto added = runGitAt(*repoRoot, { "add", "--", GitStatusParsing::relativePath(fileURL, *repoRoot) });
    if (!added.succeeded())
        return { false, trimmed(added.error) };
    return { true, {} };
}

GitFileRestoreResult GitStatusService::restoreFileFromHEAD(const std::filesystem::path& rootURL, const std::filesystem::path& fileURL)
{
    auto repoRoot = topLevel(rootURL);
    if (!repoRoot)
        return { false, {}, notInsideRepositoryMessage };
    auto shown = runGitAt(*repoRoot, { "show", "HEAD:" + GitStatusParsing::relativePath(fileURL, *repoRoot) });
    if (!shown.succeeded())
        return { false, {}, trimmed(shown.error) };
    try {
        TextFile::writeBytesAtomically(fileURL, shown.output);
    } catch (const std::exception& error) {
        return { false, {}, error.what() };
    }
    return { true, std::move(shown.output), {} };
}

}
