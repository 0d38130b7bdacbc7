#include "QuilloryCore/Text/TextFileFingerprint.h"

#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <sys/stat.h>

namespace Quillory {

namespace {

// Fills in existence and time; false when the file is not there.
bool statFile(const std::filesystem::path& path, TextFileFingerprint& fingerprint)
{
    struct stat info { };
    if (::stat(path.c_str(), &info) != 0)
        return false;
    fingerprint.exists = true;
    fingerprint.modificationTimeNanoseconds = static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec;
    return true;
}

}

std::uint64_t TextFileFingerprint::hash(std::string_view bytes)
{
    std::uint64_t value = 14695981039346656037ull;
    for (unsigned char byte : bytes) {
        value ^= byte;
        value *= 1099511628211ull;
    }
    return value;
}

TextFileFingerprint TextFileFingerprint::ofBytes(std::string_view bytes, const std::filesystem::path& path)
{
    TextFileFingerprint fingerprint;
    statFile(path, fingerprint);
    // The bytes are what this program read or wrote, whatever the file holds by now.
    fingerprint.exists = true;
    fingerprint.size = bytes.size();
    fingerprint.contentHash = hash(bytes);
    return fingerprint;
}

TextFileFingerprint TextFileFingerprint::current(const std::filesystem::path& path)
{
    TextFileFingerprint fingerprint;
    if (!statFile(path, fingerprint))
        return fingerprint;
    auto bytes = TextFile::readBytes(path);
    fingerprint.size = bytes.size();
    fingerprint.contentHash = hash(bytes);
    return fingerprint;
}

bool TextFileFingerprint::hasSameContent(const TextFileFingerprint& other) const
{
    if (exists != other.exists)
        return false;
    return !exists || (size == other.size && contentHash == other.contentHash);
}

namespace TextFile {

FingerprintedText readFingerprintedUTF8(const std::filesystem::path& path)
{
    auto bytes = readBytes(path);
    auto text = decodeUTF8(bytes, path);
    return { std::move(text), TextFileFingerprint::ofBytes(bytes, path) };
}

TextFileFingerprint writeFingerprintedUTF8Atomically(const std::filesystem::path& path, std::u16string_view text)
{
    auto bytes = UnicodeText::utf8FromUTF16(text);
    writeBytesAtomically(path, bytes);
    return TextFileFingerprint::ofBytes(bytes, path);
}

}

}
