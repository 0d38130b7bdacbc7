#include "QuilloryApp/Creation/NewPageSheet.h"

#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Text/StringHelpers.h"

namespace Quillory {

namespace {

GtkWidget* makeLabel(const char* text, std::initializer_list<const char*> styleClasses)
{
    GtkWidget* label = gtk_label_new(text);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_wrap(GTK_LABEL(label), TRUE);
    for (const char* styleClass : styleClasses)
        gtk_widget_add_css_class(label, styleClass);
    return label;
}

}

NewPageSheet::NewPageSheet(WorkspaceStore& store, GtkWindow* parent, std::function<void()> onClose)
    : m_store(store)
    , m_onClose(std::move(onClose))
    , m_window(GRef<GtkWidget>::retain(adw_window_new()))
{
    GtkWindow* window = GTK_WINDOW(m_window.get());
    gtk_window_set_title(window, "New Page");
    gtk_window_set_modal(window, TRUE);
    if (parent)
        gtk_window_set_transient_for(window, parent);
    gtk_window_set_default_size(window, 480, -1);
    gtk_window_set_resizable(window, FALSE);

    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    GtkWidget* headerBar = adw_header_bar_new();
    adw_header_bar_set_show_end_title_buttons(ADW_HEADER_BAR(headerBar), FALSE);
    adw_header_bar_set_title_widget(ADW_HEADER_BAR(headerBar), gtk_label_new(nullptr));
    gtk_widget_add_css_class(headerBar, "flat");
    gtk_box_append(GTK_BOX(content), headerBar);

    GtkWidget* body = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    gtk_widget_set_margin_start(body, 24);
    gtk_widget_set_margin_end(body, 24);
    gtk_widget_set_margin_bottom(body, 20);
    gtk_box_append(GTK_BOX(content), body);

    GtkWidget* title = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
    gtk_box_append(GTK_BOX(title), gtk_image_new_from_icon_name(IconNames::symbolic("plus.square.dashed")));
    gtk_box_append(GTK_BOX(title), makeLabel("New Page", { "title-3" }));
    gtk_box_append(GTK_BOX(body), title);
    gtk_box_append(GTK_BOX(body), makeLabel("Create an HTML file inside an existing Git-tracked folder.", { "dim-label" }));

    GtkWidget* fieldLabel = makeLabel("Relative path", { "heading" });
    gtk_widget_set_margin_top(fieldLabel, 10);
    gtk_box_append(GTK_BOX(body), fieldLabel);
    m_pathEntry = GTK_ENTRY(gtk_entry_new());
    gtk_accessible_update_property(GTK_ACCESSIBLE(m_pathEntry), GTK_ACCESSIBLE_PROPERTY_LABEL, "Relative path", -1);
    gtk_box_append(GTK_BOX(body), GTK_WIDGET(m_pathEntry));
    gtk_box_append(GTK_BOX(body), makeLabel("Examples: about.html, blog/new-post.html", { "caption", "dim-label" }));

    GtkWidget* toggleRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    gtk_widget_set_margin_top(toggleRow, 6);
    GtkWidget* toggleLabel = makeLabel("Add to Git tracking after creating", {});
    gtk_widget_set_hexpand(toggleLabel, TRUE);
    gtk_box_append(GTK_BOX(toggleRow), toggleLabel);
    m_addToGitTrackingSwitch = GTK_SWITCH(gtk_switch_new());
    gtk_widget_set_valign(GTK_WIDGET(m_addToGitTrackingSwitch), GTK_ALIGN_CENTER);
    gtk_accessible_update_property(GTK_ACCESSIBLE(m_addToGitTrackingSwitch), GTK_ACCESSIBLE_PROPERTY_LABEL, "Add to Git tracking after creating", -1);
    gtk_box_append(GTK_BOX(toggleRow), GTK_WIDGET(m_addToGitTrackingSwitch));
    gtk_box_append(GTK_BOX(body), toggleRow);

    m_errorRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    gtk_widget_add_css_class(m_errorRow, "warning");
    gtk_widget_set_margin_top(m_errorRow, 6);
    GtkWidget* errorIcon = gtk_image_new_from_icon_name(IconNames::symbolic("exclamationmark.triangle"));
    gtk_widget_set_valign(errorIcon, GTK_ALIGN_START);
    gtk_box_append(GTK_BOX(m_errorRow), errorIcon);
    m_errorLabel = GTK_LABEL(makeLabel("", {}));
    gtk_box_append(GTK_BOX(m_errorRow), GTK_WIDGET(m_errorLabel));
    gtk_box_append(GTK_BOX(body), m_errorRow);

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
    gtk_widget_set_halign(buttons, GTK_ALIGN_END);
    gtk_widget_set_margin_top(buttons, 14);
    m_cancelButton = gtk_button_new_with_label("Cancel");
    gtk_box_append(GTK_BOX(buttons), m_cancelButton);
    m_createButton = gtk_button_new();
    GtkWidget* createContent = adw_button_content_new();
    adw_button_content_set_label(ADW_BUTTON_CONTENT(createContent), "Create");
    adw_button_content_set_icon_name(ADW_BUTTON_CONTENT(createContent), IconNames::symbolic("plus"));
    gtk_button_set_child(GTK_BUTTON(m_createButton), createContent);
    gtk_widget_add_css_class(m_createButton, "suggested-action");
    gtk_box_append(GTK_BOX(buttons), m_createButton);
    gtk_box_append(GTK_BOX(body), buttons);
    adw_window_set_content(ADW_WINDOW(window), content);
    gtk_window_set_default_widget(window, m_createButton);

    // On appearing: no old error, the suggested path, and the field takes the focus.
    m_store.clearErrorMessage();
    gtk_editable_set_text(GTK_EDITABLE(m_pathEntry), m_store.suggestedNewPagePath().c_str());
    updateCreateButton();
    showErrorMessage();

    m_connections.observe(store.errorMessage(), [this] { showErrorMessage(); });
    m_connections.connectSwapped(m_pathEntry, "changed", G_CALLBACK(+[](NewPageSheet* self) { self->updateCreateButton(); }), this);
    m_connections.connectSwapped(m_createButton, "clicked", G_CALLBACK(+[](NewPageSheet* self) { self->create(); }), this);
    // Submitting the field does what "Create" does, and nothing while the path is blank.
    m_connections.connectSwapped(m_pathEntry, "activate", G_CALLBACK(+[](NewPageSheet* self) {
        if (gtk_widget_get_sensitive(self->m_createButton))
            self->create();
    }), this);
    m_connections.connectSwapped(m_cancelButton, "clicked", G_CALLBACK(+[](NewPageSheet* self) { self->close(); }), this);
    m_connections.connectSwapped(window, "close-request", G_CALLBACK(+[](NewPageSheet* self) -> gboolean {
        self->close();
        return TRUE;
    }), this);
    gtk_window_present(window);
    gtk_widget_grab_focus(GTK_WIDGET(m_pathEntry));
}

NewPageSheet::~NewPageSheet()
{
    m_connections.disconnectAll();
    gtk_window_destroy(GTK_WINDOW(m_window.get()));
}

void NewPageSheet::updateCreateButton()
{
    auto path = StringHelpers::trimmingWhitespaceAndNewlines(std::string_view(gtk_editable_get_text(GTK_EDITABLE(m_pathEntry))));
    gtk_widget_set_sensitive(m_createButton, !path.empty());
}

void NewPageSheet::showErrorMessage()
{
    const auto& message = m_store.errorMessage().get();
    gtk_label_set_text(m_errorLabel, message ? message->c_str() : "");
    gtk_widget_set_visible(m_errorRow, message.has_value());
}

void NewPageSheet::create()
{
    std::string path = gtk_editable_get_text(GTK_EDITABLE(m_pathEntry));
    if (m_store.createPage(path, gtk_switch_get_active(m_addToGitTrackingSwitch)))
        close();
}

void NewPageSheet::close()
{
    gtk_widget_set_visible(m_window.get(), FALSE);
    // The owner destroys this sheet; keep the callback alive while it runs.
    auto onClose = m_onClose;
    if (onClose)
        onClose();
}

}
