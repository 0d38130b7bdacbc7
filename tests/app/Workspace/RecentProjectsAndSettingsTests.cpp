#include "QuilloryApp/Workspace/AppInfo.h"
#include "QuilloryApp/Workspace/AppSettingsStore.h"
#include "QuilloryApp/Support/Preferences.h"
#include "QuilloryApp/Workspace/WorkspaceRecentProjectsStore.h"
#include "app/support/WorkspaceHarness.h"
#include "support/TemporaryDirectory.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdlib>
#include <filesystem>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

struct PreferencesFile {
    TemporaryDirectory folder;
    std::filesystem::path file { folder.path() / "quillory" / "settings.ini" };

    // The stored text of one key, read straight from the file.
    std::optional<std::string> storedValue(const char* key) const
    {
        GKeyFile* keyFile = g_key_file_new();
        std::optional<std::string> result;
        if (g_key_file_load_from_file(keyFile, file.c_str(), G_KEY_FILE_NONE, nullptr)) {
            if (char* value = g_key_file_get_value(keyFile, "Quillory", key, nullptr)) {
                result = value;
                g_free(value);
            }
        }
        g_key_file_unref(keyFile);
        return result;
    }
};

std::filesystem::path makeSiteFolder(const TemporaryDirectory& parent, const std::string& name)
{
    auto folder = parent.path() / name;
    std::filesystem::create_directories(folder);
    return folder;
}

}

TEST(RecentProjects, OpeningNineSitesInARowLeavesTheEightNewest)
{
    PreferencesFile preferencesFile;
    Preferences preferences(preferencesFile.file);
    WorkspaceRecentProjectsStore store(preferences);
    TemporaryDirectory sites;
    for (int index = 1; index <= 9; ++index)
        store.recordOpenedProject(makeSiteFolder(sites, "site" + std::to_string(index)));

    ASSERT_EQ(store.projects().size(), 8u);
    EXPECT_EQ(store.projects().front().name, "site9");
    EXPECT_EQ(store.projects().back().name, "site2");
    for (const auto& project : store.projects())
        EXPECT_NE(project.name, "site1");

    Preferences reread(preferencesFile.file);
    WorkspaceRecentProjectsStore rereadStore(reread);
    EXPECT_EQ(rereadStore.projects().size(), 8u);
    EXPECT_EQ(rereadStore.projects().front().path, (sites.path() / "site9").string());
}

TEST(RecentProjects, OpeningListedSiteMovesItToFrontWithNewDateWithoutDuplicate)
{
    PreferencesFile preferencesFile;
    TemporaryDirectory sites;
    auto first = makeSiteFolder(sites, "First");
    auto second = makeSiteFolder(sites, "Second");
    // An entry opened long ago, as an earlier run stored it.
    {
        Preferences preferences(preferencesFile.file);
        WorkspaceRecentProject old { first.string(), "First", std::chrono::system_clock::time_point(std::chrono::seconds(1000000000)) };
        preferences.setString("workspace.recentProjects", *WorkspaceRecentProject::encodeList({ old }));
    }
    Preferences preferences(preferencesFile.file);
    WorkspaceRecentProjectsStore store(preferences);
    ASSERT_EQ(store.projects().size(), 1u);
    auto oldDate = store.projects().front().lastOpenedAt;
    store.recordOpenedProject(second);
    auto beforeReopen = std::chrono::system_clock::now();

    store.recordOpenedProject(first);

    ASSERT_EQ(store.projects().size(), 2u);
    EXPECT_EQ(store.projects()[0].path, first.string());
    EXPECT_EQ(store.projects()[0].name, "First");
    EXPECT_EQ(store.projects()[1].path, second.string());
    EXPECT_GT(store.projects()[0].lastOpenedAt, oldDate);
    EXPECT_GE(store.projects()[0].lastOpenedAt, beforeReopen - std::chrono::milliseconds(1));
}

TEST(RecentProjects, URLsDifferingOnlyByTrailingSlashOrDotComponentAreOneSite)
{
    PreferencesFile preferencesFile;
    Preferences preferences(preferencesFile.file);
    WorkspaceRecentProjectsStore store(preferences);
    TemporaryDirectory sites;
    auto site = makeSiteFolder(sites, "Site");

    store.recordOpenedProject(site);
    store.recordOpenedProject(site.string() + "/");
    store.recordOpenedProject(sites.path() / "." / "Site" / ".");
    store.recordOpenedProject(sites.path() / "Site" / "sub" / "..");

    ASSERT_EQ(store.projects().size(), 1u);
    EXPECT_EQ(store.projects().front().path, site.string());
    EXPECT_EQ(store.projects().front().name, "Site");
}

