// The settings window: its pages and words, and choices that apply at once and persist.

#include "QuilloryApp/Settings/SettingsView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/MainMenu.h"
#include "QuilloryApp/Shell/QuilloryApplication.h"
#include "QuilloryApp/Shell/QuilloryTheme.h"
#include "QuilloryApp/Shell/SidebarView.h"
#include "QuilloryApp/Workspace/AppInfo.h"
#include "QuilloryApp/Workspace/AppSettingsStore.h"
#include "app/support/ViewTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

struct SettingsWindow : ViewHarness {
    SettingsView view { settings };

    SettingsWindow() { view.present(nullptr); drainMainLoop(); }
    ~SettingsWindow() { adw_style_manager_set_color_scheme(adw_style_manager_get_default(), ADW_COLOR_SCHEME_DEFAULT); }

    // What the preferences file holds for a key, read back through a fresh object as at next start.
    std::optional<std::string> storedString(const char* key) const { return Preferences(preferences.file()).string(key); }
    std::optional<double> storedDouble(const char* key) const { return Preferences(preferences.file()).doubleValue(key); }
    std::optional<bool> storedBoolean(const char* key) const { return Preferences(preferences.file()).boolean(key); }
};

std::vector<std::string> comboTitles(AdwComboRow* row)
{
    std::vector<std::string> titles;
    GListModel* model = adw_combo_row_get_model(row);
    for (guint index = 0; index < g_list_model_get_n_items(model); ++index)
        titles.emplace_back(gtk_string_list_get_string(GTK_STRING_LIST(model), index));
    return titles;
}

std::string rowTitle(gpointer row)
{
    return adw_preferences_row_get_title(ADW_PREFERENCES_ROW(row));
}

// The action row that holds `child` as a suffix.
GtkWidget* enclosingActionRow(GtkWidget* child)
{
    return gtk_widget_get_ancestor(child, ADW_TYPE_ACTION_ROW);
}

}

TEST(SettingsView, HasThreePagesWithTheirIcons)
{
    SettingsWindow window;
    EXPECT_STREQ(adw_preferences_page_get_title(window.view.appearancePage()), "Appearance");
    EXPECT_STREQ(adw_preferences_page_get_icon_name(window.view.appearancePage()), "applications-graphics-symbolic");
    EXPECT_STREQ(adw_preferences_page_get_title(window.view.generalPage()), "General");
    EXPECT_STREQ(adw_preferences_page_get_icon_name(window.view.generalPage()), "emblem-system-symbolic");
    EXPECT_STREQ(adw_preferences_page_get_title(window.view.aboutPage()), "About");
    EXPECT_STREQ(adw_preferences_page_get_icon_name(window.view.aboutPage()), "help-about-symbolic");
    EXPECT_TRUE(ADW_IS_PREFERENCES_WINDOW(window.view.window()));
    EXPECT_EQ(GTK_WIDGET(adw_preferences_window_get_visible_page(ADW_PREFERENCES_WINDOW(window.view.window()))), GTK_WIDGET(window.view.appearancePage()));
}

