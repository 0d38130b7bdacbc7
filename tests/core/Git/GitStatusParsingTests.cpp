#include "QuilloryCore/Git/GitStatusParsing.h"

#include <gtest/gtest.h>

using namespace Quillory;
using Kind = FileGitSnapshot::FileState::Kind;

namespace {

struct FileStateCase {
    const char* line;
    Kind expected;
};

void PrintTo(const FileStateCase& testCase, std::ostream* stream)
{
    *stream << '"' << testCase.line << '"';
}

class GitFileStateOrder : public testing::TestWithParam<FileStateCase> { };

TEST_P(GitFileStateOrder, CodeGivesState)
{
    EXPECT_EQ(GitStatusParsing::fileState(GetParam().line), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(StatusCodes, GitFileStateOrder,
    testing::Values(FileStateCase { " M page.html", Kind::modified }, FileStateCase { "M  page.html", Kind::modified },
        FileStateCase { "MM page.html", Kind::modified }, FileStateCase { "R  old.html -> new.html", Kind::modified },
        FileStateCase { "C  a.html -> b.html", Kind::modified }, FileStateCase { " T page.html", Kind::modified },
        FileStateCase { "?? page.html", Kind::untracked }, FileStateCase { "A  page.html", Kind::added },
        FileStateCase { "AM page.html", Kind::added }, FileStateCase { "AD page.html", Kind::added },
        FileStateCase { " D page.html", Kind::deleted }, FileStateCase { "D  page.html", Kind::deleted },
        FileStateCase { "UU page.html", Kind::conflicted }, FileStateCase { "AU page.html", Kind::conflicted },
        FileStateCase { "DU page.html", Kind::conflicted }, FileStateCase { "AA page.html", Kind::added },
        FileStateCase { "", Kind::modified }, FileStateCase { "x", Kind::modified }));

}

TEST(GitStatusParsing, LinesDropEmptyOnes)
{
    EXPECT_EQ(GitStatusParsing::lines(" M a.html\n\n?? b.html\n"), (std::vector<std::string> { " M a.html", "?? b.html" }));
    EXPECT_TRUE(GitStatusParsing::lines("").empty());
    EXPECT_TRUE(GitStatusParsing::lines("\n\n").empty());
}

TEST(GitStatusParsing, StatusLinePathFollowsTheFirstThreeCharacters)
{
    EXPECT_EQ(GitStatusParsing::statusLinePath(" M blog/post.html"), "blog/post.html");
    EXPECT_EQ(GitStatusParsing::statusLinePath("?? \"my page.html\""), "\"my page.html\"");
    EXPECT_EQ(GitStatusParsing::statusLinePath("??"), "");
    EXPECT_EQ(GitStatusParsing::statusLinePath("?? "), "");
}

TEST(GitStatusParsing, OtherEntriesLeaveOutTheFileItself)
{
    std::vector<std::string> lines { " M site/index.html", "?? notes.txt", " M site/about.html" };
    EXPECT_EQ(GitStatusParsing::otherStatusEntries(lines, "site/index.html"), (std::vector<std::string> { "?? notes.txt", " M site/about.html" }));
}

TEST(GitStatusParsing, RenameWithTheFileOnEitherSideIsNotListed)
{
    std::vector<std::string> lines { "R  old.html -> index.html", "R  index.html -> moved.html", "R  a.html -> b.html" };
    EXPECT_EQ(GitStatusParsing::otherStatusEntries(lines, "index.html"), (std::vector<std::string> { "R  a.html -> b.html" }));
}

TEST(GitStatusParsing, StatusLineShorterThanThreeCharactersStaysInOtherEntries)
{
    std::vector<std::string> lines { "M", " M index.html" };
    EXPECT_EQ(GitStatusParsing::otherStatusEntries(lines, "index.html"), (std::vector<std::string> { "M" }));
}

TEST(GitStatusParsing, QuotedPathIsComparedAsItStands)
{
    // Git quotes a path with blanks; the unquoted repository path does not match it.
    std::vector<std::string> lines { "?? \"my page.html\"" };
    EXPECT_EQ(GitStatusParsing::otherStatusEntries(lines, "my page.html"), lines);
    EXPECT_TRUE(GitStatusParsing::otherStatusEntries(lines, "\"my page.html\"").empty());
}

TEST(GitStatusParsing, HistoryLinesSplitAtTheFirstTab)
{
    auto entries = GitStatusParsing::historyEntries("abc1234\tSecond\tpart\ndef5678\tFirst\n");
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0], (GitHistoryEntry { "abc1234", "Second\tpart" }));
    EXPECT_EQ(entries[1], (GitHistoryEntry { "def5678", "First" }));
}

TEST(GitStatusParsing, HistoryDropsLinesWithoutTwoNonEmptyParts)
{
    auto entries = GitStatusParsing::historyEntries("abc1234\t\nnotab\n\tsubject only\nfff0000\tKept");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0], (GitHistoryEntry { "fff0000", "Kept" }));
}

TEST(GitStatusParsing, RelativePathBelowTheRoot)
{
    EXPECT_EQ(GitStatusParsing::relativePath("/repo/site/blog/post.html", "/repo"), "site/blog/post.html");
    EXPECT_EQ(GitStatusParsing::relativePath("/repo/site/./blog/../index.html", "/repo/"), "site/index.html");
    EXPECT_EQ(GitStatusParsing::relativePath("/repo/my page.html", "/repo"), "my page.html");
}

TEST(GitStatusParsing, RelativePathOutsideTheRootIsTheLastComponent)
{
    EXPECT_EQ(GitStatusParsing::relativePath("/other/place/page.html", "/repo"), "page.html");
    // A sibling whose name starts with the root's name is not below it.
    EXPECT_EQ(GitStatusParsing::relativePath("/repository/page.html", "/repo"), "page.html");
    EXPECT_EQ(GitStatusParsing::relativePath("/repo", "/repo"), "repo");
}

TEST(GitStatusParsing, FolderPathspec)
{
    EXPECT_EQ(GitStatusParsing::folderPathspec(""), ".");
    EXPECT_EQ(GitStatusParsing::folderPathspec("/"), ".");
    EXPECT_EQ(GitStatusParsing::folderPathspec("blog"), "blog/");
    EXPECT_EQ(GitStatusParsing::folderPathspec("/docs//guide/"), "docs/guide/");
}
