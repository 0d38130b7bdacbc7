#pragma once

#include <string>

namespace Quillory {

// One commit of a file's short history. Its identity is made of both fields.
struct GitHistoryEntry {
    // The abbreviated commit hash.
    std::string hash;
    std::string subject;

    std::string identity() const { return hash + '\t' + subject; }
    bool operator==(const GitHistoryEntry&) const = default;
};

}
