#include "QuilloryApp/Brightloop/BrightloopCandidateRow.h"

#include "QuilloryApp/Shell/IconNames.h"

#include <string>
#include <utility>

namespace Quillory {

namespace {

// The row may be rebuilt by the very action its button fires (the store changes and the rail
// redraws), so the action is copied before it runs and nothing of the row is touched after.
void runAction(const std::function<void()>& action)
{
    if (!action)
        return;
    auto copy = action;
    copy();
}

// The side buttons show their image alone, so that the label and reason keep the room in a narrow
// rail; their words are the accessible label, their help the tooltip.
GtkButton* makeSideButton()
{
    GtkWidget* button = gtk_button_new();
    gtk_widget_add_css_class(button, "flat");
    gtk_widget_set_valign(button, GTK_ALIGN_CENTER);
    return GTK_BUTTON(button);
}

void setSideButton(GtkButton* button, const char* systemImageName, const char* label, const char* help)
{
    gtk_button_set_icon_name(button, IconNames::symbolic(systemImageName));
    gtk_accessible_update_property(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_PROPERTY_LABEL, label, -1);
    gtk_widget_set_tooltip_text(GTK_WIDGET(button), help);
}

}

BrightloopCandidateRow::BrightloopCandidateRow(BrightloopCandidate candidate, bool isHidden, bool isHighlighted, Actions actions)
    : m_candidate(std::move(candidate))
    , m_isHidden(isHidden)
    , m_isHighlighted(isHighlighted)
    , m_actions(std::move(actions))
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 4)))))
{
    gtk_widget_add_css_class(m_root.get(), "quillory-candidate-row");

    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
    GtkWidget* kindImage = gtk_image_new_from_icon_name(IconNames::symbolic(systemImageName(m_candidate.kind)));
    gtk_widget_set_valign(kindImage, GTK_ALIGN_CENTER);
    gtk_box_append(GTK_BOX(content), kindImage);

    GtkWidget* texts = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_widget_set_hexpand(texts, TRUE);
    gtk_widget_set_valign(texts, GTK_ALIGN_CENTER);
    GtkWidget* label = gtk_label_new(m_candidate.label.c_str());
    gtk_label_set_xalign(GTK_LABEL(label), 0.0f);
    gtk_label_set_single_line_mode(GTK_LABEL(label), TRUE);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    gtk_box_append(GTK_BOX(texts), label);
    GtkWidget* reason = gtk_label_new(m_candidate.reason.c_str());
    gtk_label_set_xalign(GTK_LABEL(reason), 0.0f);
    gtk_label_set_wrap(GTK_LABEL(reason), TRUE);
    gtk_label_set_wrap_mode(GTK_LABEL(reason), PANGO_WRAP_WORD_CHAR);
    gtk_widget_add_css_class(reason, "caption");
    gtk_widget_add_css_class(reason, "dim-label");
    gtk_box_append(GTK_BOX(texts), reason);
    gtk_box_append(GTK_BOX(content), texts);

    m_hiddenLabel = GTK_LABEL(gtk_label_new("Hidden"));
    gtk_widget_add_css_class(GTK_WIDGET(m_hiddenLabel), "caption");
    gtk_widget_add_css_class(GTK_WIDGET(m_hiddenLabel), "dim-label");
    gtk_widget_set_valign(GTK_WIDGET(m_hiddenLabel), GTK_ALIGN_CENTER);
    gtk_box_append(GTK_BOX(content), GTK_WIDGET(m_hiddenLabel));

    m_confidenceTag = GTK_LABEL(gtk_label_new(std::string(confidenceWord(m_candidate.confidence)).c_str()));
    gtk_widget_add_css_class(GTK_WIDGET(m_confidenceTag), "quillory-confidence-tag");
    gtk_widget_add_css_class(GTK_WIDGET(m_confidenceTag), confidenceStyleClass(m_candidate.confidence));
    gtk_widget_set_valign(GTK_WIDGET(m_confidenceTag), GTK_ALIGN_CENTER);
    gtk_box_append(GTK_BOX(content), GTK_WIDGET(m_confidenceTag));

    m_selectButton = GTK_BUTTON(gtk_button_new());
    gtk_button_set_child(m_selectButton, content);
    gtk_widget_add_css_class(GTK_WIDGET(m_selectButton), "flat");
    gtk_widget_add_css_class(GTK_WIDGET(m_selectButton), "quillory-candidate-select");
    gtk_widget_set_hexpand(GTK_WIDGET(m_selectButton), TRUE);
    // A rendered-only or generated element has no source to jump to.
    bool canJump = supportsJumpToSource(m_candidate.confidence);
    gtk_widget_set_sensitive(GTK_WIDGET(m_selectButton), canJump);
    gtk_widget_set_opacity(GTK_WIDGET(m_selectButton), canJump ? 1.0 : 0.55);
    g_signal_connect_swapped(m_selectButton, "clicked", G_CALLBACK(+[](BrightloopCandidateRow* self) { runAction(self->m_actions.onSelect); }), this);
    gtk_box_append(GTK_BOX(m_root.get()), GTK_WIDGET(m_selectButton));

    m_hideButton = makeSideButton();
    g_signal_connect_swapped(m_hideButton, "clicked", G_CALLBACK(+[](BrightloopCandidateRow* self) { runAction(self->m_actions.onToggleHidden); }), this);
    gtk_box_append(GTK_BOX(m_root.get()), GTK_WIDGET(m_hideButton));

    m_highlightButton = makeSideButton();
    g_signal_connect_swapped(m_highlightButton, "clicked", G_CALLBACK(+[](BrightloopCandidateRow* self) { runAction(self->m_actions.onToggleHighlight); }), this);
    gtk_box_append(GTK_BOX(m_root.get()), GTK_WIDGET(m_highlightButton));

    showState();
}

