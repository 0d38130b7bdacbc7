#include "QuilloryApp/WorkspaceStore.h"

#include "QuilloryApp/SitePreviewURL.h"

#include "QuilloryCore/BrightloopSourceMapper.h"
#include "QuilloryCore/FilePaths.h"
#include "QuilloryCore/PageUndoHistory.h"
#include "QuilloryCore/QuilloryErrors.h"
#include "QuilloryCore/StringHelpers.h"
#include "QuilloryCore/TextFile.h"
#include "QuilloryCore/UnicodeText.h"
#include "QuilloryCore/UnifiedDiff.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <system_error>
#include <variant>

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

void WorkspaceStore::cancelAutosaveTask()
{
    m_autosaveTask.reset();
}

// Workspace.

void WorkspaceStore::loadWorkspace(const std::filesystem::path& rootURL)
{
    // The old workspace's pending text is written before anything is torn down.
    cancelAutosaveTask();
    if (!autosaveCurrentPageIfNeeded())
        return;
    // The old workspace's dev server is stopped here once the frontend runner exists.

    // Nothing of the old workspace is replaced until the new one is fully scanned.
    std::optional<SiteMap> siteMap;
    std::vector<EditableDocument> documents;
    try {
        siteMap = m_siteGraphBuilder.build(rootURL);
        // Frontend project detection joins here; until it exists no folder counts as a project.
        documents = EditableDocumentBuilder::build(rootURL, *siteMap, IncludeFrontendSource::no);
    } catch (const std::exception& error) {
        publishFailedWorkspace(error.what());
        return;
    }

    auto selection = defaultSelectedDocumentID(*siteMap, documents, FrontendProjectPresence::absent);
    m_rootURL.set(rootURL);
    m_siteMap.set(std::move(siteMap));
    // The frontend project and the frontend preview's configuration and log are published here.
    m_editableDocuments.set(std::move(documents));
    m_errorMessage.set(std::nullopt);
    m_editSessions.clear();
    m_undoHistories.clear();
    // The Git snapshot is reset here.
    m_brightloopStore.reset();
    m_pageInspectionStore.clear();
    m_selectedPageID.set(std::move(selection));
    loadSelectedPage();
    // The Git snapshot and status refreshes start here.
    m_recentProjectsStore.recordOpenedProject(rootURL);
    m_recentProjects.set(m_recentProjectsStore.projects());
}

void WorkspaceStore::publishFailedWorkspace(const std::string& message)
{
    // A failed open closes the old workspace too; only rootURL keeps its old value.
    m_errorMessage.set(message);
    m_siteMap.set(std::nullopt);
    m_editableDocuments.set({});
    // The frontend project and the frontend preview are reset here.
    m_selectedPageID.set(std::nullopt);
    setEditorTextFromStore({});
    m_editSessions.clear();
    m_undoHistories.clear();
    // The Git status and the Git snapshot are reset here.
    m_brightloopStore.reset();
    m_pageInspectionStore.clear();
}