TEST(RecentProjects, DamagedStoredJSONGivesEmptyListAndNextOpenOverwritesIt)
{
    PreferencesFile preferencesFile;
    TemporaryDirectory sites;
    auto site = makeSiteFolder(sites, "Site");
    for (const char* damaged : { "[{\"path\": \"/x\", \"name\": \"x\"", "{\"path\": \"/x\"}", "[{\"path\": \"/x\", \"name\": 3, \"lastOpenedAt\": 1}]",
                                 "[{\"path\": \"/x\", \"name\": \"x\", \"lastOpenedAt\": \"yesterday\"}]", "not json" }) {
        {
            Preferences preferences(preferencesFile.file);
            preferences.setString("workspace.recentProjects", damaged);
        }
        Preferences preferences(preferencesFile.file);
        WorkspaceRecentProjectsStore store(preferences);
        EXPECT_TRUE(store.projects().empty()) << damaged;

        store.recordOpenedProject(site);

        auto stored = nlohmann::json::parse(*preferencesFile.storedValue("workspace.recentProjects"));
        ASSERT_TRUE(stored.is_array()) << damaged;
        ASSERT_EQ(stored.size(), 1u);
        EXPECT_EQ(stored[0]["path"], site.string());
    }
}

TEST(RecentProjects, StoredEntryHasPathNameAndSecondsSince2001)
{
    PreferencesFile preferencesFile;
    Preferences preferences(preferencesFile.file);
    WorkspaceRecentProjectsStore store(preferences);
    TemporaryDirectory sites;
    auto site = makeSiteFolder(sites, "My Site");

    store.recordOpenedProject(site);

    auto stored = nlohmann::json::parse(*preferencesFile.storedValue("workspace.recentProjects"));
    ASSERT_EQ(stored.size(), 1u);
    EXPECT_EQ(stored[0]["path"], site.string());
    EXPECT_EQ(stored[0]["name"], "My Site");
    ASSERT_TRUE(stored[0]["lastOpenedAt"].is_number());
    double expected = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count() - 978307200.0;
    EXPECT_NEAR(stored[0]["lastOpenedAt"].get<double>(), expected, 5.0);

    // 2001-01-01 00:00:00 UTC itself reads back as 0.
    WorkspaceRecentProject atReference { "/r", "r", std::chrono::system_clock::time_point(std::chrono::seconds(978307200)) };
    EXPECT_EQ(*WorkspaceRecentProject::encodeList({ atReference }), R"([{"path":"/r","name":"r","lastOpenedAt":0.0}])");
    EXPECT_EQ(WorkspaceRecentProject::decodeList(R"([{"path":"/r","name":"r","lastOpenedAt":0}])"), std::vector { atReference });
}

TEST(RecentProjectsAndSettings, DefaultsWhenNothingIsStored)
{
    PreferencesFile preferencesFile;
    Preferences preferences(preferencesFile.file);
    AppSettingsStore settings(preferences);

    EXPECT_EQ(settings.appearance().get(), AppearancePreference::system);
    EXPECT_DOUBLE_EQ(settings.sidebarOpacity().get(), 0.85);
    EXPECT_TRUE(settings.showVersionBadge().get());
    EXPECT_EQ(settings.accent().get(), AccentChoice::sky);
    EXPECT_TRUE(settings.confirmLargeEdits().get());
    // Registered defaults are not written.
    EXPECT_FALSE(std::filesystem::exists(preferencesFile.file));
}

TEST(RecentProjectsAndSettings, EachSettingIsStoredUnderItsKeyAndReadBack)
{
    PreferencesFile preferencesFile;
    {
        Preferences preferences(preferencesFile.file);
        AppSettingsStore settings(preferences);
        settings.setAppearance(AppearancePreference::dark);
        settings.setSidebarOpacity(0.6);
        settings.setShowVersionBadge(false);
        settings.setAccent(AccentChoice::lavender);
        settings.setConfirmLargeEdits(false);
    }
    EXPECT_EQ(preferencesFile.storedValue("settings.appearance"), "dark");
    EXPECT_DOUBLE_EQ(g_ascii_strtod(preferencesFile.storedValue("settings.sidebarOpacity").value_or("").c_str(), nullptr), 0.6);
    EXPECT_EQ(preferencesFile.storedValue("settings.showVersionBadge"), "false");
    EXPECT_EQ(preferencesFile.storedValue("settings.accent"), "lavender");
    EXPECT_EQ(preferencesFile.storedValue("settings.confirmLargeEdits"), "false");

    Preferences preferences(preferencesFile.file);
    AppSettingsStore settings(preferences);
    EXPECT_EQ(settings.appearance().get(), AppearancePreference::dark);
    EXPECT_DOUBLE_EQ(settings.sidebarOpacity().get(), 0.6);
    EXPECT_FALSE(settings.showVersionBadge().get());
    EXPECT_EQ(settings.accent().get(), AccentChoice::lavender);
    EXPECT_FALSE(settings.confirmLargeEdits().get());
}

