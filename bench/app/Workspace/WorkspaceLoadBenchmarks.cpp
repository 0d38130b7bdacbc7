#include "QuilloryApp/Shell/SidebarView.h"
#include "QuilloryApp/Support/GLibScheduler.h"
#include "QuilloryApp/Support/Preferences.h"
#include "QuilloryApp/Workspace/AppSettingsStore.h"
#include "QuilloryApp/Workspace/WorkspaceRecentProjectsStore.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "support/GeneratedSite.h"
#include "support/ThreadCPUTime.h"

#include <benchmark/benchmark.h>
#include <gtk/gtk.h>

#include <chrono>
#include <filesystem>

using namespace Quillory;

namespace {

double millisecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// Opening the generated 10,000-page site with the real store and the real sidebar: from the call
// to loadWorkspace until it returns, by when the sidebar has rebuilt its list model from the
// published site and highlighted the selected page. The site scan alone runs in the same
// iterations, so that the ratio between the two is read off one run.
void WorkspaceLoad10000PagesToSidebarModel(benchmark::State& state)
{
    const auto& site = QuilloryBench::GeneratedSite::shared();
    char* folder = g_dir_make_tmp("quillory-bench-preferences-XXXXXX", nullptr);
    std::filesystem::path preferencesFolder = folder;
    g_free(folder);
    {
        Preferences preferences(preferencesFolder / "settings.ini");
        WorkspaceRecentProjectsStore recentProjects(preferences);
        AppSettingsStore settings(preferences);
        GLibScheduler scheduler;
        WorkspaceStore store(recentProjects, scheduler);
        SidebarView sidebar(store, settings);

        double loadMilliseconds = 0;
        double buildMilliseconds = 0;
        double loadCPUMilliseconds = 0;
        double buildCPUMilliseconds = 0;
        guint rows = 0;
        for (auto _ : state) {
            auto buildStart = std::chrono::steady_clock::now();
            auto buildCPUStart = QuilloryBench::threadCPUMilliseconds();
            auto map = SiteGraphBuilder().build(site.root());
            benchmark::DoNotOptimize(map);
            buildCPUMilliseconds += QuilloryBench::threadCPUMilliseconds() - buildCPUStart;
            buildMilliseconds += millisecondsSince(buildStart);

            auto loadStart = std::chrono::steady_clock::now();
            auto loadCPUStart = QuilloryBench::threadCPUMilliseconds();
            store.loadWorkspace(site.root());
            rows = g_list_model_get_n_items(G_LIST_MODEL(sidebar.selection()));
            loadCPUMilliseconds += QuilloryBench::threadCPUMilliseconds() - loadCPUStart;
            loadMilliseconds += millisecondsSince(loadStart);
            if (rows == 0 || !sidebar.highlightedDocumentID())
                state.SkipWithError("the sidebar shows no rows or no selected page");
        }
        auto iterations = static_cast<double>(state.iterations());
        state.counters["loadWorkspaceMs"] = loadMilliseconds / iterations;
        state.counters["siteGraphBuildMs"] = buildMilliseconds / iterations;
        state.counters["loadToBuild"] = loadMilliseconds / buildMilliseconds;
        state.counters["loadWorkspaceCPUMs"] = loadCPUMilliseconds / iterations;
        state.counters["siteGraphBuildCPUMs"] = buildCPUMilliseconds / iterations;
        state.counters["loadToBuildCPU"] = loadCPUMilliseconds / buildCPUMilliseconds;
        state.counters["sidebarRows"] = rows;
    }
    std::filesystem::remove_all(preferencesFolder);
}
BENCHMARK(WorkspaceLoad10000PagesToSidebarModel)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

}
