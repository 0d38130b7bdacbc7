#pragma once

#include "QuilloryCore/Analysis/HTMLSyntaxSpan.h"
#include "TreeSitterLayer/LanguageLayer.h"
#include "TreeSitterLayer/TreeSitterSourceSyntaxAnalyzer.h"

#include <filesystem>
#include <memory>
#include <ostream>
#include <string_view>

namespace Quillory {

[[maybe_unused]] static void PrintTo(const HTMLSyntaxSpan& span, std::ostream* stream)
{
    *stream << htmlSyntaxKindName(span.kind) << " {" << span.range.location << ", " << span.range.length << "}";
}

}

namespace QuilloryTest {

// A root layer for `language` over `text`, with the analyzer's provider for injections.
inline std::unique_ptr<Quillory::LanguageLayer> parsedLayer(const Quillory::TreeSitterSourceSyntaxAnalyzer& analyzer,
                                                            Quillory::SourceLanguage language, std::u16string_view text,
                                                            int maximumLanguageDepth = 4)
{
    auto layer = std::make_unique<Quillory::LanguageLayer>(
        analyzer.configuration(language),
        Quillory::LanguageLayer::Configuration { maximumLanguageDepth,
                                                 [&analyzer](const std::string& name) { return analyzer.languageProvider(name); } });
    layer->replaceContent(text);
    return layer;
}

// The query packages the build assembled, copied into `folder` so a test may break them.
inline void copyQueryPackages(const std::filesystem::path& folder)
{
    for (const auto& base : Quillory::TreeSitterSourceSyntaxAnalyzer::defaultResourceBaseFolders()) {
        if (!std::filesystem::exists(base / "TreeSitterHTML_TreeSitterHTML.bundle"))
            continue;
        for (const auto& entry : std::filesystem::directory_iterator(base)) {
            if (entry.path().extension() == ".bundle")
                std::filesystem::copy(entry.path(), folder / entry.path().filename(), std::filesystem::copy_options::recursive);
        }
        return;
    }
}

}
