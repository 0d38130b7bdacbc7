#pragma once

#include "QuilloryApp/Support/ObservableProperty.h"

#include <array>
#include <optional>
#include <string_view>

namespace Quillory {

class Preferences;

enum class AppearancePreference {
    system,
    light,
    dark,
};
inline constexpr std::array allAppearancePreferences { AppearancePreference::system, AppearancePreference::light,
                                                       AppearancePreference::dark };
std::string_view rawValue(AppearancePreference);
std::optional<AppearancePreference> appearancePreference(std::string_view rawValue);

enum class AccentChoice {
    sky,
    leaf,
    lavender,
    peach,
    graphite,
};
inline constexpr std::array allAccentChoices { AccentChoice::sky, AccentChoice::leaf, AccentChoice::lavender,
                                               AccentChoice::peach, AccentChoice::graphite };
std::string_view rawValue(AccentChoice);
std::optional<AccentChoice> accentChoice(std::string_view rawValue);

// An sRGB colour with components from 0 to 1, fully opaque.
struct AccentColor {
    double red;
    double green;
    double blue;
    friend bool operator==(const AccentColor&, const AccentColor&) = default;
};
AccentColor color(AccentChoice);

// The user's appearance and safety settings. Each setter stores its value in the preferences every
// time, and notifies observers only when the value changed. Main thread only.
class AppSettingsStore {
public:
    static constexpr const char* appearanceKey = "settings.appearance";
    static constexpr const char* sidebarOpacityKey = "settings.sidebarOpacity";
    static constexpr const char* showVersionBadgeKey = "settings.showVersionBadge";
    static constexpr const char* accentKey = "settings.accent";
    static constexpr const char* confirmLargeEditsKey = "settings.confirmLargeEdits";
    static constexpr double minimumSidebarOpacity = 0.4;
    static constexpr double maximumSidebarOpacity = 1.0;

    // Registers the five defaults with `defaults` and reads every value; a stored name that is no
    // case reads as the default case.
    explicit AppSettingsStore(Preferences& defaults);
    // The instance over the standard preferences.
    static AppSettingsStore& shared();

    const ObservableProperty<AppearancePreference>& appearance() const { return m_appearance; }
    const ObservableProperty<double>& sidebarOpacity() const { return m_sidebarOpacity; }
    const ObservableProperty<bool>& showVersionBadge() const { return m_showVersionBadge; }
    const ObservableProperty<AccentChoice>& accent() const { return m_accent; }
    const ObservableProperty<bool>& confirmLargeEdits() const { return m_confirmLargeEdits; }

    void setAppearance(AppearancePreference);
    // Clamped to 0.4 ... 1.0; the clamped value is the one held and stored.
    void setSidebarOpacity(double);
    void setShowVersionBadge(bool);
    void setAccent(AccentChoice);
    void setConfirmLargeEdits(bool);

private:
    Preferences& m_defaults;
    ObservableProperty<AppearancePreference> m_appearance;
    ObservableProperty<double> m_sidebarOpacity;
    ObservableProperty<bool> m_showVersionBadge;
    ObservableProperty<AccentChoice> m_accent;
    ObservableProperty<bool> m_confirmLargeEdits;
};

}
