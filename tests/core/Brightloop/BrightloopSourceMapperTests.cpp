#include "QuilloryCore/Brightloop/BrightloopSourceMapper.h"
#include "QuilloryCore/Text/RegularExpression.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "support/BrightloopExpectations.h"
#include "support/HostilePages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Quillory;
namespace Mapper = Quillory::BrightloopSourceMapper;
using QuilloryTest::expectCandidate;

namespace {

const BrightloopRect fence { 0, 0, 800, 600 };

// A rendered element in the page's body, fully inside the fence, the way the collection script
// describes one.
BrightloopDOMRecordFields element(std::string tagName, std::optional<std::string> text = std::nullopt)
{
    BrightloopDOMRecordFields fields;
    fields.tagName = std::move(tagName);
    fields.rect = { 10, 10, 200, 20 };
    fields.textSnippet = std::move(text);
    fields.ancestorTags = { "body", "html" };
    fields.ancestorSignatures = { "body", "html" };
    fields.siblingIndex = 0;
    fields.isVisible = true;
    return fields;
}

std::vector<BrightloopCandidate> candidatesFor(const BrightloopDOMRecordFields& fields, std::string_view source)
{
    auto text = UnicodeText::utf16(source);
    return Mapper::candidates(BrightloopDOMRecord(fields), text, HTMLTagIndexer::index(text), "index.html", fence);
}

std::vector<IndexedTag> indexed(std::string_view source)
{
    return HTMLTagIndexer::index(UnicodeText::utf16(source));
}

std::vector<Utf16Range> fullRanges(const std::vector<IndexedTag>& tags)
{
    std::vector<Utf16Range> ranges;
    for (auto& tag : tags)
        ranges.push_back(tag.fullRange);
    return ranges;
}

}

// ---- Edge cases of the element path

TEST(BrightloopSourceMapper, SingleHeadingIsEditableSourceWithVerifiedText)
{
    auto source = UnicodeText::utf16("<h1>Title</h1>");
    BrightloopSelection selection { "index.html", "index.html", fence };
    auto result = Mapper::map({ BrightloopDOMRecord(element("h1", "Title")) }, source, "index.html", selection);
    ASSERT_EQ(result.candidates().size(), 1u);
    auto& candidate = result.candidates()[0];
    expectCandidate(candidate, BrightloopCandidateKind::heading, "Title", BrightloopConfidence::editableSource, Utf16Range { 4, 5 },
                    "Single <h1> match with verified text content.");
    EXPECT_EQ(candidate.overlapFraction, 1);
    EXPECT_EQ(candidate.dom, BrightloopDOMRecord(element("h1", "Title")));
    EXPECT_EQ(result.selection(), selection);
}

TEST(BrightloopSourceMapper, LinkOffersHrefAndClassAttributesThenTheMainCandidate)
{
    auto fields = element("a", "z");
    fields.classList = { "y" };
    fields.attributes = { { "href", "x" }, { "class", "y" } };
    auto candidates = candidatesFor(fields, "<a href=\"x\" class=\"y\">z</a>");
    ASSERT_EQ(candidates.size(), 3u);
    expectCandidate(candidates[0], BrightloopCandidateKind::link, "@href=\"x\"", BrightloopConfidence::editableAttribute, Utf16Range { 9, 1 },
                    "Matched <a> with editable @href.");
    expectCandidate(candidates[1], BrightloopCandidateKind::classAttribute, "@class=\"y\"", BrightloopConfidence::editableAttribute, Utf16Range { 19, 1 },
                    "Matched <a> with editable @class.");
    expectCandidate(candidates[2], BrightloopCandidateKind::link, "z", BrightloopConfidence::editableSource, Utf16Range { 22, 1 },
                    "Single <a> match with verified text content.");
}

TEST(BrightloopSourceMapper, ReorderedListItemsAreDecidedByText)
{
    // A script put a new item first and moved "b" before "a": the rendered sibling indexes no
    // longer name a source item, so the text decides.
    const char* source = "<ul><li class=\"item\">a</li><li class=\"item\">b</li></ul>";
    auto fields = element("li", "b");
    fields.classList = { "item" };
    fields.attributes = { { "class", "item" } };
    fields.ancestorTags = { "ul", "body", "html" };
    fields.ancestorSignatures = { "ul", "body", "html" };
    fields.siblingIndex = 2;
    auto candidates = candidatesFor(fields, source);
    ASSERT_EQ(candidates.size(), 2u);
    expectCandidate(candidates[0], BrightloopCandidateKind::classAttribute, "@class=\"item\"", BrightloopConfidence::editableAttribute, Utf16Range { 38, 4 },
                    "Matched <li> with editable @class.");
    expectCandidate(candidates[1], BrightloopCandidateKind::listItem, "b", BrightloopConfidence::editableSource, Utf16Range { 44, 1 },
                    "Single <li> match with verified text content.");
}

TEST(BrightloopSourceMapper, ListItemsWhoseTextMatchesNeitherFallBackToTheCommonAncestor)
{
    const char* source = "<ul><li class=\"item\">a</li><li class=\"item\">b</li></ul>";
    auto fields = element("li", "c");
    fields.classList = { "item" };
    fields.attributes = { { "class", "item" } };
    fields.ancestorTags = { "ul", "body", "html" };
    fields.ancestorSignatures = { "ul", "body", "html" };
    fields.siblingIndex = 2;
    auto candidates = candidatesFor(fields, source);
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::container, "<ul>", BrightloopConfidence::container, Utf16Range { 0, 55 },
                    "2 <li> elements matched; falling back to common ancestor <ul>.");
}

