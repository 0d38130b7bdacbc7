#include "QuilloryCore/Text/FileDescriptor.h"
#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;

namespace {

struct RoundTripCase {
    const char* name;
    std::string bytes;
};

void PrintTo(const RoundTripCase& testCase, std::ostream* stream)
{
    *stream << testCase.name;
}

class TextRoundTrip : public testing::TestWithParam<RoundTripCase> { };

TEST_P(TextRoundTrip, ReadThenWriteGivesTheSameBytes)
{
    TemporaryDirectory folder;
    auto path = folder.write("page.html", GetParam().bytes);
    auto text = TextFile::readUTF8(path);
    TextFile::writeUTF8Atomically(path, text);
    EXPECT_EQ(folder.read("page.html"), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Texts, TextRoundTrip,
    testing::Values(
        RoundTripCase { "CRLF", "<p>one</p>\r\n<p>two</p>\r\n" },
        RoundTripCase { "ByteOrderMark", "\xEF\xBB\xBF<h1>Title</h1>\n" },
        RoundTripCase { "NoBreakSpace", "a\xC2\xA0" "b\n" },
        RoundTripCase { "Astral", "<p>\xF0\x9F\x98\x80 and \xF0\x9D\x84\x9E</p>\n" },
        RoundTripCase { "NoFinalNewline", "<p>last line</p>" },
        RoundTripCase { "Empty", "" }),
    [](const testing::TestParamInfo<RoundTripCase>& testCase) { return std::string(testCase.param.name); });

TEST(TextFile, ByteOrderMarkIsKeptAsACharacter)
{
    TemporaryDirectory folder;
    auto text = TextFile::readUTF8(folder.write("a.html", "\xEF\xBB\xBFx"));
    ASSERT_EQ(text.size(), 2u);
    EXPECT_EQ(text[0], u'\uFEFF');
}

TEST(TextFile, AstralCharactersAreTwoCodeUnits)
{
    TemporaryDirectory folder;
    auto text = TextFile::readUTF8(folder.write("a.html", "\xF0\x9F\x98\x80"));
    EXPECT_EQ(text.size(), 2u);
}

TEST(TextFile, InvalidUTF8IsAReadErrorNamingTheFile)
{
    TemporaryDirectory folder;
    auto path = folder.write("latin1.html", "caf\xE9");
    try {
        TextFile::readUTF8(path);
        FAIL() << "expected a read error";
    } catch (const FileReadError& error) {
        EXPECT_NE(std::string(error.what()).find("latin1.html"), std::string::npos) << error.what();
        EXPECT_NE(std::string(error.what()).find("UTF-8"), std::string::npos) << error.what();
    }
}

TEST(TextFile, EncodedSurrogatesAreInvalid)
{
    TemporaryDirectory folder;
    EXPECT_THROW(TextFile::readUTF8(folder.write("s.html", "\xED\xA0\x80")), FileReadError);
}

TEST(TextFile, MissingFileCarriesTheSystemReason)
{
    TemporaryDirectory folder;
    try {
        TextFile::readUTF8(folder.path() / "gone.html");
        FAIL();
    } catch (const FileReadError& error) {
        EXPECT_NE(std::string(error.what()).find("No such file or directory"), std::string::npos) << error.what();
    }
}

TEST(AtomicWrite, KeepsPermissionBits)
{
    TemporaryDirectory folder;
    auto path = folder.write("script.sh", "old");
    ASSERT_EQ(::chmod(path.c_str(), 0751), 0);
    TextFile::writeUTF8Atomically(path, u"new");
    struct stat info { };
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0751u);
    EXPECT_EQ(folder.read("script.sh"), "new");
}

TEST(AtomicWrite, FailedWriteLeavesTheOriginalAndNoTemporaryFile)
{
    TemporaryDirectory folder;
    folder.write("site/page.html", "original");
    // The target's folder vanishes: as root, permission bits would not stop the write.
    auto missing = folder.path() / "elsewhere" / "page.html";
    EXPECT_THROW(TextFile::writeUTF8Atomically(missing, u"new"), FileWriteError);
    EXPECT_EQ(folder.read("site/page.html"), "original");
    std::size_t entries = 0;
    for ([[maybe_unused]] auto& entry : std::filesystem::directory_iterator(folder.path() / "site"))
        ++entries;
    EXPECT_EQ(entries, 1u);
}

TEST(AtomicWrite, AFolderInTheFilesPlaceIsNotReplaced)
{
    TemporaryDirectory folder;
    folder.write("page.html/inner.txt", "kept");
    EXPECT_THROW(TextFile::writeUTF8Atomically(folder.path() / "page.html", u"new"), FileWriteError);
    EXPECT_EQ(folder.read("page.html/inner.txt"), "kept");
}

TEST(AtomicWrite, ReadOnlyTargetFailsWhenPermissionsApply)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root ignores permission bits; the folder-based tests cover failure";
    TemporaryDirectory folder;
    auto path = folder.write("locked.html", "original");
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    EXPECT_THROW(TextFile::writeUTF8Atomically(path, u"new"), FileWriteError);
    EXPECT_EQ(folder.read("locked.html"), "original");
}