TEST(RecentProjectsAndSettings, SettingTheSameValueStoresItButDoesNotNotify)
{
    PreferencesFile preferencesFile;
    Preferences preferences(preferencesFile.file);
    AppSettingsStore settings(preferences);
    int notifications = 0;
    ScopedConnection connection { settings.accent().changed.connect([&] { ++notifications; }) };

    settings.setAccent(AccentChoice::sky);
    EXPECT_EQ(notifications, 0);
    EXPECT_EQ(preferencesFile.storedValue("settings.accent"), "sky");

    settings.setAccent(AccentChoice::peach);
    EXPECT_EQ(notifications, 1);
}

TEST(RecentProjectsAndSettings, SidebarOpacityIsClampedToPointFourThroughOne)
{
    PreferencesFile preferencesFile;
    Preferences preferences(preferencesFile.file);
    AppSettingsStore settings(preferences);

    settings.setSidebarOpacity(0.1);
    EXPECT_DOUBLE_EQ(settings.sidebarOpacity().get(), 0.4);
    EXPECT_DOUBLE_EQ(*Preferences(preferencesFile.file).doubleValue("settings.sidebarOpacity"), 0.4);

    settings.setSidebarOpacity(1.5);
    EXPECT_DOUBLE_EQ(settings.sidebarOpacity().get(), 1.0);
    EXPECT_DOUBLE_EQ(*Preferences(preferencesFile.file).doubleValue("settings.sidebarOpacity"), 1.0);
}

TEST(RecentProjectsAndSettings, UnknownStoredAccentReadsAsSky)
{
    PreferencesFile preferencesFile;
    {
        Preferences preferences(preferencesFile.file);
        preferences.setString("settings.accent", "magenta");
        preferences.setString("settings.appearance", "sepia");
    }
    Preferences preferences(preferencesFile.file);
    AppSettingsStore settings(preferences);

    EXPECT_EQ(settings.accent().get(), AccentChoice::sky);
    EXPECT_EQ(settings.appearance().get(), AppearancePreference::system);
}

TEST(RecentProjectsAndSettings, AccentColorsAndRawValues)
{
    EXPECT_EQ(color(AccentChoice::sky), (AccentColor { 0.35, 0.72, 1.0 }));
    EXPECT_EQ(color(AccentChoice::leaf), (AccentColor { 0.40, 0.78, 0.55 }));
    EXPECT_EQ(color(AccentChoice::lavender), (AccentColor { 0.66, 0.55, 0.95 }));
    EXPECT_EQ(color(AccentChoice::peach), (AccentColor { 1.0, 0.65, 0.45 }));
    EXPECT_EQ(color(AccentChoice::graphite), (AccentColor { 0.45, 0.48, 0.55 }));
    std::vector<std::string_view> names;
    for (auto choice : allAccentChoices)
        names.push_back(rawValue(choice));
    EXPECT_EQ(names, (std::vector<std::string_view> { "sky", "leaf", "lavender", "peach", "graphite" }));
    EXPECT_EQ(accentChoice("graphite"), AccentChoice::graphite);
    EXPECT_EQ(appearancePreference("light"), AppearancePreference::light);
    EXPECT_EQ(appearancePreference("Light"), std::nullopt);
}

TEST(RecentProjectsAndSettings, EqualBuildAndShortVersionShowNoParentheses)
{
    EXPECT_EQ(AppInfo::displayVersion("1.2.0", std::string("1.2.0")), "v1.2.0");
    EXPECT_EQ(AppInfo::displayVersion("1.2.0", std::string("42")), "v1.2.0 (42)");
    EXPECT_EQ(AppInfo::displayVersion("1.2.0", std::string("")), "v1.2.0");
    EXPECT_EQ(AppInfo::displayVersion("1.2.0", std::nullopt), "v1.2.0");
}

TEST(RecentProjectsAndSettings, VersionComesFromBuildWithDevFallback)
{
    EXPECT_EQ(AppInfo::shortVersion(""), "0.7.0-dev");
    EXPECT_EQ(AppInfo::shortVersion("0.7.0"), "0.7.0");
    EXPECT_EQ(AppInfo::buildNumber(""), std::nullopt);
    EXPECT_EQ(AppInfo::buildNumber("7"), "7");
    EXPECT_EQ(AppInfo::shortVersion(), QUILLORY_VERSION);
    EXPECT_EQ(AppInfo::displayVersion(), AppInfo::displayVersion(AppInfo::shortVersion(), AppInfo::buildNumber()));
}

TEST(RecentProjectsAndSettings, StandardLocationFollowsXDGConfigHome)
{
    // GLib reads XDG_CONFIG_HOME once per process; the standard location must sit below that folder.
    EXPECT_EQ(Preferences::standardLocation(), std::filesystem::path(g_get_user_config_dir()) / "quillory" / "settings.ini");
    const char* configHome = std::getenv("XDG_CONFIG_HOME");
    if (configHome && *configHome)
        EXPECT_EQ(Preferences::standardLocation().parent_path().parent_path(), std::filesystem::path(configHome));
    else
        EXPECT_EQ(Preferences::standardLocation().parent_path().parent_path(), std::filesystem::path(g_get_home_dir()) / ".config");
}