TEST(SettingsView, AppearancePageWords)
{
    SettingsWindow window;
    EXPECT_EQ(rowTitle(window.view.appearanceRow()), "Appearance");
    EXPECT_EQ(comboTitles(window.view.appearanceRow()), (std::vector<std::string> { "System", "Light", "Dark" }));
    EXPECT_EQ(rowTitle(window.view.accentRow()), "Accent");
    EXPECT_EQ(comboTitles(window.view.accentRow()), (std::vector<std::string> { "Sky", "Leaf", "Lavender", "Peach", "Graphite" }));
    GtkWidget* opacityRow = enclosingActionRow(GTK_WIDGET(window.view.sidebarOpacityScale()));
    ASSERT_NE(opacityRow, nullptr);
    EXPECT_EQ(rowTitle(opacityRow), "Sidebar Opacity");
    EXPECT_STREQ(adw_action_row_get_subtitle(ADW_ACTION_ROW(opacityRow)), "Controls the opacity of the Liquid Glass sidebar surface.");
    GtkAdjustment* adjustment = gtk_range_get_adjustment(window.view.sidebarOpacityScale());
    EXPECT_DOUBLE_EQ(gtk_adjustment_get_lower(adjustment), 0.4);
    EXPECT_DOUBLE_EQ(gtk_adjustment_get_upper(adjustment), 1.0);
    EXPECT_DOUBLE_EQ(gtk_adjustment_get_step_increment(adjustment), 0.05);
    // The defaults, shown.
    EXPECT_EQ(adw_combo_row_get_selected(window.view.appearanceRow()), 0u);
    EXPECT_EQ(adw_combo_row_get_selected(window.view.accentRow()), 0u);
    EXPECT_DOUBLE_EQ(gtk_range_get_value(window.view.sidebarOpacityScale()), 0.85);
    EXPECT_STREQ(gtk_label_get_text(window.view.sidebarOpacityValueLabel()), "85%");
}

TEST(SettingsView, GeneralPageWords)
{
    SettingsWindow window;
    GtkWidget* badgeRow = enclosingActionRow(GTK_WIDGET(window.view.showVersionBadgeSwitch()));
    ASSERT_NE(badgeRow, nullptr);
    EXPECT_EQ(rowTitle(badgeRow), "Show version badge in sidebar");
    GtkWidget* confirmRow = enclosingActionRow(GTK_WIDGET(window.view.confirmLargeEditsSwitch()));
    ASSERT_NE(confirmRow, nullptr);
    EXPECT_EQ(rowTitle(confirmRow), "Confirm large editor changes");
    EXPECT_STREQ(adw_action_row_get_subtitle(ADW_ACTION_ROW(confirmRow)),
        "Warn before replacing or deleting more than half of a page with over 20 lines.");
    EXPECT_TRUE(gtk_switch_get_active(window.view.showVersionBadgeSwitch()));
    EXPECT_TRUE(gtk_switch_get_active(window.view.confirmLargeEditsSwitch()));
}

TEST(SettingsView, AboutPageWords)
{
    SettingsWindow window;
    GtkWidget* page = GTK_WIDGET(window.view.aboutPage());
    EXPECT_NE(findLabel(page, "Quillory"), nullptr);
    EXPECT_NE(findLabel(page, "Local-first website editor"), nullptr);
    EXPECT_NE(findLabel(page, AppInfo::displayVersion()), nullptr);
    bool hasLeaf = false;
    for (GtkWidget* widget : descendants(page)) {
        if (GTK_IS_IMAGE(widget) && gtk_image_get_icon_name(GTK_IMAGE(widget)) == std::string("quillory-leaf-symbolic"))
            hasLeaf = true;
    }
    EXPECT_TRUE(hasLeaf);
}

TEST(SettingsView, ChoosingDarkAppliesAtOnceAndPersists)
{
    SettingsWindow window;
    adw_combo_row_set_selected(window.view.appearanceRow(), 2);
    EXPECT_EQ(window.settings.appearance().get(), AppearancePreference::dark);
    AdwStyleManager* styleManager = adw_style_manager_get_default();
    EXPECT_EQ(adw_style_manager_get_color_scheme(styleManager), ADW_COLOR_SCHEME_FORCE_DARK);
    EXPECT_TRUE(adw_style_manager_get_dark(styleManager));
    EXPECT_EQ(window.storedString(AppSettingsStore::appearanceKey), "dark");

    adw_combo_row_set_selected(window.view.appearanceRow(), 1);
    EXPECT_EQ(adw_style_manager_get_color_scheme(styleManager), ADW_COLOR_SCHEME_FORCE_LIGHT);
    EXPECT_FALSE(adw_style_manager_get_dark(styleManager));
    EXPECT_EQ(window.storedString(AppSettingsStore::appearanceKey), "light");
}

