#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using QuilloryTest::runChildProcess;
using QuilloryTest::TemporaryDirectory;

namespace {

TEST(DiffCommand, PrintsTheWholeFileUnderTheNewFilePath)
{
    TemporaryDirectory folder;
    auto oldFile = folder.write("opened.html", "<h1>Home</h1>\n<p>old</p>\n<p>end</p>\n");
    auto newFile = folder.write("site/index.html", "<h1>Home</h1>\n<p>new</p>\n<p>end</p>\n");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "diff", oldFile.string(), newFile.string() });
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput,
              "--- " + newFile.string() + " (opened)\n"
              "+++ " + newFile.string() + " (current)\n"
              "@@\n"
              " <h1>Home</h1>\n"
              "-<p>old</p>\n"
              "+<p>new</p>\n"
              " <p>end</p>\n"
              " \n");
    EXPECT_EQ(result.standardError, "");
}

TEST(DiffCommand, ShowsTheGivenPath)
{
    TemporaryDirectory folder;
    auto oldFile = folder.write("a.html", "caf\xC3\xA9\r\n");
    auto newFile = folder.write("b.html", "caf\xC3\xA9 \xF0\x9F\x98\x80\r\n");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "diff", oldFile.string(), newFile.string(), "--path", "docs/caf\xC3\xA9.html" });
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput,
              "--- docs/caf\xC3\xA9.html (opened)\n"
              "+++ docs/caf\xC3\xA9.html (current)\n"
              "@@\n"
              "-caf\xC3\xA9\r\n"
              "+caf\xC3\xA9 \xF0\x9F\x98\x80\r\n"
              " \n");
}

TEST(DiffCommand, EqualFilesHaveNoChanges)
{
    TemporaryDirectory folder;
    auto oldFile = folder.write("a.html", "<p>same</p>\n");
    auto newFile = folder.write("b.html", "<p>same</p>\n");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "diff", oldFile.string(), newFile.string() });
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "No changes from opened baseline.\n");
}

TEST(DiffCommand, MissingFileFailsNamingIt)
{
    TemporaryDirectory folder;
    auto newFile = folder.write("b.html", "<p>new</p>\n");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "diff", (folder.path() / "gone.html").string(), newFile.string() });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError.find("\xE2\x80\x9Cgone.html\xE2\x80\x9D couldn\xE2\x80\x99t be opened"), std::string::npos)
        << result.standardError;
}

TEST(DiffCommand, NonUTF8FileFailsAndStaysUntouched)
{
    TemporaryDirectory folder;
    auto oldFile = folder.write("a.html", "<p>old</p>\n");
    auto newFile = folder.write("latin1.html", "<p>caf\xE9</p>\n");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "diff", oldFile.string(), newFile.string() });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError.find("\xE2\x80\x9Clatin1.html\xE2\x80\x9D"), std::string::npos) << result.standardError;
    EXPECT_NE(result.standardError.find("isn\xE2\x80\x99t valid UTF-8"), std::string::npos) << result.standardError;
    EXPECT_EQ(folder.read("latin1.html"), "<p>caf\xE9</p>\n");
}

TEST(DiffCommand, WrongArgumentsPrintTheUsage)
{
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "diff", "only-one.html" });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.standardError.find("usage: quillory-cli diff OLD_FILE NEW_FILE [--path SHOWN_PATH]"), std::string::npos)
        << result.standardError;
    auto unknownOption = runChildProcess({ QUILLORY_CLI_PATH, "diff", "a", "b", "--label", "x" });
    EXPECT_EQ(unknownOption.exitStatus, 1);
    EXPECT_NE(unknownOption.standardError.find("unknown option --label"), std::string::npos) << unknownOption.standardError;
}

}
