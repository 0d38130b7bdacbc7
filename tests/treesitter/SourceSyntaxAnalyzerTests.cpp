#include "TreeSitterTestSupport.h"

#include "QuilloryCore/Analysis/HTMLSyntaxAnalyzer.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "TreeSitterLayer/SourceSyntaxAnalyzer.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;

namespace {

const char* const htmlPage = "<!DOCTYPE html>\n<html>\n<head>\n<style>\nbody { color: red; }\n</style>\n</head>\n"
                             "<body>\n<p class=\"a\">Hi &amp; bye</p>\n<script>\nlet n = 1;\n</script>\n</body>\n</html>\n";

TEST(SourceSyntaxAnalyzer, EmptyTSXTextYieldsNoSpansByWayOfTheFallback)
{
    SourceSyntaxAnalyzer analyzer;
    EXPECT_FALSE(analyzer.treeSitterAnalyzer.spans(u"", "App.tsx").has_value());
    EXPECT_TRUE(analyzer.spans(u"", "App.tsx").empty());
}

TEST(SourceSyntaxAnalyzer, UpperCaseHTMLExtensionIsHTMLAndFolds)
{
    SourceSyntaxAnalyzer analyzer;
    EXPECT_EQ(sourceLanguage("site/Index.HTML"), SourceLanguage::html);
    auto text = UnicodeText::utf16(htmlPage);
    EXPECT_EQ(analyzer.foldRegions(text, "site/Index.HTML"), HTMLSyntaxAnalyzer::foldRegions(text));
    EXPECT_FALSE(analyzer.foldRegions(text, "site/Index.HTML").empty());
    EXPECT_TRUE(analyzer.treeSitterAnalyzer.spans(text, "site/Index.HTML").has_value());
}

TEST(SourceSyntaxAnalyzer, ScssHasNoLanguageSoTheScannerColoursItWithoutFolds)
{
    SourceSyntaxAnalyzer analyzer;
    auto text = UnicodeText::utf16("<div>\n&amp;\n</div>\n$x: 1;\n");
    EXPECT_FALSE(sourceLanguage("style.scss").has_value());
    EXPECT_EQ(sourceLanguageForInjectionName("SCSS"), SourceLanguage::css);
    EXPECT_EQ(analyzer.spans(text, "style.scss"), HTMLSyntaxAnalyzer::spans(text));
    EXPECT_TRUE(analyzer.foldRegions(text, "style.scss").empty());
}

TEST(SourceSyntaxAnalyzer, JSONAndMarkdownAreColouredByTheScanner)
{
    SourceSyntaxAnalyzer analyzer;
    auto text = UnicodeText::utf16("# Title &amp; <tag>\n{\"a\": 1}\n");
    std::vector<HTMLSyntaxSpan> expected { { HTMLSyntaxKind::entity, { 8, 5 } },
                                           { HTMLSyntaxKind::tagBracket, { 14, 1 } },
                                           { HTMLSyntaxKind::tagName, { 15, 3 } },
                                           { HTMLSyntaxKind::tagBracket, { 18, 1 } } };
    EXPECT_EQ(analyzer.spans(text, "README.md"), expected);
    EXPECT_EQ(analyzer.spans(text, "data.json"), expected);
    EXPECT_TRUE(analyzer.foldRegions(text, "README.md").empty());
}

TEST(SourceSyntaxAnalyzer, TSXNeverFolds)
{
    SourceSyntaxAnalyzer analyzer;
    auto text = UnicodeText::utf16("export const A = () => (\n  <div>\n    <p>x</p>\n  </div>\n);\n");
    EXPECT_TRUE(analyzer.foldRegions(text, "src/A.tsx").empty());
    EXPECT_FALSE(HTMLSyntaxAnalyzer::foldRegions(text).empty());
    auto spans = analyzer.treeSitterAnalyzer.spans(text, "src/A.tsx");
    ASSERT_TRUE(spans.has_value());
    EXPECT_NE(std::find(spans->begin(), spans->end(), HTMLSyntaxSpan { HTMLSyntaxKind::keyword, { 0, 6 } }), spans->end());
}

TEST(SourceSyntaxAnalyzer, MissingQueryFoldersLeaveHTMLToTheScanner)
{
    TemporaryDirectory emptyFolder;
    SourceSyntaxAnalyzer analyzer { TreeSitterSourceSyntaxAnalyzer { { emptyFolder.path() } } };
    auto text = UnicodeText::utf16(htmlPage);
    EXPECT_THROW(analyzer.treeSitterAnalyzer.queriesURL("TreeSitterHTML_TreeSitterHTML"), std::filesystem::filesystem_error);
    EXPECT_EQ(analyzer.spans(text, "index.html"), HTMLSyntaxAnalyzer::spans(text));
    EXPECT_EQ(analyzer.foldRegions(text, "index.html"), HTMLSyntaxAnalyzer::foldRegions(text));
}

TEST(SourceSyntaxAnalyzer, QueryFolderRemovedAtRunTimeMakesTheWholeDocumentFallBackSilently)
{
    TemporaryDirectory resources;
    QuilloryTest::copyQueryPackages(resources.path());
    SourceSyntaxAnalyzer analyzer { TreeSitterSourceSyntaxAnalyzer { { resources.path() } } };
    auto text = UnicodeText::utf16(htmlPage);
    auto before = analyzer.spans(text, "index.html");
    EXPECT_NE(before, HTMLSyntaxAnalyzer::spans(text));
    // The CSS package goes away: the page's style element can no longer be highlighted, so the
    // whole page falls back, with nothing printed.
    std::filesystem::remove_all(resources.path() / "TreeSitterCSS_TreeSitterCSS.bundle");
    testing::internal::CaptureStdout();
    auto after = analyzer.spans(text, "index.html");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_NE(after, HTMLSyntaxAnalyzer::spans(text)) << "a missing injected language keeps the host's highlights";
    std::filesystem::remove(resources.path() / "TreeSitterHTML_TreeSitterHTML.bundle/queries/highlights.scm");
    EXPECT_EQ(analyzer.spans(text, "index.html"), HTMLSyntaxAnalyzer::spans(text));
}

TEST(SourceSyntaxAnalyzer, InjectedLanguageWithoutHighlightsFailsTheWholeDocument)
{
    TemporaryDirectory resources;
    QuilloryTest::copyQueryPackages(resources.path());
    SourceSyntaxAnalyzer analyzer { TreeSitterSourceSyntaxAnalyzer { { resources.path() } } };
    std::filesystem::remove(resources.path() / "TreeSitterCSS_TreeSitterCSS.bundle/queries/highlights.scm");
    auto text = UnicodeText::utf16(htmlPage);
    EXPECT_EQ(analyzer.spans(text, "index.html"), HTMLSyntaxAnalyzer::spans(text));
}

TEST(SourceSyntaxAnalyzer, PackageFolderPrefersContentsResourcesLayout)
{
    TemporaryDirectory resources;
    resources.write("P.bundle/queries/highlights.scm", "");
    TreeSitterSourceSyntaxAnalyzer analyzer { { resources.path() / "missing", resources.path() } };
    EXPECT_EQ(analyzer.queriesURL("P"), resources.path() / "P.bundle" / "queries");
    resources.write("P.bundle/Contents/Resources/queries/highlights.scm", "");
    EXPECT_EQ(analyzer.queriesURL("P"), resources.path() / "P.bundle" / "Contents" / "Resources" / "queries");
}

TEST(SourceSyntaxAnalyzer, ExtensionAndInjectionNameTables)
{
    EXPECT_EQ(sourceLanguage("a.htm"), SourceLanguage::html);
    EXPECT_EQ(sourceLanguage("a.css"), SourceLanguage::css);
    for (auto path : { "a.js", "a.jsx", "a.mjs", "a.cjs" })
        EXPECT_EQ(sourceLanguage(path), SourceLanguage::javascript) << path;
    EXPECT_EQ(sourceLanguage("a.ts"), SourceLanguage::typescript);
    EXPECT_EQ(sourceLanguage("a.TSX"), SourceLanguage::tsx);
    for (auto path : { "a.scss", "a.json", "Makefile", "dir.html/file", "a." })
        EXPECT_FALSE(sourceLanguage(path).has_value()) << path;
    EXPECT_EQ(sourceLanguageForInjectionName("HTML"), SourceLanguage::html);
    EXPECT_EQ(sourceLanguageForInjectionName("js"), SourceLanguage::javascript);
    EXPECT_EQ(sourceLanguageForInjectionName("jsx"), SourceLanguage::javascript);
    EXPECT_EQ(sourceLanguageForInjectionName("ts"), SourceLanguage::typescript);
    EXPECT_EQ(sourceLanguageForInjectionName("tsx"), SourceLanguage::tsx);
    for (auto name : { "htm", "mjs", "cjs", "regex", "jsdoc" })
        EXPECT_FALSE(sourceLanguageForInjectionName(name).has_value()) << name;
}

TEST(SourceSyntaxAnalyzer, CaptureNamesMapToKindsInRuleOrder)
{
    const std::vector<std::pair<const char*, HTMLSyntaxKind>> cases {
        { "keyword.conditional", HTMLSyntaxKind::keyword }, { "conditional", HTMLSyntaxKind::keyword },
        { "repeat", HTMLSyntaxKind::keyword },              { "float", HTMLSyntaxKind::number },
        { "label", HTMLSyntaxKind::declaration },           { "embedded", HTMLSyntaxKind::declaration },
        { "string.special", HTMLSyntaxKind::string },       { "function.method", HTMLSyntaxKind::function },
        { "punctuation.delimiter", HTMLSyntaxKind::punctuation }, { "tag.delimiter", HTMLSyntaxKind::tagBracket },
        { "tag.attribute", HTMLSyntaxKind::tagName },       { "attribute", HTMLSyntaxKind::attributeName },
        { "comment.documentation", HTMLSyntaxKind::comment }, { "constructor", HTMLSyntaxKind::type },
        { "variable.builtin", HTMLSyntaxKind::variable },   { "constant", HTMLSyntaxKind::variable },
        { "operator", HTMLSyntaxKind::attributeOperator },  { "property", HTMLSyntaxKind::property },
        { "..string..", HTMLSyntaxKind::string },           { "", HTMLSyntaxKind::declaration },
    };
    for (auto& [name, kind] : cases)
        EXPECT_EQ(htmlSyntaxKindFromCaptureName(name), kind) << name;
}

TEST(SourceSyntaxAnalyzer, ZeroLengthCapturesGiveNoSpan)
{
    TreeSitterSourceSyntaxAnalyzer analyzer;
    // The missing ")" that error recovery inserts is a zero-length node the bracket pattern captures.
    auto text = UnicodeText::utf16("f(1;\n");
    auto layer = QuilloryTest::parsedLayer(analyzer, SourceLanguage::javascript, text);
    auto named = layer->highlights({ { 0, text.size() } }, stringTextProvider(text));
    EXPECT_TRUE(std::any_of(named.begin(), named.end(), [](auto& range) { return range.tsRange.start_byte == range.tsRange.end_byte; }));
    auto spans = *analyzer.spans(text, "a.js");
    EXPECT_FALSE(spans.empty());
    for (auto& span : spans)
        EXPECT_GT(span.range.length, 0u);
}

}