TEST(SettingsView, ChoosingAnAccentRecoloursTheWindowAndPersists)
{
    SettingsWindow window;
    adw_combo_row_set_selected(window.view.accentRow(), 1);
    EXPECT_EQ(window.settings.accent().get(), AccentChoice::leaf);
    bool isDark = adw_style_manager_get_dark(adw_style_manager_get_default());
    EXPECT_EQ(window.theme.appliedAccentCSS(), QuilloryTheme::accentCSS(AccentChoice::leaf, isDark));
    EXPECT_NE(window.theme.appliedAccentCSS().find("@define-color accent_bg_color #66c78c;"), std::string::npos);
    EXPECT_EQ(window.storedString(AppSettingsStore::accentKey), "leaf");

    adw_combo_row_set_selected(window.view.accentRow(), 4);
    EXPECT_EQ(window.settings.accent().get(), AccentChoice::graphite);
    EXPECT_EQ(window.storedString(AppSettingsStore::accentKey), "graphite");
}

TEST(SettingsView, SidebarOpacityMovesInStepsAndReadsAsAPercentage)
{
    SettingsWindow window;
    gtk_range_set_value(window.view.sidebarOpacityScale(), 0.62);
    EXPECT_DOUBLE_EQ(window.settings.sidebarOpacity().get(), 0.6);
    EXPECT_DOUBLE_EQ(gtk_range_get_value(window.view.sidebarOpacityScale()), 0.6);
    EXPECT_STREQ(gtk_label_get_text(window.view.sidebarOpacityValueLabel()), "60%");
    EXPECT_EQ(window.storedDouble(AppSettingsStore::sidebarOpacityKey), 0.6);

    // The slider's ends are the store's limits.
    gtk_range_set_value(window.view.sidebarOpacityScale(), 0.1);
    EXPECT_DOUBLE_EQ(window.settings.sidebarOpacity().get(), 0.4);
    EXPECT_STREQ(gtk_label_get_text(window.view.sidebarOpacityValueLabel()), "40%");
    gtk_range_set_value(window.view.sidebarOpacityScale(), 1.0);
    EXPECT_DOUBLE_EQ(window.settings.sidebarOpacity().get(), 1.0);
    EXPECT_STREQ(gtk_label_get_text(window.view.sidebarOpacityValueLabel()), "100%");
    EXPECT_EQ(SettingsView::percentageText(0.85), "85%");
    EXPECT_EQ(SettingsView::percentageText(0.45), "45%");
}

TEST(SettingsView, SwitchesApplyAtOnceAndPersist)
{
    SettingsWindow window;
    gtk_switch_set_active(window.view.showVersionBadgeSwitch(), FALSE);
    EXPECT_FALSE(window.settings.showVersionBadge().get());
    EXPECT_EQ(window.storedBoolean(AppSettingsStore::showVersionBadgeKey), false);
    gtk_switch_set_active(window.view.confirmLargeEditsSwitch(), FALSE);
    EXPECT_FALSE(window.settings.confirmLargeEdits().get());
    EXPECT_EQ(window.storedBoolean(AppSettingsStore::confirmLargeEditsKey), false);
    gtk_switch_set_active(window.view.confirmLargeEditsSwitch(), TRUE);
    EXPECT_EQ(window.storedBoolean(AppSettingsStore::confirmLargeEditsKey), true);

    // A store made at the next start reads them back.
    AppSettingsStore reread(window.preferences);
    EXPECT_FALSE(reread.showVersionBadge().get());
    EXPECT_TRUE(reread.confirmLargeEdits().get());
}