TEST(BrightloopSourceMapper, SiblingIndexNarrowsBeforeText)
{
    // When the rendered index names one source item, the funnel stops there and the text only
    // decides whether that item still shows its source text.
    const char* source = "<body><ul><li class=\"item\">a</li><li class=\"item\">b</li></ul></body>";
    auto fields = element("li", "b");
    fields.classList = { "item" };
    fields.ancestorTags = { "ul", "body", "html" };
    fields.ancestorSignatures = { "ul", "body", "html" };
    fields.siblingIndex = 0;
    auto candidates = candidatesFor(fields, source);
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::container, "<ul>", BrightloopConfidence::container, Utf16Range { 6, 55 },
                    "Rendered text differs from source; treating it as runtime-generated content inside nearest source-backed container <ul>.");
}

TEST(BrightloopSourceMapper, ScriptInsertedDivFallsBackToNearestSourceBackedContainer)
{
    auto fields = element("div", "Loaded later");
    fields.ancestorTags = { "main", "body", "html" };
    fields.ancestorSignatures = { "main#app", "body", "html" };
    auto candidates = candidatesFor(fields, "<body><main id=\"app\"></main></body>");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::container, "<main #app>", BrightloopConfidence::container, Utf16Range { 6, 22 },
                    "No source tag matched this rendered element; treating it as runtime-generated content inside nearest source-backed container "
                    "<main>.");
}

TEST(BrightloopSourceMapper, DivWithoutTextIsStructuralContainer)
{
    auto fields = element("div");
    fields.classList = { "box" };
    auto candidates = candidatesFor(fields, "<body><div class=\"box\"></div></body>");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::container, "<div>", BrightloopConfidence::container, Utf16Range { 6, 23 },
                    "Structural <div> container.");
}

TEST(BrightloopSourceMapper, DivWithItsOwnTextIsEditableSource)
{
    auto fields = element("div", "Hi");
    fields.classList = { "box" };
    auto candidates = candidatesFor(fields, "<body><div class=\"box\">Hi</div></body>");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::container, "Hi", BrightloopConfidence::editableSource, Utf16Range { 23, 2 },
                    "Single <div> match with verified text content.");
}

TEST(BrightloopSourceMapper, InlineChildInTheMiddleOfTheTextCountsAsDifferingText)
{
    auto candidates = candidatesFor(element("p", "Hello world"), "<body><p>Hello <b>big</b> world</p></body>");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::container, "<body>", BrightloopConfidence::container, Utf16Range { 0, 42 },
                    "Rendered text differs from source; treating it as runtime-generated content inside nearest source-backed container <body>.");
}

TEST(BrightloopSourceMapper, CharacterReferenceInTheSourceCountsAsDifferingText)
{
    auto candidates = candidatesFor(element("p", "Fish & chips"), "<body><p>Fish &amp; chips</p></body>");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::container, "<body>", BrightloopConfidence::container, Utf16Range { 0, 36 },
                    "Rendered text differs from source; treating it as runtime-generated content inside nearest source-backed container <body>.");
}

TEST(BrightloopSourceMapper, ReplacedTextFallsBackToTheNearestAncestor)
{
    auto candidates = candidatesFor(element("p", "Welcome back"), "<body><p>Loading</p></body>");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::container, "<body>", BrightloopConfidence::container, Utf16Range { 0, 27 },
                    "Rendered text differs from source; treating it as runtime-generated content inside nearest source-backed container <body>.");
}

TEST(BrightloopSourceMapper, ReplacedTextWithoutAnyAncestorIsRenderedOnly)
{
    auto candidates = candidatesFor(element("p", "Welcome back"), "<p>Loading</p>");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::text, "Welcome back", BrightloopConfidence::renderedOnly, std::nullopt,
                    "Tag matched in source but rendered text differs; treating as dynamically generated.");
}

TEST(BrightloopSourceMapper, UnknownElementIDStillMatchesTheOnlyTagOfThatName)
{
    auto fields = element("p", "Only");
    fields.elementID = "lead";
    fields.attributes = { { "id", "lead" } };
    auto candidates = candidatesFor(fields, "<body><p>Only</p></body>");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::text, "Only", BrightloopConfidence::editableSource, Utf16Range { 9, 4 },
                    "Single <p> match with verified text content.");
}

TEST(BrightloopSourceMapper, TransformCaveatAppearsOnlyInReasonsThatCarryCaveats)
{
    const std::string transformCaveat = " Element uses CSS transform; Brightloop geometry is an axis-aligned bounding box.";
    auto link = element("a", "z");
    link.transformed = true;
    link.classList = { "y" };
    link.attributes = { { "href", "x" }, { "class", "y" } };
    auto matched = candidatesFor(link, "<body><a href=\"x\" class=\"y\">z</a></body>");
    ASSERT_EQ(matched.size(), 3u);
    EXPECT_EQ(matched[0].reason, "Matched <a> with editable @href." + transformCaveat);
    EXPECT_EQ(matched[1].reason, "Matched <a> with editable @class." + transformCaveat);
    EXPECT_EQ(matched[2].reason, "Single <a> match with verified text content." + transformCaveat);

    auto box = element("div");
    box.transformed = true;
    auto structural = candidatesFor(box, "<body><div></div></body>");
    ASSERT_EQ(structural.size(), 1u);
    EXPECT_EQ(structural[0].reason, "Structural <div> container." + transformCaveat);

    auto inserted = element("span", "new");
    inserted.transformed = true;
    auto container = candidatesFor(inserted, "<body><p>x</p></body>");
    ASSERT_EQ(container.size(), 1u);
    EXPECT_EQ(container[0].reason,
              "No source tag matched this rendered element; treating it as runtime-generated content inside nearest source-backed container <body>.");
    auto renderedOnly = candidatesFor(inserted, "");
    ASSERT_EQ(renderedOnly.size(), 1u);
    EXPECT_EQ(renderedOnly[0].reason, "No <span> in source matched this rendered element.");

    auto replaced = element("p", "new text");
    replaced.transformed = true;
    auto differing = candidatesFor(replaced, "<body><p>old</p></body>");
    ASSERT_EQ(differing.size(), 1u);
    EXPECT_EQ(differing[0].reason,
              "Rendered text differs from source; treating it as runtime-generated content inside nearest source-backed container <body>.");
}

