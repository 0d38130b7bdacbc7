#pragma once

#include "QuilloryApp/Workspace/AppSettingsStore.h"
#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <adwaita.h>

#include <string>

namespace Quillory {

// Applies the appearance and accent settings to every window of the display, and installs the
// application's stylesheet and bundled icons. Follows the settings as they change and takes its
// accent rules away again when destroyed. Main thread only; one per application.
class QuilloryTheme {
public:
    explicit QuilloryTheme(AppSettingsStore& settings);
    ~QuilloryTheme();
    QuilloryTheme(const QuilloryTheme&) = delete;
    QuilloryTheme& operator=(const QuilloryTheme&) = delete;

    static AdwColorScheme colorScheme(AppearancePreference);
    // The CSS that makes libadwaita's accent colours this accent. Text in the accent colour is
    // darkened on light backgrounds so it stays readable; the foreground on accent backgrounds is
    // dark or white by the accent's luminance.
    static std::string accentCSS(AccentChoice, bool isDark);

    // The accent rules now in force, for tests.
    std::string appliedAccentCSS() const;

private:
    void applyAppearance();
    void applyAccent();

    AppSettingsStore& m_settings;
    GRef<GtkCssProvider> m_accentProvider;
    std::string m_accentCSS;
    ViewConnections m_connections;
};

}
