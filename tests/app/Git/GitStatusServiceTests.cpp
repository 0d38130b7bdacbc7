#include "QuilloryApp/Git/GitStatusService.h"
#include "support/GitRepository.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

using namespace Quillory;
using namespace QuilloryTest;
using Kind = FileGitSnapshot::FileState::Kind;

namespace {

// A repository with a committed site of two pages.
struct CommittedSite {
    TemporaryDirectory folder;
    GitRepository repository { folder.path() };

    CommittedSite()
    {
        folder.write("index.html", "<h1>Home</h1>\n");
        folder.write("about.html", "<h1>About</h1>\n");
        repository.commitAll("First pages");
    }
};

// Sets PATH for the life of the object, so that `/usr/bin/env git` finds no Git.
class PathWithoutGit {
public:
    explicit PathWithoutGit(const std::filesystem::path& emptyFolder)
    {
        if (const char* path = std::getenv("PATH"))
            m_saved = path;
        setenv("PATH", emptyFolder.c_str(), 1);
    }
    ~PathWithoutGit()
    {
        if (m_saved)
            setenv("PATH", m_saved->c_str(), 1);
        else
            unsetenv("PATH");
    }

private:
    std::optional<std::string> m_saved;
};

}

TEST(GitStatusService, RunGitReturnsStatusAndBothStreams)
{
    TemporaryDirectory folder;
    auto result = GitStatusService::runGit({ "-C", folder.path().string(), "rev-parse", "--is-inside-work-tree" });
    EXPECT_NE(result.status, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.error.find("not a git repository"), std::string::npos) << result.error;

    auto version = GitStatusService::runGit({ "--version" });
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output.rfind("git version ", 0), 0u) << version.output;
}

TEST(GitStatusService, FolderOutsideAnyRepositoryIsNotARepoAndItsFileUnavailable)
{
    TemporaryDirectory folder;
    auto page = folder.write("index.html", "<h1>Home</h1>\n");

    EXPECT_EQ(GitStatusService::snapshot(folder.path()), GitStatusSnapshot::notRepository());
    auto file = GitStatusService::fileSnapshot(folder.path(), page, "index.html");
    EXPECT_EQ(file, FileGitSnapshot::unavailable("index.html", "index.html", "The opened site is not inside a Git repository."));
    EXPECT_EQ(GitStatusService::trackedFolderStatus(folder.path(), "").kind, GitStatusService::TrackedFolderStatus::Kind::notRepository);
    auto added = GitStatusService::addFileToTracking(folder.path(), page);
    EXPECT_FALSE(added.succeeded);
    EXPECT_EQ(added.message, "The opened site is not inside a Git repository.");
    auto restored = GitStatusService::restoreFileFromHEAD(folder.path(), page);
    EXPECT_FALSE(restored.succeeded);
    EXPECT_EQ(restored.message, "The opened site is not inside a Git repository.");
}

TEST(GitStatusService, GitMissingFromTheSearchPathCountsAsNotARepository)
{
    CommittedSite site;
    TemporaryDirectory emptyBin;
    PathWithoutGit noGit(emptyBin.path());

    auto run = GitStatusService::runGit({ "--version" });
    EXPECT_EQ(run.status, 127);
    EXPECT_NE(run.error.find("git"), std::string::npos) << run.error;
    EXPECT_EQ(GitStatusService::snapshot(site.folder.path()), GitStatusSnapshot::notRepository());
    auto file = GitStatusService::fileSnapshot(site.folder.path(), site.folder.path() / "index.html", "index.html");
    EXPECT_EQ(file.currentFileStatus, FileGitSnapshot::FileState::unavailable("The opened site is not inside a Git repository."));
}

TEST(GitStatusService, CleanRepository)
{
    CommittedSite site;
    EXPECT_EQ(GitStatusService::snapshot(site.folder.path()), GitStatusSnapshot::clean());
    auto file = GitStatusService::fileSnapshot(site.folder.path(), site.folder.path() / "index.html", "index.html");
    EXPECT_EQ(file.currentFileStatus.kind, Kind::clean);
    EXPECT_FALSE(file.currentStatusEntry);
    EXPECT_TRUE(file.otherStatusEntries.empty());
    ASSERT_EQ(file.history.size(), 1u);
    EXPECT_EQ(file.history[0].subject, "First pages");
}

