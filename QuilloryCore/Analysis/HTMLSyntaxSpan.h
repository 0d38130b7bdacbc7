#pragma once

#include "QuilloryCore/Text/Utf16Range.h"

#include <optional>
#include <string>
#include <string_view>

namespace Quillory {

// What a highlighted range is. The HTML scanner yields the first eight kinds; the tree-sitter
// path yields all of them.
enum class HTMLSyntaxKind {
    tagBracket,
    tagName,
    attributeName,
    attributeOperator,
    attributeValue,
    comment,
    declaration,
    entity,
    keyword,
    string,
    number,
    property,
    function,
    variable,
    type,
    punctuation,
};

inline constexpr int htmlSyntaxKindCount = 16;

// The case's own name ("tagBracket"), as the command line prints it.
std::string_view htmlSyntaxKindName(HTMLSyntaxKind);
// The kind of a dotted tree-sitter capture name ("function.method" is `function`). Every name
// gives a kind: one that no rule names is a `declaration`.
HTMLSyntaxKind htmlSyntaxKindFromCaptureName(std::string_view captureName);

// A kind over a range of UTF-16 code units.
struct HTMLSyntaxSpan {
    HTMLSyntaxKind kind { HTMLSyntaxKind::tagBracket };
    Utf16Range range;

    friend bool operator==(const HTMLSyntaxSpan&, const HTMLSyntaxSpan&) = default;
};

// An element the editor can collapse. Ranges count UTF-16 code units; lines are 1-based and only
// a line feed starts a new one.
struct HTMLFoldRegion {
    // tagName, "-", start of the element, "-", end of the element: "div-12-340".
    std::string id;
    // Lower case.
    std::string tagName;
    // From the opening tag's "<" to behind the closing tag's ">".
    Utf16Range fullRange;
    // The content: from behind the opening tag's ">" to the closing tag's "<".
    Utf16Range hiddenRange;
    int startLine { 1 };
    int endLine { 1 };

    friend bool operator==(const HTMLFoldRegion&, const HTMLFoldRegion&) = default;
};

}
