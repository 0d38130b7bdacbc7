#include "QuilloryApp/Brightloop/BrightloopCandidateWindowView.h"

#include "QuilloryApp/Brightloop/BrightloopStore.h"
#include "QuilloryApp/Shell/IconNames.h"

#include <adwaita.h>

#include <utility>

namespace Quillory {

namespace {

constexpr const char* railPageName = "rail";
constexpr const char* emptyPageName = "empty";

BrightloopCandidateRail::Actions withoutPopOut(BrightloopCandidateRail::Actions actions)
{
    actions.onPopOut = nullptr;
    return actions;
}

}

BrightloopCandidateWindowView::BrightloopCandidateWindowView(const BrightloopStore& store, BrightloopCandidateRail::Actions actions)
    : m_store(store)
    , m_rail(std::make_unique<BrightloopCandidateRail>(withoutPopOut(std::move(actions))))
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_stack_new()))))
{
    gtk_widget_set_hexpand(m_root.get(), TRUE);
    gtk_widget_set_vexpand(m_root.get(), TRUE);

    m_emptyState = adw_status_page_new();
    adw_status_page_set_icon_name(ADW_STATUS_PAGE(m_emptyState), IconNames::symbolic("viewfinder"));
    adw_status_page_set_title(ADW_STATUS_PAGE(m_emptyState), "No Brightloop Candidates");
    adw_status_page_set_description(ADW_STATUS_PAGE(m_emptyState), "Fence a preview region to populate this window.");

    gtk_stack_add_named(GTK_STACK(m_root.get()), m_rail->widget(), railPageName);
    gtk_stack_add_named(GTK_STACK(m_root.get()), m_emptyState, emptyPageName);

    showStore();
    m_connections.observe(store.result(), [this] { showStore(); });
    m_connections.observe(store.previewDirective(), [this] { showStore(); });
}

BrightloopCandidateWindowView::~BrightloopCandidateWindowView()
{
    m_connections.disconnectAll();
}

bool BrightloopCandidateWindowView::isShowingRail() const
{
    return gtk_stack_get_visible_child(GTK_STACK(m_root.get())) == m_rail->widget();
}

void BrightloopCandidateWindowView::showStore()
{
    const auto& result = m_store.result().get();
    if (!result) {
        gtk_stack_set_visible_child_name(GTK_STACK(m_root.get()), emptyPageName);
        return;
    }
    m_rail->update(*result, m_store.previewDirective().get());
    gtk_stack_set_visible_child_name(GTK_STACK(m_root.get()), railPageName);
}

}
