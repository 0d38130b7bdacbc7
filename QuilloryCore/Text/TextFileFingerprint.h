#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Quillory {

// What a file held when it was last read or written: whether it existed, its size in bytes, its
// modification time and a hash of its bytes. Comparing a remembered fingerprint with the file's
// current one tells whether another program changed or removed the file since.
struct TextFileFingerprint {
    bool exists { false };
    std::uint64_t size { 0 };
    std::int64_t modificationTimeNanoseconds { 0 };
    std::uint64_t contentHash { 0 };

    // The fingerprint of these bytes as the file at `path` holds them now (just read or written):
    // size and hash from the bytes, the time from the file.
    static TextFileFingerprint ofBytes(std::string_view bytes, const std::filesystem::path&);
    // Reads the file now. A file that doesn't exist gives `exists` false; any other failure to
    // read throws FileReadError.
    static TextFileFingerprint current(const std::filesystem::path&);
    // A 64-bit FNV-1a hash of the bytes.
    static std::uint64_t hash(std::string_view bytes);

    // Both absent, or both present with the same size and bytes. The time is not compared: a file
    // touched, or rewritten with the same bytes, still holds the same text.
    bool hasSameContent(const TextFileFingerprint&) const;

    friend bool operator==(const TextFileFingerprint&, const TextFileFingerprint&) = default;
};

namespace TextFile {

struct FingerprintedText {
    std::u16string text;
    TextFileFingerprint fingerprint;
};

// readUTF8, and the fingerprint of the bytes read. Throws as readUTF8 does.
FingerprintedText readFingerprintedUTF8(const std::filesystem::path&);
// writeUTF8Atomically, and the fingerprint of the bytes written. Throws as it does.
TextFileFingerprint writeFingerprintedUTF8Atomically(const std::filesystem::path&, std::u16string_view text);

}

}
