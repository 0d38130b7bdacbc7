#include "QuilloryApp/Preview/FrontendPreviewControls.h"

#include "QuilloryApp/Shell/IconNames.h"

namespace Quillory {

namespace {

// A button remembers which action it runs, so that one handler serves them all.
struct ButtonAction {
    FrontendPreviewControls::Actions* actions;
    std::function<void()> FrontendPreviewControls::Actions::*action;
};

const char* statusColourClass(FrontendPreviewState::Case state)
{
    switch (state) {
    case FrontendPreviewState::Case::running:
        return "success";
    case FrontendPreviewState::Case::needsInstall:
        return "warning";
    case FrontendPreviewState::Case::failed:
        return "error";
    default:
        return "dim-label";
    }
}

}

FrontendPreviewControls::FrontendPreviewControls()
    : m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6)))))
{
    GtkWidget* root = m_root.get();
    m_caption = GTK_LABEL(gtk_label_new(nullptr));
    gtk_widget_add_css_class(GTK_WIDGET(m_caption), "caption");
    gtk_widget_add_css_class(GTK_WIDGET(m_caption), "dim-label");
    gtk_box_append(GTK_BOX(root), GTK_WIDGET(m_caption));

    m_statusLabel = GTK_LABEL(gtk_label_new(nullptr));
    gtk_widget_add_css_class(GTK_WIDGET(m_statusLabel), "caption");
    // A long failure message must not widen the pane; the whole text is the tooltip.
    gtk_label_set_ellipsize(m_statusLabel, PANGO_ELLIPSIZE_END);
    gtk_label_set_width_chars(m_statusLabel, 10);
    gtk_label_set_max_width_chars(m_statusLabel, 34);
    gtk_box_append(GTK_BOX(root), GTK_WIDGET(m_statusLabel));

    m_restartButton = makeButton("arrow.clockwise", "Restart Preview", "Restart the Vite dev server", &Actions::onRestart);
    m_stopButton = makeButton("stop.fill", "Stop Preview", "Stop the Vite dev server", &Actions::onStop);
    m_installButton = makeButton("arrow.down.circle", "Install Dependencies", "Run npm install in the opened project", &Actions::onInstall);
    m_startButton = makeButton("play.fill", "Start Preview", "Start the Vite dev server", &Actions::onStart);
    m_installSpinner = GTK_SPINNER(gtk_spinner_new());
    gtk_box_append(GTK_BOX(root), GTK_WIDGET(m_installSpinner));
    gtk_widget_set_visible(root, FALSE);
}

FrontendPreviewControls::~FrontendPreviewControls()
{
    for (GtkButton* button : { m_startButton, m_stopButton, m_restartButton, m_installButton })
        g_signal_handlers_disconnect_by_data(button, g_object_get_data(G_OBJECT(button), "quillory-action"));
}

GtkButton* FrontendPreviewControls::makeButton(const char* systemImageName, const char* label, const char* help,
                                               std::function<void()> Actions::*action)
{
    // Images with their words as accessible label: beside the editor the header has no room for
    // the words, and the help text says what each does.
    GtkButton* button = GTK_BUTTON(gtk_button_new_from_icon_name(IconNames::symbolic(systemImageName)));
    gtk_accessible_update_property(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_PROPERTY_LABEL, label, -1);
    gtk_widget_add_css_class(GTK_WIDGET(button), "flat");
    gtk_widget_set_tooltip_text(GTK_WIDGET(button), help);
    // The button owns its action record, which ends with it.
    auto* buttonAction = new ButtonAction { &m_actions, action };
    g_object_set_data_full(G_OBJECT(button), "quillory-action", buttonAction, +[](gpointer data) { delete static_cast<ButtonAction*>(data); });
    g_signal_connect_swapped(button, "clicked", G_CALLBACK(+[](ButtonAction* clicked) {
        // A copy: what the action sets off may replace the actions meanwhile.
        auto run = (*clicked->actions).*(clicked->action);
        if (run)
            run();
    }), buttonAction);
    gtk_box_append(GTK_BOX(m_root.get()), GTK_WIDGET(button));
    return button;
}

void FrontendPreviewControls::update(std::optional<FrontendProjectKind> kind, const FrontendPreviewState& state, Actions actions)
{
    m_actions = std::move(actions);
    gtk_widget_set_visible(m_root.get(), kind.has_value());
    if (!kind)
        return;
    gtk_label_set_text(m_caption, std::string(displayName(*kind)).c_str());

    using Case = FrontendPreviewState::Case;
    auto text = state.displayText();
    gtk_label_set_text(m_statusLabel, text.c_str());
    gtk_widget_set_tooltip_text(GTK_WIDGET(m_statusLabel), text.c_str());
    for (const char* colour : { "success", "warning", "error", "dim-label" })
        gtk_widget_remove_css_class(GTK_WIDGET(m_statusLabel), colour);
    gtk_widget_add_css_class(GTK_WIDGET(m_statusLabel), statusColourClass(state.kind));

    bool running = state.kind == Case::running;
    gtk_widget_set_visible(GTK_WIDGET(m_restartButton), running);
    gtk_widget_set_visible(GTK_WIDGET(m_stopButton), running);
    gtk_widget_set_visible(GTK_WIDGET(m_installButton), state.kind == Case::needsInstall);
    gtk_widget_set_visible(GTK_WIDGET(m_startButton), state.kind == Case::failed || state.kind == Case::ready || state.kind == Case::stopped);
    bool installing = state.kind == Case::installing;
    gtk_widget_set_visible(GTK_WIDGET(m_installSpinner), installing);
    gtk_spinner_set_spinning(m_installSpinner, installing);
}

}
