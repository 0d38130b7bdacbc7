#include "QuilloryCore/Text/UnicodeText.h"

#include <unicode/ustring.h>
#include <unicode/utf8.h>

namespace Quillory::UnicodeText {

std::optional<std::u16string> utf16FromUTF8(std::string_view utf8)
{
    if (utf8.empty())
        return std::u16string();
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8(nullptr, 0, &length, utf8.data(), static_cast<int32_t>(utf8.size()), &status);
    if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status))
        return std::nullopt;
    std::u16string result(static_cast<std::size_t>(length), u'\0');
    status = U_ZERO_ERROR;
    u_strFromUTF8(result.data(), length, nullptr, utf8.data(), static_cast<int32_t>(utf8.size()), &status);
    if (U_FAILURE(status))
        return std::nullopt;
    return result;
}

std::string utf8FromUTF16(std::u16string_view utf16)
{
    if (utf16.empty())
        return {};
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    u_strToUTF8WithSub(nullptr, 0, &length, utf16.data(), static_cast<int32_t>(utf16.size()), 0xFFFD, nullptr, &status);
    std::string result(static_cast<std::size_t>(length), '\0');
    status = U_ZERO_ERROR;
    u_strToUTF8WithSub(result.data(), length, nullptr, utf16.data(), static_cast<int32_t>(utf16.size()), 0xFFFD, nullptr, &status);
    return result;
}

std::u16string utf16(std::string_view utf8)
{
    if (utf8.empty())
        return {};
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8WithSub(nullptr, 0, &length, utf8.data(), static_cast<int32_t>(utf8.size()), 0xFFFD, nullptr, &status);
    std::u16string result(static_cast<std::size_t>(length), u'\0');
    status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(result.data(), length, nullptr, utf8.data(), static_cast<int32_t>(utf8.size()), 0xFFFD, nullptr, &status);
    return result;
}

bool isValidUTF8(std::string_view bytes)
{
    auto length = static_cast<int32_t>(bytes.size());
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
    for (int32_t index = 0; index < length;) {
        if (data[index] < 0x80) {
            ++index;
            continue;
        }
        UChar32 character;
        U8_NEXT(data, index, length, character);
        if (character < 0)
            return false;
    }
    return true;
}

std::string replacingInvalidUTF8(std::string_view bytes)
{
    if (isValidUTF8(bytes))
        return std::string(bytes);
    return utf8FromUTF16(utf16(bytes));
}

}