std::optional<std::string> WorkspaceStore::defaultSelectedDocumentID(const SiteMap& siteMap, const std::vector<EditableDocument>& documents,
                                                                     FrontendProjectPresence frontendProject)
{
    // A frontend project opens on its application source, not on its index.html.
    if (frontendProject == FrontendProjectPresence::present) {
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

// Selection and preview.

void WorkspaceStore::loadSelectedPage()
{
    auto document = selectedDocument();
    if (!document) {
        setEditorTextFromStore({});
        return;
    }
    // Returning to a document gives back what was typed, not what the file holds now.
    if (auto session = m_editSessions.find(document->id()); session != m_editSessions.end()) {
        setEditorTextFromStore(session->second.currentText);
        m_previewReloadToken.set(UUID::random());
        m_errorMessage.set(std::nullopt);
        return;
    }
    std::u16string text;
    try {
        text = TextFile::readUTF8(document->url);
    } catch (const std::exception& error) {
        // No session is made, so an autosave can't overwrite the unread file with the empty text,
        // and a later selection tries the disk again.
        m_errorMessage.set(error.what());
        setEditorTextFromStore({});
        return;
    }
    m_editSessions.insert_or_assign(document->id(), PageEditSession(document->id(), text));
    setEditorTextFromStore(std::move(text));
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
    // The Git snapshot is reset here.
    loadSelectedPage();
    // The selected file's Git snapshot is refreshed here.
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

// Edit sessions.

PageEditSession* WorkspaceStore::mutableSelectedEditSession()
{
    const auto& selection = m_selectedPageID.get();
    if (!selection)
        return nullptr;
    auto session = m_editSessions.find(*selection);
    return session == m_editSessions.end() ? nullptr : &session->second;
}

void WorkspaceStore::editorTextDidChange()
{
    if (m_isLoadingEditorText)
        return;
    if (!m_selectedPageID.get())
        return;
    if (auto* session = mutableSelectedEditSession()) {
        // The text as it stood before this change; every change that alters the text records one.
        if (session->currentText != m_editorText.get())
            recordUndoSnapshot(session->pageID, session->currentText);
        session->updateCurrentText(m_editorText.get());
    }
    // The generation is the guard against stale autosave results; it must never wrap around.
    if (m_autosaveGeneration == std::numeric_limits<std::uint64_t>::max())
        std::abort();
    ++m_autosaveGeneration;
    scheduleAutosave();
}

void WorkspaceStore::recordUndoSnapshot(const std::string& pageID, const std::u16string& text)
{
    auto& history = m_undoHistories[pageID];
    PageUndoHistory::record(history, text, std::chrono::system_clock::now());
}

void WorkspaceStore::scheduleAutosave()
{
    // Each change starts the delay again.
    cancelAutosaveTask();
    auto generation = m_autosaveGeneration;
    // The handle dies with the store, which stops the callback, so `this` stays valid in it.
    m_autosaveTask = m_scheduler.schedule(autosaveDelay, [this, generation] { autosaveCurrentPageInBackgroundIfNeeded(generation); });
}

void WorkspaceStore::autosaveCurrentPageInBackgroundIfNeeded(std::uint64_t generation)
{
    if (generation != m_autosaveGeneration)
        return;
    auto document = selectedDocument();
    const auto* session = selectedEditSession();
    if (!m_rootURL.get() || !document || !session)
        return;
    if (session->currentText == session->lastAutosavedText)
        return;

    auto text = session->currentText;
    auto pageID = document->id();
    // The worker touches only these copies. The Git file snapshot will join the write here.
    auto write = [url = document->url, text]() -> std::optional<std::string> {
        try {
            TextFile::writeUTF8Atomically(url, text);
            return std::nullopt;
        } catch (const std::exception& error) {
            return std::string(error.what());
        }
    };
    auto apply = [this, lifetime = std::weak_ptr<int>(m_lifetime), generation, pageID, text](std::optional<std::string> failure) {
        if (!lifetime.lock())
            return;
        // A result that no longer describes the selected text is dropped without a message.
        if (generation != m_autosaveGeneration || m_selectedPageID.get() != pageID)
            return;
        auto stored = m_editSessions.find(pageID);
        if (stored == m_editSessions.end() || stored->second.currentText != text)
            return;
        if (failure) {
            // lastAutosavedText stays, so the page stays pending and the next change tries again.
            m_errorMessage.set(*failure);
            return;
        }
        stored->second.lastAutosavedText = text;
        // The Git snapshot is published here.
        m_previewReloadToken.set(UUID::random());
        m_pageInspectionStore.clear();
        m_errorMessage.set(std::nullopt);
        // A quiet Git status refresh starts here, 0.15 seconds later.
    };
    m_scheduler.runInBackground(std::move(write), std::move(apply));
}

bool WorkspaceStore::autosaveCurrentPageIfNeeded()
{
    auto document = selectedDocument();
    auto* session = mutableSelectedEditSession();
    if (!document || !session || session->currentText == session->lastAutosavedText)
        return true;
    try {
        TextFile::writeUTF8Atomically(document->url, session->currentText);
    } catch (const std::exception& error) {
        m_errorMessage.set(error.what());
        return false;
    }
    session->markAutosaved();
    m_previewReloadToken.set(UUID::random());
    m_pageInspectionStore.clear();
    m_errorMessage.set(std::nullopt);
    // The Git snapshot refresh and a quiet Git status refresh 0.15 seconds later start here.
    return true;
}

bool WorkspaceStore::undoSelectedPageChange(const std::optional<UUID>& snapshotID)
{
    auto* session = mutableSelectedEditSession();
    if (!session)
        return false;
    auto history = m_undoHistories.find(session->pageID);
    if (history == m_undoHistories.end() || history->second.empty())
        return false;
    auto result = PageUndoHistory::undo(history->second, snapshotID, session->currentText, std::chrono::system_clock::now());
    if (!result)
        return false;
    session->updateCurrentText(result->restoredText);
    history->second = std::move(result->history);
    // A store write: it records no snapshot of its own.
    setEditorTextFromStore(std::move(result->restoredText));
    m_previewReloadToken.set(UUID::random());
    m_pageInspectionStore.clear();
    scheduleAutosave();
    return true;
}

void WorkspaceStore::revertSelectedPageToOpenedBaseline()
{
    cancelAutosaveTask();
    auto document = selectedDocument();
    auto* session = mutableSelectedEditSession();
    if (!document || !session)
        return;
    try {
        TextFile::writeUTF8Atomically(document->url, session->openedBaselineText);
    } catch (const std::exception& error) {
        m_errorMessage.set(error.what());
        return;
    }
    // The undo history stays as it is; no snapshot of the discarded text is taken.
    session->revertToOpenedBaseline();
    session->markAutosaved();
    setEditorTextFromStore(session->openedBaselineText);
    m_previewReloadToken.set(UUID::random());
    m_pageInspectionStore.clear();
    m_errorMessage.set(std::nullopt);
    // The Git snapshot and a Git status refresh start here.
}

// Brightloop.

void WorkspaceStore::applyBrightloopRecords(const std::vector<BrightloopDOMRecord>& records, const BrightloopRect& fence)
{
    auto document = selectedDocument();
    if (!document)
        return;
    BrightloopSelection selection { document->relativePath, document->relativePath, fence };
    // The mapper reads the text the user sees, saved or not.
    auto result = std::holds_alternative<PreviewTarget::FrontendServer>(previewTarget().value)
        ? generatedFrontendBrightloopResult(records, selection)
        : BrightloopSourceMapper::map(records, m_editorText.get(), document->relativePath, selection);
    // A new fence always clears the old effects.
    m_brightloopStore.setPreviewDirective(BrightloopPreviewDirective::empty());
    m_brightloopStore.setResult(std::move(result));
    m_brightloopStore.setPendingFence(std::nullopt);
}

BrightloopResult WorkspaceStore::generatedFrontendBrightloopResult(const std::vector<BrightloopDOMRecord>& records, const BrightloopSelection& selection)
{
    auto isPresentAndNotBlank = [](const std::optional<std::string>& text) {
        return text && !StringHelpers::trimmingWhitespaceAndNewlines(*text).empty();
    };
    std::vector<BrightloopCandidate> candidates;
    candidates.reserve(records.size());
    for (const auto& record : records) {
        BrightloopCandidate candidate;
        candidate.id = UUID::random();
        candidate.kind = BrightloopCandidateKind::unknown;
        if (isPresentAndNotBlank(record.renderedTextSnippet))
            candidate.label = *record.renderedTextSnippet;
        else if (isPresentAndNotBlank(record.textSnippet))
            candidate.label = *record.textSnippet;
        else
            candidate.label = "<" + record.tagName + ">";
        candidate.confidence = BrightloopConfidence::generatedOrExternal;
        candidate.dom = record;
        double overlap = BrightloopSourceMapper::overlapFraction(record.rect, selection.fence);
        candidate.overlapFraction = std::isnan(overlap) ? 0 : std::clamp(overlap, 0.0, 1.0);
        candidate.reason = "Rendered by the Vite React dev server; React source-map editing is not available in this slice.";
        candidates.push_back(std::move(candidate));
    }
    return BrightloopResult(selection, std::move(candidates));
}

// Page snapshot.

void WorkspaceStore::requestPageInspectionSnapshot()
{
    // The older snapshot stays shown while the new one is made.
    m_pageInspectionStore.setIsLoading(true);
    m_pageInspectionStore.setErrorMessage(std::nullopt);
    m_pageInspectionStore.setRequestToken(UUID::random());
}

void WorkspaceStore::applyPageInspectionSnapshot(PageInspectionSnapshot snapshot)
{
    // Answers carry no token: a late one is applied even after a clear.
    m_pageInspectionStore.setSnapshot(std::move(snapshot));
    m_pageInspectionStore.setIsLoading(false);
    m_pageInspectionStore.setErrorMessage(std::nullopt);
}

void WorkspaceStore::failPageInspectionSnapshot(std::string message)
{
    m_pageInspectionStore.setIsLoading(false);
    m_pageInspectionStore.setErrorMessage(std::move(message));
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
    // The frontend dev server joins here when frontend projects are detected and run.
    return PreviewTarget::choose(std::nullopt, std::nullopt, page);
}

std::optional<SitePage> WorkspaceStore::selectedPage() const
{
    if (!m_siteMap.get())
        return std::nullopt;
    return m_siteMap.get()->page(m_selectedPageID.get());
}

const PageEditSession* WorkspaceStore::selectedEditSession() const
{
    const auto& selection = m_selectedPageID.get();
    if (!selection)
        return nullptr;
    auto session = m_editSessions.find(*selection);
    return session == m_editSessions.end() ? nullptr : &session->second;
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

std::vector<PageUndoSnapshot> WorkspaceStore::selectedPageUndoHistory() const
{
    const auto& selection = m_selectedPageID.get();
    if (!selection)
        return {};
    auto history = m_undoHistories.find(*selection);
    return history == m_undoHistories.end() ? std::vector<PageUndoSnapshot> {} : history->second;
}

std::string WorkspaceStore::editStateDescription() const
{
    const auto* session = selectedEditSession();
    if (session && session->currentText != session->lastAutosavedText)
        return "Pending autosave";
    if (!session || session->currentText == session->openedBaselineText)
        return "At opened baseline";
    return "Autosaved changes";
}

std::u16string WorkspaceStore::selectedPageDiff() const
{
    auto document = selectedDocument();
    const auto* session = selectedEditSession();
    if (!document || !session)
        return u"No file selected.";
    return UnifiedDiff::make(session->openedBaselineText, session->currentText, document->relativePath, "opened", "current");
}

}
