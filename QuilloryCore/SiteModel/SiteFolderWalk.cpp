#include "QuilloryCore/SiteModel/SiteFolderWalk.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Quillory::SiteFolderWalk {

namespace {

// The standardized entry path less as many characters as the root's, with the "/"-separated
// components joined again without empty ones.
std::string relativePath(const std::string& standardizedEntryPath, const std::string& rootText)
{
    std::string_view rest(standardizedEntryPath);
    rest.remove_prefix(std::min(rootText.size(), rest.size()));
    std::string joined;
    std::size_t start = 0;
    while (start <= rest.size()) {
        auto slash = rest.find('/', start);
        if (slash == std::string_view::npos)
            slash = rest.size();
        if (slash > start) {
            if (!joined.empty())
                joined.push_back('/');
            joined.append(rest.substr(start, slash - start));
        }
        start = slash + 1;
    }
    return joined;
}

bool isSkipped(const std::string& name, const std::vector<std::string_view>& skippedNames)
{
    if (!name.empty() && name.front() == '.')
        return true;
    auto isControlCharacter = [](char character) { return static_cast<unsigned char>(character) < 0x20 || character == 0x7F; };
    if (std::any_of(name.begin(), name.end(), isControlCharacter) || !UnicodeText::isValidUTF8(name))
        return true;
    return std::find(skippedNames.begin(), skippedNames.end(), name) != skippedNames.end();
}

// Whether the real path of `folder` is that of `root` or lies below it.
bool isInsideRealRoot(const std::filesystem::path& folder, const std::filesystem::path& root)
{
    std::error_code error;
    auto realFolder = std::filesystem::canonical(folder, error);
    if (error)
        return false;
    auto realRoot = std::filesystem::canonical(root, error);
    if (error)
        return false;
    auto [rootEnd, folderAt] = std::mismatch(realRoot.begin(), realRoot.end(), realFolder.begin(), realFolder.end());
    return rootEnd == realRoot.end();
}

// One folder of the walk: its entries in listing order, each folder entered as it is met, as a
// deep walk does. `folderPath` is the folder's standardized path.
class Walk {
public:
    Walk(const std::string& rootText, const std::vector<std::string_view>& skippedNames, std::vector<Entry>& entries)
        : m_rootText(rootText)
        , m_skippedNames(skippedNames)
        , m_entries(entries)
    {
    }

    // False once the walk has to end: a folder that can't be read for any reason but permission.
    bool visit(int folderDescriptor, std::string& folderPath)
    {
        DIR* listing = ::fdopendir(folderDescriptor);
        if (!listing) {
            ::close(folderDescriptor);
            return false;
        }
        struct Closing {
            DIR* listing;
            ~Closing() { ::closedir(listing); }
        } closing { listing };
        auto folderLength = folderPath.size();
        for (;;) {
            errno = 0;
            auto* entry = ::readdir(listing);
            if (!entry)
                return errno == 0;
            std::string name = entry->d_name;
            if (name == "." || name == ".." || isSkipped(name, m_skippedNames))
                continue;

            folderPath.resize(folderLength);
            if (folderPath.back() != '/')
                folderPath.push_back('/');
            folderPath.append(name);
            // The type the listing gave is used where there is one, sparing a query per entry; a
            // symbolic link is neither a regular file nor a folder to enter.
            auto type = entry->d_type;
            if (type == DT_UNKNOWN) {
                struct stat status { };
                if (::fstatat(::dirfd(listing), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
                    throw FileScanError("The file " + TextFile::quotedFileName(folderPath) + " couldn\u2019t be examined: " + std::strerror(errno) + ".");
                type = S_ISREG(status.st_mode) ? DT_REG : S_ISDIR(status.st_mode) ? DT_DIR : DT_UNKNOWN;
            }
            if (type == DT_REG) {
                m_entries.push_back({ relativePath(folderPath, m_rootText), std::filesystem::path(folderPath) });
            } else if (type == DT_DIR) {
                int child = ::openat(::dirfd(listing), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
                // Folders without permission are skipped; any other failure to go on (a folder
                // that vanished mid-walk) ends the walk with what was found.
                if (child < 0 && errno != EACCES && errno != EPERM)
                    return false;
                if (child >= 0 && !visit(child, folderPath))
                    return false;
            }
        }
    }

private:
    const std::string& m_rootText;
    const std::vector<std::string_view>& m_skippedNames;
    std::vector<Entry>& m_entries;
};

}

std::vector<Entry> regularFiles(const std::filesystem::path& folder, const std::filesystem::path& standardizedRoot,
                                const std::vector<std::string_view>& skippedNames)
{
    // A walk that starts through a link (a "src" that links elsewhere) would list what lies there.
    if (!isInsideRealRoot(folder, standardizedRoot))
        return {};
    // Symbolic links to folders are not followed: a link can neither lead the walk out of the
    // site nor into a cycle. A link to a file is not a regular file either, so the site is what
    // is really in its folder.
    int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return {};
    std::vector<Entry> entries;
    auto folderPath = FilePaths::standardized(folder).native();
    Walk(standardizedRoot.native(), skippedNames, entries).visit(descriptor, folderPath);
    return entries;
}

}
