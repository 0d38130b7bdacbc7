#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Quillory::TextFile {

// Reads a whole file as strict UTF-8 into UTF-16 code units. A byte-order mark stays in the text
// as U+FEFF and line ends are not touched, so writing the result back gives the same bytes.
// Throws FileReadError naming the file, with the OS's reason or the encoding problem.
std::u16string readUTF8(const std::filesystem::path&);

// The bytes read from `path` as strict UTF-8, in UTF-16 code units. Throws FileReadError naming
// the file when they aren't valid UTF-8.
std::u16string decodeUTF8(std::string_view bytes, const std::filesystem::path&);

// Reads a whole file's bytes, unconverted. Throws FileReadError.
std::string readBytes(const std::filesystem::path&);
// The same into `into`, replacing what it held and reusing its storage, for a caller that reads
// many files one after another.
void readBytes(const std::filesystem::path&, std::string& into);
// The same for the file `name` in the folder open as `folderDescriptor`, which spares the system
// walking the whole path again for each file of one folder; `path` is the file's full path,
// which errors name.
void readBytesAt(int folderDescriptor, const char* name, const std::filesystem::path& path, std::string& into);

// Writes text as UTF-8 atomically: a temporary file in the same folder is written, flushed to
// disk and renamed over the target, which keeps its permission bits. On failure the target is
// untouched, no temporary file is left, and FileWriteError carries the OS's reason.
void writeUTF8Atomically(const std::filesystem::path&, std::u16string_view text);
void writeBytesAtomically(const std::filesystem::path&, std::string_view bytes);

// "“name”": the file's last component in curly quotes, as messages name files.
std::string quotedFileName(const std::filesystem::path&);

}
