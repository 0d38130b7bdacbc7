#include "QuilloryApp/Brightloop/BrightloopCandidateRail.h"

#include "QuilloryApp/Shell/IconNames.h"

#include <adwaita.h>

#include <string>
#include <utility>

namespace Quillory {

namespace {

constexpr const char* listPageName = "list";
constexpr const char* emptyPageName = "empty";

// Binds a rail action to one candidate. The row runs a copy, so the binding carries its own
// copies of both and refers to nothing else.
std::function<void()> bindToCandidate(const std::function<void(const BrightloopCandidate&)>& action, const BrightloopCandidate& candidate)
{
    if (!action)
        return {};
    return [action, candidate] { action(candidate); };
}

std::string countText(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " result" : " results");
}

}

BrightloopCandidateRail::BrightloopCandidateRail(Actions actions)
    : m_actions(std::move(actions))
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)))))
{
    gtk_widget_add_css_class(m_root.get(), "quillory-candidate-rail");
    gtk_box_append(GTK_BOX(m_root.get()), makeHeader());
    gtk_box_append(GTK_BOX(m_root.get()), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));

    m_list = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_widget_set_margin_start(m_list, 8);
    gtk_widget_set_margin_end(m_list, 8);
    gtk_widget_set_margin_top(m_list, 6);
    gtk_widget_set_margin_bottom(m_list, 6);
    GtkWidget* scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), m_list);

    m_emptyState = adw_status_page_new();
    adw_status_page_set_title(ADW_STATUS_PAGE(m_emptyState), "No Candidates Found");
    adw_status_page_set_description(ADW_STATUS_PAGE(m_emptyState), "Fence again after scrolling or choose a more specific visible surface.");
    gtk_widget_add_css_class(m_emptyState, "compact");

    // The rail is exactly as tall as its owner makes it, down to 120 pixels: neither page asks for
    // more than a scroller's minimum, and each scrolls within what is left.
    GtkWidget* emptyScroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(emptyScroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(emptyScroller), m_emptyState);

    m_body = gtk_stack_new();
    gtk_stack_set_vhomogeneous(GTK_STACK(m_body), FALSE);
    gtk_widget_set_vexpand(m_body, TRUE);
    gtk_stack_add_named(GTK_STACK(m_body), scroller, listPageName);
    gtk_stack_add_named(GTK_STACK(m_body), emptyScroller, emptyPageName);
    gtk_box_append(GTK_BOX(m_root.get()), m_body);
}

BrightloopCandidateRail::~BrightloopCandidateRail()
{
    if (m_popOutButton)
        g_signal_handlers_disconnect_by_data(m_popOutButton, this);
}

GtkWidget* BrightloopCandidateRail::makeHeader()
{
    GtkWidget* header = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    gtk_widget_set_margin_start(header, 14);
    gtk_widget_set_margin_end(header, 14);
    gtk_widget_set_margin_top(header, 6);
    gtk_widget_set_margin_bottom(header, 6);

    GtkWidget* title = gtk_label_new("Brightloop Candidates");
    gtk_widget_add_css_class(title, "heading");
    gtk_box_append(GTK_BOX(header), title);
    GtkWidget* caption = gtk_label_new("last fence");
    gtk_widget_add_css_class(caption, "caption");
    gtk_widget_add_css_class(caption, "dim-label");
    gtk_widget_set_valign(caption, GTK_ALIGN_BASELINE);
    gtk_box_append(GTK_BOX(header), caption);

    GtkWidget* spacer = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_widget_set_hexpand(spacer, TRUE);
    gtk_box_append(GTK_BOX(header), spacer);

    m_countLabel = GTK_LABEL(gtk_label_new(countText(0).c_str()));
    gtk_widget_add_css_class(GTK_WIDGET(m_countLabel), "caption");
    gtk_widget_add_css_class(GTK_WIDGET(m_countLabel), "dim-label");
    gtk_box_append(GTK_BOX(header), GTK_WIDGET(m_countLabel));

    if (m_actions.onPopOut) {
        GtkWidget* content = adw_button_content_new();
        adw_button_content_set_icon_name(ADW_BUTTON_CONTENT(content), IconNames::symbolic("rectangle.on.rectangle"));
        adw_button_content_set_label(ADW_BUTTON_CONTENT(content), "Pop Out");
        m_popOutButton = GTK_BUTTON(gtk_button_new());
        gtk_button_set_child(m_popOutButton, content);
        gtk_widget_add_css_class(GTK_WIDGET(m_popOutButton), "flat");
        gtk_widget_set_tooltip_text(GTK_WIDGET(m_popOutButton), "Open candidates in a separate window");
        g_signal_connect_swapped(m_popOutButton, "clicked", G_CALLBACK(+[](BrightloopCandidateRail* self) {
            auto popOut = self->m_actions.onPopOut;
            popOut();
        }), this);
        gtk_box_append(GTK_BOX(header), GTK_WIDGET(m_popOutButton));
    }
    return header;
}

void BrightloopCandidateRail::update(const BrightloopResult& result, const BrightloopPreviewDirective& directive)
{
    gtk_label_set_text(m_countLabel, countText(result.candidates().size()).c_str());
    gtk_stack_set_visible_child_name(GTK_STACK(m_body), result.candidates().empty() ? emptyPageName : listPageName);

    if (m_result == result) {
        for (auto& row : m_rows)
            row->setState(directive.isHidden(row->candidate().id), directive.isHighlighted(row->candidate().id));
        return;
    }
    m_result = result;
    rebuildRows(directive);
}

void BrightloopCandidateRail::rebuildRows(const BrightloopPreviewDirective& directive)
{
    for (auto& row : m_rows)
        gtk_box_remove(GTK_BOX(m_list), row->widget());
    m_rows.clear();

    for (const auto& candidate : m_result->candidates()) {
        BrightloopCandidateRow::Actions actions {
            bindToCandidate(m_actions.onSelectCandidate, candidate),
            bindToCandidate(m_actions.onToggleCandidateHidden, candidate),
            bindToCandidate(m_actions.onHighlightCandidate, candidate),
        };
        auto row = std::make_unique<BrightloopCandidateRow>(candidate, directive.isHidden(candidate.id), directive.isHighlighted(candidate.id), std::move(actions));
        gtk_box_append(GTK_BOX(m_list), row->widget());
        m_rows.push_back(std::move(row));
    }
}

bool BrightloopCandidateRail::isShowingEmptyState() const
{
    return gtk_widget_is_ancestor(m_emptyState, gtk_stack_get_visible_child(GTK_STACK(m_body)));
}

}
