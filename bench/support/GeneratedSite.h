#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace QuilloryBench {

// A site of 10,000 pages of about 4 KB in nested folders (10 sections of 10 chapters of 100
// pages, and index.html), each with an h1 and 20 links of mixed kinds, written once per process
// into a temporary folder that is removed at exit.
class GeneratedSite {
public:
    static constexpr int sectionCount = 10;
    static constexpr int chapterCount = 10;
    static constexpr int pagesPerChapter = 100;

    static const GeneratedSite& shared();
    static std::string pagePath(int section, int chapter, int page);

    const std::filesystem::path& root() const { return m_root; }
    const std::vector<std::filesystem::path>& pageFiles() const { return m_pageFiles; }

    ~GeneratedSite();

private:
    GeneratedSite();

    std::filesystem::path m_root;
    std::vector<std::filesystem::path> m_pageFiles;
};

}
