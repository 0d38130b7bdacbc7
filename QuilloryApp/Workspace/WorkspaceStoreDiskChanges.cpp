#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include "QuilloryApp/Workspace/SiteFolderWatcher.h"
#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <set>

namespace Quillory {

namespace {

// SiteMap is rebuilt, never patched; a rebuild that found what is shown already publishes nothing.
bool sameSite(const SiteMap& left, const SiteMap& right)
{
    return left.rootURL == right.rootURL && left.pages == right.pages && left.primaryTree == right.primaryTree
        && left.unplacedPages == right.unplacedPages && left.linksByPageID == right.linksByPageID;
}

}

std::string WorkspaceStore::DiskConflict::message() const
{
    auto name = std::filesystem::path(documentID).filename().string();
    return kind == Kind::changed ? name + " changed on disk." : name + " was deleted on disk.";
}

// The folder watch.

void WorkspaceStore::startWatchingSiteFolder()
{
    stopWatchingSiteFolder();
    if (!m_siteMap.get())
        return;
    m_siteFolderWatcher = std::make_unique<SiteFolderWatcher>(m_siteMap.get()->rootURL, [this](const std::filesystem::path& path) { siteFolderDidChange(path); });
}

void WorkspaceStore::stopWatchingSiteFolder()
{
    m_siteFolderWatcher.reset();
    m_pendingDiskChanges.clear();
    m_diskChangeTask.reset();
    // A scan under way belongs to the folder that was open.
    ++m_siteRebuildGeneration;
    m_diskConflict.setIfChanged(std::nullopt);
}

void WorkspaceStore::siteFolderDidChange(const std::filesystem::path& path)
{
    m_pendingDiskChanges.push_back(path.lexically_normal());
    // One look once the burst is over: a save by another program comes as several events.
    m_diskChangeTask = m_scheduler.schedule(diskChangeDelay, [this] { handleDiskChanges(); });
}

void WorkspaceStore::handleDiskChanges()
{
    m_diskChangeTask.reset();
    auto paths = std::exchange(m_pendingDiskChanges, {});
    std::set<std::string> changedDocuments;
    bool structureMayHaveChanged = false;
    for (const auto& path : paths) {
        const auto& documents = m_editableDocuments.get();
        auto document = std::find_if(documents.begin(), documents.end(), [&](const auto& candidate) { return candidate.url.lexically_normal() == path; });
        if (document == documents.end()) {
            // A file or folder the site doesn't know yet, or one that went away with its folder.
            structureMayHaveChanged = true;
            continue;
        }
        std::error_code error;
        if (!std::filesystem::exists(path, error))
            structureMayHaveChanged = true;
        changedDocuments.insert(document->id());
    }

    for (const auto& documentID : changedDocuments) {
        // This store's own writes come back as events too; they change nothing.
        if (!documentChangedOnDisk(documentID))
            continue;
        // A changed page may have a new title or new links.
        structureMayHaveChanged = true;
        if (documentID == m_selectedPageID.get()) {
            checkSelectedFileOnDisk();
            continue;
        }
        // A session in the background holds no pending text (leaving a page writes it), so it
        // simply takes the new text; a deleted file's session goes with the rebuild.
        auto session = m_editSessions.find(documentID);
        auto document = std::find_if(m_editableDocuments->begin(), m_editableDocuments->end(), [&](const auto& candidate) { return candidate.id() == documentID; });
        if (session == m_editSessions.end() || document == m_editableDocuments->end() || session->second.hasUnsavedChanges())
            continue;
        try {
            adoptDiskText(session->second, TextFile::readFingerprintedUTF8(document->url));
        } catch (const std::exception&) {
            // Gone or unreadable: the rebuild decides what becomes of the document.
        }
    }
    if (structureMayHaveChanged)
        rebuildSiteInBackground();
}

void WorkspaceStore::rebuildSiteInBackground()
{
    const auto& siteMap = m_siteMap.get();
    if (!siteMap)
        return;
    auto generation = ++m_siteRebuildGeneration;
    using Rebuilt = std::optional<std::pair<SiteMap, std::vector<EditableDocument>>>;
    // The scan reads every page; it runs on the worker over the root alone.
    auto includeSource = m_frontendProject.get() ? IncludeFrontendSource::yes : IncludeFrontendSource::no;
    auto scan = [root = siteMap->rootURL, includeSource]() -> Rebuilt {
        try {
            auto rebuilt = SiteGraphBuilder().build(root);
            auto documents = EditableDocumentBuilder::build(root, rebuilt, includeSource);
            return std::make_pair(std::move(rebuilt), std::move(documents));
        } catch (const std::exception&) {
            // A page caught half written, or one that isn't UTF-8: the site stays as shown
            // until the next change scans again.
            return std::nullopt;
        }
    };
    m_scheduler.runInBackground(std::move(scan), [this, lifetime = std::weak_ptr<int>(m_lifetime), generation](Rebuilt rebuilt) {
        if (!lifetime.lock() || generation != m_siteRebuildGeneration || !rebuilt)
            return;
        applyRebuiltSite(std::move(rebuilt->first), std::move(rebuilt->second));
    });
}

void WorkspaceStore::applyRebuiltSite(SiteMap siteMap, std::vector<EditableDocument> documents)
{
    auto exists = [&](const std::string& documentID) {
        return std::any_of(documents.begin(), documents.end(), [&](const auto& document) { return document.id() == documentID; });
    };
    const auto selection = m_selectedPageID.get();
    auto oldSelectedDocument = selectedDocument();
    const auto* selectedSession = selectedEditSession();
    bool keepsVanishedSelection = selection && !exists(*selection) && oldSelectedDocument && selectedSession && selectedSession->hasUnsavedChanges();
    if (keepsVanishedSelection) {
        // Unsaved text of a deleted file stays in the editor until the user answers.
        documents.push_back(*oldSelectedDocument);
    }

    // Sessions and undo histories of documents that still exist stay, with their selection.
    std::erase_if(m_editSessions, [&](const auto& entry) { return !exists(entry.first) && !(keepsVanishedSelection && entry.first == *selection); });
    std::erase_if(m_undoHistories, [&](const auto& entry) { return !exists(entry.first) && !(keepsVanishedSelection && entry.first == *selection); });

    bool siteChanged = !m_siteMap.get() || !sameSite(*m_siteMap.get(), siteMap);
    if (siteChanged)
        m_siteMap.set(std::move(siteMap));
    m_editableDocuments.setIfChanged(std::move(documents));

    if (keepsVanishedSelection) {
        raiseDiskConflict(*selection);
        return;
    }
    if (selection && !exists(*selection)) {
        // The selected file is gone and held nothing unsaved: the site opens where a new open would.
        m_diskConflict.setIfChanged(std::nullopt);
        m_brightloopStore.reset();
        m_pageInspectionStore.clear();
        m_selectedPageID.set(defaultSelectedDocumentID(*m_siteMap.get(), m_editableDocuments.get(), m_frontendProject.get()));
        loadSelectedPage();
        return;
    }
    if (siteChanged)
        m_previewReloadToken.set(UUID::random());
}

// The disk check.

std::uint64_t WorkspaceStore::beginBackgroundWrite(const std::string& documentID, const std::u16string& text)
{
    auto contentHash = TextFileFingerprint::hash(UnicodeText::utf8FromUTF16(text));
    m_backgroundWrites.emplace(documentID, contentHash);
    return contentHash;
}

void WorkspaceStore::endBackgroundWrite(const std::string& documentID, std::uint64_t contentHash)
{
    auto [first, last] = m_backgroundWrites.equal_range(documentID);
    auto found = std::find_if(first, last, [&](const auto& entry) { return entry.second == contentHash; });
    if (found != last)
        m_backgroundWrites.erase(found);
}

bool WorkspaceStore::documentChangedOnDisk(const std::string& documentID) const
{
    auto session = m_editSessions.find(documentID);
    if (session == m_editSessions.end() || !session->second.diskFingerprint)
        return false;
    const auto& documents = m_editableDocuments.get();
    auto document = std::find_if(documents.begin(), documents.end(), [&](const auto& candidate) { return candidate.id() == documentID; });
    if (document == documents.end())
        return false;
    TextFileFingerprint current;
    try {
        current = TextFileFingerprint::current(document->url);
    } catch (const std::exception&) {
        // Unreadable files can't be written either; the write reports why.
        return false;
    }
    if (current.hasSameContent(*session->second.diskFingerprint))
        return false;
    // A background write of this store may have landed before its completion recorded it.
    auto [first, last] = m_backgroundWrites.equal_range(documentID);
    return !(current.exists && std::any_of(first, last, [&](const auto& entry) { return entry.second == current.contentHash; }));
}

bool WorkspaceStore::selectedFileChangedOnDisk() const
{
    const auto& selection = m_selectedPageID.get();
    return selection && documentChangedOnDisk(*selection);
}

bool WorkspaceStore::writeSelectedFileCheckingDisk(const std::u16string& text)
{
    auto document = selectedDocument();
    auto* session = mutableSelectedEditSession();
    if (!document || !session)
        return false;
    if (selectedFileChangedOnDisk()) {
        raiseDiskConflict(document->id());
        return false;
    }
    try {
        session->diskFingerprint = TextFile::writeFingerprintedUTF8Atomically(document->url, text);
    } catch (const std::exception& error) {
        m_errorMessage.set(error.what());
        return false;
    }
    return true;
}

void WorkspaceStore::rememberSelectedFileOnDisk()
{
    auto document = selectedDocument();
    auto* session = mutableSelectedEditSession();
    if (!document || !session)
        return;
    try {
        session->diskFingerprint = TextFileFingerprint::current(document->url);
    } catch (const std::exception&) {
        session->diskFingerprint.reset();
    }
}

void WorkspaceStore::raiseDiskConflict(const std::string& documentID)
{
    auto document = std::find_if(m_editableDocuments->begin(), m_editableDocuments->end(), [&](const auto& candidate) { return candidate.id() == documentID; });
    std::error_code error;
    bool exists = document != m_editableDocuments->end() && std::filesystem::exists(document->url, error);
    m_diskConflict.setIfChanged(DiskConflict { documentID, exists ? DiskConflict::Kind::changed : DiskConflict::Kind::deleted });
}

void WorkspaceStore::checkSelectedFileOnDisk()
{
    auto document = selectedDocument();
    auto* session = mutableSelectedEditSession();
    if (!document || !session || !selectedFileChangedOnDisk())
        return;
    if (session->hasUnsavedChanges()) {
        raiseDiskConflict(document->id());
        return;
    }
    TextFile::FingerprintedText read;
    try {
        read = TextFile::readFingerprintedUTF8(document->url);
    } catch (const std::exception&) {
        // Deleted, or no longer UTF-8: the rebuild or the next write deals with it.
        return;
    }
    // Nothing was pending, so the editor simply follows the file.
    cancelAutosaveTask();
    adoptDiskText(*session, std::move(read));
    setEditorTextFromStore(session->currentText);
    m_previewReloadToken.set(UUID::random());
    m_pageInspectionStore.clear();
}

void WorkspaceStore::adoptDiskText(PageEditSession& session, TextFile::FingerprintedText read)
{
    // What the editor held stays one undo away.
    if (session.currentText != read.text)
        recordUndoSnapshot(session.pageID, session.currentText);
    session.updateCurrentText(std::move(read.text));
    session.markAutosaved();
    session.diskFingerprint = read.fingerprint;
}

void WorkspaceStore::reloadSelectedPageFromDisk()
{
    auto document = selectedDocument();
    auto* session = mutableSelectedEditSession();
    if (!document || !session)
        return;
    cancelAutosaveTask();
    TextFile::FingerprintedText read;
    try {
        read = TextFile::readFingerprintedUTF8(document->url);
    } catch (const std::exception& error) {
        std::error_code missing;
        if (std::filesystem::exists(document->url, missing)) {
            m_errorMessage.set(error.what());
            return;
        }
        // The file was deleted: its text goes with it, and the site is scanned without it.
        m_editSessions.erase(document->id());
        m_undoHistories.erase(document->id());
        m_diskConflict.setIfChanged(std::nullopt);
        rebuildSiteInBackground();
        return;
    }
    adoptDiskText(*session, std::move(read));
    m_diskConflict.setIfChanged(std::nullopt);
    setEditorTextFromStore(session->currentText);
    m_previewReloadToken.set(UUID::random());
    m_pageInspectionStore.clear();
    m_errorMessage.set(std::nullopt);
}

void WorkspaceStore::keepSelectedPageVersion()
{
    auto document = selectedDocument();
    auto* session = mutableSelectedEditSession();
    if (!document || !session)
        return;
    cancelAutosaveTask();
    try {
        session->diskFingerprint = TextFile::writeFingerprintedUTF8Atomically(document->url, session->currentText);
    } catch (const std::exception& error) {
        m_errorMessage.set(error.what());
        return;
    }
    session->markAutosaved();
    m_diskConflict.setIfChanged(std::nullopt);
    m_previewReloadToken.set(UUID::random());
    m_pageInspectionStore.clear();
    m_errorMessage.set(std::nullopt);
    // A recreated file belongs in the site again.
    rebuildSiteInBackground();
}

}
