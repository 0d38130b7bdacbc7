// A long session in the real window: a generated site of 500 pages, 500 page switches with an
// edit on each (over a hundred of the pages), and the resident memory of this process and the number of web content processes
// after 0, 100 and 500 switches. What should hold: both flat after the warm-up, and one content
// process for the preview.

#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Shell/QuilloryTheme.h"
#include "QuilloryApp/Support/GLibScheduler.h"
#include "QuilloryApp/Support/Preferences.h"
#include "QuilloryApp/Workspace/AppSettingsStore.h"
#include "QuilloryApp/Workspace/WorkspaceRecentProjectsStore.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include <benchmark/benchmark.h>
#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace Quillory;

namespace {

constexpr int pageCount = 500;
constexpr int switchCount = 500;
constexpr int revisitedPageCount = 100;

void writeFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string pageName(int page)
{
    return page == 0 ? "index.html" : "section-" + std::to_string(page % 20) + "/page-" + std::to_string(page) + ".html";
}

// 500 pages in 20 folders, each linking to its neighbours and holding a screenful of text.
struct GeneratedSite {
    std::filesystem::path root;

    GeneratedSite()
    {
        char* folder = g_dir_make_tmp("quillory-soak-XXXXXX", nullptr);
        root = folder;
        g_free(folder);
        for (int page = 0; page < pageCount; ++page) {
            std::string html = "<!doctype html>\n<html><head><meta charset=\"utf-8\"><title>Page " + std::to_string(page) + "</title></head>\n<body>\n<h1>Page "
                + std::to_string(page) + "</h1>\n<nav>";
            for (int link = 1; link <= 3; ++link)
                html += "<a href=\"/" + pageName((page + link) % pageCount) + "\">Next " + std::to_string(link) + "</a> ";
            html += "</nav>\n";
            for (int paragraph = 0; paragraph < 40; ++paragraph)
                html += "<p>Paragraph " + std::to_string(paragraph) + " of page " + std::to_string(page) + ", with some words to lay out.</p>\n";
            html += "</body></html>\n";
            writeFile(root / pageName(page), html);
        }
    }
    ~GeneratedSite() { std::filesystem::remove_all(root); }
};

double residentMegabytes()
{
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    long resident = 0;
    statm >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

// Web content processes started by this process (WebKit names them "WebKitWebProcess"), directly or
// through the sandbox's launcher.
int webContentProcessCount()
{
    std::map<long, long> parents;
    std::vector<long> webProcesses;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream statFile(entry.path() / "stat");
        std::string line;
        if (!statFile || !std::getline(statFile, line))
            continue;
        auto open = line.find('(');
        auto close = line.rfind(')');
        if (open == std::string::npos || close == std::string::npos)
            continue;
        long pid = std::atol(line.c_str());
        std::istringstream rest(line.substr(close + 2));
        std::string state;
        long parent = 0;
        rest >> state >> parent;
        parents[pid] = parent;
        if (line.substr(open + 1, close - open - 1).starts_with("WebKitWebProces"))
            webProcesses.push_back(pid);
    }
    long self = getpid();
    return static_cast<int>(std::count_if(webProcesses.begin(), webProcesses.end(), [&](long pid) {
        for (auto found = parents.find(pid); found != parents.end() && found->second > 1; found = parents.find(found->second)) {
            if (found->second == self)
                return true;
        }
        return false;
    }));
}

void runMainLoopFor(std::chrono::milliseconds duration)
{
    auto deadline = std::chrono::steady_clock::now() + duration;
    while (std::chrono::steady_clock::now() < deadline) {
        if (!g_main_context_iteration(nullptr, FALSE))
            g_usleep(1000);
    }
}

template<class Condition>
void runMainLoopUntil(Condition condition)
{
    while (!condition())
        g_main_context_iteration(nullptr, TRUE);
}

void LongSessionPageSwitchesWithEdits(benchmark::State& state)
{
    GeneratedSite site;
    char* preferencesFolder = g_dir_make_tmp("quillory-soak-preferences-XXXXXX", nullptr);
    std::filesystem::path preferencesRoot = preferencesFolder;
    g_free(preferencesFolder);
    {
        Preferences preferences(preferencesRoot / "quillory" / "settings.ini");
        WorkspaceRecentProjectsStore recentProjects(preferences);
        AppSettingsStore settings(preferences);
        QuilloryTheme theme(settings);
        GLibScheduler scheduler;
        WorkspaceStore store(recentProjects, scheduler);
        ContentView content(store, settings);
        GtkWidget* window = gtk_window_new();
        gtk_window_set_default_size(GTK_WINDOW(window), 1440, 860);
        gtk_window_set_child(GTK_WINDOW(window), content.widget());
        gtk_window_present(GTK_WINDOW(window));
        WebKitWebView* webView = content.editorPreview().previewPane().webPreviewView().webView();
        int finishedLoads = 0;
        g_signal_connect_swapped(webView, "load-changed", G_CALLBACK(+[](int* count, WebKitLoadEvent event) {
                                     if (event == WEBKIT_LOAD_FINISHED)
                                         ++*count;
                                 }),
                                 &finishedLoads);

        store.loadWorkspace(site.root);
        runMainLoopUntil([&] { return finishedLoads > 0; });
        runMainLoopFor(std::chrono::milliseconds(500));

        auto record = [&](int switches) {
            state.counters["rss_mb_" + std::to_string(switches)] = residentMegabytes();
            state.counters["web_processes_" + std::to_string(switches)] = webContentProcessCount();
        };
        for (auto _ : state) {
            record(0);
            for (int switchIndex = 1; switchIndex <= switchCount; ++switchIndex) {
                // A hundred pages across the folders, visited in a stride: the first hundred
                // switches open a session on each (sessions live as long as the workspace, by
                // design), the rest come back to them, so memory should stay flat from there.
                int page = ((switchIndex * 37) % revisitedPageCount) * (pageCount / revisitedPageCount);
                if (!store.requestSelectDocument(pageName(page)))
                    state.SkipWithError("a switch was refused");
                int before = finishedLoads;
                // One edit, as the editor reports a keystroke; the switch after it writes it.
                store.setEditorText(store.editorText().get() + u"<p>edit</p>\n");
                store.editorTextDidChange();
                runMainLoopUntil([&] { return finishedLoads > before && !webkit_web_view_is_loading(webView); });
                if (switchIndex == 100 || switchIndex == switchCount) {
                    // Let the autosave and anything it releases settle before measuring.
                    runMainLoopFor(std::chrono::milliseconds(1000));
                    record(switchIndex);
                }
            }
        }
        g_signal_handlers_disconnect_by_data(webView, &finishedLoads);
        gtk_window_destroy(GTK_WINDOW(window));
    }
    std::filesystem::remove_all(preferencesRoot);
}

BENCHMARK(LongSessionPageSwitchesWithEdits)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);

}