TEST(AtomicWrite, NewFileIsCreated)
{
    TemporaryDirectory folder;
    TextFile::writeUTF8Atomically(folder.path() / "new.html", u"\u00e9");
    EXPECT_EQ(folder.read("new.html"), "\xC3\xA9");
}

}

namespace {

TEST(TextFile, ReadingIntoOneBufferGivesEachFileExactly)
{
    TemporaryDirectory folder;
    std::string large(100000, 'x');
    large[777] = '\0';
    folder.write("large.html", large);
    folder.write("small.html", "<p>small</p>");
    folder.write("empty.html", "");

    std::string buffer = "left over";
    TextFile::readBytes(folder.path() / "large.html", buffer);
    EXPECT_EQ(buffer, large);
    TextFile::readBytes(folder.path() / "small.html", buffer);
    EXPECT_EQ(buffer, "<p>small</p>");
    TextFile::readBytes(folder.path() / "empty.html", buffer);
    EXPECT_EQ(buffer, "");
    EXPECT_EQ(TextFile::readBytes(folder.path() / "large.html"), large);
}

// Files whose size the system doesn't know in advance are read to their end.
TEST(TextFile, FileWithoutAKnownSizeIsReadWhole)
{
    auto status = TextFile::readBytes("/proc/self/status");
    EXPECT_NE(status.find("Name:"), std::string::npos);
    EXPECT_NE(status.find("VmRSS:"), std::string::npos);
}

TEST(TextFile, ReadingIntoABufferFailsWithTheSystemReason)
{
    TemporaryDirectory folder;
    std::string buffer;
    EXPECT_THROW(TextFile::readBytes(folder.path() / "gone.html", buffer), FileReadError);
    EXPECT_THROW(TextFile::readBytes(folder.path(), buffer), FileReadError);
}

}

namespace {

TEST(TextFile, ReadingByNameInAnOpenFolderGivesTheFileAndNamesItInErrors)
{
    TemporaryDirectory folder;
    folder.write("docs/page.html", "<h1>Page</h1>");
    FileDescriptor docs(::open((folder.path() / "docs").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_GE(docs.get(), 0);
    std::string buffer;
    TextFile::readBytesAt(docs.get(), "page.html", folder.path() / "docs/page.html", buffer);
    EXPECT_EQ(buffer, "<h1>Page</h1>");
    try {
        TextFile::readBytesAt(docs.get(), "gone.html", folder.path() / "docs/gone.html", buffer);
        FAIL();
    } catch (const FileReadError& error) {
        EXPECT_NE(std::string(error.what()).find("\u201Cgone.html\u201D"), std::string::npos) << error.what();
        EXPECT_NE(std::string(error.what()).find("No such file or directory"), std::string::npos) << error.what();
    }
}

}
