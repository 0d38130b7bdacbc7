#include "QuilloryCore/Brightloop/BrightloopJS.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

using namespace Quillory;
using nlohmann::json;

namespace {

json minimalWireRecord()
{
    return {
        { "tagName", "P" },
        { "rect", { { "x", 1 }, { "y", 2.5 }, { "width", 30 }, { "height", 40 } } },
        { "classList", json::array() },
        { "attributes", json::object() },
        { "ancestorTags", json::array({ "BODY" }) },
        { "isVisible", true },
    };
}

std::string answer(const json& record)
{
    return json::array({ record }).dump();
}

BrightloopJS::DecodeError decodeFailure(const std::string& text)
{
    try {
        BrightloopJS::decode(text);
    } catch (const BrightloopJS::DecodeError& error) {
        return error;
    }
    ADD_FAILURE() << "decoding did not fail: " << text;
    return BrightloopJS::DecodeError::invalidJSON("");
}

}

TEST(BrightloopJS, WalkerSourceIsAParenthesisedFunctionOfTheFence)
{
    auto source = BrightloopJS::walkerSource();
    EXPECT_EQ(source.substr(0, 44), "(function (fenceX, fenceY, fenceW, fenceH) {");
    EXPECT_EQ(source.back(), ')');
}

TEST(BrightloopJS, ScriptAppliesTheFunctionToSixDecimalNumbers)
{
    auto text = BrightloopJS::script({ 10, 20.5, 300.125, 0.0000004 });
    std::string source(BrightloopJS::walkerSource());
    ASSERT_EQ(text.substr(0, source.size()), source);
    EXPECT_EQ(text.substr(source.size()), "(10.000000, 20.500000, 300.125000, 0.000000);");
}

TEST(BrightloopJS, NonFiniteFenceCoordinateReachesThePageAsZero)
{
    double nan = std::numeric_limits<double>::quiet_NaN();
    double infinity = std::numeric_limits<double>::infinity();
    auto text = BrightloopJS::script({ nan, -infinity, infinity, 12 });
    std::string source(BrightloopJS::walkerSource());
    EXPECT_EQ(text.substr(source.size()), "(0, 0, 0, 12.000000);");
}

TEST(BrightloopJS, ScriptNumbersIgnoreTheProcessLocale)
{
    // A decimal comma would turn one coordinate into two arguments.
    const char* previous = std::setlocale(LC_NUMERIC, nullptr);
    std::string saved = previous ? previous : "C";
    bool switched = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") || std::setlocale(LC_NUMERIC, "fr_FR.UTF-8");
    auto text = BrightloopJS::script({ -1.5, 2, 3, 4 });
    std::setlocale(LC_NUMERIC, saved.c_str());
    std::string source(BrightloopJS::walkerSource());
    EXPECT_EQ(text.substr(source.size()), "(-1.500000, 2.000000, 3.000000, 4.000000);");
    if (!switched)
        GTEST_LOG_(INFO) << "no decimal-comma locale installed; checked under the current locale only";
}

TEST(BrightloopJS, EmptyArrayDecodesToNoRecords)
{
    EXPECT_TRUE(BrightloopJS::decode(std::string("[]")).empty());
}

TEST(BrightloopJS, AnswerWithoutIsVisibleIsInvalidJSON)
{
    auto record = minimalWireRecord();
    record.erase("isVisible");
    auto error = decodeFailure(answer(record));
    EXPECT_EQ(error.kind(), BrightloopJS::DecodeError::Kind::invalidJSON);
    EXPECT_STREQ(error.what(), "key \"isVisible\" not found");
}

TEST(BrightloopJS, EveryRequiredKeyIsRequired)
{
    for (auto key : { "tagName", "rect", "classList", "attributes", "ancestorTags", "isVisible" }) {
        auto record = minimalWireRecord();
        record.erase(key);
        EXPECT_EQ(decodeFailure(answer(record)).kind(), BrightloopJS::DecodeError::Kind::invalidJSON) << key;
    }
    for (auto key : { "x", "y", "width", "height" }) {
        auto record = minimalWireRecord();
        record["rect"].erase(key);
        EXPECT_EQ(decodeFailure(answer(record)).kind(), BrightloopJS::DecodeError::Kind::invalidJSON) << key;
    }
}

TEST(BrightloopJS, RequiredKeyWithNullIsInvalidJSON)
{
    auto record = minimalWireRecord();
    record["classList"] = nullptr;
    EXPECT_STREQ(decodeFailure(answer(record)).what(), "\"classList\": type must be array, but is null");
}

