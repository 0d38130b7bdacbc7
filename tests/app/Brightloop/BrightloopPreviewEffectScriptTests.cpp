#include "QuilloryCore/Brightloop/BrightloopPreviewEffectScript.h"

#include "QuilloryCore/Brightloop/BrightloopJS.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/PreviewHarness.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

using namespace Quillory;
using QuilloryTest::PreviewHarness;
using QuilloryTest::waitUntil;
using nlohmann::json;

namespace {

constexpr const char* effectsPage = R"html(<!doctype html>
<html><head><meta charset="utf-8"><title>Effects</title>
<style>body { margin: 0; } .badge::after { content: "3"; }</style></head>
<body>
<h1 id="title">Title</h1>
<p class="lead">Plain paragraph</p>
<p id="styled" style="color: rgb(200, 0, 0)">Styled paragraph</p>
<span id="count" class="badge">Count</span>
<p class="other">Other paragraph</p>
</body></html>
)html";

constexpr const char* hiddenRuleBody = " { content: none !important; visibility: hidden !important; opacity: 0 !important; pointer-events: none !important; }";

// The effect script in a real page, served by a real web preview. Records come from the real
// collection script over the page, as a fence would give them.
class BrightloopPreviewEffect : public testing::Test {
protected:
    void SetUp() override
    {
        m_harness.write("index.html", effectsPage);
        m_harness.scan();
        m_harness.select("index.html");
        m_harness.update();
        ASSERT_TRUE(m_harness.waitForFinishedLoads(1));
        m_records = BrightloopJS::decode(m_harness.evaluate("return " + BrightloopJS::script({ 0, 0, 900, 700 })));
        ASSERT_FALSE(m_records.empty());
    }

    const BrightloopDOMRecord& record(const std::string& elementID, const std::optional<std::string>& pseudoElement = std::nullopt)
    {
        for (auto& candidate : m_records) {
            if (candidate.elementID == elementID && candidate.pseudoElement == pseudoElement)
                return candidate;
        }
        ADD_FAILURE() << "no record for #" << elementID;
        return m_records.front();
    }

    const BrightloopDOMRecord& recordWithClass(const std::string& className)
    {
        for (auto& candidate : m_records) {
            if (!candidate.pseudoElement && candidate.classList == std::vector<std::string> { className })
                return candidate;
        }
        ADD_FAILURE() << "no record for ." << className;
        return m_records.front();
    }

    static BrightloopCandidate candidate(const BrightloopDOMRecord& dom)
    {
        BrightloopCandidate result;
        result.id = UUID::random();
        result.dom = dom;
        result.label = dom.tagName;
        return result;
    }

    // Evaluates the whole effect script as the web preview does, and fails on a script error.
    void apply(const BrightloopPreviewDirective& directive)
    {
        EXPECT_EQ(m_harness.evaluate(BrightloopPreviewEffectScript::script(directive) + "\nreturn 'applied';"), "applied");
    }

