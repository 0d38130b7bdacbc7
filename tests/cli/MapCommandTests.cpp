#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using nlohmann::json;
using QuilloryTest::runChildProcess;
using QuilloryTest::TemporaryDirectory;

namespace {

json wireRecord(const std::string& tagName, const std::optional<std::string>& text, json attributes = json::object())
{
    json record = {
        { "tagName", tagName },
        { "rect", { { "x", 10 }, { "y", 10 }, { "width", 100 }, { "height", 20 } } },
        { "classList", json::array() },
        { "attributes", attributes },
        { "ancestorTags", { "body", "html" } },
        { "ancestorSignatures", { "body", "html" } },
        { "siblingIndex", 0 },
        { "isVisible", true },
    };
    if (text)
        record["textSnippet"] = *text;
    return record;
}

json candidate(const std::string& kind, const std::string& label, const std::string& confidence, json sourceRange, double overlap, const std::string& reason)
{
    return { { "kind", kind }, { "label", label }, { "confidence", confidence }, { "sourceRange", sourceRange }, { "overlapFraction", overlap },
             { "reason", reason } };
}

json range(const std::string& path, int start, int length)
{
    return { { "pageRelativePath", path }, { "utf16Start", start }, { "utf16Length", length } };
}

}

TEST(MapCommand, PrintsTheRankedCandidatesOfTheRecords)
{
    TemporaryDirectory folder;
    auto page = folder.write("site/index.html", "<body><a href=\"x\" class=\"y\">z</a><span>gone</span></body>");
    auto records = folder.write("records.json",
                                json::array({ wireRecord("a", "z", { { "href", "x" }, { "class", "y" } }), wireRecord("p", "Added") }).dump());
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "map", page.string(), "--records", records.string(), "--fence", "0,0,60,40" });
    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardError, "");
    auto expected = json { { "candidates",
                             {
                                 candidate("link", "z", "editableSource", range("index.html", 28, 1), 0.5, "Single <a> match with verified text content."),
                                 candidate("link", "@href=\"x\"", "editableAttribute", range("index.html", 15, 1), 0.5, "Matched <a> with editable @href."),
                                 candidate("classAttribute", "@class=\"y\"", "editableAttribute", range("index.html", 25, 1), 0.5,
                                           "Matched <a> with editable @class."),
                                 candidate("container", "<body>", "container", range("index.html", 0, 57), 0.5,
                                           "No source tag matched this rendered element; treating it as runtime-generated content inside nearest "
                                           "source-backed container <body>."),
                             } } };
    EXPECT_EQ(json::parse(result.standardOutput), expected) << result.standardOutput;
    // One document, two-space indent, a final line feed.
    EXPECT_EQ(result.standardOutput, expected.dump(2) + "\n");
}

TEST(MapCommand, PagePathOptionNamesTheSourceRanges)
{
    TemporaryDirectory folder;
    auto page = folder.write("index.html", "<h1>Title</h1>");
    auto records = folder.write("records.json", json::array({ wireRecord("h1", "Title") }).dump());
    auto result = runChildProcess(
        { QUILLORY_CLI_PATH, "map", page.string(), "--records", records.string(), "--fence", "0,0,800,600", "--page", "docs/guide.html" });
    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
    auto output = json::parse(result.standardOutput);
    EXPECT_EQ(output["candidates"][0]["sourceRange"], range("docs/guide.html", 4, 5));
    EXPECT_EQ(output["candidates"][0]["overlapFraction"], 1.0);
}

TEST(MapCommand, CandidateWithoutSourcePrintsNullRange)
{
    TemporaryDirectory folder;
    auto page = folder.write("empty.html", "");
    auto records = folder.write("records.json", json::array({ wireRecord("script", std::nullopt), wireRecord("p", "Hello") }).dump());
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "map", page.string(), "--records", records.string(), "--fence", "0,0,800,600" });
    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
    auto expected = json { { "candidates",
                             {
                                 candidate("text", "Hello", "renderedOnly", nullptr, 1.0, "No <p> in source matched this rendered element."),
                                 candidate("unknown", "<script>", "generatedOrExternal", nullptr, 1.0, "Element is generated or external (script)."),
                             } } };
    EXPECT_EQ(json::parse(result.standardOutput), expected);
}

TEST(MapCommand, EmptyRecordListPrintsNoCandidates)
{
    TemporaryDirectory folder;
    auto page = folder.write("index.html", "<p>x</p>");
    auto records = folder.write("records.json", "[]");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "map", page.string(), "--records", records.string(), "--fence", "0,0,1,1" });
    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "{\n  \"candidates\": []\n}\n");
}

TEST(MapCommand, MalformedRecordsFailNamingTheFile)
{
    TemporaryDirectory folder;
    auto page = folder.write("index.html", "<p>x</p>");
    auto record = wireRecord("p", "x");
    record.erase("isVisible");
    auto records = folder.write("records.json", json::array({ record }).dump());
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "map", page.string(), "--records", records.string(), "--fence", "0,0,1,1" });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError, "\u201Crecords.json\u201D holds no valid records: key \"isVisible\" not found\n");
    EXPECT_EQ(folder.read("records.json"), json::array({ record }).dump());
}

TEST(MapCommand, BadFenceIsAUsageError)
{
    TemporaryDirectory folder;
    auto page = folder.write("index.html", "<p>x</p>");
    auto records = folder.write("records.json", "[]");
    for (auto fence : { "0,0,1", "0,0,1,1,1", "a,0,1,1", "0,,1,1", "0,0,1,1x" }) {
        auto result = runChildProcess({ QUILLORY_CLI_PATH, "map", page.string(), "--records", records.string(), "--fence", fence });
        EXPECT_EQ(result.exitStatus, 1) << fence;
        EXPECT_NE(result.standardError.find("--fence needs four numbers X,Y,W,H"), std::string::npos) << result.standardError;
        EXPECT_NE(result.standardError.find("usage: quillory-cli map FILE --records RECORDS_JSON --fence X,Y,W,H [--page PAGE_PATH]"),
                  std::string::npos);
    }
}

TEST(MapCommand, MissingOptionsAreUsageErrors)
{
    TemporaryDirectory folder;
    auto page = folder.write("index.html", "<p>x</p>");
    auto records = folder.write("records.json", "[]");
    auto withoutRecords = runChildProcess({ QUILLORY_CLI_PATH, "map", page.string(), "--fence", "0,0,1,1" });
    EXPECT_EQ(withoutRecords.exitStatus, 1);
    EXPECT_NE(withoutRecords.standardError.find("--records RECORDS_JSON is required"), std::string::npos);
    auto withoutFence = runChildProcess({ QUILLORY_CLI_PATH, "map", page.string(), "--records", records.string() });
    EXPECT_EQ(withoutFence.exitStatus, 1);
    EXPECT_NE(withoutFence.standardError.find("--fence X,Y,W,H is required"), std::string::npos);
    auto withoutFile = runChildProcess({ QUILLORY_CLI_PATH, "map", "--records", records.string(), "--fence", "0,0,1,1" });
    EXPECT_EQ(withoutFile.exitStatus, 1);
    EXPECT_NE(withoutFile.standardError.find("expected one FILE"), std::string::npos);
}

TEST(MapCommand, MissingPageFailsWithTheReadError)
{
    TemporaryDirectory folder;
    auto records = folder.write("records.json", "[]");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "map", (folder.path() / "gone.html").string(), "--records", records.string(), "--fence", "0,0,1,1" });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError.find("gone.html"), std::string::npos) << result.standardError;
}
