#pragma once

#include <gtk/gtk.h>

namespace QuilloryTest {

// Drives the real pointer through the X server's test extension, so that events reach a widget
// exactly as a user's would: through the window system, GTK's event delivery and the widget's
// gestures. Positions are in the widget's own coordinates. Needs the X11 backend under Xvfb.
class XTestPointer {
public:
    explicit XTestPointer(GtkWidget* widget);

    // False when the display is not X11 or lacks the test extension.
    bool isAvailable() const { return m_isAvailable; }

    // Each call waits until GTK has taken the event in.
    void moveTo(double x, double y);
    void press();
    void release();
    // Press at `from`, move in steps to `to`, release there.
    void drag(double fromX, double fromY, double toX, double toY);

private:
    void settle();

    GtkWidget* m_widget;
    bool m_isAvailable { false };
};

}
