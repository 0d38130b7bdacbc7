#include "QuilloryCore/Inspection/PageInspectionJS.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include "EmbeddedText/PageInspection.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include <nlohmann/json.hpp>

namespace Quillory::PageInspectionJS {

namespace {

using nlohmann::json;

// Shape failures are raised as the JSON library's own exceptions, with the JSON pointer of the
// offending value in front as the library does in its diagnostic mode, so that every failure
// reads alike and says where it is.
std::string located(const std::string& pointer)
{
    return pointer.empty() ? std::string() : "(" + pointer + ") ";
}

[[noreturn]] void typeMismatch(const std::string& pointer, const char* expected, const json& value)
{
    throw json::type_error::create(302, located(pointer) + "type must be " + expected + ", but is " + value.type_name(), nullptr);
}

std::string childPointer(const std::string& pointer, std::string_view key)
{
    return pointer + "/" + std::string(key);
}

const json& objectValue(const json& value, const std::string& pointer)
{
    if (!value.is_object())
        typeMismatch(pointer, "object", value);
    return value;
}

const json& requiredMember(const json& object, const char* key, const std::string& pointer)
{
    auto found = object.find(key);
    if (found == object.end())
        throw json::out_of_range::create(403, located(pointer) + "key '" + key + "' not found", nullptr);
    return *found;
}

// Nothing for an absent key and for null alike.
const json* optionalMember(const json& object, const char* key)
{
    auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return nullptr;
    return &*found;
}

std::string stringValue(const json& value, const std::string& pointer)
{
    if (!value.is_string())
        typeMismatch(pointer, "string", value);
    return value.get<std::string>();
}

bool booleanValue(const json& value, const std::string& pointer)
{
    if (!value.is_boolean())
        typeMismatch(pointer, "boolean", value);
    return value.get<bool>();
}

// Levels and rule counts are whole numbers; a fraction is a malformed answer, not a count.
std::int64_t integerValue(const json& value, const std::string& pointer)
{
    if (!value.is_number_integer())
        typeMismatch(pointer, "integer", value);
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        throw json::out_of_range::create(406, located(pointer) + "number overflow: " + value.dump(), nullptr);
    return value.get<std::int64_t>();
}

std::string requiredString(const json& object, const char* key, const std::string& pointer)
{
    auto keyPointer = childPointer(pointer, key);
    return stringValue(requiredMember(object, key, pointer), keyPointer);
}

std::optional<std::string> optionalString(const json& object, const char* key, const std::string& pointer)
{
    if (auto* value = optionalMember(object, key))
        return stringValue(*value, childPointer(pointer, key));
    return std::nullopt;
}

bool requiredBoolean(const json& object, const char* key, const std::string& pointer)
{
    return booleanValue(requiredMember(object, key, pointer), childPointer(pointer, key));
}

std::int64_t requiredInteger(const json& object, const char* key, const std::string& pointer)
{
    return integerValue(requiredMember(object, key, pointer), childPointer(pointer, key));
}

// A count can't be negative; a page that says so sent a malformed answer.
std::int64_t requiredCount(const json& object, const char* key, const std::string& pointer)
{
    auto count = requiredInteger(object, key, pointer);
    if (count < 0)
        throw json::out_of_range::create(406, located(childPointer(pointer, key)) + "negative count: " + std::to_string(count), nullptr);
    return count;
}

PageInspectionHeading headingFromWire(const json& value, const std::string& pointer)
{
    auto& wire = objectValue(value, pointer);
    return {
        requiredInteger(wire, "level", pointer),
        requiredString(wire, "text", pointer),
        optionalString(wire, "elementID", pointer),
    };
}

PageInspectionLink linkFromWire(const json& value, const std::string& pointer)
{
    auto& wire = objectValue(value, pointer);
    return {
        requiredString(wire, "href", pointer),
        requiredString(wire, "text", pointer),
        requiredBoolean(wire, "isLocal", pointer),
    };
}

PageInspectionImage imageFromWire(const json& value, const std::string& pointer)
{
    auto& wire = objectValue(value, pointer);
    return {
        requiredString(wire, "src", pointer),
        optionalString(wire, "alt", pointer),
        requiredBoolean(wire, "isMissingAlt", pointer),
    };
}

PageInspectionStylesheet stylesheetFromWire(const json& value, const std::string& pointer)
{
    auto& wire = objectValue(value, pointer);
    return {
        optionalString(wire, "href", pointer),
        requiredCount(wire, "ruleCount", pointer),
        optionalString(wire, "inaccessibleReason", pointer),
    };
}

template<class Entry>
std::vector<Entry> requiredList(const json& object, const char* key, Entry (*entryFromWire)(const json&, const std::string&))
{
    auto pointer = childPointer("", key);
    auto& list = requiredMember(object, key, "");
    if (!list.is_array())
        typeMismatch(pointer, "array", list);
    std::vector<Entry> entries;
    entries.reserve(list.size());
    for (std::size_t index = 0; index < list.size(); ++index)
        entries.push_back(entryFromWire(list[index], childPointer(pointer, std::to_string(index))));
    return entries;
}

std::string_view trimmedTrailingWhitespace(std::string_view text)
{
    auto end = text.find_last_not_of(" \t\r\n");
    return end == std::string_view::npos ? std::string_view() : text.substr(0, end + 1);
}

}

std::string_view snapshotSource()
{
    // The file's final line end would stand between the function and its call.
    return trimmedTrailingWhitespace(QuilloryEmbedded::PageInspection);
}

std::string script()
{
    std::string text(snapshotSource());
    text += "();";
    return text;
}

PageInspectionSnapshot decode(const std::any& evalResult)
{
    if (auto* text = std::any_cast<std::string>(&evalResult))
        return decode(*text);
    if (auto* view = std::any_cast<std::string_view>(&evalResult))
        return decode(std::string(*view));
    if (auto* characters = std::any_cast<const char*>(&evalResult); characters && *characters != nullptr)
        return decode(std::string(*characters));
    throw DecodeError::notAString();
}

PageInspectionSnapshot decode(const std::string& jsonString)
{
    if (!UnicodeText::utf16FromUTF8(jsonString))
        throw DecodeError::invalidJSON("not utf8");
    // The public records have the wire form's shape, so the answer is read straight into them.
    try {
        auto document = json::parse(jsonString);
        auto& wire = objectValue(document, "");
        PageInspectionSnapshot snapshot;
        snapshot.title = requiredString(wire, "title", "");
        snapshot.language = optionalString(wire, "language", "");
        snapshot.headings = requiredList(wire, "headings", headingFromWire);
        snapshot.links = requiredList(wire, "links", linkFromWire);
        snapshot.images = requiredList(wire, "images", imageFromWire);
        snapshot.stylesheets = requiredList(wire, "stylesheets", stylesheetFromWire);
        return snapshot;
    } catch (const json::exception& error) {
        throw DecodeError::invalidJSON(error.what());
    }
}

}
