#pragma once

#include <filesystem>
#include <vector>

namespace QuilloryTest {

// Every regular file of the test fixtures, except the packages npm installs into the frontend
// fixture: thousands of files that aren't ours.
inline std::vector<std::filesystem::path> fixtureFiles()
{
    std::vector<std::filesystem::path> files;
    for (auto entry = std::filesystem::recursive_directory_iterator(QUILLORY_TEST_FIXTURES); entry != std::filesystem::recursive_directory_iterator(); ++entry) {
        if (entry->is_directory() && entry->path().filename() == "node_modules")
            entry.disable_recursion_pending();
        else if (entry->is_regular_file())
            files.push_back(entry->path());
    }
    return files;
}

}
