#include "QuilloryApp/Workspace/WorkspaceRecentProjectsStore.h"

#include "QuilloryApp/Support/Preferences.h"
#include "QuilloryCore/Text/FilePaths.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace Quillory {

namespace {

// 2001-01-01 00:00:00 UTC, the epoch of the stored dates, in Unix seconds.
constexpr double referenceDateUnixSeconds = 978307200.0;

double secondsSinceReferenceDate(std::chrono::system_clock::time_point date)
{
    return std::chrono::duration<double>(date.time_since_epoch()).count() - referenceDateUnixSeconds;
}

std::chrono::system_clock::time_point dateFromSecondsSinceReferenceDate(double seconds)
{
    auto sinceUnixEpoch = std::chrono::duration<double>(seconds + referenceDateUnixSeconds);
    return std::chrono::system_clock::time_point(std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceUnixEpoch));
}

}

std::optional<std::string> WorkspaceRecentProject::encodeList(const std::vector<WorkspaceRecentProject>& projects)
{
    auto array = nlohmann::ordered_json::array();
    for (const auto& project : projects) {
        nlohmann::ordered_json entry;
        entry["path"] = project.path;
        entry["name"] = project.name;
        entry["lastOpenedAt"] = secondsSinceReferenceDate(project.lastOpenedAt);
        array.push_back(std::move(entry));
    }
    try {
        return array.dump();
    } catch (const nlohmann::json::exception&) {
        // A folder name that isn't valid UTF-8 can't be written as JSON.
        return std::nullopt;
    }
}

std::optional<std::vector<WorkspaceRecentProject>> WorkspaceRecentProject::decodeList(const std::string& json)
{
    auto document = nlohmann::json::parse(json, nullptr, false);
    if (document.is_discarded() || !document.is_array())
        return std::nullopt;
    std::vector<WorkspaceRecentProject> projects;
    for (const auto& entry : document) {
        if (!entry.is_object())
            return std::nullopt;
        auto path = entry.find("path");
        auto name = entry.find("name");
        auto lastOpenedAt = entry.find("lastOpenedAt");
        if (path == entry.end() || !path->is_string() || name == entry.end() || !name->is_string()
            || lastOpenedAt == entry.end() || !lastOpenedAt->is_number())
            return std::nullopt;
        projects.push_back({ path->get<std::string>(), name->get<std::string>(),
                             dateFromSecondsSinceReferenceDate(lastOpenedAt->get<double>()) });
    }
    return projects;
}

WorkspaceRecentProjectsStore::WorkspaceRecentProjectsStore(Preferences& defaults)
    : m_defaults(defaults)
{
    if (auto stored = m_defaults.string(preferencesKey)) {
        if (auto projects = WorkspaceRecentProject::decodeList(*stored))
            m_projects = std::move(*projects);
    }
}

WorkspaceRecentProjectsStore& WorkspaceRecentProjectsStore::shared()
{
    static WorkspaceRecentProjectsStore store(Preferences::standard());
    return store;
}

void WorkspaceRecentProjectsStore::recordOpenedProject(const std::filesystem::path& url)
{
    auto standardized = FilePaths::standardized(url);
    WorkspaceRecentProject project { standardized.string(), standardized.filename().string(), std::chrono::system_clock::now() };
    std::erase_if(m_projects, [&](const auto& existing) { return existing.path == project.path; });
    m_projects.insert(m_projects.begin(), std::move(project));
    if (m_projects.size() > maximumProjectCount)
        m_projects.resize(maximumProjectCount);
    save();
}

void WorkspaceRecentProjectsStore::removeProjects(const std::string& path)
{
    std::erase_if(m_projects, [&](const auto& existing) { return existing.path == path; });
    save();
}

void WorkspaceRecentProjectsStore::save()
{
    // An encoding failure stores nothing and is not reported.
    if (auto json = WorkspaceRecentProject::encodeList(m_projects))
        m_defaults.setString(preferencesKey, *json);
}

}
