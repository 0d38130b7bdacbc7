#include "QuilloryCore/Brightloop/BrightloopModels.h"

#include <gtest/gtest.h>

#include <unordered_set>

using namespace Quillory;

namespace {

BrightloopDOMRecordFields elementFields(std::string tagName)
{
    BrightloopDOMRecordFields fields;
    fields.tagName = std::move(tagName);
    fields.rect = { 0, 0, 100, 20 };
    fields.isVisible = true;
    return fields;
}

BrightloopCandidate candidate(std::string label, BrightloopDOMRecord dom, BrightloopConfidence confidence = BrightloopConfidence::editableSource,
                              double overlap = 1)
{
    BrightloopCandidate result;
    result.id = UUID::random();
    result.kind = BrightloopCandidateKind::text;
    result.label = std::move(label);
    result.confidence = confidence;
    result.dom = std::move(dom);
    result.overlapFraction = overlap;
    result.reason = "test";
    return result;
}

BrightloopDOMRecord paintedPseudoElement()
{
    auto fields = elementFields("div");
    fields.pseudoElement = "::before";
    fields.hasPaintedSurface = true;
    return BrightloopDOMRecord(fields);
}

std::vector<std::string> labels(const std::vector<BrightloopCandidate>& candidates)
{
    std::vector<std::string> result;
    for (auto& each : candidates)
        result.push_back(each.label);
    return result;
}

}

TEST(BrightloopRect, ComputedEdgesAndArea)
{
    BrightloopRect rect { 10, 20, 30, 40 };
    EXPECT_EQ(rect.minX(), 10);
    EXPECT_EQ(rect.minY(), 20);
    EXPECT_EQ(rect.maxX(), 40);
    EXPECT_EQ(rect.maxY(), 60);
    EXPECT_EQ(rect.area(), 1200);
    EXPECT_FALSE(rect.isEmpty());
}

TEST(BrightloopRect, NegativeSizesHaveNoAreaAndAreEmpty)
{
    EXPECT_EQ((BrightloopRect { 0, 0, -5, 10 }).area(), 0);
    EXPECT_EQ((BrightloopRect { 0, 0, 5, -10 }).area(), 0);
    EXPECT_TRUE((BrightloopRect { 0, 0, -5, 10 }).isEmpty());
    EXPECT_TRUE((BrightloopRect { 0, 0, 10, 0 }).isEmpty());
    EXPECT_FALSE((BrightloopRect { 0, 0, 0.5, 0.5 }).isEmpty());
}

TEST(BrightloopRect, IntersectionOfOverlappingRects)
{
    BrightloopRect a { 0, 0, 100, 50 };
    BrightloopRect b { 60, 30, 100, 100 };
    EXPECT_EQ(a.intersection(b), (BrightloopRect { 60, 30, 40, 20 }));
    EXPECT_EQ(a.overlapArea(b), 800);
}

TEST(BrightloopRect, DisjointIntersectionKeepsTheMeetingCorner)
{
    BrightloopRect a { 0, 0, 10, 10 };
    BrightloopRect b { 30, 5, 10, 10 };
    EXPECT_EQ(a.intersection(b), (BrightloopRect { 30, 5, 0, 0 }));
    EXPECT_EQ(a.overlapArea(b), 0);
}

TEST(BrightloopRect, TouchingEdgesDoNotOverlap)
{
    BrightloopRect a { 0, 0, 10, 10 };
    BrightloopRect b { 10, 0, 10, 10 };
    EXPECT_EQ(a.intersection(b), (BrightloopRect { 10, 0, 0, 0 }));
    EXPECT_EQ(a.overlapArea(b), 0);
}

TEST(BrightloopDOMRecord, ConstructorLowerCasesNamesAndSignaturesOnly)
{
    BrightloopDOMRecordFields fields;
    fields.tagName = "DIV";
    fields.elementID = "Hero";
    fields.classList = { "Card", "BIG" };
    fields.attributes = { { "data-X", "Value" } };
    fields.ancestorTags = { "MAIN", "Body" };
    fields.ancestorSignatures = { "MAIN#App.Shell", "BODY" };
    fields.displayContentsAncestors = { "SECTION.Wrap" };
    fields.shadowHostTagName = "My-Card";
    fields.shadowHostID = "Host";
    fields.shadowHostClassList = { "Outer" };
    fields.role = "Banner";
    BrightloopDOMRecord record(fields);
    EXPECT_EQ(record.tagName, "div");
    EXPECT_EQ(record.ancestorTags, (std::vector<std::string> { "main", "body" }));
    EXPECT_EQ(record.ancestorSignatures, (std::vector<std::string> { "main#app.shell", "body" }));
    EXPECT_EQ(record.displayContentsAncestors, (std::vector<std::string> { "section.wrap" }));
    EXPECT_EQ(record.shadowHostTagName, "my-card");
    EXPECT_EQ(record.elementID, "Hero");
    EXPECT_EQ(record.classList, (std::vector<std::string> { "Card", "BIG" }));
    EXPECT_EQ(record.attributes.at("data-X"), "Value");
    EXPECT_EQ(record.shadowHostID, "Host");
    EXPECT_EQ(record.shadowHostClassList, (std::vector<std::string> { "Outer" }));
    EXPECT_EQ(record.role, "Banner");
}

