#include "QuilloryApp/Preview/PreviewPane.h"

#include "QuilloryApp/Brightloop/BrightloopCandidateRail.h"
#include "QuilloryApp/Brightloop/BrightloopCandidateWindowView.h"
#include "QuilloryApp/Brightloop/CandidateRailResizeHandle.h"
#include "QuilloryApp/Shell/IconNames.h"

#include <adwaita.h>

#include <utility>

namespace Quillory {

namespace {

// A callback runs from a copy: what it sets off may replace the pane's callbacks meanwhile.
void run(const std::function<void()>& action)
{
    if (!action)
        return;
    auto copy = action;
    copy();
}

void run(const std::function<void(const BrightloopCandidate&)>& action, const BrightloopCandidate& candidate)
{
    if (!action)
        return;
    auto copy = action;
    copy(candidate);
}

// A header action with its image and words, or its image alone; the help text is its tooltip.
void setHeaderActionContent(GtkButton* button, bool showsLabel, const char* systemImageName, const char* label, const char* help)
{
    if (showsLabel) {
        GtkWidget* content = adw_button_content_new();
        adw_button_content_set_icon_name(ADW_BUTTON_CONTENT(content), IconNames::symbolic(systemImageName));
        adw_button_content_set_label(ADW_BUTTON_CONTENT(content), label);
        gtk_button_set_child(button, content);
    } else {
        gtk_button_set_icon_name(button, IconNames::symbolic(systemImageName));
        gtk_accessible_update_property(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_PROPERTY_LABEL, label, -1);
    }
    gtk_widget_add_css_class(GTK_WIDGET(button), "flat");
    gtk_widget_set_tooltip_text(GTK_WIDGET(button), help);
}

}

PreviewPane::PreviewPane(const BrightloopStore& brightloopStore)
    : m_brightloopStore(brightloopStore)
    , m_resizeHandle(std::make_unique<CandidateRailResizeHandle>(m_candidateRailHeight, [this](double) { applyCandidateRailHeight(); }))
    , m_candidateRail(std::make_unique<BrightloopCandidateRail>(BrightloopCandidateRail::Actions {
          [this](const BrightloopCandidate& candidate) { run(m_actions.onSelectCandidate, candidate); },
          [this](const BrightloopCandidate& candidate) { run(m_actions.onToggleCandidateHidden, candidate); },
          [this](const BrightloopCandidate& candidate) { run(m_actions.onHighlightCandidate, candidate); },
          [this] { openCandidateWindow(); },
      }))
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)))))
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

    gtk_box_append(GTK_BOX(m_root.get()), m_pageInspectionPanel.widget());

    gtk_widget_set_visible(m_resizeHandle->widget(), FALSE);
    gtk_box_append(GTK_BOX(m_root.get()), m_resizeHandle->widget());
    gtk_widget_set_visible(m_candidateRail->widget(), FALSE);
    gtk_widget_set_vexpand(m_candidateRail->widget(), FALSE);
    gtk_box_append(GTK_BOX(m_root.get()), m_candidateRail->widget());
    applyCandidateRailHeight();
}

PreviewPane::~PreviewPane()
{
    for (const auto* actions : { &m_expandedHeaderActions, &m_compactHeaderActions }) {
        g_signal_handlers_disconnect_by_data(actions->pageSnapshot, this);
        g_signal_handlers_disconnect_by_data(actions->fenceVisibleArea, this);
        g_signal_handlers_disconnect_by_data(actions->brightloop, this);
    }
    if (m_candidateWindow) {
        g_signal_handlers_disconnect_by_data(m_candidateWindow.get(), this);
        gtk_window_destroy(GTK_WINDOW(m_candidateWindow.get()));
    }
}