TEST(BrightloopJS, MinimalRecordTakesTheDefaults)
{
    auto records = BrightloopJS::decode(answer(minimalWireRecord()));
    ASSERT_EQ(records.size(), 1u);
    auto& record = records[0];
    EXPECT_EQ(record.tagName, "p");
    EXPECT_EQ(record.rect, (BrightloopRect { 1, 2.5, 30, 40 }));
    EXPECT_EQ(record.textSnippet, std::nullopt);
    EXPECT_EQ(record.elementID, std::nullopt);
    EXPECT_TRUE(record.classList.empty());
    EXPECT_EQ(record.role, std::nullopt);
    EXPECT_TRUE(record.attributes.empty());
    EXPECT_EQ(record.ancestorTags, (std::vector<std::string> { "body" }));
    EXPECT_TRUE(record.ancestorSignatures.empty());
    EXPECT_TRUE(record.displayContentsAncestors.empty());
    EXPECT_EQ(record.siblingIndex, std::nullopt);
    EXPECT_TRUE(record.isVisible);
    EXPECT_FALSE(record.inShadowDOM);
    EXPECT_FALSE(record.transformed);
    EXPECT_EQ(record.pseudoElement, std::nullopt);
    EXPECT_EQ(record.renderedTextSnippet, std::nullopt);
    EXPECT_EQ(record.contentSourceAttribute, std::nullopt);
    EXPECT_EQ(record.effectiveOpacity, std::nullopt);
    EXPECT_EQ(record.textColorAlpha, std::nullopt);
    EXPECT_EQ(record.fontSize, std::nullopt);
    EXPECT_FALSE(record.hasPaintedSurface);
    EXPECT_FALSE(record.isPointerHitTarget);
    EXPECT_EQ(record.shadowHostTagName, std::nullopt);
    EXPECT_EQ(record.shadowHostID, std::nullopt);
    EXPECT_TRUE(record.shadowHostClassList.empty());
    EXPECT_TRUE(record.shadowHostAttributes.empty());
}

TEST(BrightloopJS, NullOptionalValuesTakeTheDefaults)
{
    auto record = minimalWireRecord();
    for (auto key : { "textSnippet", "elementID", "role", "ancestorSignatures", "displayContentsAncestors", "siblingIndex", "inShadowDOM",
                      "transformed", "pseudoElement", "renderedTextSnippet", "contentSourceAttribute", "effectiveOpacity", "textColorAlpha",
                      "fontSize", "hasPaintedSurface", "isPointerHitTarget", "shadowHostTagName", "shadowHostID", "shadowHostClassList",
                      "shadowHostAttributes" })
        record[key] = nullptr;
    auto withNulls = BrightloopJS::decode(answer(record));
    auto minimal = BrightloopJS::decode(answer(minimalWireRecord()));
    EXPECT_EQ(withNulls, minimal);
}

TEST(BrightloopJS, FullRecordDecodesEveryFieldAndLowerCasesLikeTheConstructor)
{
    json record = {
        { "tagName", "DIV" },
        { "rect", { { "x", 0 }, { "y", 10 }, { "width", 200 }, { "height", 50.25 } } },
        { "textSnippet", "Hello" },
        { "elementID", "Hero" },
        { "classList", { "Card", "wide" } },
        { "role", "banner" },
        { "attributes", { { "id", "Hero" }, { "class", "Card wide" }, { "data-X", "1" } } },
        { "ancestorTags", { "MAIN", "body" } },
        { "ancestorSignatures", { "main#App", "body" } },
        { "displayContentsAncestors", { "SECTION.Wrap" } },
        { "siblingIndex", 2 },
        { "isVisible", false },
        { "inShadowDOM", true },
        { "transformed", true },
        { "pseudoElement", "::before" },
        { "renderedTextSnippet", "Hi" },
        { "contentSourceAttribute", "data-X" },
        { "effectiveOpacity", 0.5 },
        { "textColorAlpha", 1 },
        { "fontSize", 16 },
        { "hasPaintedSurface", true },
        { "isPointerHitTarget", true },
        { "shadowHostTagName", "MY-CARD" },
        { "shadowHostID", "Host" },
        { "shadowHostClassList", { "Outer" } },
        { "shadowHostAttributes", { { "heading", "x" } } },
    };
    auto records = BrightloopJS::decode(answer(record));
    ASSERT_EQ(records.size(), 1u);
    BrightloopDOMRecordFields expected;
    expected.tagName = "div";
    expected.rect = { 0, 10, 200, 50.25 };
    expected.textSnippet = "Hello";
    expected.elementID = "Hero";
    expected.classList = { "Card", "wide" };
    expected.role = "banner";
    expected.attributes = { { "id", "Hero" }, { "class", "Card wide" }, { "data-X", "1" } };
    expected.ancestorTags = { "main", "body" };
    expected.ancestorSignatures = { "main#app", "body" };
    expected.displayContentsAncestors = { "section.wrap" };
    expected.siblingIndex = 2;
    expected.isVisible = false;
    expected.inShadowDOM = true;
    expected.transformed = true;
    expected.pseudoElement = "::before";
    expected.renderedTextSnippet = "Hi";
    expected.contentSourceAttribute = "data-X";
    expected.effectiveOpacity = 0.5;
    expected.textColorAlpha = 1;
    expected.fontSize = 16;
    expected.hasPaintedSurface = true;
    expected.isPointerHitTarget = true;
    expected.shadowHostTagName = "my-card";
    expected.shadowHostID = "Host";
    expected.shadowHostClassList = { "Outer" };
    expected.shadowHostAttributes = { { "heading", "x" } };
    EXPECT_EQ(records[0], BrightloopDOMRecord(expected));
}

