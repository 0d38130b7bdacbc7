#include "app/support/PrivateXServer.h"

#include <adwaita.h>
#include <gtest/gtest.h>

#include <cstdlib>

// Application tests build real widgets, so GTK and libadwaita start once per test process.
int main(int argc, char** argv)
{
    // The same surroundings however the tests are started: settings in memory rather than the
    // user's, no input method between synthesised keys and the editor, the X11 backend that the
    // screen capture and the pointer driver need, and a web process without the sandbox, which
    // needs user namespaces that CI machines may not grant.
    setenv("GSETTINGS_BACKEND", "memory", 1);
    setenv("GTK_IM_MODULE", "none", 1);
    setenv("GDK_BACKEND", "x11", 1);
    setenv("WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS", "1", 1);
    testing::InitGoogleTest(&argc, argv);
    QuilloryTest::PrivateXServer::start();
    gtk_init();
    adw_init();
    return RUN_ALL_TESTS();
}
