#include "QuilloryCore/LiveFetch/LiveSiteFetchManifest.h"

#include "QuilloryCore/Text/QuilloryErrors.h"

#include <nlohmann/json.hpp>

namespace Quillory {

namespace {

nlohmann::json entryJSON(const LiveSiteFetchManifest::Entry& entry)
{
    nlohmann::json json { { "sourceURL", entry.sourceURL } };
    if (entry.relativePath)
        json["relativePath"] = *entry.relativePath;
    if (entry.statusCode)
        json["statusCode"] = *entry.statusCode;
    if (entry.note)
        json["note"] = *entry.note;
    return json;
}

nlohmann::json entriesJSON(const std::vector<LiveSiteFetchManifest::Entry>& entries)
{
    auto json = nlohmann::json::array();
    for (auto& entry : entries)
        json.push_back(entryJSON(entry));
    return json;
}

template<class Value>
Value required(const nlohmann::json& object, const char* key)
{
    if (!object.contains(key))
        throw QuilloryError(std::string("The fetch manifest has no \u201C") + key + "\u201D.");
    return object.at(key).get<Value>();
}

template<class Value>
std::optional<Value> optional(const nlohmann::json& object, const char* key)
{
    if (!object.contains(key))
        return std::nullopt;
    return object.at(key).get<Value>();
}

std::vector<LiveSiteFetchManifest::Entry> decodeEntries(const nlohmann::json& object, const char* key)
{
    auto list = required<nlohmann::json>(object, key);
    if (!list.is_array())
        throw QuilloryError(std::string("The fetch manifest\u2019s \u201C") + key + "\u201D is not a list.");
    std::vector<LiveSiteFetchManifest::Entry> entries;
    for (auto& item : list) {
        entries.push_back({ required<std::string>(item, "sourceURL"), optional<std::string>(item, "relativePath"),
                            optional<int>(item, "statusCode"), optional<std::string>(item, "note") });
    }
    return entries;
}

}

std::string LiveSiteFetchManifest::encodedJSON() const
{
    // nlohmann's objects keep their keys sorted.
    nlohmann::json json { { "sourceURL", sourceURL },
                          { "fetchedAt", fetchedAt },
                          { "entryPage", entryPage },
                          { "downloadedAssets", entriesJSON(downloadedAssets) },
                          { "skippedResources", entriesJSON(skippedResources) } };
    auto text = json.dump(2);
    // A slash can only stand inside a JSON string, so escaping every one is exact.
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 8);
    for (char character : text) {
        if (character == '/')
            escaped.push_back('\\');
        escaped.push_back(character);
    }
    return escaped;
}

LiveSiteFetchManifest LiveSiteFetchManifest::decode(std::string_view text)
{
    try {
        auto json = nlohmann::json::parse(text);
        if (!json.is_object())
            throw QuilloryError("The fetch manifest is not a JSON object.");
        LiveSiteFetchManifest manifest;
        manifest.sourceURL = required<std::string>(json, "sourceURL");
        manifest.fetchedAt = required<std::string>(json, "fetchedAt");
        manifest.entryPage = required<std::string>(json, "entryPage");
        manifest.downloadedAssets = decodeEntries(json, "downloadedAssets");
        manifest.skippedResources = decodeEntries(json, "skippedResources");
        return manifest;
    } catch (const nlohmann::json::exception& error) {
        throw QuilloryError(std::string("The fetch manifest is not valid: ") + error.what());
    }
}

}
