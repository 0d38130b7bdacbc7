#pragma once

#include <cstdint>
#include <string>

namespace Quillory {

// What one run of `git` gave: its exit status and both output streams decoded as UTF-8 (a stream
// that is not valid UTF-8 reads as empty).
struct GitCommandResult {
    std::int32_t status { 0 };
    std::string output;
    std::string error;

    bool succeeded() const { return status == 0; }
};

}
