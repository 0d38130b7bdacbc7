#include "QuilloryCore/Analysis/HTMLTagIndexer.h"
#include "QuilloryCore/Text/RegularExpression.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <gtest/gtest.h>
#include <ostream>
#include <random>
#include <unordered_set>

namespace Quillory {

// Readable failure messages; internal so that other test files may print these their own way.
[[maybe_unused]] static void PrintTo(const Utf16Range& range, std::ostream* stream)
{
    *stream << "{" << range.location << ", " << range.length << "}";
}

[[maybe_unused]] static void PrintTo(const IndexedAttribute& attribute, std::ostream* stream)
{
    *stream << "\"" << attribute.value << "\" at ";
    PrintTo(attribute.valueRange, stream);
}

}

using namespace Quillory;

namespace {

std::vector<IndexedTag> indexed(std::string_view utf8)
{
    return HTMLTagIndexer::index(UnicodeText::utf16(utf8));
}

std::vector<std::string> tagNames(const std::vector<IndexedTag>& tags)
{
    std::vector<std::string> names;
    for (const auto& tag : tags)
        names.push_back(tag.tagName);
    return names;
}

using Strings = std::vector<std::string>;
using Range = Utf16Range;

// --- Stray and missing closing tags ---

TEST(HTMLTagIndexer, UnclosedChildShrinksToItsOpeningTagWhenTheParentCloses)
{
    auto tags = indexed("<div><p>a</div>");
    ASSERT_EQ(tagNames(tags), (Strings { "p", "div" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 5, 3 }));
    EXPECT_EQ(tags[0].innerTextRange, std::nullopt);
    EXPECT_EQ(tags[0].innerText, std::nullopt);
    EXPECT_EQ(tags[0].ancestorTags, (Strings { "div" }));
    EXPECT_EQ(tags[1].fullRange, (Range { 0, 15 }));
    EXPECT_EQ(tags[1].innerTextRange, (Range { 5, 4 }));
    EXPECT_EQ(tags[1].innerText, "a");
    EXPECT_TRUE(tags[1].ancestorTags.empty());
}

TEST(HTMLTagIndexer, StrayClosingTagOrphansEverythingOpen)
{
    auto tags = indexed("<span>a</em>b</span>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].tagName, "span");
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 6 }));
    EXPECT_EQ(tags[0].innerTextRange, std::nullopt);
    EXPECT_EQ(tags[0].innerText, std::nullopt);

    // Every open element shrinks, innermost first, and the later closing tags change nothing.
    auto nested = indexed("<div><span>a</em>b</span></div>");
    ASSERT_EQ(tagNames(nested), (Strings { "span", "div" }));
    EXPECT_EQ(nested[0].fullRange, (Range { 5, 6 }));
    EXPECT_EQ(nested[0].innerTextRange, std::nullopt);
    EXPECT_EQ(nested[1].fullRange, (Range { 0, 5 }));
    EXPECT_EQ(nested[1].innerTextRange, std::nullopt);
}

TEST(HTMLTagIndexer, ClosingTagWithoutBracketAtTheEndRunsOnePastTheText)
{
    auto tags = indexed("<div>x</div");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 12 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 5, 1 }));
    EXPECT_EQ(tags[0].innerText, "x");
}

TEST(HTMLTagIndexer, ClosingTagWithEmptyNameIsSkipped)
{
    auto tags = indexed("<div></ >x</div>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 16 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 5, 5 }));
    EXPECT_EQ(tags[0].innerText, "x");
}

TEST(HTMLTagIndexer, ClosingTagNameFoldsCaseAndEndsAtTheFirstBracket)
{
    auto tags = indexed("<DIV>x</Div foo>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].tagName, "div");
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 16 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 5, 1 }));
}

