#include "QuilloryCore/Inspection/PageInspectionJS.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <gtest/gtest.h>

#include <any>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

using namespace Quillory;
using nlohmann::json;

namespace {

// An answer with one entry in each list and every key the script sends.
json fullAnswer()
{
    return {
        { "title", "Home" },
        { "language", "en" },
        { "headings", json::array({ { { "level", 1 }, { "text", "Welcome" }, { "elementID", "top" } } }) },
        { "links", json::array({ { { "href", "about.html" }, { "text", "About" }, { "isLocal", true } } }) },
        { "images", json::array({ { { "src", "logo.png" }, { "alt", "Logo" }, { "isMissingAlt", false } } }) },
        { "stylesheets", json::array({ { { "href", "quillory-site://local/site.css" }, { "ruleCount", 12 }, { "inaccessibleReason", nullptr } } }) },
    };
}

PageInspectionJS::DecodeError decodeFailure(const std::string& text)
{
    try {
        PageInspectionJS::decode(text);
    } catch (const PageInspectionJS::DecodeError& error) {
        return error;
    }
    ADD_FAILURE() << "decoding did not fail: " << text;
    return PageInspectionJS::DecodeError::invalidJSON("");
}

PageInspectionJS::DecodeError evalFailure(const std::any& value)
{
    try {
        PageInspectionJS::decode(value);
    } catch (const PageInspectionJS::DecodeError& error) {
        return error;
    }
    ADD_FAILURE() << "decoding did not fail";
    return PageInspectionJS::DecodeError::invalidJSON("");
}

// The answer with one key of the object at `pointer` set to `value`, or removed when `value` is
// the discarded marker.
json withMember(json answer, const std::string& pointer, const std::string& key, const json& value)
{
    auto& object = answer[json::json_pointer(pointer)];
    if (value.is_discarded())
        object.erase(key);
    else
        object[key] = value;
    return answer;
}

const json absent = json(json::value_t::discarded);

struct KeyCase {
    const char* pointer; // The object that holds the key.
    const char* key;
};

}

TEST(PageInspectionJS, SnapshotSourceIsAParenthesisedFunctionWithoutArguments)
{
    auto source = PageInspectionJS::snapshotSource();
    EXPECT_EQ(source.substr(0, 14), "(function () {");
    EXPECT_EQ(source.back(), ')');
}

TEST(PageInspectionJS, ScriptIsTheSourceCalled)
{
    EXPECT_EQ(PageInspectionJS::script(), std::string(PageInspectionJS::snapshotSource()) + "();");
}

TEST(PageInspectionJS, DecodesEveryField)
{
    auto snapshot = PageInspectionJS::decode(fullAnswer().dump());
    PageInspectionSnapshot expected;
    expected.title = "Home";
    expected.language = "en";
    expected.headings = { { 1, "Welcome", "top" } };
    expected.links = { { "about.html", "About", true } };
    expected.images = { { "logo.png", "Logo", false } };
    expected.stylesheets = { { "quillory-site://local/site.css", 12, std::nullopt } };
    EXPECT_EQ(snapshot, expected);
}

TEST(PageInspectionJS, EmptyListsAndEmptyTitleDecode)
{
    auto snapshot = PageInspectionJS::decode(std::string(R"({"title":"","language":null,"headings":[],"links":[],"images":[],"stylesheets":[]})"));
    EXPECT_EQ(snapshot, PageInspectionSnapshot {});
}

TEST(PageInspectionJS, OptionalKeysMayBeNullOrAbsent)
{
    const KeyCase optionalKeys[] = {
        { "", "language" },
        { "/headings/0", "elementID" },
        { "/images/0", "alt" },
        { "/stylesheets/0", "href" },
        { "/stylesheets/0", "inaccessibleReason" },
    };
    for (auto& key : optionalKeys) {
        auto fromNull = PageInspectionJS::decode(withMember(fullAnswer(), key.pointer, key.key, nullptr).dump());
        auto fromAbsent = PageInspectionJS::decode(withMember(fullAnswer(), key.pointer, key.key, absent).dump());
        EXPECT_EQ(fromNull, fromAbsent) << key.pointer << "/" << key.key;
    }
    auto bare = PageInspectionJS::decode(std::string(R"({"title":"T","headings":[{"level":2,"text":"a"}],"links":[],)"
                                         R"("images":[{"src":"x.png","isMissingAlt":true}],"stylesheets":[{"ruleCount":3}]})"));
    EXPECT_EQ(bare.language, std::nullopt);
    EXPECT_EQ(bare.headings, (std::vector<PageInspectionHeading> { { 2, "a", std::nullopt } }));
    EXPECT_EQ(bare.images, (std::vector<PageInspectionImage> { { "x.png", std::nullopt, true } }));
    EXPECT_EQ(bare.stylesheets, (std::vector<PageInspectionStylesheet> { { std::nullopt, 3, std::nullopt } }));
}

