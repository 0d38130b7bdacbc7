#include "QuilloryApp/Workspace/SiteFolderWatcher.h"

#include <system_error>

namespace Quillory {

namespace {

bool isRealFolder(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::is_directory(std::filesystem::symlink_status(path, error));
}

std::filesystem::path pathOf(GFile* file)
{
    char* path = file ? g_file_get_path(file) : nullptr;
    std::filesystem::path result = path ? path : "";
    g_free(path);
    return result;
}

}

SiteFolderWatcher::SiteFolderWatcher(const std::filesystem::path& root, Callback callback)
    : m_callback(std::move(callback))
{
    watchFolder(root);
}

SiteFolderWatcher::~SiteFolderWatcher()
{
    for (auto& [folder, monitor] : m_monitors) {
        g_signal_handlers_disconnect_by_data(monitor.get(), this);
        g_file_monitor_cancel(monitor.get());
    }
}

bool SiteFolderWatcher::isSkippedName(const std::string& name)
{
    return name.empty() || name.front() == '.' || name == "node_modules";
}

void SiteFolderWatcher::watchFolder(const std::filesystem::path& folder)
{
    if (m_monitors.contains(folder))
        return;
    auto file = GRef<GFile>::adopt(g_file_new_for_path(folder.c_str()));
    GError* error = nullptr;
    auto monitor = GRef<GFileMonitor>::adopt(g_file_monitor_directory(file.get(), G_FILE_MONITOR_WATCH_MOVES, nullptr, &error));
    if (!monitor) {
        // A folder that can't be watched still works; its changes show at the next open.
        g_clear_error(&error);
        return;
    }
    g_signal_connect_swapped(monitor.get(), "changed",
                             G_CALLBACK(+[](SiteFolderWatcher* self, GFile* changed, GFile* other, GFileMonitorEvent event) {
                                 self->handleEvent(changed, other, event);
                             }),
                             this);
    m_monitors.emplace(folder, std::move(monitor));

    std::error_code walkError;
    for (const auto& entry : std::filesystem::directory_iterator(folder, walkError)) {
        std::error_code typeError;
        // Symbolic links are not followed into folders, as the site scan doesn't follow them.
        if (entry.is_directory(typeError) && !entry.is_symlink(typeError) && !isSkippedName(entry.path().filename().string()))
            watchFolder(entry.path());
    }
}

void SiteFolderWatcher::forgetFolder(const std::filesystem::path& folder)
{
    for (auto monitor = m_monitors.begin(); monitor != m_monitors.end();) {
        auto relative = monitor->first.lexically_relative(folder);
        bool isInside = !relative.empty() && *relative.begin() != "..";
        if (!isInside) {
            ++monitor;
            continue;
        }
        g_signal_handlers_disconnect_by_data(monitor->second.get(), this);
        g_file_monitor_cancel(monitor->second.get());
        monitor = m_monitors.erase(monitor);
    }
}

void SiteFolderWatcher::handleEvent(GFile* file, GFile* otherFile, GFileMonitorEvent event)
{
    auto path = pathOf(file);
    auto otherPath = pathOf(otherFile);
    switch (event) {
    case G_FILE_MONITOR_EVENT_CHANGES_DONE_HINT:
    case G_FILE_MONITOR_EVENT_PRE_UNMOUNT:
    case G_FILE_MONITOR_EVENT_UNMOUNTED:
    case G_FILE_MONITOR_EVENT_MOVED:
        return;
    case G_FILE_MONITOR_EVENT_DELETED:
    case G_FILE_MONITOR_EVENT_MOVED_OUT:
        forgetFolder(path);
        break;
    case G_FILE_MONITOR_EVENT_RENAMED:
        forgetFolder(path);
        if (!otherPath.empty() && isRealFolder(otherPath) && !isSkippedName(otherPath.filename().string()))
            watchFolder(otherPath);
        break;
    case G_FILE_MONITOR_EVENT_CREATED:
    case G_FILE_MONITOR_EVENT_MOVED_IN:
        if (isRealFolder(path) && !isSkippedName(path.filename().string()))
            watchFolder(path);
        break;
    case G_FILE_MONITOR_EVENT_CHANGED:
    case G_FILE_MONITOR_EVENT_ATTRIBUTE_CHANGED:
        break;
    }
    // Temporary files of atomic saves (this program's and other editors') are hidden; only the
    // file they become counts.
    if (!path.empty() && !isSkippedName(path.filename().string()))
        m_callback(path);
    if (!otherPath.empty() && !isSkippedName(otherPath.filename().string()))
        m_callback(otherPath);
}

}
