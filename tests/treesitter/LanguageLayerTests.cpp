#include "TreeSitterTestSupport.h"

#include "QuilloryCore/Text/UnicodeText.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using namespace Quillory;
using QuilloryTest::parsedLayer;
using QuilloryTest::TemporaryDirectory;

namespace {

TEST(LanguageLayer, TwoStyleElementsGiveOneCSSSublayerWithTwoIncludedRanges)
{
    TreeSitterSourceSyntaxAnalyzer analyzer;
    auto text = UnicodeText::utf16("<style>p{}</style>\n<p>x</p>\n<style>a{}</style>");
    auto layer = parsedLayer(analyzer, SourceLanguage::html, text);
    ASSERT_EQ(layer->sublayers().size(), 1u);
    auto& css = *layer->sublayers().at("css");
    EXPECT_EQ(css.languageConfig().name(), "CSS");
    EXPECT_EQ(css.depth(), 1);
    EXPECT_TRUE(css.rangeRestricted());
    ASSERT_EQ(css.includedRanges().size(), 2u);
    // Byte offsets are twice the UTF-16 offsets: "p{}" at 7 and "a{}" at 35.
    EXPECT_EQ(css.includedRanges()[0].start_byte, 14u);
    EXPECT_EQ(css.includedRanges()[0].end_byte, 20u);
    EXPECT_EQ(css.includedRanges()[1].start_byte, 70u);
    EXPECT_EQ(css.includedRanges()[1].end_byte, 76u);
    EXPECT_TRUE(layer->missingInjections().empty());
}

TEST(LanguageLayer, ModuleScriptIsInjectedAsJavaScriptThroughTheSetDirective)
{
    TreeSitterSourceSyntaxAnalyzer analyzer;
    auto text = UnicodeText::utf16("<script type=\"module\">import x from \"y\";</script>");
    auto layer = parsedLayer(analyzer, SourceLanguage::html, text);
    ASSERT_EQ(layer->sublayers().count("javascript"), 1u);
    auto& script = *layer->sublayers().at("javascript");
    ASSERT_EQ(script.includedRanges().size(), 1u);
    EXPECT_EQ(script.includedRanges()[0].start_byte, 22u * 2);
    EXPECT_EQ(script.includedRanges()[0].end_byte, 40u * 2);
    auto spans = *analyzer.spans(text, "index.html");
    EXPECT_NE(std::find(spans.begin(), spans.end(), HTMLSyntaxSpan { HTMLSyntaxKind::keyword, { 22, 6 } }), spans.end());
    EXPECT_NE(std::find(spans.begin(), spans.end(), HTMLSyntaxSpan { HTMLSyntaxKind::string, { 36, 3 } }), spans.end());
}

TEST(LanguageLayer, InjectionLanguageCaptureWinsOverMetadataAndUnknownLanguagesAreMissing)
{
    TreeSitterSourceSyntaxAnalyzer analyzer;
    // The tag of a template names its language: `html` is known, `sql` is not.
    auto text = UnicodeText::utf16("const a = html`<b>x</b>`;\nconst q = sql`select 1`;\n");
    auto layer = parsedLayer(analyzer, SourceLanguage::typescript, text);
    ASSERT_EQ(layer->sublayers().count("html"), 1u);
    EXPECT_EQ(layer->sublayers().at("html")->languageConfig().name(), "HTML");
    ASSERT_EQ(layer->missingInjections().count("sql"), 1u);
    ASSERT_EQ(layer->missingInjections().at("sql").size(), 1u);
    EXPECT_EQ(layer->missingInjections().at("sql")[0].start_byte, 40u * 2);
    EXPECT_EQ(layer->sublayers().count("sql"), 0u);
    // The unknown language's text keeps the host's colour: the template stays a string.
    auto spans = *analyzer.spans(text, "a.ts");
    EXPECT_NE(std::find(spans.begin(), spans.end(), HTMLSyntaxSpan { HTMLSyntaxKind::string, { 39, 10 } }), spans.end());
}

TEST(LanguageLayer, AstralCharactersBeforeAndInsideInjectedCodeKeepExactUTF16Ranges)
{
    TreeSitterSourceSyntaxAnalyzer analyzer;
    // U+1F600 counts two units: the CSS comment is at 9 with length 6, the selector at 15.
    auto text = UnicodeText::utf16("\xF0\x9F\x98\x80<style>/*\xF0\x9F\x98\x80*/p{}</style>");
    auto layer = parsedLayer(analyzer, SourceLanguage::html, text);
    auto& css = *layer->sublayers().at("css");
    EXPECT_EQ(css.includedRanges()[0].start_byte, 18u);
    EXPECT_EQ(css.includedRanges()[0].end_byte, 36u);
    auto spans = *analyzer.spans(text, "page.html");
    std::vector<HTMLSyntaxSpan> expected {
        { HTMLSyntaxKind::punctuation, { 2, 1 } },  { HTMLSyntaxKind::tagName, { 3, 5 } },     { HTMLSyntaxKind::punctuation, { 8, 1 } },
        { HTMLSyntaxKind::punctuation, { 18, 2 } }, { HTMLSyntaxKind::tagName, { 20, 5 } },    { HTMLSyntaxKind::punctuation, { 25, 1 } },
        { HTMLSyntaxKind::comment, { 9, 6 } },      { HTMLSyntaxKind::tagName, { 15, 1 } },
    };
    EXPECT_EQ(spans, expected);
}

TEST(LanguageLayer, CapturesOrderByDepthThenStartThenSpecificity)
{
    TreeSitterSourceSyntaxAnalyzer analyzer;
    auto text = UnicodeText::utf16("<script>a.b();</script><p>x</p>");
    auto layer = parsedLayer(analyzer, SourceLanguage::html, text);
    auto named = layer->highlights({ { 0, text.size() } }, stringTextProvider(text));
    ASSERT_FALSE(named.empty());
    // The host's captures, the paragraph behind the script included, come first in start order;
    // the script's follow, so the injected language wins where both colour a range.
    std::size_t firstInjected = 1;
    while (firstInjected < named.size() && named[firstInjected - 1].tsRange.start_byte <= named[firstInjected].tsRange.start_byte)
        ++firstInjected;
    ASSERT_LT(firstInjected, named.size());
    EXPECT_GE(named[firstInjected - 1].tsRange.start_byte, 23u * 2);
    for (std::size_t index = firstInjected; index < named.size(); ++index) {
        EXPECT_GE(named[index].tsRange.start_byte, 8u * 2) << named[index].name();
        EXPECT_LE(named[index].tsRange.end_byte, 14u * 2) << named[index].name();
        if (index > firstInjected && named[index - 1].tsRange.start_byte == named[index].tsRange.start_byte) {
            EXPECT_LE(named[index - 1].nameComponents.size(), named[index].nameComponents.size());
        }
    }
    // `b` of `a.b()` is a property, then the more specific `function.method` follows it.
    std::vector<std::string> namesAtB;
    for (auto& range : named) {
        if (range.tsRange.start_byte == 10 * 2)
            namesAtB.push_back(range.name());
    }
    ASSERT_GE(namesAtB.size(), 2u);
    EXPECT_EQ(namesAtB.back(), "function.method");
}

TEST(LanguageLayer, LanguageAtTheDepthLimitParsesButDoesNotInjectFurther)
{
    TreeSitterSourceSyntaxAnalyzer analyzer;
    auto text = UnicodeText::utf16("const page = html`<style>p{}</style>`;");
    auto deep = parsedLayer(analyzer, SourceLanguage::typescript, text, 4);
    ASSERT_EQ(deep->sublayers().count("html"), 1u);
    EXPECT_EQ(deep->sublayers().at("html")->sublayers().count("css"), 1u);

    auto limited = parsedLayer(analyzer, SourceLanguage::typescript, text, 1);
    ASSERT_EQ(limited->sublayers().count("html"), 1u);
    auto& html = *limited->sublayers().at("html");
    EXPECT_NE(html.tree(), nullptr);
    EXPECT_TRUE(html.sublayers().empty());
    EXPECT_TRUE(html.missingInjections().empty());
}

TEST(LanguageLayer, InvalidMatchExpressionFailsTheWholeQueryAtLoadTime)
{
    TemporaryDirectory folder;
    folder.write("queries/highlights.scm", "((tag_name) @tag (#match? @tag \"[unclosed\"))\n");
    TreeSitterSourceSyntaxAnalyzer analyzer;
    auto grammar = analyzer.configuration(SourceLanguage::html).language;
    EXPECT_THROW(LanguageConfiguration(grammar, "HTML", folder.path() / "queries"), QueryError);
}

TEST(LanguageLayer, MatchPredicateUsesICURegularExpressions)
{
    TemporaryDirectory folder;
    // \p{Lu} is ICU syntax: only tag names that begin with an upper-case letter are captured.
    folder.write("queries/highlights.scm", "((tag_name) @tag (#match? @tag \"^\\\\p{Lu}\"))\n");
    TreeSitterSourceSyntaxAnalyzer analyzer;
    LanguageConfiguration configuration(analyzer.configuration(SourceLanguage::html).language, "HTML", folder.path() / "queries");
    LanguageLayer layer(configuration, { 0, {} });
    auto text = UnicodeText::utf16("<Ab></Ab><cd></cd>");
    layer.replaceContent(text);
    auto named = layer.highlights({ { 0, text.size() } }, stringTextProvider(text));
    ASSERT_EQ(named.size(), 2u);
    EXPECT_EQ(named[0].tsRange.start_byte, 2u);
    EXPECT_EQ(named[1].tsRange.start_byte, 12u);
}

TEST(LanguageLayer, LanguageWithoutHighlightsQueryFailsTheHighlights)
{
    TemporaryDirectory folder;
    folder.write("queries/injections.scm", "((style_element (raw_text) @injection.content) (#set! injection.language \"css\"))\n");
    TreeSitterSourceSyntaxAnalyzer analyzer;
    LanguageConfiguration configuration(analyzer.configuration(SourceLanguage::html).language, "HTML", folder.path() / "queries");
    LanguageLayer layer(configuration, { 4, [&](const std::string& name) { return analyzer.languageProvider(name); } });
    auto text = UnicodeText::utf16("<style>p{}</style>");
    layer.replaceContent(text);
    EXPECT_EQ(layer.sublayers().count("css"), 1u);
    EXPECT_THROW(layer.highlights({ { 0, text.size() } }, stringTextProvider(text)), LanguageLayerError);
}

TEST(LanguageLayer, EqPredicateInInjectionsRestrictsNothing)
{
    TemporaryDirectory folder;
    folder.write("queries/injections.scm",
                 "((style_element (start_tag (tag_name) @name) (raw_text) @injection.content)\n"
                 " (#eq? @name \"never\") (#set! injection.language \"css\"))\n");
    folder.write("queries/highlights.scm", "(tag_name) @tag\n");
    TreeSitterSourceSyntaxAnalyzer analyzer;
    LanguageConfiguration configuration(analyzer.configuration(SourceLanguage::html).language, "HTML", folder.path() / "queries");
    LanguageLayer layer(configuration, { 4, [&](const std::string& name) { return analyzer.languageProvider(name); } });
    layer.replaceContent(UnicodeText::utf16("<style>p{}</style>"));
    EXPECT_EQ(layer.sublayers().count("css"), 1u);
}

TEST(QueryPredicates, StepsBecomePredicatesByName)
{
    using T = QueryPredicateStep::Type;
    auto predicates = Query::parsePredicates({
        { T::string, "eq?" }, { T::capture, "a" }, { T::string, "x" }, { T::done, "" },
        { T::string, "any-of?" }, { T::capture, "b" }, { T::string, "p" }, { T::string, "q" }, { T::done, "" },
        { T::string, "set!" }, { T::string, "injection.language" }, { T::string, "css" }, { T::done, "" },
        { T::string, "is-not?" }, { T::string, "local" }, { T::done, "" },
        { T::string, "is-not?" }, { T::string, "a" }, { T::string, "b" }, { T::done, "" },
        { T::string, "offset!" }, { T::capture, "c" }, { T::string, "0" }, { T::done, "" },
        { T::string, "not-match?" }, { T::capture, "d" }, { T::string, "^x" }, { T::done, "" },
    });
    ASSERT_EQ(predicates.size(), 7u);
    EXPECT_EQ(predicates[0].kind, Predicate::Kind::eq);
    EXPECT_EQ(predicates[0].captureNames, std::vector<std::string> { "a" });
    EXPECT_EQ(predicates[0].strings, std::vector<std::u16string> { u"x" });
    EXPECT_EQ(predicates[1].kind, Predicate::Kind::anyOf);
    EXPECT_EQ(predicates[1].values, (std::set<std::u16string> { u"p", u"q" }));
    EXPECT_EQ(predicates[2].kind, Predicate::Kind::set);
    EXPECT_EQ(predicates[3].kind, Predicate::Kind::isNot);
    EXPECT_EQ(predicates[4].kind, Predicate::Kind::generic);
    EXPECT_EQ(predicates[4].name, "is-not?");
    EXPECT_EQ(predicates[5].kind, Predicate::Kind::generic);
    EXPECT_EQ(predicates[5].name, "offset!");
    EXPECT_EQ(predicates[6].kind, Predicate::Kind::notMatch);
    ASSERT_TRUE(predicates[6].regularExpression);
}

TEST(QueryPredicates, MalformedStepsAreErrors)
{
    using T = QueryPredicateStep::Type;
    try {
        Query::parsePredicates({ { T::capture, "a" }, { T::done, "" } });
        ADD_FAILURE() << "no error";
    } catch (const PredicateParserError& error) {
        EXPECT_EQ(error.code, PredicateParserError::Code::stepNameExpected);
    }
    try {
        Query::parsePredicates({ { T::string, "eq?" }, { T::capture, "a" } });
        ADD_FAILURE() << "no error";
    } catch (const PredicateParserError& error) {
        EXPECT_EQ(error.code, PredicateParserError::Code::doneExpected);
    }
}

TEST(QueryPredicates, EqBetweenTwoCapturesAlwaysPasses)
{
    TemporaryDirectory folder;
    folder.write("queries/highlights.scm", "((start_tag (tag_name) @open (attribute (attribute_name) @name)) (#eq? @open @name))\n");
    TreeSitterSourceSyntaxAnalyzer analyzer;
    LanguageConfiguration configuration(analyzer.configuration(SourceLanguage::html).language, "HTML", folder.path() / "queries");
    LanguageLayer layer(configuration, { 0, {} });
    // "a" and "href" differ, yet the predicate has no strings to compare with.
    auto text = UnicodeText::utf16("<a href></a>");
    layer.replaceContent(text);
    EXPECT_FALSE(layer.highlights({ { 0, text.size() } }, stringTextProvider(text)).empty());
}

}
