#pragma once

#include <string>
#include <vector>

namespace QuilloryTest {

struct ChildProcessResult {
    int exitStatus { -1 };
    std::string standardOutput;
    std::string standardError;
    // The child's peak resident memory, in kilobytes.
    long maxResidentKilobytes { 0 };
};

// Runs a program with arguments (no shell) and collects its exit status and both streams.
ChildProcessResult runChildProcess(const std::vector<std::string>& arguments);

}
