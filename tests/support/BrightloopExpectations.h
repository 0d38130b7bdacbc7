#pragma once

#include "QuilloryCore/Brightloop/BrightloopModels.h"
#include "QuilloryCore/Text/Utf16Range.h"

#include <optional>
#include <string>

namespace QuilloryTest {

// Checks one candidate's kind, label, confidence, range in "index.html" (or none) and reason.
void expectCandidate(const Quillory::BrightloopCandidate&, Quillory::BrightloopCandidateKind, const std::string& label,
                     Quillory::BrightloopConfidence, std::optional<Quillory::Utf16Range> range, const std::string& reason);

}
