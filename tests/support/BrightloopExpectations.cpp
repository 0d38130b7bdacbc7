#include "support/BrightloopExpectations.h"

#include <gtest/gtest.h>

namespace QuilloryTest {

using namespace Quillory;

void expectCandidate(const BrightloopCandidate& candidate, BrightloopCandidateKind kind, const std::string& label, BrightloopConfidence confidence,
                     std::optional<Utf16Range> range, const std::string& reason)
{
    EXPECT_EQ(rawValue(candidate.kind), rawValue(kind));
    EXPECT_EQ(candidate.label, label);
    EXPECT_EQ(rawValue(candidate.confidence), rawValue(confidence));
    if (range) {
        ASSERT_TRUE(candidate.sourceRange.has_value()) << candidate.reason;
        EXPECT_EQ(candidate.sourceRange->pageRelativePath, "index.html");
        EXPECT_EQ(candidate.sourceRange->utf16Start, range->location);
        EXPECT_EQ(candidate.sourceRange->utf16Length, range->length);
    } else {
        EXPECT_FALSE(candidate.sourceRange.has_value()) << candidate.reason;
    }
    EXPECT_EQ(candidate.reason, reason);
}

}
