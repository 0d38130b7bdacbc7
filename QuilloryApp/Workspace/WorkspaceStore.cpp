#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include "QuilloryApp/Preview/SitePreviewURL.h"
#include "QuilloryApp/Workspace/SiteFolderWatcher.h"
#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/Text/TextFile.h"

#include <algorithm>
#include <system_error>

namespace Quillory {

WorkspaceStore::WorkspaceStore(WorkspaceRecentProjectsStore& recentProjectsStore, Scheduler& scheduler)
    : m_recentProjectsStore(recentProjectsStore)
    , m_scheduler(scheduler)
    , m_recentProjects(recentProjectsStore.projects())
{
}

WorkspaceStore::~WorkspaceStore() = default;

void WorkspaceStore::setEditorText(std::u16string text)
{
    m_editorText.set(std::move(text));
}

void WorkspaceStore::clearErrorMessage()
{
    m_errorMessage.set(std::nullopt);
}

void WorkspaceStore::setEditorTextFromStore(std::u16string text)
{
    // Raised while the store writes, so that editorTextDidChange() can tell this from typing.
    m_isLoadingEditorText = true;
    m_editorText.set(std::move(text));
    m_isLoadingEditorText = false;
}

// Workspace.

void WorkspaceStore::loadWorkspace(const std::filesystem::path& rootURL)
{
    // The old workspace's pending text is written before anything is torn down.
    cancelAutosaveTask();
    if (!autosaveCurrentPageIfNeeded())
        return;
    stopFrontendPreview();

    // Nothing of the old workspace is replaced until the new one is fully scanned.
    std::optional<SiteMap> siteMap;
    std::vector<EditableDocument> documents;
    std::optional<FrontendProject> frontendProject;
    try {
        siteMap = m_siteGraphBuilder.build(rootURL);
        frontendProject = frontendProjectDetector().detect(rootURL);
        documents = EditableDocumentBuilder::build(rootURL, *siteMap, frontendProject ? IncludeFrontendSource::yes : IncludeFrontendSource::no);
    } catch (const std::exception& error) {
        publishFailedWorkspace(error.what());
        return;
    }

    auto selection = defaultSelectedDocumentID(*siteMap, documents, frontendProject);
    m_rootURL.set(rootURL);
    m_siteMap.set(std::move(siteMap));
    m_frontendProject.set(frontendProject);
    if (frontendProject)
        m_frontendPreviewStore.configure(frontendProject);
    else
        m_frontendPreviewStore.configureUnsupported("No Vite React project detected.");
    m_editableDocuments.set(std::move(documents));
    m_errorMessage.set(std::nullopt);
    m_editSessions.clear();
    m_undoHistories.clear();
    m_selectedPageGitSnapshot.setIfChanged(FileGitSnapshot::noSelection());
    m_brightloopStore.reset();
    m_pageInspectionStore.clear();
    m_selectedPageID.set(std::move(selection));
    loadSelectedPage();
    startWatchingSiteFolder();
    refreshSelectedPageGitSnapshot();
    startGitStatusRefresh(std::nullopt, GitRefreshDisplay::markLoading);
    m_recentProjectsStore.recordOpenedProject(rootURL);
    m_recentProjects.set(m_recentProjectsStore.projects());
}

void WorkspaceStore::publishFailedWorkspace(const std::string& message)
{
    // A failed open closes the old workspace too; only rootURL keeps its old value.
    stopWatchingSiteFolder();
    m_errorMessage.set(message);
    m_siteMap.set(std::nullopt);
    m_editableDocuments.set({});
    m_frontendProject.set(std::nullopt);
    m_frontendPreviewStore.configureUnsupported("No frontend project detected.");
    m_selectedPageID.set(std::nullopt);
    setEditorTextFromStore({});
    m_editSessions.clear();
    m_undoHistories.clear();
    resetGitState();
    m_brightloopStore.reset();
    m_pageInspectionStore.clear();
}

std::optional<std::string> WorkspaceStore::defaultSelectedDocumentID(const SiteMap& siteMap, const std::vector<EditableDocument>& documents,
                                                                     const std::optional<FrontendProject>& frontendProject)
{
    // A frontend project opens on its application source, not on its index.html.
    if (frontendProject) {
        for (const char* candidate : { "src/App.jsx", "src/App.tsx", "src/main.jsx", "src/main.tsx" }) {
            auto found = std::find_if(documents.begin(), documents.end(), [&](const auto& document) { return document.relativePath == candidate; });
            if (found != documents.end())
                return found->id();
        }
    }
    if (siteMap.primaryTree.pageID)
        return siteMap.primaryTree.pageID;
    if (!siteMap.pages.empty())
        return siteMap.pages.front().id;
    if (!documents.empty())
        return documents.front().id();
    return std::nullopt;
}

void WorkspaceStore::openRecentWorkspace(const WorkspaceRecentProject& project)
{
    auto url = FilePaths::standardized(project.path);
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(url, error))) {
        // The entry may live in the list that is about to be rewritten; keep its name first.
        auto name = project.name;
        m_recentProjectsStore.removeProjects(url.string());
        m_recentProjects.set(m_recentProjectsStore.projects());
        m_errorMessage.set(name + " no longer exists at " + url.string() + ".");
        return;
    }
    loadWorkspace(url);
}

