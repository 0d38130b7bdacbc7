#include "QuilloryApp/Settings/SettingsView.h"

#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Workspace/AppInfo.h"
#include "QuilloryApp/Workspace/AppSettingsStore.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Quillory {

namespace {

constexpr const char* appearanceTitles[] = { "System", "Light", "Dark", nullptr };
constexpr const char* accentTitles[] = { "Sky", "Leaf", "Lavender", "Peach", "Graphite", nullptr };

AdwPreferencesPage* makePage(const char* title, const char* systemImageName)
{
    auto* page = ADW_PREFERENCES_PAGE(adw_preferences_page_new());
    adw_preferences_page_set_title(page, title);
    adw_preferences_page_set_icon_name(page, IconNames::symbolic(systemImageName));
    return page;
}

AdwComboRow* makeComboRow(const char* title, const char* const* choices)
{
    auto* row = ADW_COMBO_ROW(adw_combo_row_new());
    adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), title);
    GtkStringList* model = gtk_string_list_new(choices);
    adw_combo_row_set_model(row, G_LIST_MODEL(model));
    g_object_unref(model);
    return row;
}

GtkSwitch* addSwitchRow(AdwPreferencesGroup* group, const char* title, const char* subtitle)
{
    GtkWidget* row = adw_action_row_new();
    adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), title);
    if (subtitle)
        adw_action_row_set_subtitle(ADW_ACTION_ROW(row), subtitle);
    GtkWidget* toggle = gtk_switch_new();
    gtk_widget_set_valign(toggle, GTK_ALIGN_CENTER);
    adw_action_row_add_suffix(ADW_ACTION_ROW(row), toggle);
    // A click anywhere on the row flips the switch.
    adw_action_row_set_activatable_widget(ADW_ACTION_ROW(row), toggle);
    adw_preferences_group_add(group, row);
    return GTK_SWITCH(toggle);
}

}

SettingsView::SettingsView(AppSettingsStore& settings)
    : m_settings(settings)
    , m_window(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(adw_preferences_window_new()))))
{
    GtkWindow* window = this->window();
    gtk_window_set_title(window, "Settings");
    gtk_window_set_default_size(window, 560, 520);
    gtk_window_set_hide_on_close(window, TRUE);
    adw_preferences_window_set_search_enabled(ADW_PREFERENCES_WINDOW(window), FALSE);
    m_appearancePage = makeAppearancePage();
    m_generalPage = makeGeneralPage();
    m_aboutPage = makeAboutPage();
    adw_preferences_window_add(ADW_PREFERENCES_WINDOW(window), m_appearancePage);
    adw_preferences_window_add(ADW_PREFERENCES_WINDOW(window), m_generalPage);
    adw_preferences_window_add(ADW_PREFERENCES_WINDOW(window), m_aboutPage);

    showSettings();
    m_connections.observe(settings.appearance(), [this] { showSettings(); });
    m_connections.observe(settings.accent(), [this] { showSettings(); });
    m_connections.observe(settings.sidebarOpacity(), [this] { showSettings(); });
    m_connections.observe(settings.showVersionBadge(), [this] { showSettings(); });
    m_connections.observe(settings.confirmLargeEdits(), [this] { showSettings(); });
    m_connections.connectSwapped(m_appearanceRow, "notify::selected", G_CALLBACK(+[](SettingsView* self) { self->appearanceWasChosen(); }), this);
    m_connections.connectSwapped(m_accentRow, "notify::selected", G_CALLBACK(+[](SettingsView* self) { self->accentWasChosen(); }), this);
    m_connections.connectSwapped(m_sidebarOpacityScale, "value-changed", G_CALLBACK(+[](SettingsView* self) { self->sidebarOpacityWasMoved(); }), this);
    m_connections.connectSwapped(m_showVersionBadgeSwitch, "notify::active", G_CALLBACK(+[](SettingsView* self) { self->showVersionBadgeWasToggled(); }), this);
    m_connections.connectSwapped(m_confirmLargeEditsSwitch, "notify::active", G_CALLBACK(+[](SettingsView* self) { self->confirmLargeEditsWasToggled(); }), this);
}

SettingsView::~SettingsView()
{
    m_connections.disconnectAll();
    gtk_window_destroy(window());
}

void SettingsView::present(GtkWindow* parent)
{
    gtk_window_set_transient_for(window(), parent);
    gtk_window_present(window());
}

std::string SettingsView::percentageText(double opacity)
{
    char text[16];
    std::snprintf(text, sizeof text, "%.0f%%", opacity * 100.0);
    return text;
}

