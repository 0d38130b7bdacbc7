#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Quillory {

class Preferences;

// A site folder the user opened, identified by its path.
struct WorkspaceRecentProject {
    // The standardized folder path, not percent-encoded.
    std::string path;
    // The folder's last path component.
    std::string name;
    std::chrono::system_clock::time_point lastOpenedAt;

    const std::string& id() const { return path; }

    // The JSON form {"path", "name", "lastOpenedAt"}; the date is seconds since
    // 2001-01-01 00:00:00 UTC as a number. Nothing when a text is not valid UTF-8.
    static std::optional<std::string> encodeList(const std::vector<WorkspaceRecentProject>&);
    // Nothing when the text is not a JSON array of entries with all three keys of the right types.
    static std::optional<std::vector<WorkspaceRecentProject>> decodeList(const std::string& json);

    friend bool operator==(const WorkspaceRecentProject&, const WorkspaceRecentProject&) = default;
};

// The recently opened sites, newest first, at most eight, kept in the preferences under
// "workspace.recentProjects". Main thread only; reports nothing to the user.
class WorkspaceRecentProjectsStore {
public:
    static constexpr std::size_t maximumProjectCount = 8;
    static constexpr const char* preferencesKey = "workspace.recentProjects";

    // Loads the list; absent or damaged data gives an empty list.
    explicit WorkspaceRecentProjectsStore(Preferences& defaults);
    // The instance over the standard preferences.
    static WorkspaceRecentProjectsStore& shared();

    const std::vector<WorkspaceRecentProject>& projects() const { return m_projects; }

    // Puts the standardized folder at the front with the present date, drops other entries with
    // its path, keeps the newest eight, and saves.
    void recordOpenedProject(const std::filesystem::path& url);
    // Removes every entry with this path and saves.
    void removeProjects(const std::string& path);

private:
    void save();

    Preferences& m_defaults;
    std::vector<WorkspaceRecentProject> m_projects;
};

}
