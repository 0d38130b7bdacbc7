#pragma once

#include "QuilloryCore/Analysis/HTMLSyntaxSpan.h"
#include "TreeSitterLayer/TreeSitterSourceSyntaxAnalyzer.h"

#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// The one entry for the highlight spans and fold regions of any document, by its path. Spans
// come from the grammars when they can, otherwise from the HTML scanner; only HTML folds. Never
// fails; stateless, so any thread may make one and use it.
struct SourceSyntaxAnalyzer {
    TreeSitterSourceSyntaxAnalyzer treeSitterAnalyzer;

    std::vector<HTMLSyntaxSpan> spans(std::u16string_view text, std::string_view documentPath) const;
    std::vector<HTMLFoldRegion> foldRegions(std::u16string_view text, std::string_view documentPath) const;
};

// What a background analysis hands to the editor: the text it analysed, so a stale result can
// be told, and both results.
struct SourceSyntaxSnapshot {
    std::u16string text;
    std::vector<HTMLSyntaxSpan> spans;
    std::vector<HTMLFoldRegion> foldRegions;
};

}
