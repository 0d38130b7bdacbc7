#include "QuilloryApp/Editor/SourceEditorColors.h"

namespace Quillory::SourceEditorColors {

GdkRGBA color(HTMLSyntaxKind kind)
{
    switch (kind) {
    case HTMLSyntaxKind::tagBracket:
        return { 0.52f, 0.6f, 0.7f, 1 };
    case HTMLSyntaxKind::tagName:
        return { 0.39f, 0.72f, 1.0f, 1 };
    case HTMLSyntaxKind::attributeName:
    case HTMLSyntaxKind::property:
        return { 0.95f, 0.72f, 0.42f, 1 };
    case HTMLSyntaxKind::attributeOperator:
    case HTMLSyntaxKind::punctuation:
        return grey(0.72f);
    case HTMLSyntaxKind::attributeValue:
    case HTMLSyntaxKind::string:
        return { 0.66f, 0.86f, 0.54f, 1 };
    case HTMLSyntaxKind::comment:
        return { 0.48f, 0.58f, 0.48f, 1 };
    case HTMLSyntaxKind::declaration:
    case HTMLSyntaxKind::keyword:
        return { 0.82f, 0.62f, 0.96f, 1 };
    case HTMLSyntaxKind::entity:
        return { 0.94f, 0.58f, 0.78f, 1 };
    case HTMLSyntaxKind::number:
        return { 0.95f, 0.64f, 0.5f, 1 };
    case HTMLSyntaxKind::function:
        return { 0.43f, 0.78f, 0.95f, 1 };
    case HTMLSyntaxKind::variable:
        return { 0.88f, 0.88f, 0.82f, 1 };
    case HTMLSyntaxKind::type:
        return { 0.78f, 0.72f, 1.0f, 1 };
    }
    return text;
}

}