TEST(PageInspectionJS, EmptyOptionalStringStaysAnEmptyString)
{
    auto answer = withMember(fullAnswer(), "", "language", "");
    answer = withMember(answer, "/images/0", "alt", "");
    auto snapshot = PageInspectionJS::decode(answer.dump());
    EXPECT_EQ(snapshot.language, std::optional<std::string>(""));
    EXPECT_EQ(snapshot.images[0].alt, std::optional<std::string>(""));
}

TEST(PageInspectionJS, MissingRequiredKeyFailsWithTheLibraryMessage)
{
    const KeyCase requiredKeys[] = {
        { "", "title" },
        { "", "headings" },
        { "", "links" },
        { "", "images" },
        { "", "stylesheets" },
        { "/headings/0", "level" },
        { "/headings/0", "text" },
        { "/links/0", "href" },
        { "/links/0", "text" },
        { "/links/0", "isLocal" },
        { "/images/0", "src" },
        { "/images/0", "isMissingAlt" },
        { "/stylesheets/0", "ruleCount" },
    };
    for (auto& key : requiredKeys) {
        auto error = decodeFailure(withMember(fullAnswer(), key.pointer, key.key, absent).dump());
        EXPECT_EQ(error.kind(), PageInspectionJS::DecodeError::Kind::invalidJSON);
        std::string expected = std::string("[json.exception.out_of_range.403] ") + (*key.pointer ? std::string("(") + key.pointer + ") " : "")
            + "key '" + key.key + "' not found";
        EXPECT_EQ(std::string(error.what()), expected);
    }
}

TEST(PageInspectionJS, NullRequiredKeyFails)
{
    auto error = decodeFailure(withMember(fullAnswer(), "/links/0", "isLocal", nullptr).dump());
    EXPECT_EQ(error.kind(), PageInspectionJS::DecodeError::Kind::invalidJSON);
    EXPECT_EQ(std::string(error.what()), "[json.exception.type_error.302] (/links/0/isLocal) type must be boolean, but is null");
    EXPECT_EQ(std::string(decodeFailure(withMember(fullAnswer(), "", "title", nullptr).dump()).what()),
              "[json.exception.type_error.302] (/title) type must be string, but is null");
    EXPECT_EQ(std::string(decodeFailure(withMember(fullAnswer(), "", "images", nullptr).dump()).what()),
              "[json.exception.type_error.302] (/images) type must be array, but is null");
}

TEST(PageInspectionJS, WrongTypeFailsAndSaysWhere)
{
    struct Case {
        json answer;
        const char* message;
    };
    const Case cases[] = {
        { withMember(fullAnswer(), "", "title", 5), "(/title) type must be string, but is number" },
        { withMember(fullAnswer(), "", "language", true), "(/language) type must be string, but is boolean" },
        { withMember(fullAnswer(), "", "headings", json::object()), "(/headings) type must be array, but is object" },
        { withMember(fullAnswer(), "/headings/0", "level", "1"), "(/headings/0/level) type must be integer, but is string" },
        { withMember(fullAnswer(), "/headings/0", "level", 1.5), "(/headings/0/level) type must be integer, but is number" },
        { withMember(fullAnswer(), "/headings/0", "elementID", 7), "(/headings/0/elementID) type must be string, but is number" },
        { withMember(fullAnswer(), "/links/0", "href", json::array()), "(/links/0/href) type must be string, but is array" },
        { withMember(fullAnswer(), "/links/0", "isLocal", 1), "(/links/0/isLocal) type must be boolean, but is number" },
        { withMember(fullAnswer(), "/images/0", "alt", json::object()), "(/images/0/alt) type must be string, but is object" },
        { withMember(fullAnswer(), "/images/0", "isMissingAlt", "false"), "(/images/0/isMissingAlt) type must be boolean, but is string" },
        { withMember(fullAnswer(), "/stylesheets/0", "ruleCount", -0.5), "(/stylesheets/0/ruleCount) type must be integer, but is number" },
        { withMember(fullAnswer(), "/stylesheets/0", "inaccessibleReason", 0), "(/stylesheets/0/inaccessibleReason) type must be string, but is number" },
        { withMember(fullAnswer(), "", "links", json::array({ "a.html" })), "(/links/0) type must be object, but is string" },
        { json::array(), "type must be object, but is array" },
        { json("text"), "type must be object, but is string" },
    };
    for (auto& testCase : cases) {
        auto error = decodeFailure(testCase.answer.dump());
        EXPECT_EQ(error.kind(), PageInspectionJS::DecodeError::Kind::invalidJSON);
        EXPECT_EQ(std::string(error.what()), std::string("[json.exception.type_error.302] ") + testCase.message);
    }
}

