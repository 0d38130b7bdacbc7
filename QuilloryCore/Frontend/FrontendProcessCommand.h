#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace Quillory {

// A process to launch: a program, its arguments (without the program's name), where it runs, and
// folders to put ahead of PATH.
struct FrontendProcessCommand {
    std::string executablePath;
    std::vector<std::string> arguments;
    std::filesystem::path workingDirectory;
    std::vector<std::string> pathPrefixes;

    // The environment to launch with: `environment` with CI set to "1" and PATH led by
    // `pathPrefixes` (duplicates and empty pieces dropped). PATH stays as it was, or absent, when
    // the joined list is empty.
    std::map<std::string, std::string> processEnvironment(std::map<std::string, std::string> environment) const;

    friend bool operator==(const FrontendProcessCommand&, const FrontendProcessCommand&) = default;
};

// The strings in order of first occurrence, without empty ones and without repeats.
std::vector<std::string> removingDuplicates(const std::vector<std::string>&);

}
