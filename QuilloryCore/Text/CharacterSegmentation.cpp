#include "QuilloryCore/Text/CharacterSegmentation.h"

#include <memory>
#include <unicode/brkiter.h>
#include <unicode/utext.h>

namespace Quillory::CharacterSegmentation {

namespace {

template<typename Visitor>
void forEachCharacter(std::u16string_view text, Visitor visit)
{
    if (text.empty())
        return;
    thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        return std::unique_ptr<icu::BreakIterator>(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    }();
    UErrorCode status = U_ZERO_ERROR;
    UText* utext = utext_openUChars(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    iterator->setText(utext, status);
    int32_t start = iterator->first();
    for (int32_t end = iterator->next(); end != icu::BreakIterator::DONE; start = end, end = iterator->next())
        visit(Utf16Range { static_cast<std::size_t>(start), static_cast<std::size_t>(end - start) });
    utext_close(utext);
}

}

std::vector<Utf16Range> characterRanges(std::u16string_view text)
{
    std::vector<Utf16Range> ranges;
    forEachCharacter(text, [&](Utf16Range range) { ranges.push_back(range); });
    return ranges;
}

std::size_t characterCount(std::u16string_view text)
{
    std::size_t count = 0;
    forEachCharacter(text, [&](Utf16Range) { ++count; });
    return count;
}

}
