#include "QuilloryApp/Shell/QuilloryTheme.h"
#include "app/support/ViewTestSupport.h"

#include <gtest/gtest.h>

using namespace Quillory;
using namespace QuilloryTest;

TEST(QuilloryTheme, AppearanceSettingDrivesTheColorScheme)
{
    ViewHarness harness;
    AdwStyleManager* styles = adw_style_manager_get_default();
    EXPECT_EQ(adw_style_manager_get_color_scheme(styles), ADW_COLOR_SCHEME_DEFAULT);

    harness.settings.setAppearance(AppearancePreference::dark);
    EXPECT_EQ(adw_style_manager_get_color_scheme(styles), ADW_COLOR_SCHEME_FORCE_DARK);
    EXPECT_TRUE(adw_style_manager_get_dark(styles));

    harness.settings.setAppearance(AppearancePreference::light);
    EXPECT_EQ(adw_style_manager_get_color_scheme(styles), ADW_COLOR_SCHEME_FORCE_LIGHT);
    EXPECT_FALSE(adw_style_manager_get_dark(styles));

    harness.settings.setAppearance(AppearancePreference::system);
    EXPECT_EQ(adw_style_manager_get_color_scheme(styles), ADW_COLOR_SCHEME_DEFAULT);
}

TEST(QuilloryTheme, AccentSettingOverridesTheAccentColours)
{
    ViewHarness harness;
    harness.settings.setAppearance(AppearancePreference::light);
    // Sky is 0.35, 0.72, 1.0; its text shade on light backgrounds is darker.
    EXPECT_EQ(harness.theme.appliedAccentCSS(),
        "@define-color accent_bg_color #59b8ff;\n"
        "@define-color accent_color #4084b8;\n"
        "@define-color accent_fg_color rgba(0, 0, 0, 0.8);\n");

    harness.settings.setAccent(AccentChoice::graphite);
    EXPECT_NE(harness.theme.appliedAccentCSS().find("accent_bg_color #737a8c;"), std::string::npos);
    EXPECT_NE(harness.theme.appliedAccentCSS().find("accent_fg_color #ffffff;"), std::string::npos);

    // On a dark background the accent itself is readable text.
    harness.settings.setAppearance(AppearancePreference::dark);
    EXPECT_NE(harness.theme.appliedAccentCSS().find("accent_color #737a8c;"), std::string::npos);

    harness.settings.setAppearance(AppearancePreference::system);
}

TEST(QuilloryTheme, AccentColourReachesTheWidgets)
{
    ViewHarness harness;
    harness.settings.setAppearance(AppearancePreference::dark);
    harness.settings.setAccent(AccentChoice::peach);
    GtkWidget* label = gtk_label_new("accent");
    gtk_widget_add_css_class(label, "accent");
    TestWindow window(label, 200, 100);

    GdkRGBA color;
    gtk_style_context_get_color(gtk_widget_get_style_context(label), &color);
    // Peach is 1.0, 0.65, 0.45.
    EXPECT_NEAR(color.red, 1.0, 0.01);
    EXPECT_NEAR(color.green, 0.65, 0.01);
    EXPECT_NEAR(color.blue, 0.45, 0.01);
    harness.settings.setAppearance(AppearancePreference::system);
}
