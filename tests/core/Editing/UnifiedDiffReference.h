#pragma once

#include "QuilloryCore/Editing/UnifiedDiff.h"

#include <string>
#include <string_view>
#include <vector>

namespace QuilloryTest::UnifiedDiffReference {

// The whole-file diff as first written, over the full table of common subsequence lengths (one
// integer per pair of lines). It stays here only as the measure of the product's diff.
std::vector<Quillory::UnifiedDiff::Operation> lineOperations(const std::vector<std::u16string>& oldLines,
                                                             const std::vector<std::u16string>& newLines);

std::u16string make(std::u16string_view oldText, std::u16string_view newText, std::string_view filePath,
                    std::string_view oldLabel, std::string_view newLabel);

}
