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

namespace {

TEST(HighlightCommand, GrammarPathColoursByTheDocumentPath)
{
    TemporaryDirectory folder;
    auto file = folder.write("a.css", "/* c */\np { color: #fff; }\n");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "highlight", file.string() });
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    // The colour is a string.special and its "#" a punctuation.delimiter at the same start:
    // the earlier pattern comes first.
    auto expected = R"({"spans":[{"kind":"comment","range":[0,7]},{"kind":"tagName","range":[8,1]},)"
                    R"({"kind":"property","range":[12,5]},{"kind":"punctuation","range":[17,1]},)"
                    R"({"kind":"string","range":[19,4]},{"kind":"punctuation","range":[19,1]}],"foldRegions":[]})";
    EXPECT_EQ(nlohmann::ordered_json::parse(result.standardOutput).dump(), expected);

    // Another path decides the language: a text file gets the HTML scanner, which finds nothing here.
    auto asText = runChildProcess({ QUILLORY_CLI_PATH, "highlight", file.string(), "--path", "notes.txt" });
    EXPECT_EQ(nlohmann::ordered_json::parse(asText.standardOutput).dump(), R"({"spans":[],"foldRegions":[]})");
}

TEST(HighlightCommand, HTMLPageGetsInjectedCSSAndFolds)
{
    TemporaryDirectory folder;
    auto file = folder.write("site/index.html", "<div>\n<style>p{}</style>\n</div>");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "highlight", file.string() });
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    auto expected = R"({"spans":[{"kind":"punctuation","range":[0,1]},{"kind":"tagName","range":[1,3]},)"
                    R"({"kind":"punctuation","range":[4,1]},{"kind":"punctuation","range":[6,1]},)"
                    R"({"kind":"tagName","range":[7,5]},{"kind":"punctuation","range":[12,1]},)"
                    R"({"kind":"punctuation","range":[16,2]},{"kind":"tagName","range":[18,5]},)"
                    R"({"kind":"punctuation","range":[23,1]},{"kind":"punctuation","range":[25,2]},)"
                    R"({"kind":"tagName","range":[27,3]},{"kind":"punctuation","range":[30,1]},)"
                    R"({"kind":"tagName","range":[13,1]}],)"
                    R"("foldRegions":[{"id":"div-0-31","tagName":"div","fullRange":[0,31],"hiddenRange":[5,20],)"
                    R"("startLine":1,"endLine":3}]})";
    EXPECT_EQ(nlohmann::ordered_json::parse(result.standardOutput).dump(), expected);
}

}
