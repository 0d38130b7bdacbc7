#include "app/support/XTestPointer.h"

#include "app/support/MainLoopWaiting.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <gdk/x11/gdkx.h>

#include <cmath>

namespace QuilloryTest {

namespace {

Display* xDisplay(GtkWidget* widget)
{
    GdkDisplay* display = gtk_widget_get_display(widget);
    return GDK_IS_X11_DISPLAY(display) ? gdk_x11_display_get_xdisplay(display) : nullptr;
}

}

XTestPointer::XTestPointer(GtkWidget* widget)
    : m_widget(widget)
{
    Display* display = xDisplay(widget);
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    m_isAvailable = display && XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor);
}

void XTestPointer::moveTo(double x, double y)
{
    // Widget coordinates, to the window's surface, to the screen.
    GtkNative* native = gtk_widget_get_native(m_widget);
    graphene_point_t point = GRAPHENE_POINT_INIT(static_cast<float>(x), static_cast<float>(y));
    graphene_point_t inNative;
    if (!gtk_widget_compute_point(m_widget, GTK_WIDGET(native), &point, &inNative))
        return;
    double surfaceX = 0, surfaceY = 0;
    gtk_native_get_surface_transform(native, &surfaceX, &surfaceY);
    Display* display = xDisplay(m_widget);
    Window window = gdk_x11_surface_get_xid(gtk_native_get_surface(native));
    int screenX = 0, screenY = 0;
    Window child;
    XTranslateCoordinates(display, window, DefaultRootWindow(display), static_cast<int>(std::lround(inNative.x + surfaceX)),
                          static_cast<int>(std::lround(inNative.y + surfaceY)), &screenX, &screenY, &child);
    XTestFakeMotionEvent(display, -1, screenX, screenY, CurrentTime);
    settle();

    // Another client's window may have opened over ours (a desktop service starting up alongside
    // the first test, say): bring ours to the top so that the press lands where it is meant to.
    Window rootUnder = 0, topLevelUnder = 0;
    int rootX = 0, rootY = 0, windowX = 0, windowY = 0;
    unsigned int buttons = 0;
    XQueryPointer(display, DefaultRootWindow(display), &rootUnder, &topLevelUnder, &rootX, &rootY, &windowX, &windowY, &buttons);
    if (topLevelUnder != window) {
        XRaiseWindow(display, window);
        XTestFakeMotionEvent(display, -1, screenX, screenY, CurrentTime);
        settle();
    }
}

void XTestPointer::press()
{
    XTestFakeButtonEvent(xDisplay(m_widget), 1, True, CurrentTime);
    settle();
}

void XTestPointer::release()
{
    XTestFakeButtonEvent(xDisplay(m_widget), 1, False, CurrentTime);
    settle();
}

void XTestPointer::drag(double fromX, double fromY, double toX, double toY)
{
    moveTo(fromX, fromY);
    press();
    constexpr int steps = 8;
    for (int step = 1; step <= steps; ++step)
        moveTo(fromX + (toX - fromX) * step / steps, fromY + (toY - fromY) * step / steps);
    release();
}

void XTestPointer::settle()
{
    XFlush(xDisplay(m_widget));
    // The server sends the event back to GTK; give the main loop the time to deliver it.
    waitFor(std::chrono::milliseconds(40));
}

}
