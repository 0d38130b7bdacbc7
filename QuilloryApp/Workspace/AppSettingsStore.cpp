#include "QuilloryApp/Workspace/AppSettingsStore.h"

#include "QuilloryApp/Support/Preferences.h"

#include <algorithm>
#include <string>

namespace Quillory {

std::string_view rawValue(AppearancePreference preference)
{
    switch (preference) {
    case AppearancePreference::system:
        return "system";
    case AppearancePreference::light:
        return "light";
    case AppearancePreference::dark:
        return "dark";
    }
    return "system";
}

std::optional<AppearancePreference> appearancePreference(std::string_view raw)
{
    for (auto preference : allAppearancePreferences) {
        if (rawValue(preference) == raw)
            return preference;
    }
    return std::nullopt;
}

std::string_view rawValue(AccentChoice choice)
{
    switch (choice) {
    case AccentChoice::sky:
        return "sky";
    case AccentChoice::leaf:
        return "leaf";
    case AccentChoice::lavender:
        return "lavender";
    case AccentChoice::peach:
        return "peach";
    case AccentChoice::graphite:
        return "graphite";
    }
    return "sky";
}

std::optional<AccentChoice> accentChoice(std::string_view raw)
{
    for (auto choice : allAccentChoices) {
        if (rawValue(choice) == raw)
            return choice;
    }
    return std::nullopt;
}

AccentColor color(AccentChoice choice)
{
    switch (choice) {
    case AccentChoice::sky:
        return { 0.35, 0.72, 1.0 };
    case AccentChoice::leaf:
        return { 0.40, 0.78, 0.55 };
    case AccentChoice::lavender:
        return { 0.66, 0.55, 0.95 };
    case AccentChoice::peach:
        return { 1.0, 0.65, 0.45 };
    case AccentChoice::graphite:
        return { 0.45, 0.48, 0.55 };
    }
    return { 0.35, 0.72, 1.0 };
}

namespace {

constexpr double defaultSidebarOpacity = 0.85;

}

AppSettingsStore::AppSettingsStore(Preferences& defaults)
    : m_defaults(defaults)
{
    m_defaults.registerDefaults({
        { appearanceKey, std::string(rawValue(AppearancePreference::system)) },
        { sidebarOpacityKey, defaultSidebarOpacity },
        { showVersionBadgeKey, true },
        { accentKey, std::string(rawValue(AccentChoice::sky)) },
        { confirmLargeEditsKey, true },
    });
    m_appearance.set(appearancePreference(m_defaults.string(appearanceKey).value_or("")).value_or(AppearancePreference::system));
    m_sidebarOpacity.set(m_defaults.doubleValue(sidebarOpacityKey).value_or(defaultSidebarOpacity));
    m_showVersionBadge.set(m_defaults.boolean(showVersionBadgeKey).value_or(true));
    m_accent.set(accentChoice(m_defaults.string(accentKey).value_or("")).value_or(AccentChoice::sky));
    m_confirmLargeEdits.set(m_defaults.boolean(confirmLargeEditsKey).value_or(true));
}

AppSettingsStore& AppSettingsStore::shared()
{
    static AppSettingsStore store(Preferences::standard());
    return store;
}

void AppSettingsStore::setAppearance(AppearancePreference preference)
{
    m_defaults.setString(appearanceKey, std::string(rawValue(preference)));
    m_appearance.setIfChanged(preference);
}

void AppSettingsStore::setSidebarOpacity(double opacity)
{
    double clamped = std::clamp(opacity, minimumSidebarOpacity, maximumSidebarOpacity);
    m_defaults.setDouble(sidebarOpacityKey, clamped);
    m_sidebarOpacity.setIfChanged(clamped);
}

void AppSettingsStore::setShowVersionBadge(bool show)
{
    m_defaults.setBoolean(showVersionBadgeKey, show);
    m_showVersionBadge.setIfChanged(show);
}

void AppSettingsStore::setAccent(AccentChoice choice)
{
    m_defaults.setString(accentKey, std::string(rawValue(choice)));
    m_accent.setIfChanged(choice);
}

void AppSettingsStore::setConfirmLargeEdits(bool confirm)
{
    m_defaults.setBoolean(confirmLargeEditsKey, confirm);
    m_confirmLargeEdits.setIfChanged(confirm);
}

}
