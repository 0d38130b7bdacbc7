#pragma once

#include <gtk/gtk.h>

#include <filesystem>

namespace QuilloryTest {

// Saves what the X server shows of a mapped window to a PNG file, web content included: a widget
// snapshot leaves a web view's area blank, because its pixels come from the web process. Needs
// the X11 backend (the tests run with GDK_BACKEND=x11 under Xvfb). False when nothing could be read.
bool saveScreenCapture(GtkWidget* window, const std::filesystem::path& png);

}
