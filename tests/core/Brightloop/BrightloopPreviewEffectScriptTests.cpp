#include "QuilloryCore/Brightloop/BrightloopPreviewEffectScript.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>
#include <string>

using namespace Quillory;
using nlohmann::json;

namespace {

constexpr std::string_view scriptPrefix = "(() => {\n  const payload = ";

BrightloopCandidate candidate(BrightloopDOMRecordFields fields)
{
    BrightloopCandidate result;
    result.id = UUID::random();
    result.label = "label";
    result.dom = BrightloopDOMRecord(std::move(fields));
    return result;
}

BrightloopDOMRecordFields paragraph(std::string text)
{
    BrightloopDOMRecordFields fields;
    fields.tagName = "p";
    fields.rect = { 10, 20.5, 300, 40 };
    fields.textSnippet = std::move(text);
    fields.isVisible = true;
    return fields;
}

json payload(const BrightloopPreviewDirective& directive)
{
    return json::parse(BrightloopPreviewEffectScript::payloadJSON(directive));
}

std::vector<std::string> field(const json& document, const char* name)
{
    std::vector<std::string> values;
    for (auto& entry : document["candidates"])
        values.push_back(entry[name].get<std::string>());
    return values;
}

}

TEST(BrightloopPreviewEffectScript, EmptyDirectiveHasNoCandidates)
{
    EXPECT_EQ(BrightloopPreviewEffectScript::payloadJSON(BrightloopPreviewDirective::empty()), R"({"candidates":[]})");
}

TEST(BrightloopPreviewEffectScript, HiddenCandidatesInOrderThenTheHighlightedOne)
{
    auto first = candidate(paragraph("one"));
    auto second = candidate(paragraph("two"));
    auto third = candidate(paragraph("three"));
    BrightloopPreviewDirective directive { { second, first }, third };

    auto document = payload(directive);
    EXPECT_EQ(field(document, "id"), (std::vector<std::string> { second.id.string(), first.id.string(), third.id.string() }));
    EXPECT_EQ(field(document, "mode"), (std::vector<std::string> { "hidden", "hidden", "highlighted" }));
}

TEST(BrightloopPreviewEffectScript, CandidateBothHiddenAndHighlightedAppearsTwice)
{
    auto both = candidate(paragraph("both"));
    auto document = payload({ { both }, both });
    EXPECT_EQ(field(document, "id"), (std::vector<std::string> { both.id.string(), both.id.string() }));
    EXPECT_EQ(field(document, "mode"), (std::vector<std::string> { "hidden", "highlighted" }));
}

TEST(BrightloopPreviewEffectScript, HighlightAloneIsTheOnlyCandidate)
{
    auto only = candidate(paragraph("only"));
    auto document = payload({ {}, only });
    EXPECT_EQ(field(document, "mode"), (std::vector<std::string> { "highlighted" }));
}

TEST(BrightloopPreviewEffectScript, RecordCarriesItsFieldsAndUUIDAsText)
{
    auto fields = paragraph("Hello \"there\" </script>\u2028");
    fields.elementID = "Intro";
    fields.classList = { "Lead", "wide" };
    fields.pseudoElement = "::after";
    // Fields the effect doesn't use stay out of the payload.
    fields.role = "note";
    fields.attributes = { { "id", "Intro" } };
    fields.ancestorTags = { "body" };
    auto full = candidate(fields);

    auto document = payload({ { full }, std::nullopt });
    auto expected = json::parse(R"({"candidates":[{"id":")" + full.id.string() + R"(","mode":"hidden","record":{)"
                                + R"("tagName":"p","rect":{"x":10,"y":20.5,"width":300,"height":40},)"
                                + R"("textSnippet":"Hello \"there\" </script>\u2028","elementID":"Intro","classList":["Lead","wide"],)"
                                + R"("pseudoElement":"::after"}}]})");
    EXPECT_EQ(document, expected);
    EXPECT_EQ(document["candidates"][0]["id"], full.id.string());
}

TEST(BrightloopPreviewEffectScript, AbsentOptionalsAreLeftOut)
{
    BrightloopDOMRecordFields bare;
    bare.tagName = "div";
    bare.rect = { 0, 0, 5, 5 };
    auto document = payload({ { candidate(bare) }, std::nullopt });
    auto record = document["candidates"][0]["record"];
    std::vector<std::string> keys;
    for (auto& [key, value] : record.items())
        keys.push_back(key);
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys, (std::vector<std::string> { "classList", "rect", "tagName" }));
    EXPECT_EQ(record["classList"], json::array());
}

TEST(BrightloopPreviewEffectScript, TextThatIsNotUTF8GivesTheEmptyPayload)
{
    auto broken = candidate(paragraph(std::string("caf\xC3", 4)));
    auto fine = candidate(paragraph("fine"));
    EXPECT_EQ(BrightloopPreviewEffectScript::payloadJSON({ { fine, broken }, std::nullopt }), R"({"candidates":[]})");
}

TEST(BrightloopPreviewEffectScript, NonFiniteCoordinateGivesTheEmptyPayload)
{
    auto fields = paragraph("x");
    fields.rect.width = std::numeric_limits<double>::infinity();
    EXPECT_EQ(BrightloopPreviewEffectScript::payloadJSON({ {}, candidate(fields) }), R"({"candidates":[]})");
    fields.rect.width = 1;
    fields.rect.y = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(BrightloopPreviewEffectScript::payloadJSON({ {}, candidate(fields) }), R"({"candidates":[]})");
}

TEST(BrightloopPreviewEffectScript, ScriptIsThePrefixThePayloadAndTheConstantRemainder)
{
    auto hidden = candidate(paragraph("one"));
    BrightloopPreviewDirective directive { { hidden }, std::nullopt };
    auto text = BrightloopPreviewEffectScript::script(directive);
    auto payloadText = BrightloopPreviewEffectScript::payloadJSON(directive);

    ASSERT_EQ(text.substr(0, scriptPrefix.size() + payloadText.size()), std::string(scriptPrefix) + payloadText);
    auto remainder = text.substr(scriptPrefix.size() + payloadText.size());
    EXPECT_EQ(remainder.substr(0, 1), ";");
    // The remainder ends by calling the function.
    auto end = remainder.find_last_not_of(" \n");
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(remainder.substr(0, end + 1).substr(end + 1 - 5), "})();");
    EXPECT_NE(remainder.find("\"data-quillory-brightloop-preview-effect\""), std::string::npos);
    EXPECT_NE(remainder.find("\"quillory-brightloop-pseudo-preview-effects\""), std::string::npos);
    EXPECT_NE(remainder.find("__quilloryBrightloopOriginalStyle"), std::string::npos);

    // The same remainder follows every payload.
    auto emptyText = BrightloopPreviewEffectScript::script(BrightloopPreviewDirective::empty());
    EXPECT_EQ(emptyText, std::string(scriptPrefix) + R"({"candidates":[]})" + remainder);
}
