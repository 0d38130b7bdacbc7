#include "TreeSitterLayer/SourceSyntaxAnalyzer.h"

#include "QuilloryCore/Analysis/HTMLSyntaxAnalyzer.h"
#include "TreeSitterLayer/SourceLanguage.h"

namespace Quillory {

std::vector<HTMLSyntaxSpan> SourceSyntaxAnalyzer::spans(std::u16string_view text, std::string_view documentPath) const
{
    if (auto spans = treeSitterAnalyzer.spans(text, documentPath))
        return std::move(*spans);
    return HTMLSyntaxAnalyzer::spans(text);
}

std::vector<HTMLFoldRegion> SourceSyntaxAnalyzer::foldRegions(std::u16string_view text, std::string_view documentPath) const
{
    if (sourceLanguage(documentPath) == SourceLanguage::html)
        return HTMLSyntaxAnalyzer::foldRegions(text);
    return {};
}

}