TEST(BrightloopSourceMapper, ScriptElementIsGeneratedOrExternalWhetherOrNotInSource)
{
    for (const char* source : { "<body><script>var a = 1;</script></body>", "<body></body>" }) {
        auto candidates = candidatesFor(element("script"), source);
        ASSERT_EQ(candidates.size(), 1u) << source;
        expectCandidate(candidates[0], BrightloopCandidateKind::unknown, "<script>", BrightloopConfidence::generatedOrExternal, std::nullopt,
                        "Element is generated or external (script).");
    }
    auto style = candidatesFor(element("style"), "<style>p {}</style>");
    ASSERT_EQ(style.size(), 1u);
    EXPECT_EQ(style[0].reason, "Element is generated or external (style).");
}

TEST(BrightloopSourceMapper, BodyChildOfAnEmptyDocumentIsRenderedOnly)
{
    auto candidates = candidatesFor(element("p", "Hello"), "");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::text, "Hello", BrightloopConfidence::renderedOnly, std::nullopt,
                    "No <p> in source matched this rendered element.");
}

// ---- Further behaviour of candidates

TEST(BrightloopSourceMapper, AmbiguousTagsWithoutCommonAncestorAreRenderedOnly)
{
    auto fields = element("p", "x");
    fields.siblingIndex.reset();
    auto candidates = candidatesFor(fields, "<p>x</p><p>x</p>");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::text, "x", BrightloopConfidence::renderedOnly, std::nullopt,
                    "2 <p> elements matched; cannot disambiguate without a common ancestor.");
}

TEST(BrightloopSourceMapper, AttributeSetAtRunTimeYieldsNoAttributeCandidate)
{
    auto fields = element("a", "z");
    fields.attributes = { { "href", "x" }, { "style", "color: red" } };
    auto candidates = candidatesFor(fields, "<a href=\"x\">z</a>");
    ASSERT_EQ(candidates.size(), 2u);
    EXPECT_EQ(candidates[0].label, "@href=\"x\"");
    EXPECT_EQ(candidates[1].confidence, BrightloopConfidence::editableSource);
}

TEST(BrightloopSourceMapper, AttributeLabelTakesTheSourceValue)
{
    auto fields = element("img");
    fields.attributes = { { "src", "http://localhost/cat.png" }, { "alt", "A cat" }, { "style", "width: 10px" } };
    auto candidates = candidatesFor(fields, "<img src=\"cat.png\" alt='A \"cat\"' style=\"width: 10px\">");
    ASSERT_EQ(candidates.size(), 4u);
    expectCandidate(candidates[0], BrightloopCandidateKind::image, "@src=\"cat.png\"", BrightloopConfidence::editableAttribute, Utf16Range { 10, 7 },
                    "Matched <img> with editable @src.");
    expectCandidate(candidates[1], BrightloopCandidateKind::image, "@alt=\"A \"cat\"\"", BrightloopConfidence::editableAttribute, Utf16Range { 24, 7 },
                    "Matched <img> with editable @alt.");
    expectCandidate(candidates[2], BrightloopCandidateKind::styleAttribute, "@style=\"width: 10px\"", BrightloopConfidence::editableAttribute,
                    Utf16Range { 40, 11 }, "Matched <img> with editable @style.");
    // No text of its own: the whole tag, and the text counts as verified.
    expectCandidate(candidates[3], BrightloopCandidateKind::image, "<img>", BrightloopConfidence::editableSource, Utf16Range { 0, 53 },
                    "Single <img> match with verified text content.");
}

TEST(BrightloopSourceMapper, FullRangeEndingBehindTheTextIsPassedOn)
{
    auto candidates = candidatesFor(element("div"), "<div></div");
    ASSERT_EQ(candidates.size(), 1u);
    expectCandidate(candidates[0], BrightloopCandidateKind::container, "<div>", BrightloopConfidence::container, Utf16Range { 0, 11 },
                    "Structural <div> container.");
}

TEST(BrightloopSourceMapper, EveryCandidateStoresTheClampedOverlap)
{
    auto fields = element("h1", "Title");
    fields.rect = { 700, 0, 200, 10 }; // Half inside the fence.
    auto candidates = candidatesFor(fields, "<h1>Title</h1>");
    ASSERT_EQ(candidates.size(), 1u);
    EXPECT_DOUBLE_EQ(candidates[0].overlapFraction, 0.5);
    fields.rect = { 0, 0, std::numeric_limits<double>::quiet_NaN(), 10 };
    EXPECT_EQ(candidatesFor(fields, "<h1>Title</h1>")[0].overlapFraction, 0);
}

