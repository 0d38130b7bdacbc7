#pragma once

#include <gtk/gtk.h>

namespace QuilloryTest {

// Types through the X server's test extension, so keys reach the window as a user's would:
// through the window system, GTK's shortcut controllers and the focused widget. Needs the X11
// backend under Xvfb.
class XTestKeyboard {
public:
    explicit XTestKeyboard(GtkWidget* widgetInWindow);

    bool isAvailable() const { return m_isAvailable; }

    // Presses and releases an accelerator such as "<Control>f" or "Return", holding its
    // modifiers; waits until GTK has taken the events in.
    void press(const char* accelerator);

private:
    GtkWidget* m_widget;
    bool m_isAvailable { false };
};

}
