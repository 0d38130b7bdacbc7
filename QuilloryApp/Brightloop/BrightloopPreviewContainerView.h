#pragma once

#include "QuilloryApp/Brightloop/BrightloopOverlayView.h"
#include "QuilloryApp/Support/GRef.h"

#include <gtk/gtk.h>

namespace Quillory {

// The web preview with the fence overlay stacked on top: both fill the container, the overlay
// above the web view. The overlay starts hidden. Main thread only.
//
// The view owns a reference to its widget; the web view widget becomes its child.
class BrightloopPreviewContainerView {
public:
    explicit BrightloopPreviewContainerView(GtkWidget* webView);
    BrightloopPreviewContainerView(const BrightloopPreviewContainerView&) = delete;
    BrightloopPreviewContainerView& operator=(const BrightloopPreviewContainerView&) = delete;

    GtkWidget* widget() const { return m_widget.get(); }
    GtkWidget* webView() const { return m_webView; }
    BrightloopOverlayView& overlay() { return m_overlay; }

private:
    GRef<GtkWidget> m_widget;
    GtkWidget* m_webView;
    BrightloopOverlayView m_overlay;
};

}
