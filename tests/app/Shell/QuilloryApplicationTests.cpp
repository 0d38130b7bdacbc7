#include "QuilloryApp/Shell/QuilloryApplication.h"

#include <gtest/gtest.h>

using namespace Quillory;

TEST(QuilloryApplication, MainWindowHasTitleAndSizes)
{
    GtkApplication* application = GTK_APPLICATION(adw_application_new("app.quillory.Tests", G_APPLICATION_NON_UNIQUE));
    GError* error = nullptr;
    ASSERT_TRUE(g_application_register(G_APPLICATION(application), nullptr, &error));
    GtkWidget* window = QuilloryApplication::makeMainWindow(application);
    EXPECT_TRUE(ADW_IS_APPLICATION_WINDOW(window));
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(window)), "Quillory");
    int width = 0;
    int height = 0;
    gtk_window_get_default_size(GTK_WINDOW(window), &width, &height);
    EXPECT_EQ(width, 1440);
    EXPECT_EQ(height, 860);
    gtk_widget_get_size_request(window, &width, &height);
    EXPECT_EQ(width, 1320);
    EXPECT_EQ(height, 720);
    gtk_window_destroy(GTK_WINDOW(window));
    g_object_unref(application);
}
