#include "QuilloryCore/Analysis/HTMLSyntaxAnalyzer.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace Quillory {

[[maybe_unused]] static void PrintTo(const HTMLSyntaxSpan& span, std::ostream* stream)
{
    *stream << htmlSyntaxKindName(span.kind) << " {" << span.range.location << ", " << span.range.length << "}";
}

[[maybe_unused]] static void PrintTo(const HTMLFoldRegion& region, std::ostream* stream)
{
    *stream << region.id << " full {" << region.fullRange.location << ", " << region.fullRange.length << "} hidden {"
            << region.hiddenRange.location << ", " << region.hiddenRange.length << "} lines " << region.startLine << "-"
            << region.endLine;
}

}

using namespace Quillory;

namespace {

using K = HTMLSyntaxKind;

std::vector<HTMLSyntaxSpan> spansOf(std::string_view utf8)
{
    return HTMLSyntaxAnalyzer::spans(UnicodeText::utf16(utf8));
}

std::vector<HTMLFoldRegion> regionsOf(std::string_view utf8)
{
    return HTMLSyntaxAnalyzer::foldRegions(UnicodeText::utf16(utf8));
}

struct SpanCase {
    const char* name;
    const char* text;
    std::vector<HTMLSyntaxSpan> expected;
};

// The scanner's rules, quirks included, one input each with every span it must give.
const std::vector<SpanCase> spanCases {
    { "empty text", "", {} },
    { "ampersand among words", "a & b; c", {} },
    { "named entity", "&amp;", { { K::entity, { 0, 5 } } } },
    { "entity without semicolon at the end", "x &amp", {} },
    { "ampersand at the very end", "x &", {} },
    { "numeric entity", "&#169;", { { K::entity, { 0, 6 } } } },
    { "lone hash entity", "&#;", { { K::entity, { 0, 3 } } } },
    { "ampersand semicolon", "&;", {} },
    { "entity ended by another character", "&amp x;", {} },
    { "lone bracket", "<", {} },
    { "lone closing bracket", "</", {} },
    { "digit after bracket", "<1>", {} },
    { "cut-off tag", "<div", { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 3 } } } },
    { "simple element",
      "<p>x</p>",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 1 } }, { K::tagBracket, { 2, 1 } }, { K::tagBracket, { 4, 2 } },
        { K::tagName, { 6, 1 } }, { K::tagBracket, { 7, 1 } } } },
    { "attributes with spaces and a bare attribute",
      "<a href = \"x\" disabled/>",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 1 } }, { K::attributeName, { 3, 4 } }, { K::attributeOperator, { 8, 1 } },
        { K::attributeValue, { 10, 3 } }, { K::attributeName, { 14, 8 } }, { K::tagBracket, { 22, 2 } } } },
    { "unquoted value stopped by a slash",
      "<p a=/b>",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 1 } }, { K::attributeName, { 3, 1 } }, { K::attributeOperator, { 4, 1 } },
        { K::attributeName, { 6, 1 } }, { K::tagBracket, { 7, 1 } } } },
    { "unquoted value keeps an equals sign",
      "<p a=b=c>",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 1 } }, { K::attributeName, { 3, 1 } }, { K::attributeOperator, { 4, 1 } },
        { K::attributeValue, { 5, 3 } }, { K::tagBracket, { 8, 1 } } } },
    { "single-quoted value",
      "<p a='x y'>",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 1 } }, { K::attributeName, { 3, 1 } }, { K::attributeOperator, { 4, 1 } },
        { K::attributeValue, { 5, 5 } }, { K::tagBracket, { 10, 1 } } } },
    { "unterminated quoted value runs to the end",
      "<p a=\"x>",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 1 } }, { K::attributeName, { 3, 1 } }, { K::attributeOperator, { 4, 1 } },
        { K::attributeValue, { 5, 3 } } } },
    { "leading equals sign is stepped over",
      "<p =a>",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 1 } }, { K::attributeName, { 4, 1 } }, { K::tagBracket, { 5, 1 } } } },
    { "comment", "<!-- c -->x", { { K::comment, { 0, 10 } } } },
    { "comment never closed", "<!-- never closed", { { K::comment, { 0, 17 } } } },
    { "comment marker is searched behind the opener", "<!-->a-->", { { K::comment, { 0, 9 } } } },
    { "doctype", "<!DOCTYPE html>\n", { { K::declaration, { 0, 15 } } } },
    { "processing instruction without end", "<?xml", { { K::declaration, { 0, 5 } } } },
    { "cut-off tag is scanned again as text",
      "<a title=&amp;",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 1 } }, { K::attributeName, { 3, 5 } }, { K::attributeOperator, { 8, 1 } },
        { K::attributeValue, { 9, 5 } }, { K::entity, { 9, 5 } } } },
    { "script content is markup too",
      "<script>a<b</script>",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 6 } }, { K::tagBracket, { 7, 1 } }, { K::tagBracket, { 9, 1 } },
        { K::tagName, { 10, 1 } }, { K::attributeName, { 11, 1 } }, { K::attributeName, { 13, 6 } }, { K::tagBracket, { 19, 1 } } } },
    { "form feed is not white space",
      "<p\fa>",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 1 } }, { K::attributeName, { 2, 2 } }, { K::tagBracket, { 4, 1 } } } },
    { "long names and a long value",
      "<custom-element-name data-attribute-name=\"a value that is long enough\" x>",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 19 } }, { K::attributeName, { 21, 19 } }, { K::attributeOperator, { 40, 1 } },
        { K::attributeValue, { 41, 29 } }, { K::attributeName, { 71, 1 } }, { K::tagBracket, { 72, 1 } } } },
    { "long tag name cut off by the end", "<abcdefghijklmnopqrstu", { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 21 } } } },
    { "long unterminated value runs to the end",
      "<p title='one two three four five six",
      { { K::tagBracket, { 0, 1 } }, { K::tagName, { 1, 1 } }, { K::attributeName, { 3, 5 } }, { K::attributeOperator, { 8, 1 } },
        { K::attributeValue, { 9, 28 } } } },
    { "long text between markup",
      "0123456789abcdefghij&amp;0123456789<b>",
      { { K::entity, { 20, 5 } }, { K::tagBracket, { 35, 1 } }, { K::tagName, { 36, 1 } }, { K::tagBracket, { 37, 1 } } } },
    // U+013C, U+0126 and U+013E end in the bytes of "<", "&" and ">"; only whole code units count.
    { "units beyond ASCII are no markup",
      "\xC4\xBC\xC4\xA6\xC4\xBC\xC4\xA6\xC4\xBC\xC4\xA6\xC4\xBC\xC4\xA6\xC4\xBC\xC4\xA6<b\xC4\xBE>",
      { { K::tagBracket, { 10, 1 } }, { K::tagName, { 11, 1 } }, { K::attributeName, { 12, 1 } }, { K::tagBracket, { 13, 1 } } } },
    { "astral characters count two units",
      "\xF0\x9F\x98\x80<b>",
      { { K::tagBracket, { 2, 1 } }, { K::tagName, { 3, 1 } }, { K::tagBracket, { 4, 1 } } } },
};