BrightloopCandidateRow::~BrightloopCandidateRow()
{
    g_signal_handlers_disconnect_by_data(m_selectButton, this);
    g_signal_handlers_disconnect_by_data(m_hideButton, this);
    g_signal_handlers_disconnect_by_data(m_highlightButton, this);
}

void BrightloopCandidateRow::setState(bool isHidden, bool isHighlighted)
{
    if (m_isHidden == isHidden && m_isHighlighted == isHighlighted)
        return;
    m_isHidden = isHidden;
    m_isHighlighted = isHighlighted;
    showState();
}

void BrightloopCandidateRow::showState()
{
    gtk_widget_set_visible(GTK_WIDGET(m_hiddenLabel), m_isHidden);

    // A pseudo-element is a layer that CSS generated, not an element of the page.
    bool isGeneratedLayer = m_candidate.dom.isGeneratedRenderedSurface();
    if (m_isHidden) {
        m_hideButtonLabel = isGeneratedLayer ? "Show Generated Layer" : "Show Element";
        setSideButton(m_hideButton, "eye", m_hideButtonLabel,
                      isGeneratedLayer ? "Show this generated CSS layer in the preview" : "Show this element in the preview");
    } else {
        m_hideButtonLabel = isGeneratedLayer ? "Hide Generated Layer" : "Hide Element";
        setSideButton(m_hideButton, "eye.slash", m_hideButtonLabel,
                      isGeneratedLayer ? "Hide this generated CSS layer in the preview" : "Hide this element in the preview");
    }
    if (m_isHighlighted) {
        m_highlightButtonLabel = "Clear Highlight";
        setSideButton(m_highlightButton, "viewfinder.circle", m_highlightButtonLabel, "Clear preview highlight");
    } else {
        m_highlightButtonLabel = "Highlight Boundary";
        setSideButton(m_highlightButton, "viewfinder.circle", m_highlightButtonLabel,
                      isGeneratedLayer ? "Highlight this generated CSS layer in the preview" : "Highlight this element in the preview");
    }
}

std::string_view BrightloopCandidateRow::confidenceWord(BrightloopConfidence confidence)
{
    switch (confidence) {
    case BrightloopConfidence::editableSource:
        return "Source";
    case BrightloopConfidence::editableAttribute:
        return "Attribute";
    case BrightloopConfidence::container:
        return "Container";
    case BrightloopConfidence::renderedOnly:
        return "Rendered";
    case BrightloopConfidence::generatedOrExternal:
        return "External";
    }
    return "Rendered";
}

const char* BrightloopCandidateRow::confidenceStyleClass(BrightloopConfidence confidence)
{
    switch (confidence) {
    case BrightloopConfidence::editableSource:
        return "quillory-confidence-green";
    case BrightloopConfidence::editableAttribute:
        return "quillory-confidence-blue";
    case BrightloopConfidence::container:
        return "quillory-confidence-orange";
    case BrightloopConfidence::renderedOnly:
        return "quillory-confidence-secondary";
    case BrightloopConfidence::generatedOrExternal:
        return "quillory-confidence-pink";
    }
    return "quillory-confidence-secondary";
}

std::string_view BrightloopCandidateRow::systemImageName(BrightloopCandidateKind kind)
{
    switch (kind) {
    case BrightloopCandidateKind::text:
        return "text.alignleft";
    case BrightloopCandidateKind::link:
        return "link";
    case BrightloopCandidateKind::image:
        return "photo";
    case BrightloopCandidateKind::button:
        return "rectangle.and.hand.point.up.left";
    case BrightloopCandidateKind::formLabel:
        return "tag";
    case BrightloopCandidateKind::heading:
        return "textformat.size";
    case BrightloopCandidateKind::section:
        return "rectangle.3.group";
    case BrightloopCandidateKind::listItem:
        return "list.bullet";
    case BrightloopCandidateKind::navItem:
        return "list.dash";
    case BrightloopCandidateKind::container:
        return "square.dashed";
    case BrightloopCandidateKind::styleAttribute:
        return "paintbrush";
    case BrightloopCandidateKind::classAttribute:
        return "number";
    case BrightloopCandidateKind::unknown:
        return "questionmark.square";
    }
    return "questionmark.square";
}

}