AdwPreferencesPage* SettingsView::makeAppearancePage()
{
    AdwPreferencesPage* page = makePage("Appearance", "paintbrush");
    auto* group = ADW_PREFERENCES_GROUP(adw_preferences_group_new());

    m_appearanceRow = makeComboRow("Appearance", appearanceTitles);
    adw_preferences_group_add(group, GTK_WIDGET(m_appearanceRow));
    m_accentRow = makeComboRow("Accent", accentTitles);
    adw_preferences_group_add(group, GTK_WIDGET(m_accentRow));

    GtkWidget* opacityRow = adw_action_row_new();
    adw_preferences_row_set_title(ADW_PREFERENCES_ROW(opacityRow), "Sidebar Opacity");
    adw_action_row_set_subtitle(ADW_ACTION_ROW(opacityRow), "Controls the opacity of the Liquid Glass sidebar surface.");
    GtkWidget* scale = gtk_scale_new_with_range(GTK_ORIENTATION_HORIZONTAL, AppSettingsStore::minimumSidebarOpacity,
        AppSettingsStore::maximumSidebarOpacity, sidebarOpacityStep);
    m_sidebarOpacityScale = GTK_RANGE(scale);
    gtk_scale_set_draw_value(GTK_SCALE(scale), FALSE);
    gtk_range_set_round_digits(m_sidebarOpacityScale, 2);
    gtk_widget_set_size_request(scale, 180, -1);
    gtk_widget_set_valign(scale, GTK_ALIGN_CENTER);
    gtk_accessible_update_property(GTK_ACCESSIBLE(scale), GTK_ACCESSIBLE_PROPERTY_LABEL, "Sidebar Opacity", -1);
    m_sidebarOpacityValueLabel = GTK_LABEL(gtk_label_new(nullptr));
    gtk_label_set_width_chars(m_sidebarOpacityValueLabel, 4);
    gtk_label_set_xalign(m_sidebarOpacityValueLabel, 1.0f);
    gtk_widget_add_css_class(GTK_WIDGET(m_sidebarOpacityValueLabel), "numeric");
    adw_action_row_add_suffix(ADW_ACTION_ROW(opacityRow), scale);
    adw_action_row_add_suffix(ADW_ACTION_ROW(opacityRow), GTK_WIDGET(m_sidebarOpacityValueLabel));
    adw_preferences_group_add(group, opacityRow);

    adw_preferences_page_add(page, group);
    return page;
}

AdwPreferencesPage* SettingsView::makeGeneralPage()
{
    AdwPreferencesPage* page = makePage("General", "gearshape");
    auto* group = ADW_PREFERENCES_GROUP(adw_preferences_group_new());
    m_showVersionBadgeSwitch = addSwitchRow(group, "Show version badge in sidebar", nullptr);
    m_confirmLargeEditsSwitch = addSwitchRow(group, "Confirm large editor changes",
        "Warn before replacing or deleting more than half of a page with over 20 lines.");
    adw_preferences_page_add(page, group);
    return page;
}

AdwPreferencesPage* SettingsView::makeAboutPage()
{
    AdwPreferencesPage* page = makePage("About", "info.circle");
    auto* group = ADW_PREFERENCES_GROUP(adw_preferences_group_new());
    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    gtk_widget_set_halign(column, GTK_ALIGN_CENTER);
    gtk_widget_set_margin_top(column, 24);
    GtkWidget* icon = gtk_image_new_from_icon_name(IconNames::symbolic("leaf"));
    gtk_image_set_pixel_size(GTK_IMAGE(icon), 64);
    gtk_widget_add_css_class(icon, "accent");
    GtkWidget* name = gtk_label_new("Quillory");
    gtk_widget_add_css_class(name, "title-1");
    GtkWidget* tagline = gtk_label_new("Local-first website editor");
    gtk_widget_add_css_class(tagline, "dim-label");
    GtkWidget* version = gtk_label_new(AppInfo::displayVersion().c_str());
    gtk_widget_add_css_class(version, "caption");
    gtk_label_set_selectable(GTK_LABEL(version), TRUE);
    gtk_box_append(GTK_BOX(column), icon);
    gtk_box_append(GTK_BOX(column), name);
    gtk_box_append(GTK_BOX(column), tagline);
    gtk_box_append(GTK_BOX(column), version);
    adw_preferences_group_add(group, column);
    adw_preferences_page_add(page, group);
    return page;
}

void SettingsView::showSettings()
{
    m_isShowingSettings = true;
    auto appearance = std::find(allAppearancePreferences.begin(), allAppearancePreferences.end(), m_settings.appearance().get());
    adw_combo_row_set_selected(m_appearanceRow, static_cast<guint>(appearance - allAppearancePreferences.begin()));
    auto accent = std::find(allAccentChoices.begin(), allAccentChoices.end(), m_settings.accent().get());
    adw_combo_row_set_selected(m_accentRow, static_cast<guint>(accent - allAccentChoices.begin()));
    double opacity = m_settings.sidebarOpacity().get();
    gtk_range_set_value(m_sidebarOpacityScale, opacity);
    gtk_label_set_text(m_sidebarOpacityValueLabel, percentageText(opacity).c_str());
    gtk_switch_set_active(m_showVersionBadgeSwitch, m_settings.showVersionBadge().get());
    gtk_switch_set_active(m_confirmLargeEditsSwitch, m_settings.confirmLargeEdits().get());
    m_isShowingSettings = false;
}

void SettingsView::appearanceWasChosen()
{
    guint selected = adw_combo_row_get_selected(m_appearanceRow);
    if (m_isShowingSettings || selected >= allAppearancePreferences.size())
        return;
    m_settings.setAppearance(allAppearancePreferences[selected]);
}

void SettingsView::accentWasChosen()
{
    guint selected = adw_combo_row_get_selected(m_accentRow);
    if (m_isShowingSettings || selected >= allAccentChoices.size())
        return;
    m_settings.setAccent(allAccentChoices[selected]);
}

void SettingsView::sidebarOpacityWasMoved()
{
    if (m_isShowingSettings)
        return;
    // The slider moves in steps of 0.05, whatever the pointer's position between them.
    double stepped = std::round(gtk_range_get_value(m_sidebarOpacityScale) / sidebarOpacityStep) / (1.0 / sidebarOpacityStep);
    m_settings.setSidebarOpacity(stepped);
    // The store notifies only on a change; the slider and the label show the stepped value either way.
    showSettings();
}

void SettingsView::showVersionBadgeWasToggled()
{
    if (!m_isShowingSettings)
        m_settings.setShowVersionBadge(gtk_switch_get_active(m_showVersionBadgeSwitch));
}

void SettingsView::confirmLargeEditsWasToggled()
{
    if (!m_isShowingSettings)
        m_settings.setConfirmLargeEdits(gtk_switch_get_active(m_confirmLargeEditsSwitch));
}

}
