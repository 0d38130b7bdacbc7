#pragma once

#include "QuilloryApp/Support/GRef.h"

#include <gtk/gtk.h>

#include <functional>
#include <optional>

namespace Quillory {

// The thin grip above the candidate rail. Dragging it up makes the rail taller, down makes it
// shorter, always between 120 and 420 pixels. The height it changes belongs to its owner: the
// handle is bound to it and reports each change. Main thread only.
//
// The handle owns a reference to its widget.
class CandidateRailResizeHandle {
public:
    static constexpr double minimumHeight = 120;
    static constexpr double maximumHeight = 420;

    // `height` must outlive the handle.
    CandidateRailResizeHandle(double& height, std::function<void(double)> onHeightChanged);
    ~CandidateRailResizeHandle();
    CandidateRailResizeHandle(const CandidateRailResizeHandle&) = delete;
    CandidateRailResizeHandle& operator=(const CandidateRailResizeHandle&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    // The height when the current drag began; nothing between drags.
    std::optional<double> dragStartHeight() const { return m_dragStartHeight; }

    // The steps of a drag, as the pointer gesture reports them; `dy` is the pointer's vertical
    // translation since the drag began, in pixels, positive downwards.
    void dragBegan();
    void dragUpdated(double dy);
    void dragEnded(double dy);

private:
    double yInWindow(double x, double y) const;
    // The pointer's vertical travel since the drag began, in the window's coordinates.
    double pointerTranslationInWindow() const;

    double& m_height;
    std::function<void(double)> m_onHeightChanged;
    std::optional<double> m_dragStartHeight;
    double m_dragStartYInWindow { 0 };
    GRef<GtkWidget> m_root;
    GtkGesture* m_drag { nullptr };
};

}