// Selection and preview.

void WorkspaceStore::loadSelectedPage()
{
    // A question about the file of the previous selection no longer stands.
    m_diskConflict.setIfChanged(std::nullopt);
    auto document = selectedDocument();
    if (!document) {
        setEditorTextFromStore({});
        return;
    }
    // Returning to a document gives back what was typed, not what the file holds now, unless
    // another program changed the file meanwhile.
    if (auto session = m_editSessions.find(document->id()); session != m_editSessions.end()) {
        setEditorTextFromStore(session->second.currentText);
        m_previewReloadToken.set(UUID::random());
        m_errorMessage.set(std::nullopt);
        checkSelectedFileOnDisk();
        return;
    }
    TextFile::FingerprintedText read;
    try {
        read = TextFile::readFingerprintedUTF8(document->url);
    } catch (const std::exception& error) {
        // No session is made, so an autosave can't overwrite the unread file with the empty text,
        // and a later selection tries the disk again.
        m_errorMessage.set(error.what());
        setEditorTextFromStore({});
        return;
    }
    PageEditSession session(document->id(), read.text);
    session.diskFingerprint = read.fingerprint;
    m_editSessions.insert_or_assign(document->id(), std::move(session));
    setEditorTextFromStore(std::move(read.text));
    m_previewReloadToken.set(UUID::random());
    m_errorMessage.set(std::nullopt);
}

bool WorkspaceStore::requestSelectDocument(const std::optional<std::string>& documentID)
{
    if (documentID == m_selectedPageID.get())
        return true;
    cancelAutosaveTask();
    if (!autosaveCurrentPageIfNeeded())
        return false;
    m_brightloopStore.reset();
    m_pageInspectionStore.clear();
    m_selectedPageID.set(documentID);
    m_selectedPageGitSnapshot.setIfChanged(FileGitSnapshot::noSelection());
    loadSelectedPage();
    refreshSelectedPageGitSnapshot();
    return true;
}

void WorkspaceStore::refreshPreview()
{
    cancelAutosaveTask();
    // A failed write shows its message and the preview reloads anyway, with what is on disk.
    autosaveCurrentPageIfNeeded();
    m_previewReloadToken.set(UUID::random());
    m_pageInspectionStore.clear();
}

// Derived values.

std::optional<EditableDocument> WorkspaceStore::selectedDocument() const
{
    const auto& selection = m_selectedPageID.get();
    if (!selection)
        return std::nullopt;
    const auto& documents = m_editableDocuments.get();
    auto found = std::find_if(documents.begin(), documents.end(), [&](const auto& document) { return document.id() == *selection; });
    if (found == documents.end())
        return std::nullopt;
    return *found;
}

PreviewTarget WorkspaceStore::previewTarget() const
{
    std::optional<PreviewTarget::StaticPage> page;
    if (auto selected = selectedPage())
        page = PreviewTarget::StaticPage { selected->id, SitePreviewURL::url(*selected) };
    std::optional<std::string> runningURL;
    if (auto* url = m_frontendPreviewStore.state()->runningURL())
        runningURL = *url;
    std::optional<FrontendProjectKind> projectKind;
    if (m_frontendProject.get())
        projectKind = m_frontendProject.get()->kind;
    return PreviewTarget::choose(runningURL, projectKind, page);
}

std::optional<SitePage> WorkspaceStore::selectedPage() const
{
    if (!m_siteMap.get())
        return std::nullopt;
    return m_siteMap.get()->page(m_selectedPageID.get());
}
std::vector<EditableDocument> WorkspaceStore::sourceDocuments() const
{
    std::vector<EditableDocument> sources;
    for (const auto& document : m_editableDocuments.get()) {
        if (document.kind == EditableDocumentKind::sourceFile)
            sources.push_back(document);
    }
    return sources;
}

std::size_t WorkspaceStore::sourceDocumentCount() const
{
    const auto& documents = m_editableDocuments.get();
    return static_cast<std::size_t>(std::count_if(documents.begin(), documents.end(), [](const auto& document) { return document.kind == EditableDocumentKind::sourceFile; }));
}

}
