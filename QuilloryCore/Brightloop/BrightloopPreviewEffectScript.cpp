#include "QuilloryCore/Brightloop/BrightloopPreviewEffectScript.h"

#include "EmbeddedText/BrightloopPreviewEffect.h"

#include <cmath>
#include <stdexcept>
#include <string_view>

#include <nlohmann/json.hpp>

namespace Quillory::BrightloopPreviewEffectScript {

namespace {

using nlohmann::ordered_json;

constexpr std::string_view emptyPayload = R"({"candidates":[]})";
constexpr std::string_view scriptPrefix = "(() => {\n  const payload = ";

// The resource is a complete script with the empty payload; what follows that payload on its
// line is the constant remainder, which ends by calling the function.
constexpr std::string_view placeholderLine = R"(  const payload = {"candidates":[]})";
static_assert(QuilloryEmbedded::BrightloopPreviewEffect.find(placeholderLine) != std::string_view::npos,
              "BrightloopPreviewEffect.js must assign the empty payload on a line of its own");

std::string_view scriptRemainder()
{
    constexpr auto text = QuilloryEmbedded::BrightloopPreviewEffect;
    return text.substr(text.find(placeholderLine) + placeholderLine.size());
}

// JSON has no NaN or infinity; like a strict encoder, refuse rather than send null.
double finiteNumber(double value)
{
    if (!std::isfinite(value))
        throw std::domain_error("a rectangle coordinate is not finite");
    return value;
}

ordered_json payloadRecord(const BrightloopDOMRecord& record)
{
    ordered_json json;
    json["tagName"] = record.tagName;
    json["rect"] = {
        { "x", finiteNumber(record.rect.x) },
        { "y", finiteNumber(record.rect.y) },
        { "width", finiteNumber(record.rect.width) },
        { "height", finiteNumber(record.rect.height) },
    };
    if (record.textSnippet)
        json["textSnippet"] = *record.textSnippet;
    if (record.elementID)
        json["elementID"] = *record.elementID;
    json["classList"] = record.classList;
    if (record.pseudoElement)
        json["pseudoElement"] = *record.pseudoElement;
    return json;
}

ordered_json payloadCandidate(const BrightloopCandidate& candidate, const char* mode)
{
    ordered_json json;
    json["id"] = candidate.id.string();
    json["mode"] = mode;
    json["record"] = payloadRecord(candidate.dom);
    return json;
}

}

std::string payloadJSON(const BrightloopPreviewDirective& directive)
{
    try {
        auto candidates = ordered_json::array();
        for (const auto& candidate : directive.hiddenCandidates)
            candidates.push_back(payloadCandidate(candidate, "hidden"));
        if (directive.highlightedCandidate)
            candidates.push_back(payloadCandidate(*directive.highlightedCandidate, "highlighted"));
        ordered_json payload;
        payload["candidates"] = std::move(candidates);
        // Strict: text that is not UTF-8 throws instead of being replaced.
        return payload.dump();
    } catch (const std::exception&) {
        return std::string(emptyPayload);
    }
}

std::string script(const BrightloopPreviewDirective& directive)
{
    std::string text(scriptPrefix);
    text += payloadJSON(directive);
    text += scriptRemainder();
    return text;
}

}
