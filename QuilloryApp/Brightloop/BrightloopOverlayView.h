#pragma once

#include "QuilloryApp/Support/GRef.h"

#include <graphene.h>
#include <gtk/gtk.h>

#include <functional>
#include <optional>

namespace Quillory {

// The drag surface that lies over the web preview in fence mode. Coordinates are the overlay's
// own, with y growing downwards. A drag of at least 4 by 4 reports its rectangle; anything
// smaller counts as a click and reports nothing. While shown it takes every pointer event, so the
// page underneath does not react. Main thread only.
//
// The view owns a reference to its widget; destroying the view disconnects it from the widget.
class BrightloopOverlayView {
public:
    // Smallest width and height, in overlay pixels, of a drag that counts as a fence.
    static constexpr double minimumDragSize = 4;

    BrightloopOverlayView();
    ~BrightloopOverlayView();
    BrightloopOverlayView(const BrightloopOverlayView&) = delete;
    BrightloopOverlayView& operator=(const BrightloopOverlayView&) = delete;

    GtkWidget* widget() const { return m_widget.get(); }

    // Called with a finished drag's rectangle, in overlay coordinates.
    void setOnDragCompleted(std::function<void(const graphene_rect_t&)> callback) { m_onDragCompleted = std::move(callback); }

    std::optional<graphene_point_t> dragStart() const { return m_dragStart; }
    std::optional<graphene_point_t> dragCurrent() const { return m_dragCurrent; }

    // The three steps of a drag, in overlay coordinates. The widget's drag gesture calls them;
    // tests may too.
    void dragBegan(double x, double y);
    void dragUpdated(double x, double y);
    void dragEnded(double x, double y);

    // Forgets a drag under way and redraws, so that its rectangle disappears and its end fires
    // nothing.
    void clearDrag();

private:
    void draw(cairo_t*);

    GRef<GtkWidget> m_widget;
    GtkGesture* m_dragGesture { nullptr };
    std::function<void(const graphene_rect_t&)> m_onDragCompleted;
    std::optional<graphene_point_t> m_dragStart;
    std::optional<graphene_point_t> m_dragCurrent;
};

}
