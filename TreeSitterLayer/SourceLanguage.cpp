#include "TreeSitterLayer/SourceLanguage.h"

#include <string>

namespace Quillory {

namespace {

std::string lowered(std::string_view text)
{
    std::string result(text);
    for (auto& character : result) {
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character + 32);
    }
    return result;
}

}

std::optional<SourceLanguage> sourceLanguage(std::string_view documentPath)
{
    auto slash = documentPath.rfind('/');
    auto fileName = slash == std::string_view::npos ? documentPath : documentPath.substr(slash + 1);
    auto dot = fileName.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return std::nullopt;
    auto extension = lowered(fileName.substr(dot + 1));
    if (extension == "html" || extension == "htm")
        return SourceLanguage::html;
    if (extension == "css")
        return SourceLanguage::css;
    if (extension == "js" || extension == "jsx" || extension == "mjs" || extension == "cjs")
        return SourceLanguage::javascript;
    if (extension == "ts")
        return SourceLanguage::typescript;
    if (extension == "tsx")
        return SourceLanguage::tsx;
    return std::nullopt;
}

std::optional<SourceLanguage> sourceLanguageForInjectionName(std::string_view name)
{
    auto key = lowered(name);
    if (key == "html")
        return SourceLanguage::html;
    if (key == "css" || key == "scss")
        return SourceLanguage::css;
    if (key == "javascript" || key == "js" || key == "jsx")
        return SourceLanguage::javascript;
    if (key == "typescript" || key == "ts")
        return SourceLanguage::typescript;
    if (key == "tsx")
        return SourceLanguage::tsx;
    return std::nullopt;
}

}