TEST(BrightloopSourceMapper, CandidatesHaveFreshIdentities)
{
    auto fields = element("a", "z");
    fields.attributes = { { "href", "x" } };
    auto candidates = candidatesFor(fields, "<a href=\"x\">z</a>");
    ASSERT_EQ(candidates.size(), 2u);
    EXPECT_NE(candidates[0].id, candidates[1].id);
    EXPECT_NE(candidates[0].id, UUID());
}

TEST(BrightloopSourceMapper, MapKeepsDuplicatesAndSortsTheResult)
{
    auto source = UnicodeText::utf16("<body><div class=\"box\"></div><h1>Title</h1></body>");
    BrightloopSelection selection { "docs/a.html", "docs/a.html", fence };
    auto heading = BrightloopDOMRecord(element("h1", "Title"));
    auto box = element("div");
    box.classList = { "box" };
    auto result = Mapper::map({ BrightloopDOMRecord(box), heading, heading }, source, "docs/a.html", selection);
    ASSERT_EQ(result.candidates().size(), 3u);
    EXPECT_EQ(result.candidates()[0].label, "Title");
    EXPECT_EQ(result.candidates()[1].label, "Title");
    EXPECT_EQ(result.candidates()[2].label, "<div>");
    EXPECT_EQ(result.candidates()[0].sourceRange, (BrightloopSourceRange { "docs/a.html", 33, 5 }));
    EXPECT_EQ(result.candidates()[1].sourceRange, result.candidates()[0].sourceRange);
}

TEST(BrightloopSourceMapper, NoRecordsGiveNoCandidates)
{
    BrightloopSelection selection { "index.html", "index.html", fence };
    auto result = Mapper::map({}, UnicodeText::utf16("<h1>x</h1>"), "index.html", selection);
    EXPECT_TRUE(result.candidates().empty());
    EXPECT_EQ(result.selection(), selection);
}

// ---- narrow

TEST(BrightloopSourceMapperNarrow, NoTagOfTheNameLeavesNothing)
{
    EXPECT_TRUE(Mapper::narrow(BrightloopDOMRecord(element("p")), indexed("<div></div><span></span>")).empty());
}

TEST(BrightloopSourceMapperNarrow, IdIsComparedExactlyAndSkippedWhenNoTagHasIt)
{
    auto tags = indexed("<p id=\"Lead\">a</p><p id=\"lead\">b</p><p>c</p>");
    auto fields = element("p");
    fields.siblingIndex.reset();
    fields.elementID = "lead";
    EXPECT_EQ(fullRanges(Mapper::narrow(BrightloopDOMRecord(fields), tags)), (std::vector<Utf16Range> { { 18, 18 } }));
    fields.elementID = "LEAD";
    EXPECT_EQ(Mapper::narrow(BrightloopDOMRecord(fields), tags).size(), 3u);
}

TEST(BrightloopSourceMapperNarrow, IdStepRunsEvenForASingleTag)
{
    // The id step sees a single tag too, and keeps it because nothing else would be left.
    auto fields = element("p");
    fields.elementID = "x";
    EXPECT_EQ(Mapper::narrow(BrightloopDOMRecord(fields), indexed("<p id=\"y\">a</p>")).size(), 1u);
}

TEST(BrightloopSourceMapperNarrow, ClassesKeepTheBestOverlapCountingDuplicatesOnce)
{
    auto tags = indexed("<p class=\"a b\">1</p><p class=\"a a a\">2</p><p class=\"B\">3</p>");
    auto fields = element("p");
    fields.siblingIndex.reset();
    fields.classList = { "a", "a", "b" };
    EXPECT_EQ(fullRanges(Mapper::narrow(BrightloopDOMRecord(fields), tags)), (std::vector<Utf16Range> { { 0, 20 } }));
    fields.classList = { "a" };
    EXPECT_EQ(Mapper::narrow(BrightloopDOMRecord(fields), tags).size(), 2u);
    fields.classList = { "b" }; // Case-sensitive: "B" does not count, and only one tag has "b".
    EXPECT_EQ(fullRanges(Mapper::narrow(BrightloopDOMRecord(fields), tags)), (std::vector<Utf16Range> { { 0, 20 } }));
    fields.classList = { "c" };
    EXPECT_EQ(Mapper::narrow(BrightloopDOMRecord(fields), tags).size(), 3u);
}

TEST(BrightloopSourceMapperNarrow, SiblingIndexKeepsEqualIndexesOrAll)
{
    auto tags = indexed("<ul><li>a</li><li>b</li></ul><ol><li>c</li></ol>");
    auto fields = element("li");
    fields.ancestorTags.clear();
    fields.siblingIndex = 0;
    EXPECT_EQ(fullRanges(Mapper::narrow(BrightloopDOMRecord(fields), tags)), (std::vector<Utf16Range> { { 4, 10 }, { 33, 10 } }));
    fields.siblingIndex = 5;
    EXPECT_EQ(Mapper::narrow(BrightloopDOMRecord(fields), tags).size(), 3u);
}