TEST(HTMLSyntaxAnalyzer, SpanTable)
{
    for (const auto& testCase : spanCases)
        EXPECT_EQ(spansOf(testCase.text), testCase.expected) << testCase.name << ": " << testCase.text;
}

// Three spans for every three code units: more than the result reserves up front, so it grows.
TEST(HTMLSyntaxAnalyzer, DenseMarkupKeepsEverySpan)
{
    std::string page;
    std::vector<HTMLSyntaxSpan> expected;
    for (std::size_t element = 0; element < 20000; ++element) {
        page += "<b>";
        expected.push_back({ K::tagBracket, { element * 3, 1 } });
        expected.push_back({ K::tagName, { element * 3 + 1, 1 } });
        expected.push_back({ K::tagBracket, { element * 3 + 2, 1 } });
    }
    EXPECT_EQ(spansOf(page), expected);
}

TEST(HTMLSyntaxAnalyzer, EmptyTextYieldsNoSpansAndNoRegions)
{
    EXPECT_TRUE(HTMLSyntaxAnalyzer::spans(u"").empty());
    EXPECT_TRUE(HTMLSyntaxAnalyzer::foldRegions(u"").empty());
}

TEST(HTMLSyntaxAnalyzer, DivOverTwoLinesFolds)
{
    std::vector<HTMLFoldRegion> expected { { "div-0-12", "div", { 0, 12 }, { 5, 1 }, 1, 2 } };
    EXPECT_EQ(regionsOf("<div>\n</div>"), expected);
}

