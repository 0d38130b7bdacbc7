#include "QuilloryApp/IconNames.h"

#include <algorithm>
#include <array>

namespace Quillory::IconNames {

namespace {

constexpr std::array mappings {
    // Main window toolbar.
    IconMapping { "folder", "folder-symbolic" },
    IconMapping { "arrow.clockwise", "view-refresh-symbolic" },
    // Sidebar.
    IconMapping { "doc.text", "text-x-generic-symbolic" },
    IconMapping { "curlybraces", "quillory-curlybraces-symbolic" },
    IconMapping { "questionmark.folder", "quillory-folder-question-symbolic" },
    IconMapping { "leaf", "quillory-leaf-symbolic" },
    IconMapping { "leaf.fill", "quillory-leaf-fill-symbolic" },
    // Placeholder.
    IconMapping { "folder.badge.plus", "folder-new-symbolic" },
    IconMapping { "chevron.right", "go-next-symbolic" },
    // Preview pane.
    IconMapping { "safari", "web-browser-symbolic" },
    // Errors.
    IconMapping { "exclamationmark.triangle", "dialog-warning-symbolic" },
};

}

std::span<const IconMapping> table()
{
    return mappings;
}

const char* symbolic(std::string_view systemImageName)
{
    auto found = std::find_if(mappings.begin(), mappings.end(), [&](const auto& mapping) { return mapping.systemImageName == systemImageName; });
    return found == mappings.end() ? "image-missing-symbolic" : found->iconName;
}

}
