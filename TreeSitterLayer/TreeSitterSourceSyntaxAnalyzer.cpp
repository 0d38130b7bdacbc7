#include "TreeSitterLayer/TreeSitterSourceSyntaxAnalyzer.h"

#include "TreeSitterLayer/LanguageLayer.h"

#include <set>
#include <system_error>
#include <unistd.h>

extern "C" {
const TSLanguage* tree_sitter_html();
const TSLanguage* tree_sitter_css();
const TSLanguage* tree_sitter_javascript();
const TSLanguage* tree_sitter_typescript();
const TSLanguage* tree_sitter_tsx();
}

namespace Quillory {

namespace {

struct LanguageEntry {
    const TSLanguage* (*grammar)();
    std::string_view package;
    std::string_view name;
};

LanguageEntry entry(SourceLanguage language)
{
    switch (language) {
    case SourceLanguage::html:
        return { tree_sitter_html, "TreeSitterHTML_TreeSitterHTML", "HTML" };
    case SourceLanguage::css:
        return { tree_sitter_css, "TreeSitterCSS_TreeSitterCSS", "CSS" };
    case SourceLanguage::javascript:
        return { tree_sitter_javascript, "TreeSitterJavaScript_TreeSitterJavaScript", "JavaScript" };
    case SourceLanguage::typescript:
        return { tree_sitter_typescript, "TreeSitterTypeScript_TreeSitterTypeScript", "TypeScript" };
    case SourceLanguage::tsx:
        return { tree_sitter_tsx, "TreeSitterTypeScript_TreeSitterTSX", "TSX" };
    }
    return { tree_sitter_html, "TreeSitterHTML_TreeSitterHTML", "HTML" };
}

// How deep injections may nest under a document's own language.
constexpr int maximumLanguageDepth = 4;

}

std::vector<std::filesystem::path> TreeSitterSourceSyntaxAnalyzer::defaultResourceBaseFolders()
{
    std::error_code error;
    auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        return {};
    auto folder = executable.parent_path();
    return { folder, folder / ".." / "share" / "quillory" };
}

std::filesystem::path TreeSitterSourceSyntaxAnalyzer::queriesURL(std::string_view packageName) const
{
    std::set<std::filesystem::path> seen;
    for (const auto& base : resourceBaseFolders) {
        auto standardised = base.lexically_normal();
        if (!seen.insert(standardised).second)
            continue;
        auto package = standardised / (std::string(packageName) + ".bundle");
        for (const auto& candidate : { package / "Contents" / "Resources" / "queries", package / "queries" }) {
            if (::access(candidate.c_str(), R_OK) == 0)
                return candidate;
        }
    }
    throw std::filesystem::filesystem_error("query folder not found", std::filesystem::path(packageName),
                                            std::make_error_code(std::errc::no_such_file_or_directory));
}

LanguageConfiguration TreeSitterSourceSyntaxAnalyzer::configuration(SourceLanguage language) const
{
    auto found = entry(language);
    return LanguageConfiguration(found.grammar(), std::string(found.name), queriesURL(found.package));
}

std::optional<LanguageConfiguration> TreeSitterSourceSyntaxAnalyzer::languageProvider(const std::string& injectionName) const
{
    auto language = sourceLanguageForInjectionName(injectionName);
    if (!language)
        return std::nullopt;
    try {
        return configuration(*language);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<std::vector<HTMLSyntaxSpan>> TreeSitterSourceSyntaxAnalyzer::spans(std::u16string_view text, std::string_view documentPath) const
{
    if (text.empty())
        return std::nullopt;
    auto language = sourceLanguage(documentPath);
    if (!language)
        return std::nullopt;
    // Every failure here is silent: the caller falls back to the HTML scanner.
    try {
        LanguageLayer layer(configuration(*language),
                            { maximumLanguageDepth, [this](const std::string& name) { return languageProvider(name); } });
        layer.replaceContent(text);
        auto named = layer.highlights({ { 0, text.size() } }, stringTextProvider(text));
        std::vector<HTMLSyntaxSpan> result;
        result.reserve(named.size());
        for (const auto& range : named) {
            // Two bytes a code unit: tree-sitter reads the text as UTF-16.
            auto start = range.tsRange.start_byte / 2;
            auto end = range.tsRange.end_byte / 2;
            if (end <= start)
                continue;
            result.push_back({ htmlSyntaxKindFromCaptureName(range.name()), { start, end - start } });
        }
        return result;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

}
