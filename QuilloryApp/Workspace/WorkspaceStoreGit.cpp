#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include "QuilloryApp/Git/GitStatusService.h"
#include "QuilloryCore/Text/UnicodeText.h"

namespace Quillory {

void WorkspaceStore::resetGitState()
{
    m_gitRefreshTask.reset();
    ++m_gitRefreshGeneration;
    ++m_selectedPageGitSnapshotGeneration;
    m_gitStatus.setIfChanged(GitStatusSnapshot::noWorkspace());
    m_selectedPageGitSnapshot.setIfChanged(FileGitSnapshot::noSelection());
}

void WorkspaceStore::startGitStatusRefresh(std::optional<std::chrono::milliseconds> delay, GitRefreshDisplay display)
{
    if (!m_siteMap.get() || !m_rootURL.get()) {
        m_gitStatus.setIfChanged(GitStatusSnapshot::noWorkspace());
        return;
    }
    // Each start supersedes the one before: its delay is stopped and a Git run already under way
    // finishes without its result being used.
    m_gitRefreshTask.reset();
    auto generation = ++m_gitRefreshGeneration;
    if (display == GitRefreshDisplay::markLoading)
        m_gitStatus.setIfChanged(GitStatusSnapshot::loading());

    auto run = [this, generation, rootURL = *m_rootURL.get()] {
        m_gitRefreshTask.reset();
        if (generation != m_gitRefreshGeneration)
            return;
        m_scheduler.runInBackground([rootURL] { return GitStatusService::snapshot(rootURL); },
            [this, lifetime = std::weak_ptr<int>(m_lifetime), generation, rootURL](GitStatusSnapshot snapshot) {
                if (!lifetime.lock() || generation != m_gitRefreshGeneration || m_rootURL.get() != rootURL)
                    return;
                m_gitStatus.setIfChanged(std::move(snapshot));
            });
    };
    if (!delay) {
        run();
        return;
    }
    // The handle dies with the store, which stops the callback, so `this` stays valid in it.
    m_gitRefreshTask = m_scheduler.schedule(*delay, std::move(run));
}

void WorkspaceStore::refreshSelectedPageGitSnapshot()
{
    auto generation = ++m_selectedPageGitSnapshotGeneration;
    auto document = selectedDocument();
    if (!m_siteMap.get() || !m_rootURL.get() || !document) {
        m_selectedPageGitSnapshot.setIfChanged(FileGitSnapshot::noSelection());
        return;
    }
    auto rootURL = *m_rootURL.get();
    m_scheduler.runInBackground(
        [rootURL, url = document->url, relativePath = document->relativePath] { return GitStatusService::fileSnapshot(rootURL, url, relativePath); },
        [this, lifetime = std::weak_ptr<int>(m_lifetime), generation, rootURL, url = document->url, relativePath = document->relativePath](FileGitSnapshot snapshot) {
            if (!lifetime.lock() || generation != m_selectedPageGitSnapshotGeneration || m_rootURL.get() != rootURL)
                return;
            // A snapshot of a page the user has left leaves the new page's snapshot alone.
            auto selected = selectedDocument();
            if (!selected || selected->relativePath != relativePath || selected->url != url)
                return;
            m_selectedPageGitSnapshot.setIfChanged(std::move(snapshot));
        });
}

bool WorkspaceStore::trackSelectedPageInGit()
{
    auto document = selectedDocument();
    if (!m_rootURL.get() || !document) {
        m_errorMessage.set("No file selected.");
        return false;
    }
    // The file is saved before it is added.
    cancelAutosaveTask();
    if (!autosaveCurrentPageIfNeeded())
        return false;
    auto result = GitStatusService::addFileToTracking(*m_rootURL.get(), document->url);
    if (!result.succeeded) {
        m_errorMessage.set(result.message.empty() ? "Git could not add the selected file." : result.message);
        refreshSelectedPageGitSnapshot();
        return false;
    }
    m_errorMessage.set(std::nullopt);
    refreshSelectedPageGitSnapshot();
    startGitStatusRefresh(std::nullopt, GitRefreshDisplay::markLoading);
    return true;
}

bool WorkspaceStore::restoreSelectedPageFromGitHead()
{
    auto document = selectedDocument();
    if (!m_rootURL.get() || !document) {
        m_errorMessage.set("No file selected.");
        return false;
    }
    // No autosave: the editor's text is thrown away by design.
    cancelAutosaveTask();
    auto result = GitStatusService::restoreFileFromHEAD(*m_rootURL.get(), document->url);
    if (!result.succeeded) {
        m_errorMessage.set(result.message.empty() ? "Git could not restore the selected file." : result.message);
        refreshSelectedPageGitSnapshot();
        return false;
    }
    auto text = UnicodeText::utf16(result.text);
    // The opened baseline stays as it was.
    if (auto* session = mutableSelectedEditSession())
        adoptWrittenText(*session, text);
    // The file changed on purpose: neither the watch nor the next write may take it for another
    // program's change, and a question about an earlier outside change is answered by the restore.
    rememberSelectedFileOnDisk();
    m_diskConflict.set(std::nullopt);
    setEditorTextFromStore(std::move(text));
    m_previewReloadToken.set(UUID::random());
    m_brightloopStore.reset();
    m_pageInspectionStore.clear();
    m_errorMessage.set(std::nullopt);
    refreshSelectedPageGitSnapshot();
    startGitStatusRefresh(std::nullopt, GitRefreshDisplay::markLoading);
    return true;
}

}
