#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <system_error>

namespace Quillory {

namespace {

std::vector<std::string> pathComponents(std::string_view path)
{
    std::vector<std::string> components;
    std::size_t start = 0;
    while (start <= path.size()) {
        auto slash = path.find('/', start);
        auto end = slash == std::string_view::npos ? path.size() : slash;
        if (end > start)
            components.emplace_back(path.substr(start, end - start));
        start = end + 1;
    }
    return components;
}

}

void WorkspaceStore::createStarterWorkspace(const std::filesystem::path& at)
{
    cancelAutosaveTask();
    if (!autosaveCurrentPageIfNeeded())
        return;
    auto folder = FilePaths::standardized(at);
    std::error_code error;
    if (std::filesystem::exists(std::filesystem::symlink_status(folder, error))) {
        m_errorMessage.set(folder.filename().string() + " already exists.");
        return;
    }
    std::filesystem::create_directories(folder, error);
    if (error) {
        m_errorMessage.set("The folder " + TextFile::quotedFileName(folder) + " couldn\u2019t be created: " + error.message() + ".");
        return;
    }
    auto title = pageTitle(folder.filename().string());
    try {
        TextFile::writeUTF8Atomically(folder / "index.html", starterPageText(title));
    } catch (const std::exception& writeError) {
        // The created folder stays.
        m_errorMessage.set(writeError.what());
        return;
    }
    loadWorkspace(folder);
}

std::string WorkspaceStore::pageTitle(std::string_view path)
{
    auto components = pathComponents(path);
    std::string name;
    if (!components.empty()) {
        const auto& last = components.back();
        // An index page is named after its folder; one with no folder above it in the path keeps its own name.
        if ((last == "index.html" || last == "index.htm") && components.size() >= 2)
            name = components[components.size() - 2];
        else
            name = FilePaths::deletingPathExtension(last);
    }
    std::replace(name.begin(), name.end(), '-', ' ');
    std::replace(name.begin(), name.end(), '_', ' ');
    std::string title;
    std::size_t start = 0;
    while (start < name.size()) {
        auto space = name.find(' ', start);
        auto end = space == std::string::npos ? name.size() : space;
        if (end > start) {
            if (!title.empty())
                title.push_back(' ');
            title += StringHelpers::capitalized(std::string_view(name).substr(start, end - start));
        }
        start = end + 1;
    }
    if (title.empty())
        return "New Page";
    return title;
}

std::u16string WorkspaceStore::starterPageText(std::string_view title)
{
    std::string text;
    text += "<!doctype html>\n"
            "<html lang=\"en\">\n"
            "<head>\n"
            "    <meta charset=\"utf-8\">\n"
            "    <meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
            "    <title>";
    text += title;
    text += "</title>\n"
            "</head>\n"
            "<body>\n"
            "    <main>\n"
            "        <h1>";
    text += title;
    text += "</h1>\n"
            "    </main>\n"
            "</body>\n"
            "</html>";
    return UnicodeText::utf16(text);
}

}
