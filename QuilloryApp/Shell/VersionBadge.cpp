#include "QuilloryApp/Shell/VersionBadge.h"

#include "QuilloryApp/Workspace/AppInfo.h"
#include "QuilloryApp/Shell/IconNames.h"

namespace Quillory {

GtkWidget* VersionBadge::make()
{
    GtkWidget* badge = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    gtk_widget_add_css_class(badge, "quillory-version-badge");
    gtk_widget_set_halign(badge, GTK_ALIGN_START);
    GtkWidget* leaf = gtk_image_new_from_icon_name(IconNames::symbolic("leaf.fill"));
    gtk_widget_add_css_class(leaf, "accent");
    gtk_box_append(GTK_BOX(badge), leaf);
    GtkWidget* version = gtk_label_new(AppInfo::displayVersion().c_str());
    gtk_widget_add_css_class(version, "caption");
    gtk_box_append(GTK_BOX(badge), version);
    return badge;
}

}
