#include "QuilloryCore/Brightloop/BrightloopJS.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include "EmbeddedText/BrightloopCollect.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>

#include <nlohmann/json.hpp>

namespace Quillory::BrightloopJS {

namespace {

using nlohmann::json;

// Locale-independent "%.6f": a GTK process runs under the user's locale, whose decimal comma
// would break the call.
std::string formatCoordinate(double value)
{
    if (!std::isfinite(value))
        return "0";
    char buffer[400];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::fixed, 6);
    if (error != std::errc())
        return "0";
    return std::string(buffer, end);
}

// A shape error: the JSON is well formed but a value has the wrong type.
[[noreturn]] void typeMismatch(const std::string& key, const char* expected, const json& value)
{
    throw DecodeError::invalidJSON("\"" + key + "\": type must be " + expected + ", but is " + value.type_name());
}

const json* member(const json& object, const char* key)
{
    auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return nullptr;
    return &*found;
}

const json& requiredMember(const json& object, const char* key)
{
    auto found = object.find(key);
    if (found == object.end())
        throw DecodeError::invalidJSON(std::string("key \"") + key + "\" not found");
    return *found;
}

std::string stringValue(const json& value, const std::string& key)
{
    if (!value.is_string())
        typeMismatch(key, "string", value);
    return value.get<std::string>();
}

double numberValue(const json& value, const std::string& key)
{
    if (!value.is_number())
        typeMismatch(key, "number", value);
    return value.get<double>();
}

bool booleanValue(const json& value, const std::string& key)
{
    if (!value.is_boolean())
        typeMismatch(key, "boolean", value);
    return value.get<bool>();
}

std::vector<std::string> stringsValue(const json& value, const std::string& key)
{
    if (!value.is_array())
        typeMismatch(key, "array", value);
    std::vector<std::string> strings;
    strings.reserve(value.size());
    for (auto& element : value)
        strings.push_back(stringValue(element, key + "[]"));
    return strings;
}

std::map<std::string, std::string> stringMapValue(const json& value, const std::string& key)
{
    if (!value.is_object())
        typeMismatch(key, "object", value);
    std::map<std::string, std::string> strings;
    for (auto& [name, element] : value.items())
        strings.emplace(name, stringValue(element, key + "." + name));
    return strings;
}

BrightloopRect rectValue(const json& value)
{
    if (!value.is_object())
        typeMismatch("rect", "object", value);
    return {
        numberValue(requiredMember(value, "x"), "rect.x"),
        numberValue(requiredMember(value, "y"), "rect.y"),
        numberValue(requiredMember(value, "width"), "rect.width"),
        numberValue(requiredMember(value, "height"), "rect.height"),
    };
}

std::optional<std::string> optionalString(const json& object, const char* key)
{
    if (auto* value = member(object, key))
        return stringValue(*value, key);
    return std::nullopt;
}

std::optional<double> optionalNumber(const json& object, const char* key)
{
    if (auto* value = member(object, key))
        return numberValue(*value, key);
    return std::nullopt;
}

bool booleanOrFalse(const json& object, const char* key)
{
    if (auto* value = member(object, key))
        return booleanValue(*value, key);
    return false;
}

std::vector<std::string> stringsOrEmpty(const json& object, const char* key)
{
    if (auto* value = member(object, key))
        return stringsValue(*value, key);
    return {};
}

std::map<std::string, std::string> stringMapOrEmpty(const json& object, const char* key)
{
    if (auto* value = member(object, key))
        return stringMapValue(*value, key);
    return {};
}

std::optional<int> optionalInteger(const json& object, const char* key)
{
    auto* value = member(object, key);
    if (!value)
        return std::nullopt;
    if (!value->is_number_integer())
        typeMismatch(key, "integer", *value);
    if (value->is_number_unsigned()) {
        auto number = value->get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(std::numeric_limits<int>::max()))
            throw DecodeError::invalidJSON(std::string("\"") + key + "\": number out of range");
        return static_cast<int>(number);
    }
    auto number = value->get<std::int64_t>();
    if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max())
        throw DecodeError::invalidJSON(std::string("\"") + key + "\": number out of range");
    return static_cast<int>(number);
}