TEST(BrightloopSourceMapperNarrow, AncestryKeepsTheLongestCommonPrefix)
{
    auto tags = indexed("<main><section><p>a</p></section></main><section><p>b</p></section><p>c</p>");
    auto fields = element("p");
    fields.siblingIndex.reset();
    fields.ancestorTags = { "section", "main", "body", "html" };
    EXPECT_EQ(fullRanges(Mapper::narrow(BrightloopDOMRecord(fields), tags)), (std::vector<Utf16Range> { { 15, 8 } }));
    fields.ancestorTags = { "section", "body", "html" };
    EXPECT_EQ(Mapper::narrow(BrightloopDOMRecord(fields), tags).size(), 2u);
    fields.ancestorTags = { "article" };
    EXPECT_EQ(Mapper::narrow(BrightloopDOMRecord(fields), tags).size(), 3u);
}

TEST(BrightloopSourceMapperNarrow, TextKeepsTagsContainingTheNormalizedSnippet)
{
    auto tags = indexed("<p>Hello   big\nworld</p><p>hello big world</p><p></p>");
    auto fields = element("p", "  big world ");
    fields.siblingIndex.reset();
    fields.ancestorTags.clear();
    EXPECT_EQ(Mapper::narrow(BrightloopDOMRecord(fields), tags).size(), 2u);
    fields.textSnippet = "Hello big";
    EXPECT_EQ(fullRanges(Mapper::narrow(BrightloopDOMRecord(fields), tags)), (std::vector<Utf16Range> { { 0, 24 } }));
    fields.textSnippet = "absent";
    EXPECT_EQ(Mapper::narrow(BrightloopDOMRecord(fields), tags).size(), 3u);
}

TEST(BrightloopSourceMapperNarrow, SingleSurvivorIsReturnedBeforeLaterSteps)
{
    // The id leaves one tag, so the class step, which would prefer the other, never runs.
    auto tags = indexed("<p id=\"a\">x</p><p class=\"c\">y</p>");
    auto fields = element("p", "y");
    fields.elementID = "a";
    fields.classList = { "c" };
    EXPECT_EQ(fullRanges(Mapper::narrow(BrightloopDOMRecord(fields), tags)), (std::vector<Utf16Range> { { 0, 15 } }));
}

TEST(BrightloopSourceMapperNarrow, SurvivorsKeepIndexOrder)
{
    // The index lists children before parents; narrowing keeps that order.
    auto tags = indexed("<div><div>a</div></div>");
    auto fields = element("div");
    fields.siblingIndex.reset();
    fields.ancestorTags.clear();
    EXPECT_EQ(fullRanges(Mapper::narrow(BrightloopDOMRecord(fields), tags)), (std::vector<Utf16Range> { { 5, 12 }, { 0, 23 } }));
}

// ---- Ancestors

TEST(BrightloopSourceMapperAncestors, UpperCaseIdOrClassInTheSourceSkipsToAFurtherAncestor)
{
    const char* source = "<body><section id=\"Outer\"><section class=\"Inner\"><p>x</p></section></section></body>";
    auto fields = element("p", "x");
    fields.ancestorSignatures = { "section.Inner", "section#Outer", "body", "html" };
    auto ancestor = Mapper::nearestSourceBackedAncestor(BrightloopDOMRecord(fields), indexed(source));
    ASSERT_TRUE(ancestor.has_value());
    EXPECT_EQ(ancestor->tagName, "body");
    fields.ancestorSignatures = { "section.inner", "section#outer" };
    EXPECT_FALSE(Mapper::nearestSourceBackedAncestor(BrightloopDOMRecord(fields), indexed(source)).has_value());
}

TEST(BrightloopSourceMapperAncestors, LowerCaseSignatureMatchesIdAndAllClasses)
{
    const char* source = "<main id=\"app\" class=\"shell wide\"><p>x</p></main>";
    auto fields = element("p", "x");
    fields.ancestorSignatures = { "main#app.shell.wide", "body" };
    auto ancestor = Mapper::nearestSourceBackedAncestor(BrightloopDOMRecord(fields), indexed(source));
    ASSERT_TRUE(ancestor.has_value());
    EXPECT_EQ(ancestor->fullRange, (Utf16Range { 0, 49 }));
    fields.ancestorSignatures = { "main#app.shell.narrow" };
    EXPECT_FALSE(Mapper::nearestSourceBackedAncestor(BrightloopDOMRecord(fields), indexed(source)).has_value());
}

TEST(BrightloopSourceMapperAncestors, EqualSignaturesPickTheFirstInClosingOrder)
{
    auto fields = element("p", "x");
    fields.ancestorSignatures = { "section" };
    auto ancestor = Mapper::nearestSourceBackedAncestor(BrightloopDOMRecord(fields), indexed("<section><section><p>x</p></section></section>"));
    ASSERT_TRUE(ancestor.has_value());
    EXPECT_EQ(ancestor->fullRange, (Utf16Range { 9, 27 }));
}

TEST(BrightloopSourceMapperAncestors, CommonAncestorIsTheShortestSpanningTagThatIsNoMatch)
{
    auto tags = indexed("<div><ul><li>a</li><li>b</li></ul></div>");
    std::vector<IndexedTag> matches { tags[0], tags[1] };
    auto ancestor = Mapper::commonAncestor(matches, tags);
    ASSERT_TRUE(ancestor.has_value());
    EXPECT_EQ(ancestor->tagName, "ul");
    EXPECT_FALSE(Mapper::commonAncestor({}, tags).has_value());
    // A match is never its own common ancestor.
    std::vector<IndexedTag> outer { tags[3] };
    EXPECT_FALSE(Mapper::commonAncestor(outer, tags).has_value());
}