TEST(SettingsView, SidebarFollowsTheOpacityAndBadgeChoices)
{
    SettingsWindow window;
    ContentView content(window.store, window.settings);
    TestWindow mainWindow(content.widget());
    GtkWidget* sidebar = content.sidebar().widget();
    auto badgeShown = [&] { return contains(mappedLabelTexts(sidebar), AppInfo::displayVersion()); };
    EXPECT_TRUE(badgeShown());

    gtk_switch_set_active(window.view.showVersionBadgeSwitch(), FALSE);
    mainWindow.waitForFrame();
    EXPECT_FALSE(badgeShown());
    gtk_switch_set_active(window.view.showVersionBadgeSwitch(), TRUE);
    mainWindow.waitForFrame();
    EXPECT_TRUE(badgeShown());

    gtk_range_set_value(window.view.sidebarOpacityScale(), 0.5);
    EXPECT_DOUBLE_EQ(content.sidebar().appliedSurfaceOpacity(), 0.5);
}

TEST(SettingsView, ControlsFollowTheStoreAndUnknownAccentShowsSky)
{
    SettingsWindow window;
    window.settings.setAccent(AccentChoice::peach);
    window.settings.setAppearance(AppearancePreference::dark);
    window.settings.setSidebarOpacity(0.7);
    window.settings.setShowVersionBadge(false);
    EXPECT_EQ(adw_combo_row_get_selected(window.view.accentRow()), 3u);
    EXPECT_EQ(adw_combo_row_get_selected(window.view.appearanceRow()), 2u);
    EXPECT_STREQ(gtk_label_get_text(window.view.sidebarOpacityValueLabel()), "70%");
    EXPECT_FALSE(gtk_switch_get_active(window.view.showVersionBadgeSwitch()));

    window.preferences.setString(AppSettingsStore::accentKey, "turquoise");
    AppSettingsStore reread(window.preferences);
    SettingsView rereadView(reread);
    EXPECT_EQ(adw_combo_row_get_selected(rereadView.accentRow()), 0u);
}

TEST(SettingsView, ClosingHidesTheWindowForTheNextOpening)
{
    SettingsWindow window;
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(window.view.window())));
    gtk_window_close(window.view.window());
    drainMainLoop();
    EXPECT_FALSE(gtk_widget_get_visible(GTK_WIDGET(window.view.window())));
    window.view.present(nullptr);
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(window.view.window())));
}

TEST(MainMenu, PreferencesSectionOpensTheSettingsWithControlComma)
{
    GtkApplication* application = GTK_APPLICATION(adw_application_new("app.quillory.MenuTests", G_APPLICATION_NON_UNIQUE));
    ASSERT_TRUE(g_application_register(G_APPLICATION(application), nullptr, nullptr));
    int shown = 0;
    MainMenu::installActions(application, [&] { ++shown; });

    auto menu = MainMenu::make();
    // The find commands come first, then Preferences, then the help section.
    ASSERT_EQ(g_menu_model_get_n_items(G_MENU_MODEL(menu.get())), 3);
    GMenuModel* section = g_menu_model_get_item_link(G_MENU_MODEL(menu.get()), 1, G_MENU_LINK_SECTION);
    ASSERT_NE(section, nullptr);
    char* label = nullptr;
    char* action = nullptr;
    ASSERT_TRUE(g_menu_model_get_item_attribute(section, 0, G_MENU_ATTRIBUTE_LABEL, "s", &label));
    ASSERT_TRUE(g_menu_model_get_item_attribute(section, 0, G_MENU_ATTRIBUTE_ACTION, "s", &action));
    EXPECT_STREQ(label, "Preferences");
    EXPECT_STREQ(action, "app.preferences");
    g_free(label);
    g_free(action);
    g_object_unref(section);

    char** accelerators = gtk_application_get_accels_for_action(application, "app.preferences");
    ASSERT_NE(accelerators[0], nullptr);
    EXPECT_STREQ(accelerators[0], "<Control>comma");
    g_strfreev(accelerators);

    g_action_group_activate_action(G_ACTION_GROUP(application), "preferences", nullptr);
    EXPECT_EQ(shown, 1);
    g_object_unref(application);
}
