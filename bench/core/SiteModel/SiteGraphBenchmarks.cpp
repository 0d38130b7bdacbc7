#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "QuilloryCore/SiteModel/SiteRouteResolver.h"
#include "QuilloryCore/Text/TextFile.h"
#include "support/GeneratedSite.h"
#include "support/KeepFreedMemory.h"
#include "support/ThreadCPUTime.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <random>
#include <string>
#include <vector>

using namespace Quillory;

namespace {

using QuilloryBench::GeneratedSite;
constexpr int sectionCount = GeneratedSite::sectionCount;
constexpr int chapterCount = GeneratedSite::chapterCount;
constexpr int pagesPerChapter = GeneratedSite::pagesPerChapter;
constexpr auto pagePath = GeneratedSite::pagePath;

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The full scan, with the cost of simply reading every page once measured in the same
// iterations, so that the ratio between the two can be read off directly.
void SiteGraphBuilderBuild(benchmark::State& state)
{
    // Each iteration frees the map of the one before.
    QuilloryBench::keepFreedMemory();
    const auto& site = GeneratedSite::shared();
    double buildSeconds = 0;
    double readOnceSeconds = 0;
    double buildCPUMilliseconds = 0;
    double readOnceCPUMilliseconds = 0;
    std::size_t pages = 0;
    for (auto _ : state) {
        auto readStart = std::chrono::steady_clock::now();
        auto readCPUStart = QuilloryBench::threadCPUMilliseconds();
        std::size_t bytes = 0;
        for (auto& file : site.pageFiles())
            bytes += TextFile::readBytes(file).size();
        benchmark::DoNotOptimize(bytes);
        readOnceCPUMilliseconds += QuilloryBench::threadCPUMilliseconds() - readCPUStart;
        readOnceSeconds += secondsSince(readStart);

        auto buildStart = std::chrono::steady_clock::now();
        auto buildCPUStart = QuilloryBench::threadCPUMilliseconds();
        auto map = SiteGraphBuilder().build(site.root());
        buildCPUMilliseconds += QuilloryBench::threadCPUMilliseconds() - buildCPUStart;
        buildSeconds += secondsSince(buildStart);
        pages = map.pages.size();
        benchmark::DoNotOptimize(map);
    }
    auto iterations = static_cast<double>(state.iterations());
    state.counters["pages"] = static_cast<double>(pages);
    state.counters["buildMs"] = buildSeconds / iterations * 1000;
    state.counters["readOnceMs"] = readOnceSeconds / iterations * 1000;
    state.counters["buildToReadOnce"] = buildSeconds / readOnceSeconds;
    state.counters["buildToReadOnceCPU"] = buildCPUMilliseconds / readOnceCPUMilliseconds;
}
BENCHMARK(SiteGraphBuilderBuild)->Unit(benchmark::kMillisecond)->Iterations(5);

std::vector<std::pair<std::string, std::optional<std::string>>> mixedReferences(std::size_t count)
{
    std::mt19937 random(11);
    std::uniform_int_distribution<int> section(0, sectionCount - 1);
    std::uniform_int_distribution<int> chapter(0, chapterCount - 1);
    std::uniform_int_distribution<int> page(0, pagesPerChapter - 1);
    std::vector<std::pair<std::string, std::optional<std::string>>> references;
    references.reserve(count);
    for (std::size_t index = 0; references.size() < count; ++index) {
        auto from = pagePath(section(random), chapter(random), page(random));
        switch (index % 10) {
        case 0:
            references.emplace_back("page-" + std::to_string(page(random)) + ".html", from);
            break;
        case 1:
            references.emplace_back("/" + pagePath(section(random), chapter(random), page(random)) + "?v=1#top", from);
            break;
        case 2:
            references.emplace_back("../chapter-" + std::to_string(chapter(random)) + "/page-" + std::to_string(page(random)), from);
            break;
        case 3:
            references.emplace_back("/section-" + std::to_string(section(random)) + "/", from);
            break;
        case 4:
            references.emplace_back("/assets/site.css", from);
            break;
        case 5:
            references.emplace_back("missing/page-" + std::to_string(page(random)) + ".html", from);
            break;
        case 6:
            references.emplace_back("https://example.org/" + std::to_string(index), from);
            break;
        case 7:
            references.emplace_back("#anchor-" + std::to_string(index), from);
            break;
        case 8:
            references.emplace_back("  /section-0/chapter-0/page%2D" + std::to_string(page(random)) + ".html  ", std::nullopt);
            break;
        default:
            references.emplace_back("../../../../etc/passwd", from);
            break;
        }
    }
    return references;
}

void SiteRouteResolverResolve(benchmark::State& state)
{
    const auto& site = GeneratedSite::shared();
    auto resolver = SiteGraphBuilder().build(site.root()).routeResolver();
    auto references = mixedReferences(100'000);
    for (auto _ : state) {
        for (auto& [reference, from] : references)
            benchmark::DoNotOptimize(resolver.resolve(reference, from));
    }
    state.counters["references"] = static_cast<double>(references.size());
    state.counters["perCall"] = benchmark::Counter(static_cast<double>(references.size()),
                                                   benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(SiteRouteResolverResolve)->Unit(benchmark::kMillisecond);

}
