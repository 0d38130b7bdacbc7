#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/Text/TextFileFingerprint.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <thread>

using namespace Quillory;
using namespace QuilloryTest;

TEST(TextFileFingerprint, WrittenTextMatchesTheFileUntilItsBytesChange)
{
    TemporaryDirectory folder;
    auto path = folder.path() / "index.html";
    auto written = TextFile::writeFingerprintedUTF8Atomically(path, u"<h1>Caf\u00e9</h1>\n");
    EXPECT_TRUE(written.exists);
    EXPECT_EQ(written.size, 15u);
    EXPECT_TRUE(TextFileFingerprint::current(path).hasSameContent(written));

    // Same size, other bytes.
    folder.write("index.html", "<h1>Cafe!</h1>\n\n");
    EXPECT_EQ(TextFileFingerprint::current(path).size, 16u);
    EXPECT_FALSE(TextFileFingerprint::current(path).hasSameContent(written));
    auto sameSize = TextFile::writeFingerprintedUTF8Atomically(path, u"aaaa");
    folder.write("index.html", "bbbb");
    EXPECT_FALSE(TextFileFingerprint::current(path).hasSameContent(sameSize));
}

TEST(TextFileFingerprint, RewritingTheSameBytesIsNoChange)
{
    TemporaryDirectory folder;
    auto path = folder.write("page.html", "<p>same</p>");
    auto read = TextFile::readFingerprintedUTF8(path);
    EXPECT_EQ(read.text, u"<p>same</p>");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    folder.write("page.html", "<p>same</p>");
    auto now = TextFileFingerprint::current(path);
    EXPECT_TRUE(now.hasSameContent(read.fingerprint));
    EXPECT_NE(now.modificationTimeNanoseconds, 0);
}

TEST(TextFileFingerprint, AMissingFileIsAbsentAndDiffersFromAnyWrittenOne)
{
    TemporaryDirectory folder;
    auto path = folder.path() / "gone.html";
    auto absent = TextFileFingerprint::current(path);
    EXPECT_FALSE(absent.exists);
    EXPECT_TRUE(absent.hasSameContent(TextFileFingerprint {}));
    auto written = TextFile::writeFingerprintedUTF8Atomically(path, u"");
    EXPECT_TRUE(written.exists);
    EXPECT_FALSE(absent.hasSameContent(written));
    std::filesystem::remove(path);
    EXPECT_FALSE(TextFileFingerprint::current(path).hasSameContent(written));
}

TEST(TextFileFingerprint, InvalidUTF8IsAReadError)
{
    TemporaryDirectory folder;
    auto path = folder.write("latin1.html", "caf\xe9");
    EXPECT_THROW(TextFile::readFingerprintedUTF8(path), FileReadError);
}

TEST(TextFileFingerprint, HashIsFNV1a)
{
    EXPECT_EQ(TextFileFingerprint::hash(""), 14695981039346656037ull);
    EXPECT_EQ(TextFileFingerprint::hash("a"), 0xaf63dc4c8601ec8cull);
}
