#include "QuilloryCore/SiteModel/SiteFolderWalk.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <system_error>

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

}

std::vector<Entry> regularFiles(const std::filesystem::path& folder, const std::filesystem::path& standardizedRoot,
                                const std::vector<std::string_view>& skippedNames)
{
    // A walk that starts through a link (a "src" that links elsewhere) would list what lies there.
    if (!isInsideRealRoot(folder, standardizedRoot))
        return {};
    // Symbolic links to folders are not followed (the iterator's default): a link can neither
    // lead the walk out of the site nor into a cycle. A link to a file is not a regular file
    // either, since its own type is read below, so the site is what is really in its folder.
    std::error_code error;
    std::filesystem::recursive_directory_iterator walk(folder, std::filesystem::directory_options::skip_permission_denied, error);
    if (error)
        return {};

    const auto& rootText = standardizedRoot.native();
    std::vector<Entry> entries;
    for (const std::filesystem::recursive_directory_iterator end; walk != end;) {
        const auto& entry = *walk;
        if (isSkipped(entry.path().filename().native(), skippedNames)) {
            walk.disable_recursion_pending();
        } else {
            // The type the folder listing gave is used where there is one, sparing a query per
            // entry; a symbolic link is never taken for a regular file.
            bool isRegularFile = !entry.is_symlink(error) && !error && entry.is_regular_file(error);
            if (error)
                throw FileScanError("The file " + TextFile::quotedFileName(entry.path()) + " couldn\u2019t be examined: " + error.message() + ".");
            if (isRegularFile) {
                auto url = FilePaths::standardized(entry.path());
                entries.push_back({ relativePath(url.native(), rootText), std::move(url) });
            }
        }
        walk.increment(error);
        // Folders without permission are skipped; any other failure to go on (a folder that
        // vanished mid-walk) ends the walk with what was found. Only an unreadable type is an error.
        if (error)
            break;
    }
    return entries;
}

}