struct FoldCase {
    const char* name;
    const char* text;
    std::vector<HTMLFoldRegion> expected;
};

const std::vector<FoldCase> foldCases {
    { "one line does not fold", "<div></div>", {} },
    { "two lines without content do not fold", "<div\n></div>", {} },
    { "void element never folds", "<img\nsrc=a\n>\n</img>", {} },
    { "upper-case name folds in lower case", "<DIV>\n</div>", { { "div-0-12", "div", { 0, 12 }, { 5, 1 }, 1, 2 } } },
    { "unclosed li inside a closed ul",
      "<ul><li>\na\n</ul>",
      { { "ul-0-16", "ul", { 0, 16 }, { 4, 7 }, 1, 3 } } },
    { "stray closing tag empties the stack", "<div>\n<p>\n</span>\n</div>", {} },
    { "quoted slash is not self-closing",
      "<a href=\"/x\">\n</a>",
      { { "a-0-18", "a", { 0, 18 }, { 13, 1 }, 1, 2 } } },
    { "unquoted slash is self-closing", "<a href=/x>\n</a>", {} },
    { "comment never closed stops the scan", "<div>\n<!-- open\n</div>", {} },
    { "comment hides a closing tag",
      "<div>\n<!-- </div> -->\n</div>",
      { { "div-0-28", "div", { 0, 28 }, { 5, 17 }, 1, 3 } } },
    { "unquoted opening tag without partner quote is no tag", "<div a=\"x>\n</div>", {} },
    { "end line is that of the position behind the closing tag",
      "<p>\n</p\n>",
      { { "p-0-9", "p", { 0, 9 }, { 3, 1 }, 1, 3 } } },
    { "closing tag without bracket ends at the text's end",
      "<p>\nx</p",
      { { "p-0-8", "p", { 0, 8 }, { 3, 2 }, 1, 2 } } },
    { "outer first at an equal line, then by line",
      "<main><section>\n<div>\n</div>\n</section>\n</main>",
      { { "main-0-47", "main", { 0, 47 }, { 6, 34 }, 1, 5 },
        { "section-6-39", "section", { 6, 33 }, { 15, 14 }, 1, 4 },
        { "div-16-28", "div", { 16, 12 }, { 21, 1 }, 2, 3 } } },
    { "script content is markup too", "<script>\nif (a<b) {}\n</script>", {} },
    { "lone bracket at the very end", "<div>\n</div><", { { "div-0-12", "div", { 0, 12 }, { 5, 1 }, 1, 2 } } },
    { "closing tag needs no letter, so a stray </1> empties the stack", "<p>\n</1>\n</p>", {} },
};

TEST(HTMLSyntaxAnalyzer, FoldTable)
{
    for (const auto& testCase : foldCases)
        EXPECT_EQ(regionsOf(testCase.text), testCase.expected) << testCase.name << ": " << testCase.text;
}

TEST(HTMLSyntaxAnalyzer, NeverClosedCommentIsOneSpanAndIgnoredForFolds)
{
    std::vector<HTMLSyntaxSpan> expected { { K::comment, { 0, 24 } } };
    EXPECT_EQ(spansOf("<!-- never closed\n<div>\n"), expected);
    EXPECT_TRUE(regionsOf("<div>\n<!-- never closed\n<p>\n</p>\n</div>").empty());
}

TEST(HTMLSyntaxAnalyzer, NestedFoldsAndAstralCharactersKeepUTF16Ranges)
{
    // U+1F600 takes two code units.
    auto regions = regionsOf("\xF0\x9F\x98\x80<ul>\n<li>\xF0\x9F\x98\x80\n</li>\n</ul>");
    std::vector<HTMLFoldRegion> expected { { "ul-2-25", "ul", { 2, 23 }, { 6, 14 }, 1, 4 },
                                           { "li-7-19", "li", { 7, 12 }, { 11, 3 }, 2, 3 } };
    EXPECT_EQ(regions, expected);
}

}