TEST(BrightloopDOMRecord, ConstructorLowerCasesBeyondASCII)
{
    auto fields = elementFields("div");
    fields.ancestorSignatures = { "section#\xC3\x89T\xC3\x89" }; // "#ÉTÉ"
    BrightloopDOMRecord record(fields);
    EXPECT_EQ(record.ancestorSignatures.front(), "section#\xC3\xA9t\xC3\xA9");
}

TEST(BrightloopDOMRecord, GeneratedSurfaceIsAPseudoElement)
{
    EXPECT_FALSE(BrightloopDOMRecord(elementFields("p")).isGeneratedRenderedSurface());
    EXPECT_TRUE(paintedPseudoElement().isGeneratedRenderedSurface());
}

TEST(BrightloopDOMRecord, VisualSuppressionThresholds)
{
    struct Case {
        const char* name;
        void (*change)(BrightloopDOMRecordFields&);
        bool suppressed;
    };
    const Case cases[] = {
        { "plain", [](BrightloopDOMRecordFields&) {}, false },
        { "hidden", [](BrightloopDOMRecordFields& f) { f.isVisible = false; }, true },
        { "opacity 0.01", [](BrightloopDOMRecordFields& f) { f.effectiveOpacity = 0.01; }, true },
        { "opacity 0.011", [](BrightloopDOMRecordFields& f) { f.effectiveOpacity = 0.011; }, false },
        { "text alpha 0.05", [](BrightloopDOMRecordFields& f) { f.textColorAlpha = 0.05; }, true },
        { "text alpha 0.06", [](BrightloopDOMRecordFields& f) { f.textColorAlpha = 0.06; }, false },
        { "font 0.5", [](BrightloopDOMRecordFields& f) { f.fontSize = 0.5; }, true },
        { "font 0.6", [](BrightloopDOMRecordFields& f) { f.fontSize = 0.6; }, false },
        { "absent values", [](BrightloopDOMRecordFields& f) { f.effectiveOpacity.reset(); f.textColorAlpha.reset(); f.fontSize.reset(); }, false },
    };
    for (auto& each : cases) {
        auto fields = elementFields("p");
        each.change(fields);
        EXPECT_EQ(BrightloopDOMRecord(fields).isVisuallySuppressed(), each.suppressed) << each.name;
    }
}

TEST(BrightloopSourceRange, EndIsStartPlusLength)
{
    BrightloopSourceRange range { "index.html", 12, 5 };
    EXPECT_EQ(range.utf16End(), 17u);
}

TEST(BrightloopConfidence, CasesRanksAndJumps)
{
    const std::vector<std::tuple<BrightloopConfidence, std::string, int, bool>> expected {
        { BrightloopConfidence::editableSource, "editableSource", 5, true },
        { BrightloopConfidence::editableAttribute, "editableAttribute", 4, true },
        { BrightloopConfidence::container, "container", 3, true },
        { BrightloopConfidence::renderedOnly, "renderedOnly", 2, false },
        { BrightloopConfidence::generatedOrExternal, "generatedOrExternal", 1, false },
    };
    ASSERT_EQ(allBrightloopConfidences.size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        auto [confidence, name, expectedRank, jumps] = expected[index];
        EXPECT_EQ(allBrightloopConfidences[index], confidence);
        EXPECT_EQ(rawValue(confidence), name);
        EXPECT_EQ(brightloopConfidence(name), confidence);
        EXPECT_EQ(rank(confidence), expectedRank);
        EXPECT_EQ(supportsJumpToSource(confidence), jumps);
    }
    EXPECT_EQ(brightloopConfidence("EditableSource"), std::nullopt);
}

TEST(BrightloopCandidateKind, RawValuesAreCaseNames)
{
    const std::vector<std::pair<BrightloopCandidateKind, std::string>> expected {
        { BrightloopCandidateKind::text, "text" },
        { BrightloopCandidateKind::link, "link" },
        { BrightloopCandidateKind::image, "image" },
        { BrightloopCandidateKind::button, "button" },
        { BrightloopCandidateKind::formLabel, "formLabel" },
        { BrightloopCandidateKind::heading, "heading" },
        { BrightloopCandidateKind::section, "section" },
        { BrightloopCandidateKind::listItem, "listItem" },
        { BrightloopCandidateKind::navItem, "navItem" },
        { BrightloopCandidateKind::container, "container" },
        { BrightloopCandidateKind::styleAttribute, "styleAttribute" },
        { BrightloopCandidateKind::classAttribute, "classAttribute" },
        { BrightloopCandidateKind::unknown, "unknown" },
    };
    for (auto& [kind, name] : expected) {
        EXPECT_EQ(rawValue(kind), name);
        EXPECT_EQ(brightloopCandidateKind(name), kind);
    }
    EXPECT_EQ(brightloopCandidateKind("label"), std::nullopt);
}