    // What the effects left on an element found by a selector.
    json state(const std::string& selector)
    {
        return json::parse(m_harness.evaluate("const element = document.querySelector('" + selector + R"(');
            const style = getComputedStyle(element);
            return JSON.stringify({
                style: element.getAttribute('style'),
                marker: element.getAttribute('data-quillory-brightloop-preview-effect'),
                saved: '__quilloryBrightloopOriginalStyle' in element,
                visibility: style.visibility,
                pointerEvents: style.pointerEvents,
                outline: style.outlineStyle + ' ' + style.outlineWidth + ' ' + style.outlineColor,
                outlineOffset: style.outlineOffset,
                boxShadow: style.boxShadow,
            });)"));
    }

    json pseudoState(const std::string& selector)
    {
        return json::parse(m_harness.evaluate("const style = getComputedStyle(document.querySelector('" + selector + R"('), '::after');
            const sheet = document.getElementById('quillory-brightloop-pseudo-preview-effects');
            return JSON.stringify({
                content: style.content,
                visibility: style.visibility,
                outline: style.outlineStyle + ' ' + style.outlineWidth,
                rules: sheet ? sheet.textContent : null,
            });)"));
    }

    int markedElementCount() { return std::stoi(m_harness.evaluate("return String(document.querySelectorAll('[data-quillory-brightloop-preview-effect]').length);")); }

    PreviewHarness m_harness;
    std::vector<BrightloopDOMRecord> m_records;
};

}

TEST_F(BrightloopPreviewEffect, HidingTwiceThenShowingRestoresAnAbsentStyleAttribute)
{
    auto plain = candidate(recordWithClass("lead"));
    auto styled = candidate(record("styled"));
    BrightloopPreviewDirective hidden { { plain, styled }, std::nullopt };

    apply(hidden);
    apply(hidden);
    auto plainState = state("p.lead");
    EXPECT_EQ(plainState["style"], "visibility: hidden; pointer-events: none;");
    EXPECT_EQ(plainState["marker"], "hidden");
    EXPECT_EQ(plainState["visibility"], "hidden");
    EXPECT_EQ(plainState["pointerEvents"], "none");
    EXPECT_EQ(state("#styled")["style"], "color: rgb(200, 0, 0); visibility: hidden; pointer-events: none;");

    apply(BrightloopPreviewDirective::empty());
    plainState = state("p.lead");
    // Gone again, not left empty.
    EXPECT_EQ(plainState["style"], nullptr);
    EXPECT_EQ(plainState["marker"], nullptr);
    EXPECT_EQ(plainState["saved"], false);
    EXPECT_EQ(plainState["visibility"], "visible");
    auto styledState = state("#styled");
    EXPECT_EQ(styledState["style"], "color: rgb(200, 0, 0)");
    EXPECT_EQ(styledState["saved"], false);
    EXPECT_EQ(markedElementCount(), 0);
}

TEST_F(BrightloopPreviewEffect, ShowingRightAfterHidingLeavesNoStyleAttribute)
{
    // Nothing reads the page between the two runs, so the engine still has the inline style to
    // write back when the attribute goes.
    auto plain = candidate(recordWithClass("lead"));
    apply({ { plain }, std::nullopt });
    apply(BrightloopPreviewDirective::empty());
    EXPECT_EQ(m_harness.evaluate("return String(document.querySelector('p.lead').hasAttribute('style'));"), "false");
}

TEST_F(BrightloopPreviewEffect, HiddenAndHighlightedGetsBothStylesAndTheHighlightedMarker)
{
    auto title = candidate(record("title"));
    apply({ { title }, title });
    auto titleState = state("#title");
    EXPECT_EQ(titleState["marker"], "highlighted");
    EXPECT_EQ(titleState["visibility"], "hidden");
    EXPECT_EQ(titleState["pointerEvents"], "none");
    EXPECT_EQ(titleState["outline"], "solid 3px rgb(10, 132, 255)");
    EXPECT_EQ(titleState["outlineOffset"], "3px");
    EXPECT_EQ(titleState["boxShadow"], "rgba(10, 132, 255, 0.22) 0px 0px 0px 5px");

    apply(BrightloopPreviewDirective::empty());
    titleState = state("#title");
    EXPECT_EQ(titleState["style"], nullptr);
    EXPECT_EQ(titleState["marker"], nullptr);
}

TEST_F(BrightloopPreviewEffect, HighlightMovesToTheNextCandidate)
{
    auto title = candidate(record("title"));
    auto lead = candidate(recordWithClass("lead"));
    apply({ {}, title });
    EXPECT_EQ(state("#title")["marker"], "highlighted");

    apply({ {}, lead });
    auto titleState = state("#title");
    EXPECT_EQ(titleState["marker"], nullptr);
    EXPECT_EQ(titleState["style"], nullptr);
    EXPECT_EQ(titleState["outline"], "none 0px rgb(0, 0, 0)");
    auto leadState = state("p.lead");
    EXPECT_EQ(leadState["marker"], "highlighted");
    EXPECT_EQ(leadState["outline"], "solid 3px rgb(10, 132, 255)");
    EXPECT_EQ(markedElementCount(), 1);
}

TEST_F(BrightloopPreviewEffect, PseudoElementRuleIsBuiltFromTheRecordAlone)
{
    auto after = candidate(record("count", "::after"));
    apply({ { after }, std::nullopt });
    auto hidden = pseudoState("#count");
    EXPECT_EQ(hidden["content"], "none");
    EXPECT_EQ(hidden["visibility"], "hidden");
    EXPECT_EQ(hidden["rules"], std::string("#count::after") + hiddenRuleBody + "\n");
    // The host element itself is left alone.
    EXPECT_EQ(state("#count")["marker"], nullptr);

    apply({ {}, after });
    auto highlighted = pseudoState("#count");
    EXPECT_EQ(highlighted["content"], "\"3\"");
    EXPECT_EQ(highlighted["outline"], "solid 3px");

    apply(BrightloopPreviewDirective::empty());
    auto restored = pseudoState("#count");
    EXPECT_EQ(restored["content"], "\"3\"");
    EXPECT_EQ(restored["rules"], nullptr);
}

TEST_F(BrightloopPreviewEffect, PseudoSelectorEscapesIdsAndJoinsClasses)
{
    BrightloopDOMRecordFields byClasses;
    byClasses.tagName = "span";
    byClasses.classList = { "badge", "x.y" };
    byClasses.pseudoElement = "::after";
    BrightloopDOMRecordFields byID = byClasses;
    byID.elementID = "odd:id";
    BrightloopDOMRecordFields bare;
    bare.pseudoElement = "::before";

    apply({ { candidate(BrightloopDOMRecord(byClasses)), candidate(BrightloopDOMRecord(byID)), candidate(BrightloopDOMRecord(bare)) }, std::nullopt });
    EXPECT_EQ(pseudoState("#count")["rules"],
              std::string("span.badge.x\\.y::after") + hiddenRuleBody + "\n" + "#odd\\:id::after" + hiddenRuleBody + "\n" + "*::before" + hiddenRuleBody + "\n");
    // The class rule matches the page's badge.
    EXPECT_EQ(pseudoState("#count")["content"], "\"3\"") << "a rule for span.badge.x\\.y must not match a span without the class x.y";
}

TEST_F(BrightloopPreviewEffect, ElementThatCannotBeFoundIsSkippedAndTheOthersApply)
{
    BrightloopDOMRecordFields absentTag;
    absentTag.tagName = "article";
    absentTag.rect = { 0, 0, 100, 100 };
    BrightloopDOMRecordFields goneID;
    goneID.tagName = "p";
    goneID.elementID = "gone";
    goneID.rect = { 5000, 5000, 1, 1 };
    BrightloopDOMRecordFields invalidTag;
    invalidTag.tagName = "p[";
    auto lead = candidate(recordWithClass("lead"));

    apply({ { candidate(BrightloopDOMRecord(absentTag)), candidate(BrightloopDOMRecord(goneID)), candidate(BrightloopDOMRecord(invalidTag)), lead },
            std::nullopt });
    EXPECT_EQ(state("p.lead")["marker"], "hidden");
    EXPECT_EQ(markedElementCount(), 1);
}

TEST_F(BrightloopPreviewEffect, ElementIsFoundAfreshByWhatTheRecordRemembers)
{
    auto lead = candidate(recordWithClass("lead"));
    // The page changes under the record: a new paragraph comes first, the old one moves down.
    m_harness.evaluate("document.body.insertAdjacentHTML('afterbegin', '<p class=\"intruder\">New</p>'); return 'ok';");
    apply({ { lead }, std::nullopt });
    EXPECT_EQ(state("p.lead")["marker"], "hidden");
    EXPECT_EQ(state("p.intruder")["marker"], nullptr);
}

TEST_F(BrightloopPreviewEffect, EmptyDirectiveRestoresThePage)
{
    auto original = m_harness.evaluate("return document.documentElement.outerHTML;");
    auto title = candidate(record("title"));
    apply({ { candidate(recordWithClass("lead")), candidate(record("styled")), candidate(record("count", "::after")) }, title });
    ASSERT_NE(m_harness.evaluate("return document.documentElement.outerHTML;"), original);

    apply(BrightloopPreviewDirective::empty());
    EXPECT_EQ(m_harness.evaluate("return document.documentElement.outerHTML;"), original);
    EXPECT_EQ(m_harness.evaluate("return String(['title', 'styled', 'count'].some((id) => '__quilloryBrightloopOriginalStyle' in document.getElementById(id)));"),
              "false");
}

TEST_F(BrightloopPreviewEffect, HiddenPseudoElementSurvivesAReloadOfThePreview)
{
    auto after = candidate(record("count", "::after"));
    m_harness.inputs.brightloopPreviewDirective = { { after }, std::nullopt };
    m_harness.update();
    ASSERT_TRUE(waitUntil([&] { return pseudoState("#count")["content"] == "none"; }));
    m_harness.markDocument();

    // The autosave's reload: a new token, the same page, no new directive.
    m_harness.inputs.reloadToken = UUID::random();
    m_harness.update();
    ASSERT_TRUE(m_harness.waitForFinishedLoads(2));
    EXPECT_TRUE(waitUntil([&] { return pseudoState("#count")["content"] == "none"; }));
    EXPECT_EQ(m_harness.documentMark(), "undefined");
    EXPECT_EQ(pseudoState("#count")["rules"], std::string("#count::after") + hiddenRuleBody + "\n");
}
