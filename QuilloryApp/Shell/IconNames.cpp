#include "QuilloryApp/Shell/IconNames.h"

#include <algorithm>
#include <array>

namespace Quillory::IconNames {

namespace {

constexpr std::array mappings {
    // Main window toolbar.
    IconMapping { "folder", "folder-symbolic" },
    IconMapping { "arrow.clockwise", "view-refresh-symbolic" },
    IconMapping { "arrow.down.doc", "folder-download-symbolic" },
    IconMapping { "doc.badge.plus", "document-new-symbolic" },
    IconMapping { "arrow.triangle.2.circlepath", "emblem-synchronizing-symbolic" },
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
    IconMapping { "doc.viewfinder", "document-properties-symbolic" },
    IconMapping { "rectangle.dashed", "edit-select-all-symbolic" },
    IconMapping { "viewfinder", "zoom-fit-best-symbolic" },
    // Brightloop candidates: the rail, its rows' side buttons and the kinds of candidate.
    IconMapping { "rectangle.on.rectangle", "focus-windows-symbolic" },
    IconMapping { "eye.slash", "view-conceal-symbolic" },
    IconMapping { "eye", "view-reveal-symbolic" },
    IconMapping { "viewfinder.circle", "find-location-symbolic" },
    IconMapping { "text.alignleft", "format-justify-left-symbolic" },
    IconMapping { "link", "insert-link-symbolic" },
    IconMapping { "photo", "image-x-generic-symbolic" },
    IconMapping { "rectangle.and.hand.point.up.left", "input-mouse-symbolic" },
    IconMapping { "tag", "quillory-tag-symbolic" },
    IconMapping { "textformat.size", "format-text-rich-symbolic" },
    IconMapping { "rectangle.3.group", "view-grid-symbolic" },
    IconMapping { "list.bullet", "view-list-bullet-symbolic" },
    IconMapping { "list.dash", "view-list-symbolic" },
    IconMapping { "square.dashed", "quillory-square-dashed-symbolic" },
    IconMapping { "paintbrush", "applications-graphics-symbolic" },
    IconMapping { "number", "quillory-number-symbolic" },
    IconMapping { "questionmark.square", "dialog-question-symbolic" },
    // Editor pane: the header's actions, the undo menu and the blank page's image.
    IconMapping { "arrow.down.to.line.compact", "go-bottom-symbolic" },
    IconMapping { "doc.text.magnifyingglass", "edit-find-symbolic" },
    IconMapping { "arrow.uturn.backward", "edit-undo-symbolic" },
    IconMapping { "chevron.down", "pan-down-symbolic" },
    // Main menu and settings.
    IconMapping { "line.3.horizontal", "open-menu-symbolic" },
    IconMapping { "gearshape", "emblem-system-symbolic" },
    IconMapping { "info.circle", "help-about-symbolic" },
    // Git: the status strip, the Git details and the new page sheet; the live fetch summary.
    IconMapping { "hourglass", "content-loading-symbolic" },
    IconMapping { "checkmark.circle", "object-select-symbolic" },
    IconMapping { "square.and.pencil", "document-edit-symbolic" },
    IconMapping { "plus.square.dashed", "list-add-symbolic" },
    IconMapping { "arrow.counterclockwise", "document-revert-symbolic" },
    IconMapping { "plus", "list-add-symbolic" },
    // Frontend preview controls.
    IconMapping { "play.fill", "media-playback-start-symbolic" },
    IconMapping { "stop.fill", "media-playback-stop-symbolic" },
    IconMapping { "arrow.down.circle", "folder-download-symbolic" },
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