TEST(PageInspectionJS, OneBadEntryFailsTheWholeAnswer)
{
    auto answer = fullAnswer();
    answer["headings"].push_back({ { "level", 2 }, { "text", "Fine" } });
    answer["headings"].push_back({ { "level", 3 } });
    auto error = decodeFailure(answer.dump());
    EXPECT_EQ(std::string(error.what()), "[json.exception.out_of_range.403] (/headings/2) key 'text' not found");
}

TEST(PageInspectionJS, UnknownKeysAreIgnored)
{
    auto answer = fullAnswer();
    answer["generator"] = "test";
    answer["headings"][0]["tagName"] = "H1";
    answer["links"][0]["rel"] = json::array({ "noopener" });
    answer["images"][0]["width"] = 40;
    answer["stylesheets"][0]["media"] = nullptr;
    EXPECT_EQ(PageInspectionJS::decode(answer.dump()), PageInspectionJS::decode(fullAnswer().dump()));
}

TEST(PageInspectionJS, CountsAndLevelsAreNotLimited)
{
    auto answer = withMember(fullAnswer(), "/stylesheets/0", "ruleCount", 5000000000);
    answer = withMember(answer, "/headings/0", "level", 0);
    auto snapshot = PageInspectionJS::decode(answer.dump());
    EXPECT_EQ(snapshot.stylesheets[0].ruleCount, 5000000000);
    EXPECT_EQ(snapshot.headings[0].level, 0);

    // Past what a machine integer holds, the count can't be kept exactly.
    auto error = decodeFailure(R"({"title":"","headings":[],"links":[],"images":[],"stylesheets":[{"ruleCount":18446744073709551615}]})");
    EXPECT_EQ(std::string(error.what()), "[json.exception.out_of_range.406] (/stylesheets/0/ruleCount) number overflow: 18446744073709551615");
}

TEST(PageInspectionJS, MalformedJSONFailsWithTheParserMessage)
{
    for (const char* text : { "", "{", "{\"title\": }", "nope", "{\"title\":\"a\"} trailing" }) {
        auto error = decodeFailure(text);
        EXPECT_EQ(error.kind(), PageInspectionJS::DecodeError::Kind::invalidJSON) << text;
        EXPECT_EQ(std::string_view(error.what()).substr(0, 34), "[json.exception.parse_error.101] p") << error.what();
    }
}