void PreviewPane::update(const Inputs& inputs)
{
    m_actions = Actions {
        inputs.onToggleBrightloop,
        inputs.onRequestVisibleAreaFence,
        inputs.onRequestPageInspectionSnapshot,
        inputs.onSelectCandidate,
        inputs.onToggleCandidateHidden,
        inputs.onHighlightCandidate,
    };

    m_webPreviewView.update(inputs.preview);
    m_frontendPreviewControls.update(inputs.frontendProjectKind, inputs.frontendPreviewState, inputs.frontendActions);
    gtk_widget_set_visible(m_emptyPreviewState, inputs.isPageEmpty);

    m_brightloopEnabled = inputs.preview.brightloopEnabled;
    showBrightloopEnabled();

    m_pageInspectionPanel.update(inputs.pageInspectionSnapshot, inputs.pageInspectionIsLoading, inputs.pageInspectionErrorMessage);

    if (inputs.preview.currentDocumentID != m_documentID) {
        m_documentID = inputs.preview.currentDocumentID;
        m_candidateRailHeight = defaultCandidateRailHeight;
        applyCandidateRailHeight();
    }
    bool hasResult = inputs.brightloopResult.has_value();
    if (hasResult)
        m_candidateRail->update(*inputs.brightloopResult, inputs.preview.brightloopPreviewDirective);
    gtk_widget_set_visible(m_resizeHandle->widget(), hasResult);
    gtk_widget_set_visible(m_candidateRail->widget(), hasResult);
}

bool PreviewPane::isShowingCandidateRail() const
{
    return gtk_widget_get_visible(m_candidateRail->widget());
}

const PreviewPane::HeaderActions& PreviewPane::visibleHeaderActions() const
{
    GtkWidget* visible = adw_squeezer_get_visible_child(ADW_SQUEEZER(m_headerActionsSqueezer));
    return visible == m_compactHeaderActions.box ? m_compactHeaderActions : m_expandedHeaderActions;
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
    gtk_box_append(GTK_BOX(header), m_frontendPreviewControls.widget());

    // The pane is often at its narrowest beside the editor, where the actions' words don't fit.
    m_expandedHeaderActions = makeHeaderActions(HeaderStyle::labelled);
    m_compactHeaderActions = makeHeaderActions(HeaderStyle::imagesOnly);
    m_headerActionsSqueezer = adw_squeezer_new();
    adw_squeezer_set_xalign(ADW_SQUEEZER(m_headerActionsSqueezer), 1.0f);
    adw_squeezer_set_transition_type(ADW_SQUEEZER(m_headerActionsSqueezer), ADW_SQUEEZER_TRANSITION_TYPE_NONE);
    gtk_widget_set_hexpand(m_headerActionsSqueezer, TRUE);
    adw_squeezer_add(ADW_SQUEEZER(m_headerActionsSqueezer), m_expandedHeaderActions.box);
    adw_squeezer_add(ADW_SQUEEZER(m_headerActionsSqueezer), m_compactHeaderActions.box);
    gtk_box_append(GTK_BOX(header), m_headerActionsSqueezer);
    return header;
}

