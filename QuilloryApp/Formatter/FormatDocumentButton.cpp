#include "QuilloryApp/Formatter/FormatDocumentButton.h"

#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"

namespace Quillory {

FormatDocumentButton::FormatDocumentButton(WorkspaceStore& store)
    : m_store(store)
    , m_button(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_button_new()))))
{
    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    m_imageStack = GTK_STACK(gtk_stack_new());
    m_image = gtk_image_new_from_icon_name(IconNames::symbolic("text.alignleft"));
    m_spinner = GTK_SPINNER(gtk_spinner_new());
    gtk_stack_add_child(m_imageStack, m_image);
    gtk_stack_add_child(m_imageStack, GTK_WIDGET(m_spinner));
    gtk_box_append(GTK_BOX(content), GTK_WIDGET(m_imageStack));
    gtk_box_append(GTK_BOX(content), gtk_label_new("Format Document"));
    gtk_button_set_child(button(), content);
    gtk_widget_set_tooltip_text(m_button.get(), "Format document");

    update();
    m_connections.observe(store.selectedPageID(), [this] { update(); });
    m_connections.observe(store.editableDocuments(), [this] { update(); });
    m_connections.observe(store.isFormattingDocument(), [this] { update(); });
    m_connections.connectSwapped(m_button.get(), "clicked", G_CALLBACK(+[](FormatDocumentButton* self) { self->m_store.formatSelectedDocument(); }), this);
}

FormatDocumentButton::~FormatDocumentButton()
{
    m_connections.disconnectAll();
}

bool FormatDocumentButton::isShowingSpinner() const
{
    return gtk_stack_get_visible_child(m_imageStack) == GTK_WIDGET(m_spinner);
}

void FormatDocumentButton::update()
{
    bool isFormatting = m_store.isFormattingDocument().get();
    gtk_widget_set_sensitive(m_button.get(), m_store.selectedDocumentCanFormat() && !isFormatting);
    gtk_spinner_set_spinning(m_spinner, isFormatting);
    gtk_stack_set_visible_child(m_imageStack, isFormatting ? GTK_WIDGET(m_spinner) : m_image);
}

}