TEST(HTMLTagIndexer, ElementsOpenAtTheEndRunToTheEndInnermostFirst)
{
    auto tags = indexed("<div><section><p>x");
    ASSERT_EQ(tagNames(tags), (Strings { "p", "section", "div" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 14, 4 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 17, 1 }));
    EXPECT_EQ(tags[1].fullRange, (Range { 5, 13 }));
    EXPECT_EQ(tags[1].innerTextRange, (Range { 14, 4 }));
    EXPECT_EQ(tags[2].fullRange, (Range { 0, 18 }));
    EXPECT_EQ(tags[2].innerTextRange, (Range { 5, 13 }));
    for (const auto& tag : tags)
        EXPECT_EQ(tag.innerText, "x") << tag.tagName;

    // An element whose opening tag ends the text has no inner range.
    auto atEnd = indexed("<div>");
    ASSERT_EQ(atEnd.size(), 1u);
    EXPECT_EQ(atEnd[0].fullRange, (Range { 0, 5 }));
    EXPECT_EQ(atEnd[0].innerTextRange, std::nullopt);
}

// --- Self-closing and void elements ---

TEST(HTMLTagIndexer, UnquotedSlashMakesTagSelfClosing)
{
    auto tags = indexed("<a href=/x>t</a>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].tagName, "a");
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 11 }));
    EXPECT_EQ(tags[0].innerTextRange, std::nullopt);
    EXPECT_EQ(tags[0].innerText, std::nullopt);
    ASSERT_EQ(tags[0].attributes.size(), 2u);
    EXPECT_EQ(tags[0].attributes.at("href"), (IndexedAttribute { "", { 8, 0 } }));
    EXPECT_EQ(tags[0].attributes.at("x"), (IndexedAttribute { "", { 10, 0 } }));
}

TEST(HTMLTagIndexer, ClosingTagOfSelfClosedLinkFlushesWhatIsOpen)
{
    auto tags = indexed("<div><a href=/x>t</a><p>q</p></div>");
    ASSERT_EQ(tagNames(tags), (Strings { "a", "div", "p" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 5, 11 }));
    EXPECT_EQ(tags[0].ancestorTags, (Strings { "div" }));
    EXPECT_EQ(tags[1].fullRange, (Range { 0, 5 }));
    EXPECT_EQ(tags[1].innerTextRange, std::nullopt);
    // The div is gone, so the p stands at the top level.
    EXPECT_EQ(tags[2].fullRange, (Range { 21, 8 }));
    EXPECT_EQ(tags[2].innerTextRange, (Range { 24, 1 }));
    EXPECT_TRUE(tags[2].ancestorTags.empty());
    EXPECT_EQ(tags[2].siblingIndex, 0);
}

