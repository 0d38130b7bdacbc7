#include "QuilloryCore/Git/FileGitSnapshot.h"
#include "QuilloryCore/Git/GitStatusSnapshot.h"

#include <gtest/gtest.h>

using namespace Quillory;

TEST(GitStatusSnapshot, FixedStatesHaveTheirTitleAndDetail)
{
    EXPECT_EQ(GitStatusSnapshot::noWorkspace().title(), "No workspace");
    EXPECT_EQ(GitStatusSnapshot::noWorkspace().detail(), "Open a local site folder.");
    EXPECT_EQ(GitStatusSnapshot::loading().title(), "Checking Git");
    EXPECT_EQ(GitStatusSnapshot::loading().detail(), "Reading repository status.");
    EXPECT_EQ(GitStatusSnapshot::notRepository().title(), "Not a Git repo");
    EXPECT_EQ(GitStatusSnapshot::notRepository().detail(), "The selected folder is not inside a Git repository.");
    EXPECT_EQ(GitStatusSnapshot::clean().title(), "Git clean");
    EXPECT_EQ(GitStatusSnapshot::clean().detail(), "No tracked or untracked changes.");
    EXPECT_EQ(GitStatusSnapshot::unavailable("fatal: broken").title(), "Git unavailable");
    EXPECT_EQ(GitStatusSnapshot::unavailable("fatal: broken").detail(), "fatal: broken");
}

TEST(GitStatusSnapshot, FiveChangesCountAllAndShowThreeLines)
{
    auto snapshot = GitStatusSnapshot::dirty({ " M a.html", "?? b.html", "A  c.html", " D d.html", "?? e.html" });
    EXPECT_EQ(snapshot.title(), "5 Git changes");
    EXPECT_EQ(snapshot.detail(), " M a.html\n?? b.html\nA  c.html");
}

TEST(GitStatusSnapshot, OneChangeIsSingular)
{
    auto snapshot = GitStatusSnapshot::dirty({ "?? new.html" });
    EXPECT_EQ(snapshot.title(), "1 Git change");
    EXPECT_EQ(snapshot.detail(), "?? new.html");
}

TEST(GitStatusSnapshot, TwoChangesShowBothLines)
{
    EXPECT_EQ(GitStatusSnapshot::dirty({ " M a.html", " M b.html" }).detail(), " M a.html\n M b.html");
}

TEST(GitStatusSnapshot, NeutralInitialValueIsNoWorkspace)
{
    EXPECT_EQ(GitStatusSnapshot {}, GitStatusSnapshot::noWorkspace());
    EXPECT_NE(GitStatusSnapshot::dirty({ "a" }), GitStatusSnapshot::dirty({ "b" }));
}

TEST(FileGitSnapshot, NoSelectionIsUnavailableWithEmptyPaths)
{
    auto snapshot = FileGitSnapshot::noSelection();
    EXPECT_EQ(snapshot.workspaceRelativePath, "");
    EXPECT_EQ(snapshot.repoRelativePath, "");
    EXPECT_EQ(snapshot.currentFileStatus.kind, FileGitSnapshot::FileState::Kind::unavailable);
    EXPECT_EQ(snapshot.currentFileStatus.message, "No page selected.");
    EXPECT_FALSE(snapshot.currentStatusEntry);
    EXPECT_TRUE(snapshot.otherStatusEntries.empty());
    EXPECT_TRUE(snapshot.history.empty());
}
