#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include "QuilloryApp/Git/GitStatusService.h"
#include "QuilloryCore/Editing/PageUndoHistory.h"
#include "QuilloryCore/Editing/UnifiedDiff.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <system_error>

namespace Quillory {

void WorkspaceStore::cancelAutosaveTask()
{
    m_autosaveTask.reset();
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
    // What the file may hold: what the session last read or wrote, or a write of ours under way.
    std::vector<std::uint64_t> ownContents;
    auto [firstWrite, lastWrite] = m_backgroundWrites.equal_range(pageID);
    for (auto write = firstWrite; write != lastWrite; ++write)
        ownContents.push_back(write->second);
    auto contentHash = beginBackgroundWrite(pageID, text);
    struct WriteResult {
        std::optional<TextFileFingerprint> written;
        std::optional<std::string> failure;
        bool changedOnDisk { false };
        // The file's Git state read right after the write.
        FileGitSnapshot gitSnapshot;
    };
    // The worker touches only these copies.
    auto write = [url = document->url, text, remembered = session->diskFingerprint, ownContents, rootURL = *m_rootURL.get(),
                  relativePath = document->relativePath]() -> WriteResult {
        try {
            if (remembered) {
                // Another program's change is never overwritten; the user is asked first.
                auto current = TextFileFingerprint::current(url);
                bool isOwn = current.hasSameContent(*remembered)
                    || (current.exists && std::find(ownContents.begin(), ownContents.end(), current.contentHash) != ownContents.end());
                if (!isOwn)
                    return { std::nullopt, std::nullopt, true, {} };
            }
            auto written = TextFile::writeFingerprintedUTF8Atomically(url, text);
            return { written, std::nullopt, false, GitStatusService::fileSnapshot(rootURL, url, relativePath) };
        } catch (const std::exception& error) {
            return { std::nullopt, std::string(error.what()), false, {} };
        }
    };
    auto apply = [this, lifetime = std::weak_ptr<int>(m_lifetime), generation, pageID, text, contentHash](WriteResult result) {
        if (!lifetime.lock())
            return;
        endBackgroundWrite(pageID, contentHash);
        auto stored = m_editSessions.find(pageID);
        // The file holds this text now, whether or not the result still counts.
        if (result.written && stored != m_editSessions.end())
            stored->second.diskFingerprint = result.written;
        // A result that no longer describes the selected text is dropped without a message.
        if (generation != m_autosaveGeneration || m_selectedPageID.get() != pageID)
            return;
        if (stored == m_editSessions.end() || stored->second.currentText != text)
            return;
        if (result.changedOnDisk) {
            raiseDiskConflict(pageID);
            return;
        }
        if (result.failure) {
            // lastAutosavedText stays, so the page stays pending and the next change tries again.
            m_errorMessage.set(*result.failure);
            return;
        }
        stored->second.lastAutosavedText = text;
        m_selectedPageGitSnapshot.setIfChanged(std::move(result.gitSnapshot));
        m_previewReloadToken.set(UUID::random());
        m_pageInspectionStore.clear();
        m_errorMessage.set(std::nullopt);
        startGitStatusRefresh(quietGitRefreshDelay, GitRefreshDisplay::quiet);
    };
    m_scheduler.runInBackground(std::move(write), std::move(apply));
}

bool WorkspaceStore::autosaveCurrentPageIfNeeded()
{
    auto document = selectedDocument();
    auto* session = mutableSelectedEditSession();
    if (!document || !session || session->currentText == session->lastAutosavedText)
        return true;
    if (!writeSelectedFileCheckingDisk(session->currentText))
        return false;
    session->markAutosaved();
    m_previewReloadToken.set(UUID::random());
    m_pageInspectionStore.clear();
    m_errorMessage.set(std::nullopt);
    refreshSelectedPageGitSnapshot();
    startGitStatusRefresh(quietGitRefreshDelay, GitRefreshDisplay::quiet);
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
    if (!writeSelectedFileCheckingDisk(session->openedBaselineText))
        return;
    // The undo history stays as it is; no snapshot of the discarded text is taken.
    adoptWrittenText(*session, session->openedBaselineText);
    setEditorTextFromStore(session->openedBaselineText);
    m_previewReloadToken.set(UUID::random());
    m_pageInspectionStore.clear();
    m_errorMessage.set(std::nullopt);
    refreshSelectedPageGitSnapshot();
    startGitStatusRefresh(std::nullopt, GitRefreshDisplay::markLoading);
}

void WorkspaceStore::adoptWrittenText(PageEditSession& session, std::u16string text)
{
    session.updateCurrentText(std::move(text));
    session.markAutosaved();
}

const PageEditSession* WorkspaceStore::selectedEditSession() const
{
    const auto& selection = m_selectedPageID.get();
    if (!selection)
        return nullptr;
    auto session = m_editSessions.find(*selection);
    return session == m_editSessions.end() ? nullptr : &session->second;
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
    return selectedPageDiffComputation()();
}

std::function<std::u16string()> WorkspaceStore::selectedPageDiffComputation() const
{
    auto document = selectedDocument();
    const auto* session = selectedEditSession();
    if (!document || !session)
        return [] { return std::u16string(u"No file selected."); };
    return [baseline = session->openedBaselineText, current = session->currentText, path = document->relativePath] {
        return UnifiedDiff::make(baseline, current, path, "opened", "current");
    };
}

}
