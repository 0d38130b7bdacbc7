#pragma once

#include <span>
#include <string_view>

namespace Quillory::IconNames {

// A system image name ("folder", "doc.text", ...) and the symbolic icon that stands for it.
struct IconMapping {
    std::string_view systemImageName;
    const char* iconName;
};

// The one table every view takes its icons from. Most entries are freedesktop/Adwaita symbolic
// names; the few meanings that set has no icon for ("leaf", "curlybraces", ...) are Quillory's
// own icons, bundled as resources below `bundledIconsResourcePath`.
std::span<const IconMapping> table();

// The icon for a system image name ("folder" gives "folder-symbolic"). A name missing from the
// table is a programming error; it gives "image-missing-symbolic" so the gap shows on screen.
const char* symbolic(std::string_view systemImageName);

// The resource folder that holds the bundled icons in the icon-theme layout; QuilloryTheme adds
// it to the icon theme's search path.
inline constexpr const char* bundledIconsResourcePath = "/app/quillory/icons";

}
