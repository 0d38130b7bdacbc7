#include "QuilloryCore/Text/StringHelpers.h"

#include "QuilloryCore/Text/UnicodeText.h"

#include <memory>
#include <unicode/coll.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace Quillory::StringHelpers {

namespace {

icu::Collator& standardCollator()
{
    // A collator is cheap to use but costly to open; one per thread keeps calls independent.
    thread_local std::unique_ptr<icu::Collator> collator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::Collator> made(icu::Collator::createInstance(icu::Locale::getRoot(), status));
        made->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
        made->setStrength(icu::Collator::SECONDARY);
        return made;
    }();
    return *collator;
}

icu::UnicodeString unicodeString(std::string_view utf8)
{
    return icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
}

std::string utf8(const icu::UnicodeString& string)
{
    std::string result;
    string.toUTF8String(result);
    return result;
}

int hexValue(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

}

int localizedStandardCompare(std::string_view a, std::string_view b)
{
    UErrorCode status = U_ZERO_ERROR;
    auto result = standardCollator().compareUTF8(icu::StringPiece(a.data(), static_cast<int32_t>(a.size())),
                                                 icu::StringPiece(b.data(), static_cast<int32_t>(b.size())), status);
    return result == UCOL_LESS ? -1 : result == UCOL_GREATER ? 1 : 0;
}

std::string localizedStandardSortKey(std::string_view text)
{
    // ICU's sort keys compare byte by byte as unsigned values, which is std::string's order too.
    auto source = unicodeString(text);
    auto& collator = standardCollator();
    std::string key(4 * static_cast<std::size_t>(source.length()) + 16, '\0');
    auto length = collator.getSortKey(source, reinterpret_cast<std::uint8_t*>(key.data()), static_cast<int32_t>(key.size()));
    if (static_cast<std::size_t>(length) > key.size()) {
        key.resize(static_cast<std::size_t>(length));
        length = collator.getSortKey(source, reinterpret_cast<std::uint8_t*>(key.data()), length);
    }
    // The key's length counts its terminating zero byte, which every key has and none needs.
    key.resize(length > 0 ? static_cast<std::size_t>(length) - 1 : 0);
    return key;
}

bool localizedCaseInsensitiveContains(std::string_view text, std::string_view query)
{
    auto foldedText = unicodeString(text).foldCase();
    auto foldedQuery = unicodeString(query).foldCase();
    return foldedText.indexOf(foldedQuery) >= 0;
}

bool isWhitespaceOrNewline(char32_t character)
{
    if ((character >= 0x09 && character <= 0x0D) || character == 0x85)
        return true;
    // The one separator among ASCII characters is the space.
    if (character < 0x80)
        return character == 0x20;
    auto type = u_charType(static_cast<UChar32>(character));
    return type == U_SPACE_SEPARATOR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR;
}

std::u16string trimmingWhitespaceAndNewlines(std::u16string_view text)
{
    std::size_t start = 0;
    std::size_t end = text.size();
    while (start < end) {
        UChar32 character;
        std::size_t next = start;
        U16_NEXT(text.data(), next, end, character);
        if (!isWhitespaceOrNewline(static_cast<char32_t>(character)))
            break;
        start = next;
    }
    while (end > start) {
        UChar32 character;
        std::size_t previous = end;
        U16_PREV(text.data(), start, previous, character);
        if (!isWhitespaceOrNewline(static_cast<char32_t>(character)))
            break;
        end = previous;
    }
    return std::u16string(text.substr(start, end - start));
}

std::string trimmingWhitespaceAndNewlines(std::string_view text)
{
    // Only the ends are decoded, and what lies between them is returned byte for byte: bytes that
    // are not UTF-8 stay as they are, so the trimmed text means what the untrimmed one did.
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    auto end = static_cast<int32_t>(text.size());
    int32_t start = 0;
    while (start < end) {
        int32_t next = start;
        UChar32 character;
        U8_NEXT(bytes, next, end, character);
        if (character < 0 || !isWhitespaceOrNewline(static_cast<char32_t>(character)))
            break;
        start = next;
    }
    while (end > start) {
        int32_t previous = end;
        UChar32 character;
        U8_PREV(bytes, start, previous, character);
        if (character < 0 || !isWhitespaceOrNewline(static_cast<char32_t>(character)))
            break;
        end = previous;
    }
    return std::string(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
}

std::string capitalized(std::string_view text)
{
    auto source = unicodeString(text);
    icu::UnicodeString result;
    int32_t index = 0;
    bool atWordStart = true;
    while (index < source.length()) {
        UChar32 character = source.char32At(index);
        int32_t next = source.moveIndex32(index, 1);
        icu::UnicodeString piece(source, index, next - index);
        if (isWhitespaceOrNewline(static_cast<char32_t>(character))) {
            atWordStart = true;
            result += piece;
        } else if (atWordStart) {
            result += piece.toUpper(icu::Locale::getRoot());
            atWordStart = false;
        } else {
            result += piece.toLower(icu::Locale::getRoot());
        }
        index = next;
    }
    return utf8(result);
}

std::optional<std::string> removingPercentEncoding(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '%') {
            bytes.push_back(text[index]);
            continue;
        }
        if (index + 2 >= text.size())
            return std::nullopt;
        int high = hexValue(text[index + 1]);
        int low = hexValue(text[index + 2]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes.push_back(static_cast<char>(high * 16 + low));
        index += 2;
    }
    if (!UnicodeText::utf16FromUTF8(bytes))
        return std::nullopt;
    return bytes;
}

std::string asciiLowercased(std::string_view text)
{
    std::string result(text);
    for (auto& character : result) {
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
    }
    return result;
}

std::u16string asciiLowercased(std::u16string_view text)
{
    std::u16string result(text);
    for (auto& character : result) {
        if (character >= u'A' && character <= u'Z')
            character = static_cast<char16_t>(character - u'A' + u'a');
    }
    return result;
}

bool startsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

bool endsWith(std::string_view text, std::string_view suffix)
{
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

}
