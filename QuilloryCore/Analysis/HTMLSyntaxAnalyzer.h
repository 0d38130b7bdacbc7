#pragma once

#include "QuilloryCore/Analysis/HTMLSyntaxSpan.h"

#include <string_view>
#include <vector>

// A hand-written, error-tolerant scanner over the UTF-16 code units of a text. It never fails:
// malformed input yields fewer spans or regions. Only ASCII code units take part in any rule, and
// `script` and `style` content is scanned like any other markup. Stateless; any thread.
namespace Quillory::HTMLSyntaxAnalyzer {

// Highlight spans in scan order. A tag cut off by the end of the text keeps the spans it got.
std::vector<HTMLSyntaxSpan> spans(std::u16string_view text);

// Collapsible elements that span more than one line and have content, sorted by start line with
// outer elements before inner ones at the same line.
std::vector<HTMLFoldRegion> foldRegions(std::u16string_view text);

}
