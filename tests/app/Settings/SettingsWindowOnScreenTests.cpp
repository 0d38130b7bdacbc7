// The settings window opened from the main window's menu, read back from the screen: choosing
// Dark and the "Leaf" accent recolours it at once.

#include "QuilloryApp/Settings/SettingsView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/MainMenu.h"
#include "QuilloryApp/Shell/QuilloryApplication.h"
#include "QuilloryApp/Shell/QuilloryTheme.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ScreenCapture.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

struct RGB {
    int red;
    int green;
    int blue;
};

// The pixels of a PNG, row by row.
struct Picture {
    int width { 0 };
    int height { 0 };
    std::vector<std::uint8_t> rgba;

    explicit Picture(const std::filesystem::path& png)
    {
        GdkTexture* texture = gdk_texture_new_from_filename(png.c_str(), nullptr);
        if (!texture)
            return;
        width = gdk_texture_get_width(texture);
        height = gdk_texture_get_height(texture);
        // Downloads as premultiplied B8G8R8A8 in memory order on little-endian machines; the
        // capture is opaque, so premultiplying changes nothing.
        rgba.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
        gdk_texture_download(texture, rgba.data(), static_cast<gsize>(width) * 4);
        g_object_unref(texture);
    }
    RGB at(int x, int y) const
    {
        const std::uint8_t* pixel = &rgba[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 4];
        return { pixel[2], pixel[1], pixel[0] };
    }
};

bool isNear(RGB actual, RGB expected, int tolerance)
{
    return std::abs(actual.red - expected.red) <= tolerance && std::abs(actual.green - expected.green) <= tolerance
        && std::abs(actual.blue - expected.blue) <= tolerance;
}

// Where a point of `widget`, given as fractions of its width and height, lies in its window.
std::pair<int, int> pointInWindow(GtkWidget* widget, double xFraction, double yFraction)
{
    graphene_point_t inside = GRAPHENE_POINT_INIT(static_cast<float>(gtk_widget_get_width(widget) * xFraction),
        static_cast<float>(gtk_widget_get_height(widget) * yFraction));
    graphene_point_t inWindow;
    GtkWidget* root = GTK_WIDGET(gtk_widget_get_root(widget));
    EXPECT_TRUE(gtk_widget_compute_point(widget, root, &inside, &inWindow));
    return { static_cast<int>(inWindow.x), static_cast<int>(inWindow.y) };
}

}

TEST(SettingsWindowOnScreen, PreferencesFromTheMenuThenDarkAndLeafRecolourTheWindow)
{
    ViewHarness harness;
    GtkApplication* application = GTK_APPLICATION(adw_application_new("app.quillory.SettingsTests", G_APPLICATION_NON_UNIQUE));
    ASSERT_TRUE(g_application_register(G_APPLICATION(application), nullptr, nullptr));
    std::unique_ptr<SettingsView> settingsView;
    ContentView content(harness.store, harness.settings);
    GtkWidget* mainWindow = QuilloryApplication::makeMainWindow(application);
    MainMenu::installActions(application, [&] {
        if (!settingsView)
            settingsView = std::make_unique<SettingsView>(harness.settings);
        settingsView->present(GTK_WINDOW(mainWindow));
    });
    adw_application_window_set_content(ADW_APPLICATION_WINDOW(mainWindow), content.widget());
    gtk_window_present(GTK_WINDOW(mainWindow));
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(mainWindow); }));

    // The menu button's item, as the menu would activate it.
    GMenuModel* menu = gtk_menu_button_get_menu_model(content.mainMenuButton());
    ASSERT_NE(menu, nullptr);
    ASSERT_TRUE(gtk_widget_activate_action(GTK_WIDGET(content.mainMenuButton()), MainMenu::preferencesDetailedAction, nullptr));
    ASSERT_NE(settingsView, nullptr);
    GtkWidget* settingsWindow = GTK_WIDGET(settingsView->window());
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(settingsWindow); }));
    EXPECT_EQ(gtk_window_get_transient_for(settingsView->window()), GTK_WINDOW(mainWindow));

    adw_combo_row_set_selected(settingsView->appearanceRow(), 2);
    adw_combo_row_set_selected(settingsView->accentRow(), 1);
    AdwStyleManager* styleManager = adw_style_manager_get_default();
    EXPECT_EQ(adw_style_manager_get_color_scheme(styleManager), ADW_COLOR_SCHEME_FORCE_DARK);
    EXPECT_TRUE(adw_style_manager_get_dark(styleManager));
    EXPECT_EQ(harness.theme.appliedAccentCSS(), QuilloryTheme::accentCSS(AccentChoice::leaf, true));
    GtkWidget* scale = GTK_WIDGET(settingsView->sidebarOpacityScale());
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(scale) && gtk_widget_get_width(scale) > 0; }));
    waitFor(std::chrono::milliseconds(300));

    TemporaryDirectory captures;
    auto png = captures.path() / "settings-window.png";
    ASSERT_TRUE(saveScreenCapture(settingsWindow, png));
    // scripts/snapshot-window.sh sets this to keep the picture in docs/.
    if (const char* keep = std::getenv("QUILLORY_SETTINGS_SNAPSHOT"))
        std::filesystem::copy_file(png, keep, std::filesystem::copy_options::overwrite_existing);

    Picture picture(png);
    ASSERT_GT(picture.width, 0);
    // A dark window: the page's background, just inside its left edge, half-way down.
    auto [backgroundX, backgroundY] = pointInWindow(GTK_WIDGET(settingsView->appearancePage()), 0.02, 0.9);
    auto background = picture.at(backgroundX, backgroundY);
    EXPECT_LT(background.red + background.green + background.blue, 3 * 80) << background.red << "," << background.green << "," << background.blue;
    // The filled part of the opacity slider is drawn in the leaf accent (#66c78c): look down a
    // column through the slider's left quarter for it.
    auto [fillX, top] = pointInWindow(scale, 0.25, 0.0);
    int bottom = pointInWindow(scale, 0.25, 1.0).second;
    bool foundAccent = false;
    for (int y = std::max(top - 4, 0); y < std::min(bottom + 4, picture.height) && !foundAccent; ++y)
        foundAccent = isNear(picture.at(fillX, y), { 0x66, 0xc7, 0x8c }, 24);
    EXPECT_TRUE(foundAccent) << "column " << fillX << " from " << top << " to " << bottom;

    settingsView.reset();
    adw_style_manager_set_color_scheme(styleManager, ADW_COLOR_SCHEME_DEFAULT);
    gtk_window_destroy(GTK_WINDOW(mainWindow));
    g_object_unref(application);
}
