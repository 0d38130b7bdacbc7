#include "QuilloryApp/Shell/ProtectedHSplitView.h"

#include <algorithm>
#include <cstdlib>

namespace Quillory {

ProtectedHSplitView::ProtectedHSplitView(int leadingMinimumWidth, int leadingIdealWidth, int trailingMinimumWidth, GtkWidget* leading,
                                         GtkWidget* trailing)
    : m_leadingMinimumWidth(leadingMinimumWidth)
    , m_leadingIdealWidth(leadingIdealWidth)
    , m_trailingMinimumWidth(trailingMinimumWidth)
    , m_paned(GRef<GtkPaned>::adopt(GTK_PANED(g_object_ref_sink(gtk_paned_new(GTK_ORIENTATION_HORIZONTAL)))))
{
    GtkPaned* paned = m_paned.get();
    gtk_paned_set_wide_handle(paned, FALSE);
    gtk_paned_set_start_child(paned, leading);
    gtk_paned_set_end_child(paned, trailing);
    // Both panes may shrink as far as the paned likes: the minimums are this view's to keep, and
    // with both shrinkable the paned's max-position is exactly its width less the divider.
    gtk_paned_set_shrink_start_child(paned, TRUE);
    gtk_paned_set_shrink_end_child(paned, TRUE);
    gtk_widget_set_hexpand(GTK_WIDGET(paned), TRUE);
    gtk_widget_set_vexpand(GTK_WIDGET(paned), TRUE);

    // A drag moves the position; a new width moves max-position during the paned's allocation,
    // before its panes are placed, so a correction applies to the same frame.
    g_signal_connect_swapped(paned, "notify::position", G_CALLBACK(+[](ProtectedHSplitView* self) { self->positionDidChange(); }), this);
    g_signal_connect_swapped(paned, "notify::max-position", G_CALLBACK(+[](ProtectedHSplitView* self) { self->widthDidChange(); }), this);
}

ProtectedHSplitView::~ProtectedHSplitView()
{
    g_signal_handlers_disconnect_by_data(m_paned.get(), this);
}

int ProtectedHSplitView::maximumPosition(int available) const
{
    return std::max(available - m_trailingMinimumWidth, m_leadingMinimumWidth);
}

int ProtectedHSplitView::clampedPosition(int position, int available) const
{
    return std::clamp(position, m_leadingMinimumWidth, maximumPosition(available));
}

int ProtectedHSplitView::availableWidth() const
{
    // Nothing before the first allocation. After it, max-position is the width less the divider.
    if (gtk_widget_get_width(GTK_WIDGET(m_paned.get())) <= 0)
        return 0;
    int maxPosition = 0;
    g_object_get(m_paned.get(), "max-position", &maxPosition, nullptr);
    return std::max(maxPosition, 0);
}

void ProtectedHSplitView::positionDidChange()
{
    int available = availableWidth();
    if (available <= 0)
        return;
    int position = gtk_paned_get_position(m_paned.get());
    int clamped = clampedPosition(position, available);
    if (clamped != position)
        gtk_paned_set_position(m_paned.get(), clamped);
}

void ProtectedHSplitView::widthDidChange()
{
    int available = availableWidth();
    if (available <= 0)
        return;
    if (!m_hasAppliedIdealPosition) {
        m_hasAppliedIdealPosition = true;
        gtk_paned_set_position(m_paned.get(), clampedPosition(m_leadingIdealWidth, available));
        return;
    }
    enforceCurrentPosition();
}

void ProtectedHSplitView::enforceCurrentPosition()
{
    int available = availableWidth();
    if (available <= 0 || !gtk_paned_get_start_child(m_paned.get()) || !gtk_paned_get_end_child(m_paned.get()))
        return;
    int width = gtk_paned_get_position(m_paned.get());
    int clamped = clampedPosition(width, available);
    if (std::abs(clamped - width) > 1)
        gtk_paned_set_position(m_paned.get(), clamped);
}

}
