#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using QuilloryTest::runChildProcess;
using QuilloryTest::TemporaryDirectory;

namespace {

TEST(IndexCommand, PrintsTheTagsInIndexOrderAsJSON)
{
    TemporaryDirectory folder;
    // U+1F600 counts two UTF-16 units in every range.
    auto file = folder.write("page.html", "\xF0\x9F\x98\x80<p id=\"Intro\" class=\"Lead big\">Hi <b>th\xF0\x9F\x98\x80re</b></p>\n<br>");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "index", file.string() });
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, R"([
  {
    "ancestorTags": [
      "p"
    ],
    "attributes": {},
    "classes": [],
    "fullRange": [
      36,
      13
    ],
    "innerText": "th)" "\xF0\x9F\x98\x80" R"(re",
    "innerTextRange": [
      39,
      6
    ],
    "siblingIndex": 0,
    "tagName": "b"
  },
  {
    "ancestorTags": [],
    "attributes": {
      "class": {
        "value": "Lead big",
        "valueRange": [
          23,
          8
        ]
      },
      "id": {
        "value": "Intro",
        "valueRange": [
          9,
          5
        ]
      }
    },
    "classes": [
      "Lead",
      "big"
    ],
    "fullRange": [
      2,
      51
    ],
    "innerText": "Hi th)" "\xF0\x9F\x98\x80" R"(re",
    "innerTextRange": [
      33,
      16
    ],
    "siblingIndex": 0,
    "tagName": "p"
  },
  {
    "ancestorTags": [],
    "attributes": {},
    "classes": [],
    "fullRange": [
      54,
      4
    ],
    "innerText": null,
    "innerTextRange": null,
    "siblingIndex": 0,
    "tagName": "br"
  }
]
)");
}

TEST(IndexCommand, TextWithoutTagsGivesAnEmptyArray)
{
    TemporaryDirectory folder;
    auto file = folder.write("notes.txt", "a < b, <!-- no end");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "index", file.string() });
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "[]\n");
}

TEST(IndexCommand, MissingFileFailsNamingIt)
{
    TemporaryDirectory folder;
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "index", (folder.path() / "gone.html").string() });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError.find("\xE2\x80\x9Cgone.html\xE2\x80\x9D couldn\xE2\x80\x99t be opened"), std::string::npos)
        << result.standardError;
}

TEST(IndexCommand, NonUTF8FileFailsAndStaysUntouched)
{
    TemporaryDirectory folder;
    auto file = folder.write("latin1.html", "<p>caf\xE9</p>\n");
    auto result = runChildProcess({ QUILLORY_CLI_PATH, "index", file.string() });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError.find("\xE2\x80\x9Clatin1.html\xE2\x80\x9D"), std::string::npos) << result.standardError;
    EXPECT_NE(result.standardError.find("isn\xE2\x80\x99t valid UTF-8"), std::string::npos) << result.standardError;
    EXPECT_EQ(folder.read("latin1.html"), "<p>caf\xE9</p>\n");
}

TEST(IndexCommand, WrongArgumentsPrintTheUsage)
{
    auto none = runChildProcess({ QUILLORY_CLI_PATH, "index" });
    EXPECT_EQ(none.exitStatus, 1);
    EXPECT_NE(none.standardError.find("usage: quillory-cli index FILE"), std::string::npos) << none.standardError;
    auto two = runChildProcess({ QUILLORY_CLI_PATH, "index", "a.html", "b.html" });
    EXPECT_EQ(two.exitStatus, 1);
    EXPECT_NE(two.standardError.find("expected FILE"), std::string::npos) << two.standardError;
}

}
