#include <adwaita.h>
#include <gtest/gtest.h>

// Application tests build real widgets, so GTK and libadwaita start once per test process.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    gtk_init();
    adw_init();
    return RUN_ALL_TESTS();
}
