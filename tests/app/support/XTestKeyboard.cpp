#include "app/support/XTestKeyboard.h"

#include "app/support/MainLoopWaiting.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <gdk/x11/gdkx.h>

#include <vector>

namespace QuilloryTest {

namespace {

Display* xDisplay(GtkWidget* widget)
{
    GdkDisplay* display = gtk_widget_get_display(widget);
    return GDK_IS_X11_DISPLAY(display) ? gdk_x11_display_get_xdisplay(display) : nullptr;
}

}

XTestKeyboard::XTestKeyboard(GtkWidget* widgetInWindow)
    : m_widget(widgetInWindow)
{
    Display* display = xDisplay(widgetInWindow);
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    m_isAvailable = display && XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor);
}

void XTestKeyboard::press(const char* accelerator)
{
    guint keyval = 0;
    GdkModifierType modifiers {};
    if (!gtk_accelerator_parse(accelerator, &keyval, &modifiers))
        return;
    Display* display = xDisplay(m_widget);
    // Without a window manager the keyboard focus must be given to the window explicitly.
    Window window = gdk_x11_surface_get_xid(gtk_native_get_surface(gtk_widget_get_native(m_widget)));
    XRaiseWindow(display, window);
    XSetInputFocus(display, window, RevertToParent, CurrentTime);
    std::vector<KeyCode> held;
    if (modifiers & GDK_CONTROL_MASK)
        held.push_back(XKeysymToKeycode(display, XK_Control_L));
    if (modifiers & GDK_SHIFT_MASK)
        held.push_back(XKeysymToKeycode(display, XK_Shift_L));
    if (modifiers & GDK_ALT_MASK)
        held.push_back(XKeysymToKeycode(display, XK_Alt_L));
    for (auto code : held)
        XTestFakeKeyEvent(display, code, True, CurrentTime);
    KeyCode key = XKeysymToKeycode(display, static_cast<KeySym>(gdk_keyval_to_lower(keyval)));
    XTestFakeKeyEvent(display, key, True, CurrentTime);
    XTestFakeKeyEvent(display, key, False, CurrentTime);
    for (auto code = held.rbegin(); code != held.rend(); ++code)
        XTestFakeKeyEvent(display, *code, False, CurrentTime);
    XFlush(display);
    waitFor(std::chrono::milliseconds(80));
}

}
