#include "QuilloryApp/Brightloop/CandidateRailResizeHandle.h"

#include <algorithm>
#include <utility>

namespace Quillory {

CandidateRailResizeHandle::CandidateRailResizeHandle(double& height, std::function<void(double)> onHeightChanged)
    : m_height(height)
    , m_onHeightChanged(std::move(onHeightChanged))
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(g_object_new(GTK_TYPE_BOX,
        "orientation", GTK_ORIENTATION_VERTICAL,
        "accessible-role", GTK_ACCESSIBLE_ROLE_SEPARATOR,
        nullptr)))))
{
    GtkWidget* root = m_root.get();
    gtk_widget_add_css_class(root, "quillory-rail-resize-handle");
    gtk_widget_set_cursor_from_name(root, "ns-resize");
    gtk_accessible_update_property(GTK_ACCESSIBLE(root), GTK_ACCESSIBLE_PROPERTY_LABEL, "Resize Brightloop candidate pane", -1);

    GtkWidget* grip = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_widget_add_css_class(grip, "quillory-rail-resize-grip");
    gtk_widget_set_halign(grip, GTK_ALIGN_CENTER);
    gtk_widget_set_valign(grip, GTK_ALIGN_CENTER);
    gtk_box_append(GTK_BOX(root), grip);
    // A thin bar: the space around it belongs to the preview above.
    gtk_widget_set_vexpand(root, FALSE);

    m_drag = gtk_gesture_drag_new();
    g_signal_connect_swapped(m_drag, "drag-begin", G_CALLBACK(+[](CandidateRailResizeHandle* self, double x, double y) {
        self->m_dragStartYInWindow = self->yInWindow(x, y);
        self->dragBegan();
    }), this);
    g_signal_connect_swapped(m_drag, "drag-update", G_CALLBACK(+[](CandidateRailResizeHandle* self, double, double) {
        self->dragUpdated(self->pointerTranslationInWindow());
    }), this);
    g_signal_connect_swapped(m_drag, "drag-end", G_CALLBACK(+[](CandidateRailResizeHandle* self, double, double) {
        self->dragEnded(self->pointerTranslationInWindow());
    }), this);
    gtk_widget_add_controller(root, GTK_EVENT_CONTROLLER(m_drag));
}

double CandidateRailResizeHandle::yInWindow(double x, double y) const
{
    GtkWidget* window = GTK_WIDGET(gtk_widget_get_native(m_root.get()));
    graphene_point_t point = GRAPHENE_POINT_INIT(static_cast<float>(x), static_cast<float>(y));
    graphene_point_t inWindow = point;
    if (window && !gtk_widget_compute_point(m_root.get(), window, &point, &inWindow))
        inWindow = point;
    return inWindow.y;
}

double CandidateRailResizeHandle::pointerTranslationInWindow() const
{
    // The gesture measures in the handle's own coordinates, but the handle moves as the rail
    // changes height under the pointer; the window doesn't.
    double startX = 0;
    double startY = 0;
    double offsetX = 0;
    double offsetY = 0;
    gtk_gesture_drag_get_start_point(GTK_GESTURE_DRAG(m_drag), &startX, &startY);
    gtk_gesture_drag_get_offset(GTK_GESTURE_DRAG(m_drag), &offsetX, &offsetY);
    return yInWindow(startX + offsetX, startY + offsetY) - m_dragStartYInWindow;
}

CandidateRailResizeHandle::~CandidateRailResizeHandle()
{
    g_signal_handlers_disconnect_by_data(m_drag, this);
}

void CandidateRailResizeHandle::dragBegan()
{
    m_dragStartHeight = m_height;
}

void CandidateRailResizeHandle::dragUpdated(double dy)
{
    if (!m_dragStartHeight)
        m_dragStartHeight = m_height;
    // Dragging up (a negative translation) makes the rail taller.
    double height = std::clamp(*m_dragStartHeight - dy, minimumHeight, maximumHeight);
    if (height == m_height)
        return;
    m_height = height;
    if (m_onHeightChanged)
        m_onHeightChanged(height);
}

void CandidateRailResizeHandle::dragEnded(double dy)
{
    dragUpdated(dy);
    m_dragStartHeight.reset();
}

}
