#include "support/GeneratedSite.h"

#include <fstream>
#include <random>
#include <unistd.h>

namespace QuilloryBench {

namespace {

constexpr int linksPerPage = 20;
constexpr std::size_t pageSize = 4096;

std::string pageText(int section, int chapter, int page, std::mt19937& random)
{
    std::string text = "<!DOCTYPE html>\n<html>\n<head><title>Page " + std::to_string(page) + "</title>"
                       "<link rel=\"stylesheet\" href=\"/assets/site.css\"></head>\n<body>\n"
                       "<h1 class=\"title\">Chapter " + std::to_string(chapter) + " &amp; page <em>" + std::to_string(page) + "</em></h1>\n";
    std::uniform_int_distribution<int> pageNumber(0, GeneratedSite::pagesPerChapter - 1);
    for (int link = 0; link < linksPerPage; ++link) {
        std::string href;
        switch (link % 5) {
        case 0:
            href = "page-" + std::to_string(pageNumber(random)) + ".html";
            break;
        case 1:
            href = "/" + GeneratedSite::pagePath((section + 1) % GeneratedSite::sectionCount, chapter, pageNumber(random));
            break;
        case 2:
            href = "../chapter-" + std::to_string((chapter + 1) % GeneratedSite::chapterCount) + "/page-" + std::to_string(pageNumber(random));
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

}

const GeneratedSite& GeneratedSite::shared()
{
    static const GeneratedSite site;
    return site;
}

std::string GeneratedSite::pagePath(int section, int chapter, int page)
{
    return "section-" + std::to_string(section) + "/chapter-" + std::to_string(chapter) + "/page-" + std::to_string(page) + ".html";
}

GeneratedSite::GeneratedSite()
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
                auto file = m_root / pagePath(section, chapter, page);
                std::ofstream(file) << pageText(section, chapter, page, random);
                m_pageFiles.push_back(file);
            }
        }
    }
}

GeneratedSite::~GeneratedSite()
{
    std::error_code error;
    std::filesystem::remove_all(m_root, error);
}

}
