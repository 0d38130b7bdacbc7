#include "QuilloryCore/Text/UUID.h"

#include <random>

namespace Quillory {

UUID UUID::random()
{
    thread_local std::mt19937_64 generator { std::random_device {}() ^ (static_cast<std::uint64_t>(std::random_device {}()) << 32) };
    UUID uuid;
    for (std::size_t index = 0; index < 16; index += 8) {
        auto value = generator();
        for (std::size_t byte = 0; byte < 8; ++byte)
            uuid.m_bytes[index + byte] = static_cast<std::uint8_t>(value >> (byte * 8));
    }
    uuid.m_bytes[6] = static_cast<std::uint8_t>((uuid.m_bytes[6] & 0x0F) | 0x40);
    uuid.m_bytes[8] = static_cast<std::uint8_t>((uuid.m_bytes[8] & 0x3F) | 0x80);
    return uuid;
}

std::string UUID::string() const
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(36);
    for (std::size_t index = 0; index < 16; ++index) {
        if (index == 4 || index == 6 || index == 8 || index == 10)
            text.push_back('-');
        text.push_back(digits[m_bytes[index] >> 4]);
        text.push_back(digits[m_bytes[index] & 0x0F]);
    }
    return text;
}

}
