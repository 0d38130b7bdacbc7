#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "QuilloryCore/SiteModel/SiteRouteResolver.h"
#include "QuilloryCore/Text/TextFile.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <fstream>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

using namespace Quillory;

namespace {

constexpr int sectionCount = 10;
constexpr int chapterCount = 10;
constexpr int pagesPerChapter = 100;
constexpr int linksPerPage = 20;
constexpr std::size_t pageSize = 4096;

std::string pagePath(int section, int chapter, int page)
{
    return "section-" + std::to_string(section) + "/chapter-" + std::to_string(chapter) + "/page-" + std::to_string(page) + ".html";
}

// A site of 10,000 pages of about 4 KB in nested folders, each with an h1 and 20 links of mixed
// kinds, written once per process into a temporary folder that is removed at exit.
class GeneratedSite {
public:
    static const GeneratedSite& shared()
    {
        static const GeneratedSite site;
        return site;
    }

    const std::filesystem::path& root() const { return m_root; }
    const std::vector<std::filesystem::path>& pageFiles() const { return m_pageFiles; }

    ~GeneratedSite()
    {
        std::error_code error;
        std::filesystem::remove_all(m_root, error);
    }

private:
    GeneratedSite()
    {
        m_root = std::filesystem::temp_directory_path() / ("quillory-bench-site-" + std::to_string(::getpid()));
        std::filesystem::create_directories(m_root / "assets");
        std::ofstream(m_root / "assets" / "site.css") << "body { margin: 0 }\n";
        std::ofstream(m_root / "index.html") << "<h1>Home</h1><a href=\"section-0/chapter-0/page-0.html\">start</a>\n";
        m_pageFiles.push_back(m_root / "index.html");

        std::mt19937 random(7);
        for (int section = 0; section < sectionCount; ++section) {
            for (int chapter = 0; chapter < chapterCount; ++chapter) {
                std::filesystem::create_directories(m_root / ("section-" + std::to_string(section)) / ("chapter-" + std::to_string(chapter)));
                for (int page = 0; page < pagesPerChapter; ++page) {
                    auto relativePath = pagePath(section, chapter, page);
                    auto file = m_root / relativePath;
                    std::ofstream(file) << pageText(section, chapter, page, random);
                    m_pageFiles.push_back(file);
                }
            }
        }
    }

    static std::string pageText(int section, int chapter, int page, std::mt19937& random)
    {
        std::string text = "<!DOCTYPE html>\n<html>\n<head><title>Page " + std::to_string(page) + "</title>"
                           "<link rel=\"stylesheet\" href=\"/assets/site.css\"></head>\n<body>\n"
                           "<h1 class=\"title\">Chapter " + std::to_string(chapter) + " &amp; page <em>" + std::to_string(page) + "</em></h1>\n";
        std::uniform_int_distribution<int> pageNumber(0, pagesPerChapter - 1);
        for (int link = 0; link < linksPerPage; ++link) {
            std::string href;
            switch (link % 5) {
            case 0:
                href = "page-" + std::to_string(pageNumber(random)) + ".html";
                break;
            case 1:
                href = "/" + pagePath((section + 1) % sectionCount, chapter, pageNumber(random));
                break;
            case 2:
                href = "../chapter-" + std::to_string((chapter + 1) % chapterCount) + "/page-" + std::to_string(pageNumber(random));
                break;
            case 3:
                href = "https://example.org/reference/" + std::to_string(link);
                break;
            default:
                href = "#section-" + std::to_string(link);
                break;
            }
            text += "<p>Paragraph " + std::to_string(link) + " with <a class=\"inline\" href=\"" + href + "\">a link</a> inside it.</p>\n";
        }
        text += "<p>";
        while (text.size() < pageSize - 32)
            text += "Filler words that make the page as long as an ordinary article. ";
        text += "</p>\n</body>\n</html>\n";
        return text;
    }

    std::filesystem::path m_root;
    std::vector<std::filesystem::path> m_pageFiles;
};

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The full scan, with the cost of simply reading every page once measured in the same
// iterations, so that the ratio between the two can be read off directly.
void SiteGraphBuilderBuild(benchmark::State& state)
{
    const auto& site = GeneratedSite::shared();
    double buildSeconds = 0;
    double readOnceSeconds = 0;
    std::size_t pages = 0;
    for (auto _ : state) {
        auto readStart = std::chrono::steady_clock::now();
        std::size_t bytes = 0;
        for (auto& file : site.pageFiles())
            bytes += TextFile::readBytes(file).size();
        benchmark::DoNotOptimize(bytes);
        readOnceSeconds += secondsSince(readStart);

        auto buildStart = std::chrono::steady_clock::now();
        auto map = SiteGraphBuilder().build(site.root());
        buildSeconds += secondsSince(buildStart);
        pages = map.pages.size();
        benchmark::DoNotOptimize(map);
    }
    auto iterations = static_cast<double>(state.iterations());
    state.counters["pages"] = static_cast<double>(pages);
    state.counters["buildMs"] = buildSeconds / iterations * 1000;
    state.counters["readOnceMs"] = readOnceSeconds / iterations * 1000;
    state.counters["buildToReadOnce"] = buildSeconds / readOnceSeconds;
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
