#include "app/support/ScreenCapture.h"

#include "app/support/MainLoopWaiting.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <gdk/x11/gdkx.h>

#include <cstdint>
#include <vector>

namespace QuilloryTest {

bool saveScreenCapture(GtkWidget* window, const std::filesystem::path& png)
{
    GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(window));
    if (!surface || !GDK_IS_X11_SURFACE(surface))
        return false;
    Display* display = gdk_x11_display_get_xdisplay(gdk_surface_get_display(surface));
    Window xid = gdk_x11_surface_get_xid(surface);
    // The server gives back what is on screen: put the window above any other client's first, and
    // let it repaint what was covered.
    XRaiseWindow(display, xid);
    XSync(display, False);
    waitFor(std::chrono::milliseconds(300));
    XWindowAttributes attributes;
    if (!XGetWindowAttributes(display, xid, &attributes) || attributes.width <= 0 || attributes.height <= 0)
        return false;
    XImage* image = XGetImage(display, xid, 0, 0, static_cast<unsigned>(attributes.width), static_cast<unsigned>(attributes.height), AllPlanes, ZPixmap);
    if (!image)
        return false;

    // Repack as tightly packed RGB whatever the server's pixel layout, through the image's masks.
    auto width = static_cast<std::size_t>(attributes.width);
    auto height = static_cast<std::size_t>(attributes.height);
    std::vector<std::uint8_t> pixels(width * height * 3);
    auto channel = [](unsigned long pixel, unsigned long mask) {
        if (!mask)
            return std::uint8_t { 0 };
        int shift = 0;
        while (!((mask >> shift) & 1))
            ++shift;
        unsigned long value = (pixel & mask) >> shift;
        unsigned long maximum = mask >> shift;
        return static_cast<std::uint8_t>(value * 255 / maximum);
    };
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            unsigned long pixel = XGetPixel(image, static_cast<int>(x), static_cast<int>(y));
            std::uint8_t* out = &pixels[(y * width + x) * 3];
            out[0] = channel(pixel, image->red_mask);
            out[1] = channel(pixel, image->green_mask);
            out[2] = channel(pixel, image->blue_mask);
        }
    }
    XDestroyImage(image);

    GBytes* bytes = g_bytes_new(pixels.data(), pixels.size());
    GdkTexture* texture = gdk_memory_texture_new(static_cast<int>(width), static_cast<int>(height), GDK_MEMORY_R8G8B8, bytes, width * 3);
    g_bytes_unref(bytes);
    bool saved = gdk_texture_save_to_png(texture, png.c_str());
    g_object_unref(texture);
    return saved;
}

}