TEST(HTMLTagIndexer, SlashAnywhereAtAttributeLevelMakesTagSelfClosing)
{
    auto tags = indexed("<div / class=\"a\">x</div>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 17 }));
    EXPECT_EQ(tags[0].innerTextRange, std::nullopt);
    EXPECT_EQ(tags[0].attributes.at("class"), (IndexedAttribute { "a", { 14, 1 } }));
    EXPECT_EQ(tags[0].classes, (Strings { "a" }));
}

TEST(HTMLTagIndexer, SelfClosingDivOpensNothing)
{
    auto tags = indexed("<div /><p>x</p>");
    ASSERT_EQ(tagNames(tags), (Strings { "div", "p" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 7 }));
    EXPECT_EQ(tags[1].fullRange, (Range { 7, 8 }));
    EXPECT_TRUE(tags[1].ancestorTags.empty());
}

TEST(HTMLTagIndexer, SelfClosingScriptOpensNoRawText)
{
    auto tags = indexed("<script src=\"a\" /><p>x</p>");
    ASSERT_EQ(tagNames(tags), (Strings { "script", "p" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 18 }));
    EXPECT_EQ(tags[0].innerTextRange, std::nullopt);
    EXPECT_EQ(tags[0].attributes.at("src"), (IndexedAttribute { "a", { 13, 1 } }));
    EXPECT_EQ(tags[1].fullRange, (Range { 18, 8 }));
    EXPECT_EQ(tags[1].innerTextRange, (Range { 21, 1 }));
}

TEST(HTMLTagIndexer, VoidElementsNeverOpen)
{
    for (auto name : HTMLTagIndexer::voidElements) {
        std::string html = "<div><" + std::string(name) + ">x</div>";
        auto tags = indexed(html);
        ASSERT_EQ(tagNames(tags), (Strings { std::string(name), "div" })) << html;
        EXPECT_EQ(tags[0].fullRange, (Range { 5, name.size() + 2 })) << html;
        EXPECT_EQ(tags[0].innerTextRange, std::nullopt) << html;
        EXPECT_EQ(tags[0].ancestorTags, (Strings { "div" })) << html;
        EXPECT_EQ(tags[1].fullRange, (Range { 0, html.size() })) << html;
        EXPECT_EQ(tags[1].innerText, "x") << html;
    }
}

TEST(HTMLTagIndexer, ParamIsNotVoid)
{
    // The param stays open, so the closing div orphans it.
    auto tags = indexed("<div><param>x</div>");
    ASSERT_EQ(tagNames(tags), (Strings { "param", "div" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 5, 7 }));
    EXPECT_EQ(tags[0].innerTextRange, std::nullopt);
    EXPECT_EQ(tags[1].fullRange, (Range { 0, 19 }));
    EXPECT_EQ(tags[1].innerTextRange, (Range { 5, 8 }));
}

// --- Sibling index and ancestry ---

TEST(HTMLTagIndexer, SiblingIndexCountsSameNameUnderTheSameParent)
{
    auto tags = indexed("<ul><li>1</li><li>2</li></ul><ul><li>3</li></ul>");
    ASSERT_EQ(tagNames(tags), (Strings { "li", "li", "ul", "li", "ul" }));

    EXPECT_EQ(tags[0].fullRange, (Range { 4, 10 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 8, 1 }));
    EXPECT_EQ(tags[0].siblingIndex, 0);

    EXPECT_EQ(tags[1].fullRange, (Range { 14, 10 }));
    EXPECT_EQ(tags[1].innerText, "2");
    EXPECT_EQ(tags[1].siblingIndex, 1);
    EXPECT_EQ(tags[1].ancestorTags, (Strings { "ul" }));

    EXPECT_EQ(tags[2].fullRange, (Range { 0, 29 }));
    EXPECT_EQ(tags[2].innerTextRange, (Range { 4, 20 }));
    EXPECT_EQ(tags[2].siblingIndex, 0);

    // A different parent starts counting again.
    EXPECT_EQ(tags[3].fullRange, (Range { 33, 10 }));
    EXPECT_EQ(tags[3].siblingIndex, 0);
    EXPECT_EQ(tags[3].ancestorTags, (Strings { "ul" }));

    EXPECT_EQ(tags[4].fullRange, (Range { 29, 19 }));
    EXPECT_EQ(tags[4].siblingIndex, 1);
}

TEST(HTMLTagIndexer, VoidAndSelfClosingElementsCountAsSiblings)
{
    auto tags = indexed("<p><br><img><br/><br></p>");
    ASSERT_EQ(tagNames(tags), (Strings { "br", "img", "br", "br", "p" }));
    EXPECT_EQ(tags[0].siblingIndex, 0);
    EXPECT_EQ(tags[1].siblingIndex, 0);
    EXPECT_EQ(tags[2].siblingIndex, 1);
    EXPECT_EQ(tags[3].siblingIndex, 2);
}

TEST(HTMLTagIndexer, NestedParentsOfTheSameNamesKeepTheirOwnCounts)
{
    // The inner divs' children count from zero, the outer div's count goes on after an inner
    // div closes, and the top level keeps its own after a stray closing tag closes everything.
    auto tags = indexed("<div><p></p><div><p></p><p></p></div><p></p><div><p></p></b><p></p>");
    ASSERT_EQ(tagNames(tags), (Strings { "p", "p", "p", "div", "p", "p", "div", "div", "p" }));
    std::vector<int> siblingIndexes;
    for (auto& tag : tags)
        siblingIndexes.push_back(tag.siblingIndex);
    EXPECT_EQ(siblingIndexes, (std::vector<int> { 0, 0, 1, 0, 1, 0, 1, 0, 0 }));
}

TEST(HTMLTagIndexer, AncestorTagsListNearestFirst)
{
    auto tags = indexed("<html><body><main><p>x</p></main></body></html>");
    ASSERT_EQ(tagNames(tags), (Strings { "p", "main", "body", "html" }));
    EXPECT_EQ(tags[0].ancestorTags, (Strings { "main", "body", "html" }));
    EXPECT_EQ(tags[1].ancestorTags, (Strings { "body", "html" }));
    EXPECT_TRUE(tags[3].ancestorTags.empty());
}

// --- Raw text ---

TEST(HTMLTagIndexer, ScriptContentIsNeverScannedForTags)
{
    auto tags = indexed("<script>if (a<b) x(\"</div>\");</script><p>z</p>");
    ASSERT_EQ(tagNames(tags), (Strings { "script", "p" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 38 }));
    // The inner range runs to behind the closing tag.
    EXPECT_EQ(tags[0].innerTextRange, (Range { 8, 30 }));
    // The "<" of "a<b" drops everything up to the ">" of "</div>", and the closing tag is cut.
    EXPECT_EQ(tags[0].innerText, "if (a\");");
    EXPECT_EQ(tags[1].fullRange, (Range { 38, 8 }));
    EXPECT_EQ(tags[1].innerText, "z");
}

TEST(HTMLTagIndexer, TemplateContentsAreNotIndexed)
{
    auto tags = indexed("<template><p>x</p></template><p>y</p>");
    ASSERT_EQ(tagNames(tags), (Strings { "template", "p" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 29 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 10, 19 }));
    EXPECT_EQ(tags[0].innerText, "x");
    EXPECT_EQ(tags[1].fullRange, (Range { 29, 8 }));
}

TEST(HTMLTagIndexer, RawTextCloseIgnoresCaseAndNeedsNoBoundaryAfterTheName)
{
    auto tags = indexed("<style>a{}</STYLEX junk>b");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 24 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 7, 17 }));
    EXPECT_EQ(tags[0].innerText, "a{}");
}

