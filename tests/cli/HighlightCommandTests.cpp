#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using QuilloryTest::runChildProcess;
using QuilloryTest::TemporaryDirectory;

namespace {

TEST(HighlightCommand, ScannerPrintsSpansAndFoldRegionsInTheirOrder)
{
    TemporaryDirectory folder;
    // U+1F600 counts two UTF-16 units; `.txt` does not matter to the scanner.
    auto file = folder.write("notes.txt", "\xF0\x9F\x98\x80<div>\n&amp;</div>");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "highlight", file.string(), "--scanner" });
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    auto expected = R"({"spans":[{"kind":"tagBracket","range":[2,1]},{"kind":"tagName","range":[3,3]},)"
                    R"({"kind":"tagBracket","range":[6,1]},{"kind":"entity","range":[8,5]},)"
                    R"({"kind":"tagBracket","range":[13,2]},{"kind":"tagName","range":[15,3]},)"
                    R"({"kind":"tagBracket","range":[18,1]}],)"
                    R"("foldRegions":[{"id":"div-2-19","tagName":"div","fullRange":[2,17],"hiddenRange":[7,6],)"
                    R"("startLine":1,"endLine":2}]})";
    EXPECT_EQ(nlohmann::ordered_json::parse(result.standardOutput).dump(), expected);
}

TEST(HighlightCommand, MissingFileIsAClearError)
{
    TemporaryDirectory folder;
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "highlight", (folder.path() / "absent.html").string(), "--scanner" });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.standardError.find("absent.html"), std::string::npos) << result.standardError;
    EXPECT_EQ(result.standardOutput, "");
}

}