TEST(BrightloopResult, PaintedPseudoElementAt14PercentSortsBehindVisibleElementsAt15PercentBefore)
{
    BrightloopDOMRecord element(elementFields("p"));
    BrightloopSelection selection { "index.html", "index.html", { 0, 0, 800, 600 } };

    BrightloopResult below(selection, { candidate("element", element), candidate("pseudo", paintedPseudoElement(), BrightloopConfidence::container, 0.14) });
    EXPECT_EQ(labels(below.candidates()), (std::vector<std::string> { "element", "pseudo" }));

    BrightloopResult above(selection, { candidate("element", element), candidate("pseudo", paintedPseudoElement(), BrightloopConfidence::container, 0.15) });
    EXPECT_EQ(labels(above.candidates()), (std::vector<std::string> { "pseudo", "element" }));
}

TEST(BrightloopResult, VisualPriorityTable)
{
    auto pseudoWith = [](void (*change)(BrightloopDOMRecordFields&)) {
        auto fields = elementFields("div");
        fields.pseudoElement = "::after";
        change(fields);
        return BrightloopDOMRecord(fields);
    };
    auto textPseudo = pseudoWith([](BrightloopDOMRecordFields& f) { f.renderedTextSnippet = "Hi"; });
    auto emptyTextPseudo = pseudoWith([](BrightloopDOMRecordFields& f) { f.renderedTextSnippet = ""; });
    auto attributePseudo = pseudoWith([](BrightloopDOMRecordFields& f) { f.contentSourceAttribute = "title"; });
    auto plainPseudo = pseudoWith([](BrightloopDOMRecordFields&) {});
    auto hitFields = elementFields("a");
    hitFields.isPointerHitTarget = true;
    hitFields.isVisible = false; // A hit target keeps priority 2 even when suppressed.
    BrightloopDOMRecord hitTarget(hitFields);
    auto hiddenFields = elementFields("span");
    hiddenFields.isVisible = false;
    BrightloopDOMRecord hidden(hiddenFields);
    BrightloopDOMRecord ordinary(elementFields("p"));

    // All share confidence and overlap, so priority alone orders them; input is reversed.
    std::vector<BrightloopCandidate> input {
        candidate("hidden", hidden),
        candidate("painted-low", paintedPseudoElement(), BrightloopConfidence::editableSource, 0.1),
        candidate("ordinary", ordinary),
        candidate("hit", hitTarget),
        candidate("plain-pseudo", plainPseudo),
        candidate("empty-text-pseudo", emptyTextPseudo),
        candidate("attribute-pseudo", attributePseudo),
        candidate("text-pseudo", textPseudo),
    };
    for (auto& each : input) {
        if (each.label != "painted-low")
            each.overlapFraction = 0.1;
    }
    auto sorted = BrightloopResult::sorted(input);
    EXPECT_EQ(labels(sorted), (std::vector<std::string> { "attribute-pseudo", "text-pseudo", "plain-pseudo", "empty-text-pseudo", "ordinary", "hit", "painted-low", "hidden" }));
}

TEST(BrightloopResult, FurtherKeysAreRankThenOverlapThenSmallerArea)
{
    auto withArea = [](double width) {
        auto fields = elementFields("p");
        fields.rect = { 0, 0, width, 10 };
        return BrightloopDOMRecord(fields);
    };
    std::vector<BrightloopCandidate> input {
        candidate("big-low-rank", withArea(100), BrightloopConfidence::container, 1),
        candidate("big", withArea(100), BrightloopConfidence::editableSource, 0.5),
        candidate("small", withArea(10), BrightloopConfidence::editableSource, 0.5),
        candidate("more-overlap", withArea(100), BrightloopConfidence::editableSource, 0.9),
    };
    EXPECT_EQ(labels(BrightloopResult::sorted(input)), (std::vector<std::string> { "more-overlap", "small", "big", "big-low-rank" }));
}

TEST(BrightloopResult, FullTieKeepsInputOrder)
{
    BrightloopDOMRecord element(elementFields("p"));
    std::vector<BrightloopCandidate> input;
    for (auto name : { "c", "a", "d", "b", "e" })
        input.push_back(candidate(name, element));
    EXPECT_EQ(labels(BrightloopResult::sorted(input)), (std::vector<std::string> { "c", "a", "d", "b", "e" }));
}

TEST(BrightloopResult, EqualValuesHashEqually)
{
    BrightloopDOMRecord element(elementFields("p"));
    BrightloopSelection selection { "a.html", "a.html", { 1, 2, 3, 4 } };
    auto one = candidate("x", element);
    BrightloopResult first(selection, { one });
    BrightloopResult second(selection, { one });
    EXPECT_EQ(first, second);
    EXPECT_EQ(std::hash<BrightloopResult>()(first), std::hash<BrightloopResult>()(second));
    std::unordered_set<BrightloopDOMRecord> records { element, element };
    EXPECT_EQ(records.size(), 1u);
    auto other = one;
    other.id = UUID::random();
    EXPECT_NE(one, other);
}
