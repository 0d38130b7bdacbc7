#include "QuilloryCore/Editing/LineJumpText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string_view>

using namespace Quillory;

TEST(LineJumpText, ParsesTrimmedDecimalNumbersWithAnOptionalSign)
{
    struct Case {
        std::string_view typed;
        std::optional<std::int64_t> line;
    };
    const Case cases[] = {
        { "12", 12 },
        { "  12 ", 12 },
        { "\t7\n", 7 },
        { "+3", 3 },
        { "-4", -4 },
        { "0", 0 },
        { "007", 7 },
        // A no-break space and an ideographic space are white space too.
        { "\xC2\xA0" "9\xE3\x80\x80", 9 },
        { "9223372036854775807", INT64_MAX },
        { "-9223372036854775808", INT64_MIN },
    };
    for (const auto& testCase : cases)
        EXPECT_EQ(LineJumpText::parse(testCase.typed), testCase.line) << testCase.typed;
}

TEST(LineJumpText, AnythingElseGivesNothing)
{
    for (std::string_view typed : { "", "   ", "abc", "12a", "1 2", "+", "-", "+-3", "--3", "++3", "3.0", "1e3", "0x10", "+ 3",
                                    "\xD9\xA3", "9223372036854775808", "-9223372036854775809" })
        EXPECT_EQ(LineJumpText::parse(typed), std::nullopt) << typed;
}