TEST(HTMLTagIndexer, RawTextWithoutCloseRunsToTheEnd)
{
    auto tags = indexed("<script>x<p>y");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 13 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 8, 5 }));
    EXPECT_EQ(tags[0].innerText, "xy");

    // A closing name without ">" also ends at the text's end.
    auto unbracketed = indexed("<style>a</style");
    ASSERT_EQ(unbracketed.size(), 1u);
    EXPECT_EQ(unbracketed[0].fullRange, (Range { 0, 15 }));
    EXPECT_EQ(unbracketed[0].innerTextRange, (Range { 7, 8 }));
    EXPECT_EQ(unbracketed[0].innerText, "a");
}

TEST(HTMLTagIndexer, TitleContentsAreScannedAsMarkup)
{
    auto tags = indexed("<title>a<b>c</b></title>");
    ASSERT_EQ(tagNames(tags), (Strings { "b", "title" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 8, 8 }));
    EXPECT_EQ(tags[0].ancestorTags, (Strings { "title" }));
    EXPECT_EQ(tags[1].fullRange, (Range { 0, 24 }));
    EXPECT_EQ(tags[1].innerText, "ac");
}

// --- Comments and declarations ---

TEST(HTMLTagIndexer, UnterminatedCommentHidesTheRestOfTheText)
{
    auto tags = indexed("<div><p>x<!-- a <span>y</span>");
    ASSERT_EQ(tagNames(tags), (Strings { "p", "div" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 5, 25 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 8, 22 }));
    EXPECT_EQ(tags[0].innerText, "xy");
    EXPECT_EQ(tags[1].fullRange, (Range { 0, 30 }));
    EXPECT_EQ(tags[1].innerTextRange, (Range { 5, 25 }));
}

