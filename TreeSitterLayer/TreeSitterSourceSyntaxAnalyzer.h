#pragma once

#include "QuilloryCore/Analysis/HTMLSyntaxSpan.h"
#include "TreeSitterLayer/LanguageConfiguration.h"
#include "TreeSitterLayer/SourceLanguage.h"

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace Quillory {

// Highlights of a document by its grammar and the grammars injected into it. Stateless: every
// call finds the query folders, compiles the queries and builds a new layer tree.
struct TreeSitterSourceSyntaxAnalyzer {
    // Where the query packages are looked for, in order: the program's folder, then
    // ../share/quillory/ beside it.
    std::vector<std::filesystem::path> resourceBaseFolders = defaultResourceBaseFolders();

    // Spans in capture order, or nothing when the caller should fall back: an empty text, a path
    // with no language, missing or broken query files, a failed parse.
    std::optional<std::vector<HTMLSyntaxSpan>> spans(std::u16string_view text, std::string_view documentPath) const;

    // Throws when the package's query folder cannot be found or its queries do not compile.
    LanguageConfiguration configuration(SourceLanguage) const;
    // The configuration for an injection's language name, or nothing.
    std::optional<LanguageConfiguration> languageProvider(const std::string& injectionName) const;
    // The query folder of a resource package: <base>/<package>.bundle/Contents/Resources/queries,
    // then <base>/<package>.bundle/queries. Throws std::filesystem::filesystem_error when none exists.
    std::filesystem::path queriesURL(std::string_view packageName) const;

    static std::vector<std::filesystem::path> defaultResourceBaseFolders();
};

}
