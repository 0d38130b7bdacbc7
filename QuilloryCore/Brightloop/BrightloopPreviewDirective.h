#pragma once

#include "QuilloryCore/Brightloop/BrightloopModels.h"

#include <optional>
#include <vector>

namespace Quillory {

// The preview effects the user asked for: candidates hidden in the rendered page and at most one
// highlighted. A preview aid only: nothing of it is ever written to a file.
struct BrightloopPreviewDirective {
    std::vector<BrightloopCandidate> hiddenCandidates; // In the order the user hid them.
    std::optional<BrightloopCandidate> highlightedCandidate;

    static BrightloopPreviewDirective empty() { return {}; }

    bool isHidden(const UUID& candidateID) const
    {
        for (const auto& candidate : hiddenCandidates) {
            if (candidate.id == candidateID)
                return true;
        }
        return false;
    }
    bool isHighlighted(const UUID& candidateID) const { return highlightedCandidate && highlightedCandidate->id == candidateID; }

    friend bool operator==(const BrightloopPreviewDirective&, const BrightloopPreviewDirective&) = default;
};

}