TEST(BrightloopSourceMapperAncestors, CommonAncestorOfEqualLengthsIsTheFirstInIndexOrder)
{
    // One index never holds two tags with one span, but the search takes any list of tags.
    auto tagWith = [](std::string name, Utf16Range range) {
        IndexedTag tag;
        tag.tagName = std::move(name);
        tag.fullRange = range;
        return tag;
    };
    std::vector<IndexedTag> list { tagWith("p", { 10, 5 }), tagWith("section", { 0, 40 }), tagWith("a", { 5, 20 }), tagWith("b", { 5, 20 }),
                                   tagWith("span", { 10, 5 }) };
    auto ancestor = Mapper::commonAncestor({ list[0] }, list);
    ASSERT_TRUE(ancestor.has_value());
    EXPECT_EQ(ancestor->tagName, "a");
    // A tag with a match's span is left out by its span, whatever its name.
    std::vector<IndexedTag> withoutOuter { tagWith("p", { 10, 5 }), tagWith("span", { 10, 5 }) };
    EXPECT_FALSE(Mapper::commonAncestor({ withoutOuter[0] }, withoutOuter).has_value());
}

TEST(BrightloopSourceMapperAncestors, ParseSignatureReadsSegments)
{
    EXPECT_EQ(Mapper::parseSignature("DIV#Hero.Card.wide"), (Mapper::ParsedSignature { "div", "Hero", { "Card", "wide" } }));
    EXPECT_EQ(Mapper::parseSignature("section"), (Mapper::ParsedSignature { "section", std::nullopt, {} }));
    EXPECT_EQ(Mapper::parseSignature("p.a#first.b#second"), (Mapper::ParsedSignature { "p", "second", { "a", "b" } }));
    // An id with a dot is read as an id and a class: the signature cannot tell them apart.
    EXPECT_EQ(Mapper::parseSignature("div#a.b"), (Mapper::ParsedSignature { "div", "a", { "b" } }));
    EXPECT_EQ(Mapper::parseSignature("span#"), (Mapper::ParsedSignature { "span", "", {} }));
}

// ---- Small helpers

TEST(BrightloopSourceMapperHelpers, RelevantAttributesByKindOfElement)
{
    auto link = element("a");
    link.attributes = { { "class", "c" }, { "style", "s" }, { "href", "h" }, { "title", "t" } };
    EXPECT_EQ(Mapper::relevantAttributes(BrightloopDOMRecord(link)), (std::vector<std::string> { "href", "style", "class" }));
    auto image = element("img");
    image.attributes = { { "class", "c" }, { "alt", "a" }, { "src", "s" } };
    EXPECT_EQ(Mapper::relevantAttributes(BrightloopDOMRecord(image)), (std::vector<std::string> { "src", "alt", "class" }));
    auto paragraph = element("p");
    paragraph.attributes = { { "class", "c" }, { "style", "s" }, { "title", "t" } };
    EXPECT_EQ(Mapper::relevantAttributes(BrightloopDOMRecord(paragraph)), (std::vector<std::string> { "style", "class" }));
}

TEST(BrightloopSourceMapperHelpers, CustomElementOffersItsOwnAttributesSorted)
{
    auto custom = element("my-card");
    custom.attributes = { { "zeta", "1" }, { "heading", "x" }, { "aria-label", "y" }, { "onclick", "z" }, { "id", "i" },
                          { "class", "c" }, { "style", "s" }, { "role", "r" }, { "one", "o" }, { "data-x", "d" } };
    EXPECT_EQ(Mapper::relevantAttributes(BrightloopDOMRecord(custom)), (std::vector<std::string> { "data-x", "heading", "zeta" }));
}

TEST(BrightloopSourceMapperHelpers, PresentKeepsGivenOrder)
{
    auto fields = element("p");
    fields.attributes = { { "b", "" }, { "a", "" } };
    EXPECT_EQ(Mapper::present({ "c", "b", "a" }, BrightloopDOMRecord(fields)), (std::vector<std::string> { "b", "a" }));
}

TEST(BrightloopSourceMapperHelpers, KindByTagName)
{
    const std::vector<std::pair<std::string, BrightloopCandidateKind>> table {
        { "a", BrightloopCandidateKind::link }, { "img", BrightloopCandidateKind::image }, { "button", BrightloopCandidateKind::button },
        { "label", BrightloopCandidateKind::formLabel }, { "h1", BrightloopCandidateKind::heading }, { "h6", BrightloopCandidateKind::heading },
        { "h7", BrightloopCandidateKind::unknown }, { "section", BrightloopCandidateKind::section }, { "article", BrightloopCandidateKind::section },
        { "aside", BrightloopCandidateKind::section }, { "header", BrightloopCandidateKind::section }, { "footer", BrightloopCandidateKind::section },
        { "main", BrightloopCandidateKind::section }, { "li", BrightloopCandidateKind::listItem }, { "nav", BrightloopCandidateKind::navItem },
        { "div", BrightloopCandidateKind::container }, { "p", BrightloopCandidateKind::text }, { "span", BrightloopCandidateKind::text },
        { "em", BrightloopCandidateKind::text }, { "strong", BrightloopCandidateKind::text }, { "ul", BrightloopCandidateKind::unknown },
        { "b", BrightloopCandidateKind::unknown },
    };
    for (auto& [tagName, expected] : table)
        EXPECT_EQ(rawValue(Mapper::kind(BrightloopDOMRecord(element(tagName)), std::nullopt)), rawValue(expected)) << tagName;
}

