#pragma once

#include <optional>
#include <string_view>

namespace Quillory {

// A language with a grammar of its own.
enum class SourceLanguage { html, css, javascript, typescript, tsx };

// By the path's extension, lowered: html/htm, css, js/jsx/mjs/cjs, ts, tsx.
std::optional<SourceLanguage> sourceLanguage(std::string_view documentPath);
// By a language name that query files give, lowered: html, css/scss, javascript/js/jsx,
// typescript/ts, tsx. ("scss" names CSS here while a .scss file has no language, on purpose.)
std::optional<SourceLanguage> sourceLanguageForInjectionName(std::string_view name);

}
