#include "QuilloryCore/SiteModel/EditableDocument.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "QuilloryCore/SiteModel/SiteLinkCheck.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

using namespace Quillory;

namespace {

// 5,000 pages in 50 folders; each links to its neighbours, an asset, an external site and, for
// one page in ten, a page that does not exist.
class LinkCheckSite {
public:
    static constexpr int folderCount = 50;
    static constexpr int pagesPerFolder = 100;

    static const std::filesystem::path& root()
    {
        static const LinkCheckSite site;
        return site.m_root;
    }

    ~LinkCheckSite()
    {
        std::error_code error;
        std::filesystem::remove_all(m_root, error);
    }

private:
    LinkCheckSite()
    {
        m_root = std::filesystem::temp_directory_path() / ("quillory-bench-check-" + std::to_string(::getpid()));
        std::filesystem::create_directories(m_root / "img");
        std::ofstream(m_root / "img" / "logo.png") << "png";
        std::ofstream(m_root / "index.html") << "<h1>Home</h1><a href=\"folder-0/page-0.html\">start</a>\n";
        for (int folder = 0; folder < folderCount; ++folder) {
            auto folderPath = m_root / ("folder-" + std::to_string(folder));
            std::filesystem::create_directories(folderPath);
            for (int page = 0; page < pagesPerFolder; ++page) {
                std::ofstream out(folderPath / ("page-" + std::to_string(page) + ".html"));
                out << "<!doctype html>\n<title>Page " << page << "</title>\n<h1>Folder " << folder << " page " << page << "</h1>\n";
                for (int paragraph = 0; paragraph < 12; ++paragraph)
                    out << "<p>Some text of the page, long enough to be read like prose by the scanner.</p>\n";
                out << "<a href=\"page-" << (page + 1) % pagesPerFolder << ".html\">next</a>\n"
                    << "<a href=\"/img/logo.png\">logo</a>\n<a href=\"https://example.org/\">out</a>\n"
                    << "<a href=\"../folder-" << (folder + 1) % folderCount << "/page-0.html#top\">over</a>\n";
                if (page % 10 == 0)
                    out << "<a href=\"gone-" << page << ".html\">gone</a>\n";
            }
        }
    }

    std::filesystem::path m_root;
};

// What `quillory-cli check` does.
void SiteLinkCheck5000Pages(benchmark::State& state)
{
    const auto& root = LinkCheckSite::root();
    for (auto _ : state)
        benchmark::DoNotOptimize(SiteLinkCheck::check(root));
}

// What `quillory-cli sitemap` does on the same site: the goal is check within 1.2x of this.
void Sitemap5000Pages(benchmark::State& state)
{
    const auto& root = LinkCheckSite::root();
    for (auto _ : state) {
        auto map = SiteGraphBuilder().build(root);
        benchmark::DoNotOptimize(EditableDocumentBuilder::build(map.rootURL, map, IncludeFrontendSource::no));
    }
}

}

BENCHMARK(SiteLinkCheck5000Pages)->Unit(benchmark::kMillisecond)->MinTime(2);
BENCHMARK(Sitemap5000Pages)->Unit(benchmark::kMillisecond)->MinTime(2);