TEST(BrightloopSourceMapperHelpers, KindByAttributeName)
{
    BrightloopDOMRecord link(element("a"));
    BrightloopDOMRecord image(element("img"));
    BrightloopDOMRecord paragraph(element("p"));
    auto pseudoFields = element("a");
    pseudoFields.pseudoElement = "::before";
    BrightloopDOMRecord pseudo(pseudoFields);
    EXPECT_EQ(Mapper::kind(link, "style"), BrightloopCandidateKind::styleAttribute);
    EXPECT_EQ(Mapper::kind(pseudo, "class"), BrightloopCandidateKind::classAttribute);
    EXPECT_EQ(Mapper::kind(pseudo, "title"), BrightloopCandidateKind::text);
    EXPECT_EQ(Mapper::kind(link, "href"), BrightloopCandidateKind::link);
    EXPECT_EQ(Mapper::kind(image, "src"), BrightloopCandidateKind::image);
    EXPECT_EQ(Mapper::kind(paragraph, "title"), BrightloopCandidateKind::unknown);
}

TEST(BrightloopSourceMapperHelpers, LabelsPreferTextThenIdThenTagName)
{
    auto fields = element("p", "Some text");
    fields.elementID = "lead";
    EXPECT_EQ(Mapper::label(BrightloopDOMRecord(fields)), "Some text");
    fields.textSnippet = "";
    EXPECT_EQ(Mapper::label(BrightloopDOMRecord(fields)), "<p #lead>");
    fields.elementID = "";
    EXPECT_EQ(Mapper::label(BrightloopDOMRecord(fields)), "<p>");

    auto tags = indexed("<main id=\"app\"></main><nav id=\"\"></nav><div></div>");
    EXPECT_EQ(Mapper::containerLabel(tags[0]), "<main #app>");
    EXPECT_EQ(Mapper::containerLabel(tags[1]), "<nav>");
    EXPECT_EQ(Mapper::containerLabel(tags[2]), "<div>");
}

TEST(BrightloopSourceMapperHelpers, AttributeLabelEscapesNothing)
{
    EXPECT_EQ(Mapper::attributeLabel("href", "index.html"), "@href=\"index.html\"");
    EXPECT_EQ(Mapper::attributeLabel("title", "say \"hi\""), "@title=\"say \"hi\"\"");
}

TEST(BrightloopSourceMapperHelpers, TextSnippetMatchesRules)
{
    auto tags = indexed("<p>Hello <b>big</b>   world</p><p></p>");
    const IndexedTag& withText = tags[1];
    const IndexedTag& empty = tags[2];
    EXPECT_TRUE(Mapper::textSnippetMatches(BrightloopDOMRecord(element("p")), empty));
    EXPECT_FALSE(Mapper::textSnippetMatches(BrightloopDOMRecord(element("p", "x")), empty));
    EXPECT_FALSE(Mapper::textSnippetMatches(BrightloopDOMRecord(element("p", " \n ")), empty));
    EXPECT_TRUE(Mapper::textSnippetMatches(BrightloopDOMRecord(element("p", " \n ")), withText));
    EXPECT_TRUE(Mapper::textSnippetMatches(BrightloopDOMRecord(element("p", "big  world")), withText));
    EXPECT_FALSE(Mapper::textSnippetMatches(BrightloopDOMRecord(element("p", "Hello world")), withText));
    EXPECT_FALSE(Mapper::textSnippetMatches(BrightloopDOMRecord(element("p", "hello")), withText));

    // Inner texts made elsewhere are normalized here too, ASCII or not.
    IndexedTag loose;
    loose.tagName = "p";
    loose.innerText = "  Hello \n\t big  ";
    EXPECT_TRUE(Mapper::textSnippetMatches(BrightloopDOMRecord(element("p", "Hello big")), loose));
    loose.innerText = "caf\xC3\xA9\xC2\xA0\xC2\xA0" "cr\xC3\xA8me";
    EXPECT_TRUE(Mapper::textSnippetMatches(BrightloopDOMRecord(element("p", "caf\xC3\xA9 cr\xC3\xA8me")), loose));
    EXPECT_TRUE(Mapper::textSnippetMatches(BrightloopDOMRecord(element("p", "caf\xC3\xA9  cr")), loose));
}

TEST(BrightloopSourceMapperHelpers, OverlapFractionIsTheElementsShareInsideTheFence)
{
    BrightloopRect smallFence { 0, 0, 10, 10 };
    EXPECT_DOUBLE_EQ(Mapper::overlapFraction({ 5, 0, 10, 10 }, smallFence), 0.5);
    EXPECT_DOUBLE_EQ(Mapper::overlapFraction({ 2, 2, 2, 2 }, smallFence), 1);
    // A large element filling the fence still counts only the share of itself inside.
    EXPECT_DOUBLE_EQ(Mapper::overlapFraction({ 0, 0, 100, 100 }, smallFence), 0.01);
    EXPECT_EQ(Mapper::overlapFraction({ 0, 0, 0, 10 }, smallFence), 0);
    EXPECT_EQ(Mapper::overlapFraction({ 20, 20, 5, 5 }, smallFence), 0);
}

TEST(BrightloopSourceMapperHelpers, ReasonWithCaveatsAppendsInOrder)
{
    auto fields = element("p");
    EXPECT_EQ(Mapper::reasonWithCaveats("Base.", BrightloopDOMRecord(fields)), "Base.");
    fields.transformed = true;
    fields.effectiveOpacity = 0.0;
    fields.isPointerHitTarget = true;
    fields.displayContentsAncestors = { "div.wrap", "section" };
    EXPECT_EQ(Mapper::reasonWithCaveats("Base.", BrightloopDOMRecord(fields)),
              "Base. Element uses CSS transform; Brightloop geometry is an axis-aligned bounding box."
              " Visible: this source node is visually suppressed by CSS or ancestor opacity."
              " Hit target: this element receives pointer events for the fenced surface."
              " Inside display: contents ancestor div.wrap > section.");
}

