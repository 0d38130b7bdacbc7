#include "QuilloryCore/Analysis/HTMLSyntaxSpan.h"

#include <array>
#include <vector>

namespace Quillory {

std::string_view htmlSyntaxKindName(HTMLSyntaxKind kind)
{
    static constexpr std::array<std::string_view, htmlSyntaxKindCount> names {
        "tagBracket", "tagName", "attributeName", "attributeOperator", "attributeValue", "comment", "declaration", "entity",
        "keyword", "string", "number", "property", "function", "variable", "type", "punctuation",
    };
    return names[static_cast<std::size_t>(kind)];
}

HTMLSyntaxKind htmlSyntaxKindFromCaptureName(std::string_view captureName)
{
    // The components, empty ones left out; a capture name has a handful, so a small vector is
    // the set.
    std::vector<std::string_view> components;
    std::size_t start = 0;
    while (start <= captureName.size()) {
        auto dot = captureName.find('.', start);
        auto end = dot == std::string_view::npos ? captureName.size() : dot;
        if (end > start)
            components.push_back(captureName.substr(start, end - start));
        start = end + 1;
    }
    auto has = [&](std::string_view name) {
        for (auto component : components) {
            if (component == name)
                return true;
        }
        return false;
    };
    // The order of the rules decides: "tag" is tested before "attribute", so `tag.attribute` is a
    // tag name.
    if (has("comment"))
        return HTMLSyntaxKind::comment;
    if (has("tag") && has("delimiter"))
        return HTMLSyntaxKind::tagBracket;
    if (has("tag"))
        return HTMLSyntaxKind::tagName;
    if (has("attribute"))
        return HTMLSyntaxKind::attributeName;
    if (has("string"))
        return HTMLSyntaxKind::string;
    if (has("keyword") || has("conditional") || has("repeat"))
        return HTMLSyntaxKind::keyword;
    if (has("number") || has("float"))
        return HTMLSyntaxKind::number;
    if (has("property"))
        return HTMLSyntaxKind::property;
    if (has("function") || has("method"))
        return HTMLSyntaxKind::function;
    if (has("type") || has("constructor"))
        return HTMLSyntaxKind::type;
    if (has("variable") || has("constant") || has("identifier"))
        return HTMLSyntaxKind::variable;
    if (has("operator"))
        return HTMLSyntaxKind::attributeOperator;
    if (has("punctuation"))
        return HTMLSyntaxKind::punctuation;
    return HTMLSyntaxKind::declaration;
}

}
