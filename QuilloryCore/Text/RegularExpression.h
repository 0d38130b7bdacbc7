#pragma once

#include "QuilloryCore/Text/Utf16Range.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/uversion.h>

U_NAMESPACE_BEGIN
class RegexPattern;
U_NAMESPACE_END

namespace Quillory {

// An ICU regular expression over UTF-16 text, with the flags the scanners use. Compiling is the
// costly part; a compiled expression may be shared between threads (each match makes its own
// matcher).
class RegularExpression {
public:
    enum class Option : unsigned {
        None = 0,
        CaseInsensitive = 1,
        DotMatchesLineSeparators = 2,
    };

    struct Match {
        // Index 0 is the whole match; a group that took no part is nothing.
        std::vector<std::optional<Utf16Range>> ranges;
        std::optional<Utf16Range> range(std::size_t group) const
        {
            return group < ranges.size() ? ranges[group] : std::nullopt;
        }
    };

    // Nothing when the pattern does not compile; callers treat that as "no match".
    static std::optional<RegularExpression> make(std::u16string_view pattern, unsigned options = 0);

    std::optional<Match> firstMatch(std::u16string_view text) const;
    std::vector<Match> allMatches(std::u16string_view text) const;
    // Replaces every match by `replacement` taken literally (no $ references).
    std::u16string replacingMatches(std::u16string_view text, std::u16string_view replacement) const;

    ~RegularExpression();
    RegularExpression(RegularExpression&&) noexcept;
    RegularExpression& operator=(RegularExpression&&) noexcept;

private:
    explicit RegularExpression(std::unique_ptr<icu::RegexPattern>);
    std::unique_ptr<icu::RegexPattern> m_pattern;
};

constexpr unsigned operator|(RegularExpression::Option a, RegularExpression::Option b)
{
    return static_cast<unsigned>(a) | static_cast<unsigned>(b);
}

}