TEST(HTMLTagIndexer, TagsInsideACommentAreSkipped)
{
    auto tags = indexed("<!-- <p>x</p> --><b>y</b>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].tagName, "b");
    EXPECT_EQ(tags[0].fullRange, (Range { 17, 8 }));
}

TEST(HTMLTagIndexer, CommentOpenerFollowedByTheCloserIsAnEmptyComment)
{
    struct Case {
        const char* html;
        std::size_t paragraphStart;
    };
    for (auto [html, paragraphStart] : { Case { "<!--><p>x</p>", 5 }, Case { "<!---><p>x</p>", 6 } }) {
        auto tags = indexed(html);
        ASSERT_EQ(tagNames(tags), (Strings { "p" })) << html;
        EXPECT_EQ(tags[0].fullRange, (Range { paragraphStart, 8 })) << html;
    }
}

TEST(HTMLTagIndexer, DeclarationsProduceNoTag)
{
    auto tags = indexed("<!doctype html><p>x</p>");
    ASSERT_EQ(tagNames(tags), (Strings { "p" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 15, 8 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 18, 1 }));

    for (const char* html : { "<!DOCTYPE html>", "<![CDATA[x]]>", "<!- x ->", "<!x <p>a</p>", "<!-" })
        EXPECT_TRUE(indexed(html).empty()) << html;
}

// --- Opening tags that are not tags ---

TEST(HTMLTagIndexer, OpeningTagCutOffByTheEndOfTheTextIsNotRecorded)
{
    for (const char* html : { "<p", "<p ", "<p\t", "<p /", "<p a", "<p a=", "<p a=b", "<p class=\"a>x</p>", "<p a='b>" })
        EXPECT_TRUE(indexed(html).empty()) << html;

    // What was open before it still ends at the end of the text.
    auto tags = indexed("<div><p");
    ASSERT_EQ(tagNames(tags), (Strings { "div" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 7 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 5, 2 }));
    EXPECT_EQ(tags[0].innerText, std::nullopt);
}

TEST(HTMLTagIndexer, LessThanWithoutALetterIsPlainText)
{
    for (const char* html : { "a<3 b", "< a>", "<?xml version=\"1.0\"?>", "<-x>", "<1>", "<", "<\xC3\xA9>" })
        EXPECT_TRUE(indexed(html).empty()) << html;
}

TEST(HTMLTagIndexer, EmptyTextGivesNoTags)
{
    EXPECT_TRUE(HTMLTagIndexer::index(u"").empty());
    EXPECT_TRUE(indexed("just text, no markup").empty());
}

// --- Names ---

TEST(HTMLTagIndexer, NamesFoldASCIIOnlyWhileIdsAndClassesKeepTheirCase)
{
    auto tags = indexed("<DIV Data-\xC3\x89t\xC3\xA9=\"X\" ID=\"Main\" Class=\"Big small\"></DIV>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].tagName, "div");
    ASSERT_NE(tags[0].attribute("data-\xC3\x89t\xC3\xA9"), nullptr);
    EXPECT_EQ(tags[0].attribute("data-\xC3\x89t\xC3\xA9")->value, "X");
    ASSERT_NE(tags[0].attribute("id"), nullptr);
    EXPECT_EQ(tags[0].attribute("id")->value, "Main");
    EXPECT_EQ(tags[0].attribute("ID"), nullptr);
    EXPECT_EQ(tags[0].classes, (Strings { "Big", "small" }));
}

TEST(HTMLTagIndexer, TagNameEndsAtTheFirstCharacterOutsideItsClass)
{
    struct Case {
        const char* html;
        const char* tagName;
    };
    for (auto [html, tagName] : { Case { "<my-el>x</my-el>", "my-el" }, Case { "<svg:rect>x</svg:rect>", "svg:rect" },
                                  Case { "<h1_x>x</h1_x>", "h1_x" }, Case { "<H2>x</H2>", "h2" } }) {
        auto tags = indexed(html);
        ASSERT_EQ(tags.size(), 1u) << html;
        EXPECT_EQ(tags[0].tagName, tagName) << html;
        EXPECT_EQ(tags[0].innerText, "x") << html;
    }
    // "." is not a name character; the rest is read as an attribute.
    auto tags = indexed("<p.x>y</p>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].tagName, "p");
    EXPECT_EQ(tags[0].attributes.at(".x"), (IndexedAttribute { "", { 4, 0 } }));
}

// --- Attributes ---

TEST(HTMLTagIndexer, RepeatedAttributeKeepsTheLastValueAndRange)
{
    auto tags = indexed("<p title=\"a\" title='bc'></p>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].fullRange, (Range { 0, 28 }));
    EXPECT_EQ(tags[0].innerTextRange, std::nullopt);
    ASSERT_EQ(tags[0].attributes.size(), 1u);
    EXPECT_EQ(tags[0].attributes.at("title"), (IndexedAttribute { "bc", { 20, 2 } }));
}

TEST(HTMLTagIndexer, RepeatedClassKeepsTheLastClasses)
{
    auto tags = indexed("<p class=\"a b\" CLASS=\"C  D c C\"></p>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].classes, (Strings { "C", "D", "c", "C" }));
    EXPECT_EQ(tags[0].attributes.at("class"), (IndexedAttribute { "C  D c C", { 22, 8 } }));
}

TEST(HTMLTagIndexer, ValuelessClassAfterAValuedOneKeepsItsClasses)
{
    auto tags = indexed("<span class=card class>x</span>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].classes, (Strings { "card" }));
    EXPECT_EQ(tags[0].attributes.at("class"), (IndexedAttribute { "", { 22, 0 } }));
    // An empty value is still a value: it empties the classes.
    EXPECT_TRUE(indexed("<span class=card class=\"\">x</span>")[0].classes.empty());
}

TEST(HTMLTagIndexer, AttributeValueForms)
{
    struct Case {
        const char* html;
        const char* name;
        IndexedAttribute attribute;
    };
    const Case cases[] = {
        { "<p a = \"x\">", "a", { "x", { 8, 1 } } },
        { "<p a='x y'>", "a", { "x y", { 6, 3 } } },
        { "<p a=\"\">", "a", { "", { 6, 0 } } },
        { "<p a=b\"c>", "a", { "b\"c", { 5, 3 } } },
        { "<p a=b=c>", "a", { "b=c", { 5, 3 } } },
        // No escape rule: a backslash does not protect the quote.
        { "<p title=\"a\\\"b\">", "title", { "a\\", { 10, 2 } } },
        { "<p title=\"a\\\"b\">", "b\"", { "", { 15, 0 } } },
        // A valueless attribute's empty range sits after the white space that follows its name.
        { "<input disabled  >", "disabled", { "", { 17, 0 } } },
        { "<input disabled name=x>", "disabled", { "", { 16, 0 } } },
        { "<p = a=b>", "a", { "b", { 7, 1 } } },
        { "<p a=\"&amp;\">", "a", { "&amp;", { 6, 5 } } },
        // Quoted values may hold ">" and line ends.
        { "<p a=\"1 > 0\nok\">", "a", { "1 > 0\nok", { 6, 8 } } },
    };
    for (const auto& testCase : cases) {
        auto tags = indexed(testCase.html);
        ASSERT_EQ(tags.size(), 1u) << testCase.html;
        auto attribute = tags[0].attribute(testCase.name);
        ASSERT_NE(attribute, nullptr) << testCase.html << " " << testCase.name;
        EXPECT_EQ(*attribute, testCase.attribute) << testCase.html;
    }
}

TEST(HTMLTagIndexer, LoneEqualsSignIsSkipped)
{
    auto tags = indexed("<p = a=b>");
    ASSERT_EQ(tags.size(), 1u);
    ASSERT_EQ(tags[0].attributes.size(), 1u);
    EXPECT_EQ(tags[0].attributes.begin()->first, "a");
}

TEST(HTMLTagIndexer, VerticalTabIsNotWhitespaceInsideATag)
{
    auto tags = indexed("<p\vclass=\"x\"></p>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].tagName, "p");
    EXPECT_EQ(tags[0].attributes.at("\vclass"), (IndexedAttribute { "x", { 10, 1 } }));
    EXPECT_TRUE(tags[0].classes.empty());
}

TEST(HTMLTagIndexer, ClassesSplitAtUnicodeWhitespaceCharacters)
{
    struct Case {
        const char* html;
        Strings classes;
    };
    const Case cases[] = {
        { "<p class=\"a\xC2\xA0" "b\xE3\x80\x80" "c\vd  e\n\tf\">", { "a", "b", "c", "d", "e", "f" } },
        { "<p class=\" \">", {} },
        { "<p class=\"\">", {} },
        { "<p class>", {} },
        { "<p class=caf\xC3\xA9>", { "caf\xC3\xA9" } },
        // A blank carrying a combining mark is one white space character.
        { "<p class=\"a \xCC\x81" "b\">", { "a", "b" } },
        // A combining mark after a letter stays with it.
        { "<p class=\"e\xCC\x81 x\">", { "e\xCC\x81", "x" } },
    };
    for (const auto& testCase : cases) {
        auto tags = indexed(testCase.html);
        ASSERT_EQ(tags.size(), 1u) << testCase.html;
        EXPECT_EQ(tags[0].classes, testCase.classes) << testCase.html;
    }
}

// --- Inner text ---

TEST(HTMLTagIndexer, InnerTextJoinsDescendantTextWithoutSeparators)
{
    auto tags = indexed("<p><b>a</b><b>c</b></p>");
    ASSERT_EQ(tagNames(tags), (Strings { "b", "b", "p" }));
    EXPECT_EQ(tags[2].innerText, "ac");
}

TEST(HTMLTagIndexer, InnerTextCollapsesWhitespaceAndTrimsIt)
{
    auto tags = indexed("<p>\n  Hello\t\xC2\xA0 big\r\n\v world\xE2\x80\xA8 </p>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].innerText, "Hello big world");
}

TEST(HTMLTagIndexer, InnerTextKeepsCaseAndCharacterReferences)
{
    auto tags = indexed("<p>A &amp; B</p>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].innerText, "A &amp; B");
}

TEST(HTMLTagIndexer, CommentInInnerTextEndsAtItsFirstBracket)
{
    auto tags = indexed("<p>a<!-- x > y -->b</p>");
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].innerTextRange, (Range { 3, 16 }));
    EXPECT_EQ(tags[0].innerText, "a y -->b");
}

TEST(HTMLTagIndexer, BlankOrTagOnlyInnerTextIsAbsent)
{
    auto blank = indexed("<p> \n\t</p>");
    ASSERT_EQ(blank.size(), 1u);
    EXPECT_EQ(blank[0].innerTextRange, (Range { 3, 3 }));
    EXPECT_EQ(blank[0].innerText, std::nullopt);

    auto tagsOnly = indexed("<p> <br> </p>");
    ASSERT_EQ(tagNames(tagsOnly), (Strings { "br", "p" }));
    EXPECT_EQ(tagsOnly[1].innerTextRange, (Range { 3, 6 }));
    EXPECT_EQ(tagsOnly[1].innerText, std::nullopt);

    auto empty = indexed("<p></p>");
    ASSERT_EQ(empty.size(), 1u);
    EXPECT_EQ(empty[0].innerTextRange, std::nullopt);
}

// --- UTF-16 positions ---

TEST(HTMLTagIndexer, AstralCharacterBeforeATagCountsTwoUnits)
{
    // U+1F600 takes two UTF-16 code units, é one.
    auto tags = indexed("\xF0\x9F\x98\x80<p class=\"x\">\xC3\xA9\xF0\x9F\x98\x80</p>\xF0\x9F\x98\x80<br>");
    ASSERT_EQ(tagNames(tags), (Strings { "p", "br" }));
    EXPECT_EQ(tags[0].fullRange, (Range { 2, 20 }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 15, 3 }));
    EXPECT_EQ(tags[0].innerText, "\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(tags[0].attributes.at("class"), (IndexedAttribute { "x", { 12, 1 } }));
    EXPECT_EQ(tags[1].fullRange, (Range { 24, 4 }));
    EXPECT_EQ(tags[1].siblingIndex, 0);
}

TEST(HTMLTagIndexer, UnpairedSurrogatesReadAsReplacementCharacters)
{
    std::u16string html = u"<p title=\"\xD800\">a\xDC00</p>";
    auto tags = HTMLTagIndexer::index(html);
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].attributes.at("title"), (IndexedAttribute { "\xEF\xBF\xBD", { 10, 1 } }));
    EXPECT_EQ(tags[0].innerTextRange, (Range { 13, 2 }));
    EXPECT_EQ(tags[0].innerText, "a\xEF\xBF\xBD");

    // Wherever it stands, a lone surrogate is replaced and a pair stays whole.
    for (std::size_t padding = 0; padding < 20; ++padding) {
        std::u16string text = u"<p title=\"" + std::u16string(padding, u'x') + u"\xDBFF\U0001F600\xDC00\">";
        auto padded = HTMLTagIndexer::index(text);
        ASSERT_EQ(padded.size(), 1u) << padding;
        EXPECT_EQ(padded[0].attributes.at("title").value,
                  std::string(padding, 'x') + "\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD")
            << padding;
        EXPECT_EQ(padded[0].attributes.at("title").valueRange, (Range { 10, padding + 4 })) << padding;
    }
}

// --- Value semantics ---

TEST(HTMLTagIndexer, EqualTagsHashAlikeAndRangeKeysWorkInSets)
{
    auto first = indexed("<ul><li class=\"a\">x</li><li>y</li></ul>");
    auto second = indexed("<ul><li class=\"a\">x</li><li>y</li></ul>");
    ASSERT_EQ(first, second);
    std::unordered_set<IndexedTag> tagSet(first.begin(), first.end());
    EXPECT_EQ(tagSet.size(), 3u);
    for (const auto& tag : second)
        EXPECT_TRUE(tagSet.count(tag)) << tag.tagName;
    EXPECT_EQ(std::hash<IndexedAttribute>()(first[0].attributes.at("class")), std::hash<IndexedAttribute>()(second[0].attributes.at("class")));

    std::unordered_set<NSRangeKey> keys;
    for (const auto& tag : first)
        keys.insert(NSRangeKey(tag.fullRange));
    EXPECT_EQ(keys.size(), 3u);
    EXPECT_TRUE(keys.count(NSRangeKey(4, 20)));
    EXPECT_FALSE(keys.count(NSRangeKey(4, 19)));
}

// --- Inner text against its definition ---

// The inner text computed the slow way, straight from its definition: cut every "<" up to the
// next ">" out of the inner range, replace each run of "\s+" by a blank, trim.
std::optional<std::string> innerTextByDefinition(std::u16string_view html, const std::optional<Utf16Range>& range)
{
    if (!range || range->length == 0)
        return std::nullopt;
    auto inner = html.substr(range->location, range->length);
    if (StringHelpers::trimmingWhitespaceAndNewlines(inner).empty())
        return std::nullopt;
    std::u16string direct;
    for (std::size_t position = 0; position < inner.size();) {
        if (inner[position] != u'<') {
            direct += inner[position++];
            continue;
        }
        auto close = inner.find(u'>', position + 1);
        if (close == std::u16string_view::npos)
            break;
        position = close + 1;
    }
    static const auto whitespaceRun = RegularExpression::make(u"\\s+");
    auto normalized = StringHelpers::trimmingWhitespaceAndNewlines(whitespaceRun->replacingMatches(direct, u" "));
    if (normalized.empty())
        return std::nullopt;
    return UnicodeText::utf8FromUTF16(normalized);
}

TEST(HTMLTagIndexer, InnerTextMatchesItsDefinitionOnGeneratedDocuments)
{
    const std::vector<std::u16string> fragments {
        u"<div>", u"</div>", u"<p class=\"a b\">", u"</p>", u"<span>", u"</span>", u"<ul>", u"</ul>", u"<li>", u"</li>",
        u"<b>", u"</b>", u"<br>", u"<img src=x>", u"<a href=/x>", u"</a>", u"<!-- c > d -->", u"<!-->", u"<!doctype html>",
        u"<script>x<y</script>", u"<style>a>b</style>", u"<template><p>t</p></template>", u"text", u"Word", u" ", u"  ",
        u"\n\t", u"\r\n", u"\v", u"\u00A0", u"\u2028", u"\u3000", u"\U0001F600", u"\u00E9", u"<", u">", u"a<b", u"&amp;",
        u"<p title='>'>", u"</div", u"<em", u"<!--", u"<>", u"</>", u"A longer run of plain words, then more.", u"\U0001F600 and text",
    };
    std::mt19937 random(20240611);
    std::uniform_int_distribution<std::size_t> pick(0, fragments.size() - 1);
    std::uniform_int_distribution<int> length(0, 60);
    for (int round = 0; round < 400; ++round) {
        std::u16string html;
        for (int count = length(random); count > 0; --count)
            html += fragments[pick(random)];
        for (const auto& tag : HTMLTagIndexer::index(html)) {
            EXPECT_EQ(tag.innerText, innerTextByDefinition(html, tag.innerTextRange)) << UnicodeText::utf8FromUTF16(html);
            EXPECT_LE(tag.fullRange.end(), html.size() + 1);
        }
    }
}

}