TEST(PageInspectionJS, IllFormedUTF8FailsAsNotUTF8)
{
    auto valid = fullAnswer().dump();
    for (const std::string& text : {
             std::string("\xff"),
             valid.substr(0, 10) + "\xc3" + valid.substr(10), // a lead byte without its continuation
             std::string(R"({"title":")") + "\xc0\xae" + R"(","headings":[],"links":[],"images":[],"stylesheets":[]})", // overlong
             std::string(R"({"title":")") + "\xed\xa0\x80" + R"(","headings":[],"links":[],"images":[],"stylesheets":[]})", // a surrogate
         }) {
        auto error = decodeFailure(text);
        EXPECT_EQ(error, PageInspectionJS::DecodeError::invalidJSON("not utf8"));
        EXPECT_EQ(std::string(error.what()), "not utf8");
    }
}

TEST(PageInspectionJS, NonASCIITextSurvivesDecoding)
{
    auto answer = withMember(fullAnswer(), "", "title", "Caf\u00e9 \xf0\x9f\x98\x80");
    EXPECT_EQ(PageInspectionJS::decode(answer.dump()).title, "Caf\u00e9 \xf0\x9f\x98\x80");
}

TEST(PageInspectionJS, EvaluationResultThatIsNoStringFails)
{
    for (const std::any& value : { std::any(), std::any(42), std::any(1.5), std::any(true), std::any(std::vector<std::string> { "{}" }),
                                   std::any(static_cast<const char*>(nullptr)) }) {
        auto error = evalFailure(value);
        EXPECT_EQ(error.kind(), PageInspectionJS::DecodeError::Kind::notAString);
        EXPECT_EQ(error, PageInspectionJS::DecodeError::notAString());
        EXPECT_EQ(std::string(error.what()), "not a string");
    }
}

TEST(PageInspectionJS, EvaluationResultStringIsDecoded)
{
    auto text = fullAnswer().dump();
    auto expected = PageInspectionJS::decode(text);
    EXPECT_EQ(PageInspectionJS::decode(std::any(text)), expected);
    EXPECT_EQ(PageInspectionJS::decode(std::any(std::string_view(text))), expected);
    EXPECT_EQ(PageInspectionJS::decode(std::any(text.c_str())), expected);
    // An empty string is a string: it fails as JSON, not as a missing value.
    EXPECT_EQ(evalFailure(std::any(std::string())).kind(), PageInspectionJS::DecodeError::Kind::invalidJSON);
    EXPECT_EQ(evalFailure(std::any(std::string("\xff"))), PageInspectionJS::DecodeError::invalidJSON("not utf8"));
}

TEST(PageInspectionJS, DecodeErrorsCompareByKindAndText)
{
    EXPECT_EQ(PageInspectionJS::DecodeError::invalidJSON("a"), PageInspectionJS::DecodeError::invalidJSON("a"));
    EXPECT_FALSE(PageInspectionJS::DecodeError::invalidJSON("a") == PageInspectionJS::DecodeError::invalidJSON("b"));
    EXPECT_FALSE(PageInspectionJS::DecodeError::invalidJSON("not a string") == PageInspectionJS::DecodeError::notAString());
}

TEST(PageInspectionJS, DerivedCountsFollowTheLists)
{
    auto snapshot = PageInspectionJS::decode(std::string(R"({
        "title": "Counts", "language": "en",
        "headings": [{"level":1,"text":"a"},{"level":2,"text":"b","elementID":"b"},{"level":2,"text":"c"}],
        "links": [{"href":"","text":"","isLocal":true},{"href":"mailto:x","text":"mail","isLocal":false},
                  {"href":"/a","text":"a","isLocal":true},{"href":"https://example.org/","text":"out","isLocal":false},
                  {"href":"tel:1","text":"call","isLocal":false}],
        "images": [{"src":"a.png","alt":"A","isMissingAlt":false},{"src":"b.png","isMissingAlt":true},
                   {"src":"c.png","alt":" ","isMissingAlt":true}],
        "stylesheets": [{"ruleCount":4},{"href":"http://127.0.0.1:9/x.css","ruleCount":0,"inaccessibleReason":"SecurityError"},
                        {"href":"site.css","ruleCount":7,"inaccessibleReason":null}]
    })"));
    EXPECT_EQ(snapshot.headingCount(), 3);
    EXPECT_EQ(snapshot.localLinkCount(), 2);
    EXPECT_EQ(snapshot.externalLinkCount(), 3);
    EXPECT_EQ(snapshot.imageCount(), 3);
    EXPECT_EQ(snapshot.missingAltImageCount(), 2);
    EXPECT_EQ(snapshot.stylesheetCount(), 3);
    EXPECT_EQ(snapshot.cssRuleCount(), 11);
    EXPECT_EQ(snapshot.inaccessibleStylesheetCount(), 1);

    PageInspectionSnapshot empty;
    EXPECT_EQ(empty.headingCount() + empty.localLinkCount() + empty.externalLinkCount() + empty.imageCount() + empty.missingAltImageCount()
                  + empty.stylesheetCount() + empty.cssRuleCount() + empty.inaccessibleStylesheetCount(),
              0);
}

namespace {

TEST(PageInspectionJS, NegativeRuleCountIsRefused)
{
    auto error = decodeFailure(withMember(fullAnswer(), "/stylesheets/0", "ruleCount", -3).dump());
    EXPECT_EQ(error.kind(), PageInspectionJS::DecodeError::Kind::invalidJSON);
    EXPECT_STREQ(error.what(), "[json.exception.out_of_range.406] (/stylesheets/0/ruleCount) negative count: -3");
    auto lowest = decodeFailure(withMember(fullAnswer(), "/stylesheets/0", "ruleCount", std::numeric_limits<std::int64_t>::min()).dump());
    EXPECT_EQ(lowest.kind(), PageInspectionJS::DecodeError::Kind::invalidJSON);
}

TEST(PageInspectionSnapshot, CSSRuleCountStopsAtTheLargestValueInsteadOfOverflowing)
{
    auto largest = std::numeric_limits<std::int64_t>::max();
    PageInspectionSnapshot snapshot;
    snapshot.stylesheets = { { std::nullopt, largest, std::nullopt }, { std::nullopt, largest, std::nullopt }, { std::nullopt, 5, std::nullopt } };
    EXPECT_EQ(snapshot.cssRuleCount(), largest);
    // Built by hand, a negative count adds nothing.
    snapshot.stylesheets = { { std::nullopt, 4, std::nullopt }, { std::nullopt, -10, std::nullopt } };
    EXPECT_EQ(snapshot.cssRuleCount(), 4);
}

TEST(PageInspectionJS, ErrorTextIsUTF8WhenTheParserStopsInsideACharacter)
{
    for (const char* text : { "{\"title\": \xC3\xA9}", "{\"title\": \xE2\x82\xAC", "[\xF0\x9F\x98\x80]" }) {
        auto error = decodeFailure(text);
        EXPECT_EQ(error.kind(), PageInspectionJS::DecodeError::Kind::invalidJSON) << text;
        EXPECT_TRUE(UnicodeText::isValidUTF8(error.what())) << error.what();
        EXPECT_NE(std::string_view(error.what()).find("last read"), std::string_view::npos) << error.what();
    }
}

}
