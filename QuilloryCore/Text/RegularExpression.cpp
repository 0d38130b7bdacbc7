#include "QuilloryCore/Text/RegularExpression.h"

#include <unicode/regex.h>

namespace Quillory {

RegularExpression::RegularExpression(std::unique_ptr<icu::RegexPattern> pattern)
    : m_pattern(std::move(pattern))
{
}

RegularExpression::~RegularExpression() = default;
RegularExpression::RegularExpression(RegularExpression&&) noexcept = default;
RegularExpression& RegularExpression::operator=(RegularExpression&&) noexcept = default;

std::optional<RegularExpression> RegularExpression::make(std::u16string_view pattern, unsigned options)
{
    uint32_t flags = 0;
    if (options & static_cast<unsigned>(Option::CaseInsensitive))
        flags |= UREGEX_CASE_INSENSITIVE;
    if (options & static_cast<unsigned>(Option::DotMatchesLineSeparators))
        flags |= UREGEX_DOTALL;
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    icu::UnicodeString source(false, pattern.data(), static_cast<int32_t>(pattern.size()));
    std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(source, flags, parseError, status));
    if (U_FAILURE(status) || !compiled)
        return std::nullopt;
    return RegularExpression(std::move(compiled));
}

namespace {

RegularExpression::Match currentMatch(icu::RegexMatcher& matcher)
{
    RegularExpression::Match match;
    int32_t groups = matcher.groupCount();
    match.ranges.reserve(static_cast<std::size_t>(groups) + 1);
    for (int32_t group = 0; group <= groups; ++group) {
        UErrorCode status = U_ZERO_ERROR;
        int32_t start = matcher.start(group, status);
        int32_t end = matcher.end(group, status);
        if (U_FAILURE(status) || start < 0)
            match.ranges.push_back(std::nullopt);
        else
            match.ranges.push_back(Utf16Range { static_cast<std::size_t>(start), static_cast<std::size_t>(end - start) });
    }
    return match;
}

template<typename Visitor>
void forEachMatch(const icu::RegexPattern& pattern, std::u16string_view text, Visitor visit)
{
    UErrorCode status = U_ZERO_ERROR;
    // The matcher reads the caller's buffer in place; the text outlives this call.
    icu::UnicodeString input(false, text.data(), static_cast<int32_t>(text.size()));
    std::unique_ptr<icu::RegexMatcher> matcher(pattern.matcher(input, status));
    if (U_FAILURE(status))
        return;
    while (matcher->find(status) && U_SUCCESS(status)) {
        if (!visit(currentMatch(*matcher)))
            return;
    }
}

}

std::optional<RegularExpression::Match> RegularExpression::firstMatch(std::u16string_view text) const
{
    std::optional<Match> found;
    forEachMatch(*m_pattern, text, [&](Match match) {
        found = std::move(match);
        return false;
    });
    return found;
}

std::vector<RegularExpression::Match> RegularExpression::allMatches(std::u16string_view text) const
{
    std::vector<Match> matches;
    forEachMatch(*m_pattern, text, [&](Match match) {
        matches.push_back(std::move(match));
        return true;
    });
    return matches;
}

std::u16string RegularExpression::replacingMatches(std::u16string_view text, std::u16string_view replacement) const
{
    std::u16string result;
    std::size_t copiedUpTo = 0;
    forEachMatch(*m_pattern, text, [&](Match match) {
        auto whole = *match.ranges[0];
        result.append(text.substr(copiedUpTo, whole.location - copiedUpTo));
        result.append(replacement);
        copiedUpTo = whole.end();
        return true;
    });
    result.append(text.substr(copiedUpTo));
    return result;
}

}
