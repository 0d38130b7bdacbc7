#pragma once

#include <gtk/gtk.h>

namespace Quillory {

// The small pill at the bottom of the sidebar: a leaf and AppInfo::displayVersion(). No state.
class VersionBadge {
public:
    // A new floating widget.
    static GtkWidget* make();
};

}