PreviewPane::HeaderActions PreviewPane::makeHeaderActions(HeaderStyle style)
{
    bool showsLabel = style == HeaderStyle::labelled;
    HeaderActions actions;
    actions.box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 4);
    gtk_widget_set_halign(actions.box, GTK_ALIGN_END);

    actions.pageSnapshot = GTK_BUTTON(gtk_button_new());
    setHeaderActionContent(actions.pageSnapshot, showsLabel, "doc.viewfinder", "Page Snapshot", "Collect a native WebKit DOM and CSSOM snapshot");
    g_signal_connect_swapped(actions.pageSnapshot, "clicked", G_CALLBACK(+[](PreviewPane* self) { run(self->m_actions.onRequestPageInspectionSnapshot); }), this);
    gtk_box_append(GTK_BOX(actions.box), GTK_WIDGET(actions.pageSnapshot));

    actions.fenceVisibleArea = GTK_BUTTON(gtk_button_new());
    setHeaderActionContent(actions.fenceVisibleArea, showsLabel, "rectangle.dashed", "Fence Visible Area", "Run Brightloop over the entire visible area (no drag required)");
    g_signal_connect_swapped(actions.fenceVisibleArea, "clicked", G_CALLBACK(+[](PreviewPane* self) { run(self->m_actions.onRequestVisibleAreaFence); }), this);
    gtk_box_append(GTK_BOX(actions.box), GTK_WIDGET(actions.fenceVisibleArea));

    actions.brightloop = GTK_TOGGLE_BUTTON(gtk_toggle_button_new());
    setHeaderActionContent(GTK_BUTTON(actions.brightloop), showsLabel, "viewfinder", "Brightloop", "Drag a rectangle over the preview to map it back to source");
    g_signal_connect_swapped(actions.brightloop, "toggled", G_CALLBACK(+[](PreviewPane* self) { self->brightloopToggleWasToggled(); }), this);
    gtk_box_append(GTK_BOX(actions.box), GTK_WIDGET(actions.brightloop));
    return actions;
}

void PreviewPane::showBrightloopEnabled()
{
    m_isShowingBrightloopEnabled = true;
    gtk_toggle_button_set_active(m_expandedHeaderActions.brightloop, m_brightloopEnabled);
    gtk_toggle_button_set_active(m_compactHeaderActions.brightloop, m_brightloopEnabled);
    m_isShowingBrightloopEnabled = false;
}

void PreviewPane::brightloopToggleWasToggled()
{
    if (m_isShowingBrightloopEnabled)
        return;
    // The toggles show the store's mode, not their own: they go back to the mode they were given
    // and follow the next update, which the store's change brings.
    showBrightloopEnabled();
    run(m_actions.onToggleBrightloop);
}

void PreviewPane::applyCandidateRailHeight()
{
    gtk_widget_set_size_request(m_candidateRail->widget(), -1, static_cast<int>(m_candidateRailHeight));
}

void PreviewPane::openCandidateWindow()
{
    if (m_candidateWindow) {
        gtk_window_present(GTK_WINDOW(m_candidateWindow.get()));
        return;
    }

    m_candidateWindowView = std::make_unique<BrightloopCandidateWindowView>(m_brightloopStore, BrightloopCandidateRail::Actions {
        [this](const BrightloopCandidate& candidate) { run(m_actions.onSelectCandidate, candidate); },
        [this](const BrightloopCandidate& candidate) { run(m_actions.onToggleCandidateHidden, candidate); },
        [this](const BrightloopCandidate& candidate) { run(m_actions.onHighlightCandidate, candidate); },
        nullptr,
    });

    GtkWidget* window = adw_window_new();
    gtk_window_set_title(GTK_WINDOW(window), "Brightloop Candidates");
    gtk_window_set_default_size(GTK_WINDOW(window), 680, 520);
    gtk_widget_set_size_request(window, 440, 260);
    // Closing only hides it; the pane shows the same window again.
    gtk_window_set_hide_on_close(GTK_WINDOW(window), TRUE);
    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_append(GTK_BOX(content), adw_header_bar_new());
    gtk_box_append(GTK_BOX(content), m_candidateWindowView->widget());
    adw_window_set_content(ADW_WINDOW(window), content);

    // GTK owns the toplevel; the pane keeps a reference of its own so that the pointer stays
    // valid until the window is destroyed, by the pane or by the toolkit when the program ends.
    m_candidateWindow = GRef<GtkWidget>::retain(window);
    g_signal_connect_swapped(window, "destroy", G_CALLBACK(+[](PreviewPane* self) { self->candidateWindowWasDestroyed(); }), this);
    gtk_window_present(GTK_WINDOW(window));
}

void PreviewPane::candidateWindowWasDestroyed()
{
    g_signal_handlers_disconnect_by_data(m_candidateWindow.get(), this);
    m_candidateWindow = {};
    m_candidateWindowView.reset();
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