TEST(BrightloopSourceMapperHelpers, StructuralContainersAreExactlyTheListedNames)
{
    for (auto name : { "html", "body", "section", "article", "aside", "header", "footer", "main", "nav", "div", "ul", "ol" })
        EXPECT_TRUE(Mapper::isStructuralContainer(name)) << name;
    for (auto name : { "p", "li", "span", "form", "table", "DIV", "" })
        EXPECT_FALSE(Mapper::isStructuralContainer(name)) << name;
}

TEST(BrightloopSourceMapperHelpers, NormalizeCollapsesWhitespaceAndTrims)
{
    EXPECT_EQ(Mapper::normalize("  a \t\n b\r\n\fc  "), "a b c");
    EXPECT_EQ(Mapper::normalize(""), "");
    EXPECT_EQ(Mapper::normalize(" \n "), "");
    EXPECT_EQ(Mapper::normalize("\va\v\vb\v"), "a b");
    // Control characters other than the white space ones stay.
    EXPECT_EQ(Mapper::normalize("a\x1F\x1F" "b"), "a\x1F\x1F" "b");
    // No-break and ideographic spaces are white space in the Unicode sense.
    EXPECT_EQ(Mapper::normalize("\xC2\xA0" "caf\xC3\xA9\xC2\xA0\xC2\xA0" "cr\xC3\xA8me\xE3\x80\x80"), "caf\xC3\xA9 cr\xC3\xA8me");
}

TEST(BrightloopSourceMapperHelpers, NormalizeOfASCIITextEqualsTheRegularExpressionRule)
{
    // The ASCII fast path must give what "\s+" and the trim give.
    auto whitespace = RegularExpression::make(u"\\s+");
    ASSERT_TRUE(whitespace.has_value());
    for (int code = 0; code < 0x80; ++code) {
        std::string text = "a";
        text.push_back(static_cast<char>(code));
        text.push_back(static_cast<char>(code));
        text += "b";
        std::string padded = std::string(1, static_cast<char>(code)) + text + std::string(1, static_cast<char>(code));
        for (auto& sample : { text, padded }) {
            auto expected = UnicodeText::utf8FromUTF16(StringHelpers::trimmingWhitespaceAndNewlines(
                whitespace->replacingMatches(UnicodeText::utf16(sample), u" ")));
            EXPECT_EQ(Mapper::normalize(sample), expected) << "code " << code;
        }
    }
}

// --- Pages that once made the indexer under the mapper slow or hungry (timings in the growth
// benchmark) ---

namespace {

std::vector<BrightloopCandidate> candidatesFor(const BrightloopDOMRecordFields& fields, const std::u16string& source)
{
    return Mapper::candidates(BrightloopDOMRecord(fields), source, HTMLTagIndexer::index(source), "index.html", fence);
}

TEST(BrightloopSourceMapperHostileInput, DeeplyNestedUnclosedElementsCannotBeTold)
{
    auto candidates = candidatesFor(element("div"), QuilloryTest::repeatedText(u"<div>", 12'500));
    ASSERT_EQ(candidates.size(), 1u);
    EXPECT_EQ(candidates[0].confidence, BrightloopConfidence::renderedOnly);
    EXPECT_EQ(candidates[0].reason, "12500 <div> elements matched; cannot disambiguate without a common ancestor.");
}

TEST(BrightloopSourceMapperHostileInput, UnclosedTagsRepeatedLeaveTheRealElement)
{
    auto html = u"<p class=lead>Intro</p>" + QuilloryTest::repeatedText(u"<a ", 65'600);
    auto paragraph = element("p", "Intro");
    paragraph.classList = { "lead" };
    auto candidates = candidatesFor(paragraph, html);
    ASSERT_EQ(candidates.size(), 1u);
    EXPECT_EQ(candidates[0].confidence, BrightloopConfidence::editableSource);
    EXPECT_EQ(candidates[0].sourceRange, (BrightloopSourceRange { "index.html", 14, 5 }));
    EXPECT_EQ(candidatesFor(element("a"), html)[0].confidence, BrightloopConfidence::renderedOnly);
}

TEST(BrightloopSourceMapperHostileInput, UnclosedQuotesRepeatedMakeOneLink)
{
    auto html = QuilloryTest::repeatedText(u"<a x=\"", 32'800) + u">";
    auto candidates = candidatesFor(element("a"), html);
    ASSERT_EQ(candidates.size(), 1u);
    EXPECT_EQ(candidates[0].sourceRange, (BrightloopSourceRange { "index.html", 0, html.size() }));
}

TEST(BrightloopSourceMapperHostileInput, ValuelessClassKeepsTheElementFindable)
{
    auto span = element("span", "b");
    span.classList = { "card" };
    auto candidates = candidatesFor(span, u"<span class=other>a</span><span class=card class>b</span>");
    ASSERT_EQ(candidates.size(), 1u);
    EXPECT_EQ(candidates[0].confidence, BrightloopConfidence::editableSource);
    EXPECT_EQ(candidates[0].sourceRange, (BrightloopSourceRange { "index.html", 49, 1 }));
}

}
