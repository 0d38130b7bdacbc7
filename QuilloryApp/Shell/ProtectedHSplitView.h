#pragma once

#include "QuilloryApp/Support/GRef.h"

#include <gtk/gtk.h>

namespace Quillory {

// A side-by-side split with a thin vertical divider that keeps both panes above their minimum
// widths whatever the user drags. Shrinking the window takes the room from the leading pane
// before the trailing pane falls below its minimum; a window too narrow for both keeps the
// leading minimum. Widths are in pixels. Main thread only.
//
// The view owns a reference to its widget (a GtkPaned holding the two panes); destroying the view
// stops the clamping.
class ProtectedHSplitView {
public:
    ProtectedHSplitView(int leadingMinimumWidth, int leadingIdealWidth, int trailingMinimumWidth, GtkWidget* leading, GtkWidget* trailing);
    ~ProtectedHSplitView();
    ProtectedHSplitView(const ProtectedHSplitView&) = delete;
    ProtectedHSplitView& operator=(const ProtectedHSplitView&) = delete;

    GtkWidget* widget() const { return GTK_WIDGET(m_paned.get()); }

    // The largest divider position for a split whose width less the divider's thickness is
    // `availableWidth`: what leaves the trailing pane its minimum, but never below the leading
    // minimum.
    int maximumPosition(int availableWidth) const;
    // A position clamped between the leading minimum and maximumPosition().
    int clampedPosition(int position, int availableWidth) const;

private:
    void positionDidChange();
    void widthDidChange();
    void enforceCurrentPosition();
    int availableWidth() const;

    int m_leadingMinimumWidth;
    int m_leadingIdealWidth;
    int m_trailingMinimumWidth;
    bool m_hasAppliedIdealPosition { false };
    GRef<GtkPaned> m_paned;
};

}
