#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <adwaita.h>

#include <string>

namespace Quillory {

class AppSettingsStore;

// The settings window: the pages "Appearance" (appearance, accent, sidebar opacity), "General"
// (the version badge, the large-edit confirmation) and "About". Every choice goes to the settings
// store at once, which applies and keeps it; the controls also follow the store when it changes
// elsewhere. One window per application, hidden rather than destroyed when closed.
class SettingsView {
public:
    static constexpr double sidebarOpacityStep = 0.05;

    explicit SettingsView(AppSettingsStore&);
    ~SettingsView();
    SettingsView(const SettingsView&) = delete;
    SettingsView& operator=(const SettingsView&) = delete;

    GtkWindow* window() const { return GTK_WINDOW(m_window.get()); }
    // Shows the window above `parent` (which may be null) and brings it to the front.
    void present(GtkWindow* parent);

    AdwPreferencesPage* appearancePage() const { return m_appearancePage; }
    AdwPreferencesPage* generalPage() const { return m_generalPage; }
    AdwPreferencesPage* aboutPage() const { return m_aboutPage; }
    AdwComboRow* appearanceRow() const { return m_appearanceRow; }
    AdwComboRow* accentRow() const { return m_accentRow; }
    GtkRange* sidebarOpacityScale() const { return m_sidebarOpacityScale; }
    GtkLabel* sidebarOpacityValueLabel() const { return m_sidebarOpacityValueLabel; }
    GtkSwitch* showVersionBadgeSwitch() const { return m_showVersionBadgeSwitch; }
    GtkSwitch* confirmLargeEditsSwitch() const { return m_confirmLargeEditsSwitch; }

    // "85%": the opacity as a whole percentage.
    static std::string percentageText(double opacity);

private:
    AdwPreferencesPage* makeAppearancePage();
    AdwPreferencesPage* makeGeneralPage();
    AdwPreferencesPage* makeAboutPage();
    // Sets every control from the store; their own signals are ignored meanwhile.
    void showSettings();

    void appearanceWasChosen();
    void accentWasChosen();
    void sidebarOpacityWasMoved();
    void showVersionBadgeWasToggled();
    void confirmLargeEditsWasToggled();

    AppSettingsStore& m_settings;
    GRef<GtkWidget> m_window;
    AdwPreferencesPage* m_appearancePage { nullptr };
    AdwPreferencesPage* m_generalPage { nullptr };
    AdwPreferencesPage* m_aboutPage { nullptr };
    AdwComboRow* m_appearanceRow { nullptr };
    AdwComboRow* m_accentRow { nullptr };
    GtkRange* m_sidebarOpacityScale { nullptr };
    GtkLabel* m_sidebarOpacityValueLabel { nullptr };
    GtkSwitch* m_showVersionBadgeSwitch { nullptr };
    GtkSwitch* m_confirmLargeEditsSwitch { nullptr };
    bool m_isShowingSettings { false };
    ViewConnections m_connections;
};

}