TEST(GitStatusService, FiveChangesGiveFiveLinesInGitsOrder)
{
    CommittedSite site;
    site.folder.write("index.html", "<h1>Changed</h1>\n");
    site.folder.write("about.html", "<h1>Changed</h1>\n");
    site.folder.write("a.html", "a");
    site.folder.write("b.html", "b");
    site.folder.write("c.html", "c");

    auto snapshot = GitStatusService::snapshot(site.folder.path());
    EXPECT_EQ(snapshot, GitStatusSnapshot::dirty({ " M about.html", " M index.html", "?? a.html", "?? b.html", "?? c.html" }));
    EXPECT_EQ(snapshot.title(), "5 Git changes");
    EXPECT_EQ(snapshot.detail(), " M about.html\n M index.html\n?? a.html");
}

TEST(GitStatusService, SingleChangeIsOneGitChange)
{
    CommittedSite site;
    site.folder.write("index.html", "<h1>Changed</h1>\n");
    auto snapshot = GitStatusService::snapshot(site.folder.path());
    EXPECT_EQ(snapshot.title(), "1 Git change");
    EXPECT_EQ(snapshot.detail(), " M index.html");
}

TEST(GitStatusService, SiteDeepInsideARepositoryIsAnsweredByTheTopLevel)
{
    TemporaryDirectory folder;
    GitRepository repository(folder.path());
    folder.write("README.md", "readme\n");
    folder.write("web/public/site/index.html", "<h1>Home</h1>\n");
    repository.commitAll("Site");
    folder.write("README.md", "changed\n");
    folder.write("web/public/site/index.html", "<h1>Changed</h1>\n");
    auto site = folder.path() / "web" / "public" / "site";

    auto status = GitStatusService::snapshot(site);
    EXPECT_EQ(status.state, GitStatusSnapshot::State::dirty);
    EXPECT_EQ(status.statusLines.size(), 2u);

    auto file = GitStatusService::fileSnapshot(site, site / "index.html", "index.html");
    EXPECT_EQ(file.workspaceRelativePath, "index.html");
    EXPECT_EQ(file.repoRelativePath, "web/public/site/index.html");
    EXPECT_EQ(file.currentFileStatus.kind, Kind::modified);
    EXPECT_EQ(file.currentStatusEntry, " M web/public/site/index.html");
    // Changes of the whole repository, also outside the site.
    EXPECT_EQ(file.otherStatusEntries, (std::vector<std::string> { " M README.md" }));
    ASSERT_EQ(file.history.size(), 1u);
    EXPECT_EQ(file.history[0].subject, "Site");
}

TEST(GitStatusService, RenameInvolvingTheCurrentFileIsNotAnOtherEntry)
{
    CommittedSite site;
    site.repository.git({ "mv", "about.html", "team.html" });
    site.folder.write("notes.txt", "n");

    auto renamedTo = GitStatusService::fileSnapshot(site.folder.path(), site.folder.path() / "team.html", "team.html");
    EXPECT_EQ(renamedTo.otherStatusEntries, (std::vector<std::string> { "?? notes.txt" }));
    EXPECT_EQ(renamedTo.currentFileStatus.kind, Kind::added);

    auto renamedFrom = GitStatusService::fileSnapshot(site.folder.path(), site.folder.path() / "about.html", "about.html");
    EXPECT_EQ(renamedFrom.otherStatusEntries, (std::vector<std::string> { "?? notes.txt" }));

    auto other = GitStatusService::fileSnapshot(site.folder.path(), site.folder.path() / "index.html", "index.html");
    EXPECT_EQ(other.otherStatusEntries, (std::vector<std::string> { "R  about.html -> team.html", "?? notes.txt" }));
}

TEST(GitStatusService, PathWithBlanksIsQuotedAndStaysInOtherEntries)
{
    CommittedSite site;
    auto page = site.folder.write("my page.html", "<h1>Mine</h1>\n");

    auto file = GitStatusService::fileSnapshot(site.folder.path(), page, "my page.html");
    EXPECT_EQ(file.repoRelativePath, "my page.html");
    EXPECT_EQ(file.currentStatusEntry, "?? \"my page.html\"");
    EXPECT_EQ(file.currentFileStatus.kind, Kind::untracked);
    // Git quotes the path, so the file's own whole-repository line isn't recognised.
    EXPECT_EQ(file.otherStatusEntries, (std::vector<std::string> { "?? \"my page.html\"" }));
}

