#pragma once

#include "QuilloryCore/SiteModel/SiteGraphModels.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// What the harnesses share: a failed check that libFuzzer records as a crash, and the hostile
// site that the resolver and scheme harnesses probe.
namespace QuilloryFuzz {

// Ends the run with the message when `holds` is false; libFuzzer keeps the input that did it.
void check(bool holds, std::string_view message, std::string_view input);

inline std::string_view bytes(const std::uint8_t* data, std::size_t size)
{
    return { reinterpret_cast<const char*>(data), size };
}

// Pairs of bytes as UTF-16 code units, unpaired surrogates and all.
std::u16string codeUnits(std::string_view bytes);

// A real site folder, made once per process below the temporary folder and removed at exit:
// pages, an asset, a folder link that stays inside, and links that lead out of it (to a folder
// of "home" files whose every byte spells the secret marker, to /etc, up the tree, in a loop).
struct HostileSite {
    std::filesystem::path root;
    std::filesystem::path realRoot;
    Quillory::SiteMap map;
};
const HostileSite& hostileSite();

// Every file outside the site holds this; a response that carries it has leaked.
inline constexpr std::string_view secretMarker = "QUILLORY-FUZZ-SECRET";

// Whether `path`, every link resolved, lies inside the site's real folder.
bool isInsideRealRoot(const std::filesystem::path& path);

}
