#pragma once

#include "QuilloryApp/Support/GRef.h"

#include <gio/gio.h>

#include <filesystem>
#include <functional>
#include <map>
#include <string>

namespace Quillory {

// Watches a site folder and every folder below it with one GFileMonitor per folder (GIO's
// directory monitors are not recursive). Folders whose name begins with "." or that are named
// "node_modules" are not watched, as the site scan skips them. Each event reports the path it
// concerns: for a rename, the new path and the old one; a temporary file renamed over a page (an
// atomic save) reports the page. Folders that appear are watched from then on, folders that go
// away are forgotten. Events arrive on the main thread, in bursts; the receiver debounces.
class SiteFolderWatcher {
public:
    using Callback = std::function<void(const std::filesystem::path&)>;

    SiteFolderWatcher(const std::filesystem::path& root, Callback);
    ~SiteFolderWatcher();
    SiteFolderWatcher(const SiteFolderWatcher&) = delete;
    SiteFolderWatcher& operator=(const SiteFolderWatcher&) = delete;

    // The folders watched now.
    std::size_t watchedFolderCount() const { return m_monitors.size(); }

private:
    static bool isSkippedName(const std::string& name);
    void watchFolder(const std::filesystem::path&);
    void forgetFolder(const std::filesystem::path&);
    void handleEvent(GFile* file, GFile* otherFile, GFileMonitorEvent);

    Callback m_callback;
    std::map<std::filesystem::path, GRef<GFileMonitor>> m_monitors;
};

}
