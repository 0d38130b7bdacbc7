#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include "QuilloryApp/Git/GitStatusService.h"
#include "QuilloryCore/Creation/NewPagePaths.h"
#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <system_error>

namespace Quillory {

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

bool WorkspaceStore::createPage(const std::string& relativePath, bool addToGitTracking)
{
    // Every refusal names its reason and changes nothing beyond the autosave.
    auto refuse = [this](std::string message) {
        m_errorMessage.set(std::move(message));
        return false;
    };
    constexpr const char* unsafePathMessage = "Create pages inside the opened site; parent-directory paths are not allowed.";

    if (!m_rootURL.get())
        return refuse("Open a local site before creating a page.");
    auto rootURL = *m_rootURL.get();
    cancelAutosaveTask();
    if (!autosaveCurrentPageIfNeeded())
        return false;
    // A leading backslash passes here and is removed by normalizing.
    if (StringHelpers::startsWith(StringHelpers::trimmingWhitespaceAndNewlines(relativePath), "/"))
        return refuse("Create pages inside the opened site; absolute paths are not allowed.");
    auto path = NewPagePaths::normalizedNewPagePath(relativePath);
    if (path.empty())
        return refuse("Enter a relative page path, such as about.html.");
    auto extension = StringHelpers::asciiLowercased(FilePaths::pathExtension(path));
    if (extension != "html" && extension != "htm")
        return refuse("New pages must be .html or .htm files.");
    if (NewPagePaths::containsUnsafePathComponent(path))
        return refuse(unsafePathMessage);
    auto fileURL = FilePaths::standardized(FilePaths::appending(rootURL, path));
    if (!NewPagePaths::isDescendant(fileURL, FilePaths::standardized(rootURL)))
        return refuse(unsafePathMessage);
    std::error_code error;
    if (std::filesystem::exists(std::filesystem::symlink_status(fileURL, error)))
        return refuse(path + " already exists.");
    // Folders are never created here: a page goes only where Git already tracks files.
    if (!std::filesystem::is_directory(fileURL.parent_path(), error))
        return refuse("Create the parent folder first, then add the page inside a Git-tracked folder.");

    auto folder = NewPagePaths::parentPath(path);
    auto tracked = GitStatusService::trackedFolderStatus(rootURL, folder);
    switch (tracked.kind) {
    case GitStatusService::TrackedFolderStatus::Kind::untracked:
        return refuse("Cannot create " + path + " because " + (folder.empty() ? std::string("site root") : folder) + " is not a Git-tracked folder.");
    case GitStatusService::TrackedFolderStatus::Kind::notRepository:
        return refuse("Cannot create pages because the opened site is not inside a Git repository.");
    case GitStatusService::TrackedFolderStatus::Kind::failed:
        return refuse(tracked.message.empty() ? "Git could not verify the target folder." : tracked.message);
    case GitStatusService::TrackedFolderStatus::Kind::tracked:
        break;
    }

    try {
        TextFile::writeUTF8Atomically(fileURL, starterPageText(pageTitle(path)));
    } catch (const std::exception& writeError) {
        return refuse(writeError.what());
    }
    // From here on the page exists; a failed rebuild leaves it for the next scan to find.
    try {
        auto siteMap = m_siteGraphBuilder.build(rootURL);
        auto documents = EditableDocumentBuilder::build(rootURL, siteMap, m_frontendProject.get() ? IncludeFrontendSource::yes : IncludeFrontendSource::no);
        m_siteMap.set(std::move(siteMap));
        m_editableDocuments.set(std::move(documents));
    } catch (const std::exception& buildError) {
        return refuse(buildError.what());
    }
    // Other documents keep their sessions; the new page starts fresh.
    m_selectedPageID.set(path);
    m_editSessions.erase(path);
    m_undoHistories.erase(path);
    m_brightloopStore.reset();
    m_pageInspectionStore.clear();
    loadSelectedPage();
    m_errorMessage.set(std::nullopt);
    refreshSelectedPageGitSnapshot();
    if (addToGitTracking)
        return trackSelectedPageInGit();
    refreshSelectedPageGitSnapshot();
    startGitStatusRefresh(std::nullopt, GitRefreshDisplay::markLoading);
    return true;
}

std::string WorkspaceStore::suggestedNewPagePath() const
{
    auto document = selectedDocument();
    auto folder = document ? NewPagePaths::parentPath(document->relativePath) : std::string();
    return folder.empty() ? "untitled.html" : folder + "/untitled.html";
}

std::string WorkspaceStore::pageTitle(std::string_view path)
{
    auto components = FilePaths::nonEmptyComponents(path);
    std::string name;
    if (!components.empty()) {
        auto last = components.back();
        // An index page is named after its folder; one with no folder above it in the path keeps its own name.
        if ((last == "index.html" || last == "index.htm") && components.size() >= 2)
            name = std::string(components[components.size() - 2]);
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