BrightloopDOMRecord recordFromWire(const json& wire)
{
    if (!wire.is_object())
        typeMismatch("record", "object", wire);
    BrightloopDOMRecordFields fields;
    fields.tagName = stringValue(requiredMember(wire, "tagName"), "tagName");
    fields.rect = rectValue(requiredMember(wire, "rect"));
    fields.textSnippet = optionalString(wire, "textSnippet");
    fields.elementID = optionalString(wire, "elementID");
    fields.classList = stringsValue(requiredMember(wire, "classList"), "classList");
    fields.role = optionalString(wire, "role");
    fields.attributes = stringMapValue(requiredMember(wire, "attributes"), "attributes");
    fields.ancestorTags = stringsValue(requiredMember(wire, "ancestorTags"), "ancestorTags");
    fields.ancestorSignatures = stringsOrEmpty(wire, "ancestorSignatures");
    fields.displayContentsAncestors = stringsOrEmpty(wire, "displayContentsAncestors");
    fields.siblingIndex = optionalInteger(wire, "siblingIndex");
    fields.isVisible = booleanValue(requiredMember(wire, "isVisible"), "isVisible");
    fields.inShadowDOM = booleanOrFalse(wire, "inShadowDOM");
    fields.transformed = booleanOrFalse(wire, "transformed");
    fields.pseudoElement = optionalString(wire, "pseudoElement");
    fields.renderedTextSnippet = optionalString(wire, "renderedTextSnippet");
    fields.contentSourceAttribute = optionalString(wire, "contentSourceAttribute");
    fields.effectiveOpacity = optionalNumber(wire, "effectiveOpacity");
    fields.textColorAlpha = optionalNumber(wire, "textColorAlpha");
    fields.fontSize = optionalNumber(wire, "fontSize");
    fields.hasPaintedSurface = booleanOrFalse(wire, "hasPaintedSurface");
    fields.isPointerHitTarget = booleanOrFalse(wire, "isPointerHitTarget");
    fields.shadowHostTagName = optionalString(wire, "shadowHostTagName");
    fields.shadowHostID = optionalString(wire, "shadowHostID");
    fields.shadowHostClassList = stringsOrEmpty(wire, "shadowHostClassList");
    fields.shadowHostAttributes = stringMapOrEmpty(wire, "shadowHostAttributes");
    return BrightloopDOMRecord(std::move(fields));
}

std::string_view trimmedTrailingWhitespace(std::string_view text)
{
    auto end = text.find_last_not_of(" \t\r\n");
    return end == std::string_view::npos ? std::string_view() : text.substr(0, end + 1);
}

}

std::string_view walkerSource()
{
    // The file's final line end would stand between the function and its arguments.
    return trimmedTrailingWhitespace(QuilloryEmbedded::BrightloopCollect);
}

std::string script(const BrightloopRect& fence)
{
    std::string text(walkerSource());
    text += "(";
    text += formatCoordinate(fence.x);
    text += ", ";
    text += formatCoordinate(fence.y);
    text += ", ";
    text += formatCoordinate(fence.width);
    text += ", ";
    text += formatCoordinate(fence.height);
    text += ");";
    return text;
}

std::vector<BrightloopDOMRecord> decode(const std::any& evalResult)
{
    if (auto* text = std::any_cast<std::string>(&evalResult))
        return decode(*text);
    if (auto* view = std::any_cast<std::string_view>(&evalResult))
        return decode(std::string(*view));
    if (auto* characters = std::any_cast<const char*>(&evalResult); characters && *characters)
        return decode(std::string(*characters));
    throw DecodeError::notAString();
}

std::vector<BrightloopDOMRecord> decode(const std::string& jsonString)
{
    if (!UnicodeText::utf16FromUTF8(jsonString))
        throw DecodeError::invalidJSON("not utf8");
    json document;
    try {
        document = json::parse(jsonString);
    } catch (const json::exception& error) {
        throw DecodeError::invalidJSON(error.what());
    }
    if (!document.is_array())
        typeMismatch("answer", "array", document);
    std::vector<BrightloopDOMRecord> records;
    records.reserve(document.size());
    for (auto& wire : document)
        records.push_back(recordFromWire(wire));
    return records;
}

}
