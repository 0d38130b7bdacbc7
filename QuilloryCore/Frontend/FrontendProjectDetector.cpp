#include "QuilloryCore/Frontend/FrontendProjectDetector.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/TextFile.h"

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <system_error>

namespace Quillory {

namespace {

using StringMap = std::map<std::string, std::string>;

// The part of package.json that is read; every other key is ignored.
struct PackageManifest {
    std::optional<StringMap> scripts;
    std::optional<StringMap> dependencies;
    std::optional<StringMap> devDependencies;
    std::optional<StringMap> peerDependencies;

    bool hasPackage(const std::string& name) const
    {
        for (const auto* list : { &dependencies, &devDependencies, &peerDependencies }) {
            if (*list && (*list)->contains(name))
                return true;
        }
        return false;
    }
};

// A key that is absent or null is no map; any other type than an object of strings is an error.
std::optional<StringMap> decodeStringMap(const nlohmann::json& manifest, const char* key)
{
    auto found = manifest.find(key);
    if (found == manifest.end() || found->is_null())
        return std::nullopt;
    if (!found->is_object())
        throw FrontendManifestDecodeError(std::string("package.json: \"") + key + "\": type must be object, but is " + found->type_name());
    StringMap values;
    for (const auto& [name, value] : found->items()) {
        if (!value.is_string())
            throw FrontendManifestDecodeError(std::string("package.json: \"") + key + "." + name + "\": type must be string, but is " + value.type_name());
        values.emplace(name, value.get<std::string>());
    }
    return values;
}

PackageManifest decodeManifest(const std::string& bytes)
{
    nlohmann::json manifest;
    try {
        manifest = nlohmann::json::parse(bytes);
    } catch (const nlohmann::json::exception& error) {
        throw FrontendManifestDecodeError(std::string("package.json: ") + error.what());
    }
    if (!manifest.is_object())
        throw FrontendManifestDecodeError(std::string("package.json: type must be object, but is ") + manifest.type_name());
    return { decodeStringMap(manifest, "scripts"), decodeStringMap(manifest, "dependencies"), decodeStringMap(manifest, "devDependencies"),
             decodeStringMap(manifest, "peerDependencies") };
}

}

std::optional<FrontendProject> FrontendProjectDetector::detect(const std::filesystem::path& rootURL) const
{
    auto manifestPath = rootURL / "package.json";
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(manifestPath, error)))
        return std::nullopt;
    auto manifest = decodeManifest(TextFile::readBytes(manifestPath));

    if (!manifest.scripts)
        return std::nullopt;
    auto dev = manifest.scripts->find("dev");
    // A plain, case-sensitive substring: "cross-env X=1 vite" passes, "Vite" does not.
    if (dev == manifest.scripts->end() || dev->second.find("vite") == std::string::npos)
        return std::nullopt;
    for (const char* package : { "vite", "react", "react-dom" }) {
        if (!manifest.hasPackage(package))
            return std::nullopt;
    }
    bool hasNodeModules = std::filesystem::is_directory(rootURL / "node_modules", error);
    return FrontendProject { FrontendProjectKind::viteReact, FilePaths::standardized(rootURL), dev->second, hasNodeModules, m_toolAvailability };
}

}
