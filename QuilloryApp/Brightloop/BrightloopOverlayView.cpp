#include "QuilloryApp/Brightloop/BrightloopOverlayView.h"

#include <cmath>

namespace Quillory {

namespace {

constexpr double fillAlpha = 0.18;
constexpr double strokeAlpha = 0.85;
constexpr double strokeWidth = 1.5;

// libadwaita's default accent, for a style without the named colour.
constexpr GdkRGBA fallbackAccent { 0x35 / 255.0f, 0x84 / 255.0f, 0xe4 / 255.0f, 1 };

graphene_rect_t rectBetween(const graphene_point_t& a, const graphene_point_t& b)
{
    graphene_rect_t rect;
    graphene_rect_init(&rect, std::fmin(a.x, b.x), std::fmin(a.y, b.y), std::fabs(a.x - b.x), std::fabs(a.y - b.y));
    return rect;
}

graphene_point_t point(double x, double y)
{
    return GRAPHENE_POINT_INIT(static_cast<float>(x), static_cast<float>(y));
}

// The accent as the style has it now, so a change of the user's accent shows at the next drag.
GdkRGBA accentColor(GtkWidget* widget)
{
    GtkStyleContext* style = gtk_widget_get_style_context(widget);
    GdkRGBA color;
    if (gtk_style_context_lookup_color(style, "accent_bg_color", &color) || gtk_style_context_lookup_color(style, "accent_color", &color))
        return color;
    return fallbackAccent;
}

}

BrightloopOverlayView::BrightloopOverlayView()
    : m_widget(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_drawing_area_new()))))
{
    GtkWidget* area = m_widget.get();
    gtk_widget_set_hexpand(area, TRUE);
    gtk_widget_set_vexpand(area, TRUE);
    // Hidden until fence mode is switched on.
    gtk_widget_set_visible(area, FALSE);
    gtk_widget_set_cursor_from_name(area, "crosshair");
    gtk_drawing_area_set_draw_func(
        GTK_DRAWING_AREA(area),
        +[](GtkDrawingArea*, cairo_t* cairo, int, int, gpointer self) { static_cast<BrightloopOverlayView*>(self)->draw(cairo); }, this, nullptr);

    // The widget owns the gesture; the view keeps a plain pointer for disconnecting.
    m_dragGesture = gtk_gesture_drag_new();
    gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(m_dragGesture), GDK_BUTTON_PRIMARY);
    gtk_widget_add_controller(area, GTK_EVENT_CONTROLLER(m_dragGesture));
    g_signal_connect_swapped(m_dragGesture, "drag-begin", G_CALLBACK(+[](BrightloopOverlayView* self, double x, double y) {
                                 self->dragBegan(x, y);
                             }),
                             this);
    g_signal_connect_swapped(m_dragGesture, "drag-update", G_CALLBACK(+[](BrightloopOverlayView* self, double offsetX, double offsetY) {
                                 double startX = 0;
                                 double startY = 0;
                                 if (gtk_gesture_drag_get_start_point(GTK_GESTURE_DRAG(self->m_dragGesture), &startX, &startY))
                                     self->dragUpdated(startX + offsetX, startY + offsetY);
                             }),
                             this);
    g_signal_connect_swapped(m_dragGesture, "drag-end", G_CALLBACK(+[](BrightloopOverlayView* self, double offsetX, double offsetY) {
                                 double startX = 0;
                                 double startY = 0;
                                 if (gtk_gesture_drag_get_start_point(GTK_GESTURE_DRAG(self->m_dragGesture), &startX, &startY))
                                     self->dragEnded(startX + offsetX, startY + offsetY);
                                 else
                                     self->clearDrag();
                             }),
                             this);
    // A drag the toolkit takes away (a grab, the widget hidden) reports nothing.
    g_signal_connect_swapped(m_dragGesture, "cancel", G_CALLBACK(+[](BrightloopOverlayView* self) { self->clearDrag(); }), this);
}

BrightloopOverlayView::~BrightloopOverlayView()
{
    g_signal_handlers_disconnect_by_data(m_dragGesture, this);
    gtk_drawing_area_set_draw_func(GTK_DRAWING_AREA(m_widget.get()), nullptr, nullptr, nullptr);
}

void BrightloopOverlayView::dragBegan(double x, double y)
{
    m_dragStart = point(x, y);
    m_dragCurrent = m_dragStart;
    gtk_widget_queue_draw(m_widget.get());
}

void BrightloopOverlayView::dragUpdated(double x, double y)
{
    if (!m_dragStart)
        return;
    m_dragCurrent = point(x, y);
    gtk_widget_queue_draw(m_widget.get());
}

void BrightloopOverlayView::dragEnded(double x, double y)
{
    std::optional<graphene_rect_t> fence;
    if (m_dragStart && m_dragCurrent) {
        // The release point is the drag's last point, even without a motion report before it.
        m_dragCurrent = point(x, y);
        auto rect = rectBetween(*m_dragStart, *m_dragCurrent);
        if (rect.size.width >= minimumDragSize && rect.size.height >= minimumDragSize)
            fence = rect;
    }
    clearDrag();
    if (fence && m_onDragCompleted)
        m_onDragCompleted(*fence);
}

void BrightloopOverlayView::clearDrag()
{
    m_dragStart.reset();
    m_dragCurrent.reset();
    gtk_widget_queue_draw(m_widget.get());
}

void BrightloopOverlayView::draw(cairo_t* cairo)
{
    if (!m_dragStart || !m_dragCurrent)
        return;
    auto rect = rectBetween(*m_dragStart, *m_dragCurrent);
    auto accent = accentColor(m_widget.get());
    cairo_rectangle(cairo, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
    cairo_set_source_rgba(cairo, accent.red, accent.green, accent.blue, fillAlpha);
    cairo_fill_preserve(cairo);
    cairo_set_source_rgba(cairo, accent.red, accent.green, accent.blue, strokeAlpha);
    cairo_set_line_width(cairo, strokeWidth);
    cairo_stroke(cairo);
}

}
