#include "QuilloryApp/PreviewPane.h"

#include "QuilloryApp/IconNames.h"

#include <adwaita.h>

namespace Quillory {

PreviewPane::PreviewPane()
    : m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)))))
    , m_emptyPreviewState(makeEmptyPreviewState())
{
    gtk_box_append(GTK_BOX(m_root.get()), makeHeader());
    gtk_box_append(GTK_BOX(m_root.get()), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));

    GtkWidget* preview = gtk_overlay_new();
    gtk_widget_set_hexpand(preview, TRUE);
    gtk_widget_set_vexpand(preview, TRUE);
    gtk_overlay_set_child(GTK_OVERLAY(preview), m_webPreviewView.widget());
    gtk_overlay_add_overlay(GTK_OVERLAY(preview), m_emptyPreviewState);
    gtk_widget_set_visible(m_emptyPreviewState, FALSE);
    gtk_box_append(GTK_BOX(m_root.get()), preview);
}

PreviewPane::~PreviewPane() = default;

void PreviewPane::update(const Inputs& inputs)
{
    m_webPreviewView.update(inputs.preview);
    gtk_widget_set_visible(m_emptyPreviewState, inputs.isPageEmpty);
}

GtkWidget* PreviewPane::makeHeader()
{
    GtkWidget* header = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    gtk_widget_set_margin_start(header, 14);
    gtk_widget_set_margin_end(header, 14);
    gtk_widget_set_margin_top(header, 10);
    gtk_widget_set_margin_bottom(header, 10);
    gtk_box_append(GTK_BOX(header), gtk_image_new_from_icon_name(IconNames::symbolic("safari")));
    GtkWidget* label = gtk_label_new("WebKit Preview");
    gtk_widget_add_css_class(label, "heading");
    gtk_box_append(GTK_BOX(header), label);
    return header;
}

GtkWidget* PreviewPane::makeEmptyPreviewState()
{
    // It covers the page, so it takes the window's background rather than letting the page show.
    // The compact status page keeps its icon small and pads its content.
    GtkWidget* state = adw_status_page_new();
    adw_status_page_set_icon_name(ADW_STATUS_PAGE(state), IconNames::symbolic("safari"));
    adw_status_page_set_title(ADW_STATUS_PAGE(state), "Waiting for markup");
    adw_status_page_set_description(ADW_STATUS_PAGE(state), "Add HTML on the left to bring this page to life in WebKit.");
    gtk_widget_add_css_class(state, "compact");
    gtk_widget_add_css_class(state, "background");
    return state;
}

}