TEST(BrightloopJS, RecordsKeepTheAnswersOrder)
{
    auto first = minimalWireRecord();
    first["tagName"] = "h1";
    auto second = minimalWireRecord();
    second["tagName"] = "p";
    auto records = BrightloopJS::decode(json::array({ first, second }).dump());
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].tagName, "h1");
    EXPECT_EQ(records[1].tagName, "p");
}

TEST(BrightloopJS, OneMalformedRecordFailsTheWholeAnswer)
{
    auto bad = minimalWireRecord();
    bad["isVisible"] = "yes";
    auto error = decodeFailure(json::array({ minimalWireRecord(), bad, minimalWireRecord() }).dump());
    EXPECT_EQ(error.kind(), BrightloopJS::DecodeError::Kind::invalidJSON);
    EXPECT_STREQ(error.what(), "\"isVisible\": type must be boolean, but is string");
}

TEST(BrightloopJS, WrongTypesAreInvalidJSON)
{
    struct Case {
        const char* key;
        json value;
    };
    const std::vector<Case> cases {
        { "tagName", 3 },
        { "textSnippet", 3 },
        { "classList", json::array({ 1 }) },
        { "attributes", { { "a", 1 } } },
        { "ancestorSignatures", "body" },
        { "siblingIndex", 1.5 },
        { "siblingIndex", "1" },
        { "inShadowDOM", 1 },
        { "effectiveOpacity", true },
        { "fontSize", "16px" },
        { "shadowHostAttributes", json::array() },
    };
    for (auto& each : cases) {
        auto record = minimalWireRecord();
        record[each.key] = each.value;
        EXPECT_EQ(decodeFailure(answer(record)).kind(), BrightloopJS::DecodeError::Kind::invalidJSON) << each.key << " " << each.value.dump();
    }
    auto record = minimalWireRecord();
    record["rect"]["width"] = true;
    EXPECT_STREQ(decodeFailure(answer(record)).what(), "\"rect.width\": type must be number, but is boolean");
}

TEST(BrightloopJS, MalformedTextCarriesTheParsersMessage)
{
    auto error = decodeFailure("[{\"tagName\": ");
    EXPECT_EQ(error.kind(), BrightloopJS::DecodeError::Kind::invalidJSON);
    EXPECT_NE(std::string(error.what()).find("parse error"), std::string::npos) << error.what();
}

TEST(BrightloopJS, ErrorTextIsUTF8WhenTheParserStopsInsideACharacter)
{
    for (const char* text : { "[{\"tagName\": \xC3\xA9}]", "[\xE2\x82\xAC]", "[{\"tagName\" \xF0\x9F\x98\x80" }) {
        auto error = decodeFailure(text);
        EXPECT_EQ(error.kind(), BrightloopJS::DecodeError::Kind::invalidJSON) << text;
        EXPECT_TRUE(UnicodeText::isValidUTF8(error.what())) << error.what();
        EXPECT_NE(std::string_view(error.what()).find("last read"), std::string_view::npos) << error.what();
    }
}

TEST(BrightloopJS, AnswerThatIsNotAnArrayIsInvalidJSON)
{
    EXPECT_STREQ(decodeFailure(minimalWireRecord().dump()).what(), "\"answer\": type must be array, but is object");
    EXPECT_EQ(decodeFailure("\"[]\"").kind(), BrightloopJS::DecodeError::Kind::invalidJSON);
}

TEST(BrightloopJS, TextThatIsNotUTF8IsInvalidJSON)
{
    auto error = decodeFailure("[\"\xC3\x28\"]");
    EXPECT_EQ(error.kind(), BrightloopJS::DecodeError::Kind::invalidJSON);
    EXPECT_STREQ(error.what(), "not utf8");
}

TEST(BrightloopJS, EvaluationResultMustBeAString)
{
    for (const std::any& value : { std::any(), std::any(42), std::any(3.5), std::any(true) }) {
        try {
            BrightloopJS::decode(value);
            ADD_FAILURE() << "a non-string result decoded";
        } catch (const BrightloopJS::DecodeError& error) {
            EXPECT_EQ(error.kind(), BrightloopJS::DecodeError::Kind::notAString);
            EXPECT_STREQ(error.what(), "not a string");
        }
    }
}

TEST(BrightloopJS, EvaluationResultStringIsDecoded)
{
    EXPECT_TRUE(BrightloopJS::decode(std::any(std::string("[]"))).empty());
    auto records = BrightloopJS::decode(std::any(answer(minimalWireRecord())));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].tagName, "p");
    try {
        BrightloopJS::decode(std::any(std::string("{")));
        ADD_FAILURE() << "malformed text decoded";
    } catch (const BrightloopJS::DecodeError& error) {
        EXPECT_EQ(error.kind(), BrightloopJS::DecodeError::Kind::invalidJSON);
    }
}
