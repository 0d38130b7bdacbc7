#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace Quillory {

// A random (version 4) UUID, the identity of tokens and undo snapshots.
class UUID {
public:
    static UUID random();
    UUID() = default; // The nil UUID.

    std::string string() const; // Upper-case, 8-4-4-4-12.
    const std::array<std::uint8_t, 16>& bytes() const { return m_bytes; }
    friend bool operator==(const UUID&, const UUID&) = default;

private:
    std::array<std::uint8_t, 16> m_bytes {};
};

}

template<>
struct std::hash<Quillory::UUID> {
    std::size_t operator()(const Quillory::UUID& uuid) const noexcept
    {
        std::size_t value = 0;
        for (auto byte : uuid.bytes())
            value = value * 131 + byte;
        return value;
    }
};