TEST(GitStatusService, FileWithTwoCommitsListsHistoryNewestFirst)
{
    CommittedSite site;
    site.folder.write("index.html", "<h1>Second</h1>\n");
    site.repository.commitAll("Second version");
    site.folder.write("about.html", "<h1>Other</h1>\n");
    site.repository.commitAll("Only about");

    auto file = GitStatusService::fileSnapshot(site.folder.path(), site.folder.path() / "index.html", "index.html");
    ASSERT_EQ(file.history.size(), 2u);
    EXPECT_EQ(file.history[0].subject, "Second version");
    EXPECT_EQ(file.history[1].subject, "First pages");
    auto hash = site.repository.git({ "log", "-1", "--pretty=format:%h", "--", "index.html" }).standardOutput;
    EXPECT_EQ(file.history[0].hash, hash);
}

TEST(GitStatusService, HistoryKeepsTheEightNewestAndDropsEmptySubjects)
{
    CommittedSite site;
    for (int index = 1; index <= 9; ++index) {
        site.folder.write("index.html", "version " + std::to_string(index));
        site.repository.commitAll("Edit " + std::to_string(index));
    }
    site.folder.write("index.html", "no subject");
    site.repository.commitAll("");

    auto history = GitStatusService::fileHistory(site.folder.path().string(), "index.html");
    // Eight commits were asked for; the newest has no subject and doesn't show.
    ASSERT_EQ(history.size(), 7u);
    EXPECT_EQ(history.front().subject, "Edit 9");
    EXPECT_EQ(history.back().subject, "Edit 3");
}

TEST(GitStatusService, EmptyRepositoryHasNoHistory)
{
    TemporaryDirectory folder;
    GitRepository repository(folder.path());
    auto page = folder.write("index.html", "<h1>Home</h1>\n");

    auto file = GitStatusService::fileSnapshot(folder.path(), page, "index.html");
    EXPECT_TRUE(file.history.empty());
    EXPECT_EQ(file.currentFileStatus.kind, Kind::untracked);
    EXPECT_EQ(GitStatusService::snapshot(folder.path()), GitStatusSnapshot::dirty({ "?? index.html" }));
}

TEST(GitStatusService, TrackedFolderStatusAsksTheIndex)
{
    CommittedSite site;
    site.folder.write("drafts/idea.html", "idea");
    using FolderKind = GitStatusService::TrackedFolderStatus::Kind;
    EXPECT_EQ(GitStatusService::trackedFolderStatus(site.folder.path(), "").kind, FolderKind::tracked);
    EXPECT_EQ(GitStatusService::trackedFolderStatus(site.folder.path(), "drafts").kind, FolderKind::untracked);
    EXPECT_EQ(GitStatusService::trackedFolderStatus(site.folder.path(), "missing").kind, FolderKind::untracked);
}

TEST(GitStatusService, AddFileToTrackingAddsOnlyThatFile)
{
    CommittedSite site;
    auto page = site.folder.write("new.html", "new");
    site.folder.write("other.html", "other");

    EXPECT_TRUE(GitStatusService::addFileToTracking(site.folder.path(), page).succeeded);
    EXPECT_TRUE(site.repository.indexHolds("new.html"));
    EXPECT_FALSE(site.repository.indexHolds("other.html"));
}

TEST(GitStatusService, RestoreWritesTheCommittedText)
{
    CommittedSite site;
    site.folder.write("index.html", "<h1>Edited</h1>\n");
    auto result = GitStatusService::restoreFileFromHEAD(site.folder.path(), site.folder.path() / "index.html");
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.text, "<h1>Home</h1>\n");
    EXPECT_EQ(site.folder.read("index.html"), "<h1>Home</h1>\n");
}

TEST(GitStatusService, RestoringAFileHeadLacksFailsWithGitsOwnMessage)
{
    CommittedSite site;
    auto page = site.folder.write("new.html", "keep me");
    auto result = GitStatusService::restoreFileFromHEAD(site.folder.path(), page);
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.message, "fatal: path 'new.html' exists on disk, but not in 'HEAD'");
    EXPECT_EQ(site.folder.read("new.html"), "keep me");
}

TEST(GitStatusService, RestoringNonUTF8ContentWritesAnEmptyFile)
{
    CommittedSite site;
    site.folder.write("latin1.txt", "caf\xe9\n");
    site.repository.commitAll("Latin-1 text");
    site.folder.write("latin1.txt", "changed");

    auto result = GitStatusService::restoreFileFromHEAD(site.folder.path(), site.folder.path() / "latin1.txt");
    // Git's output can't be decoded, which isn't an error: the text is empty and so is the file.
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.text, "");
    EXPECT_EQ(site.folder.read("latin1.txt"), "");
}
