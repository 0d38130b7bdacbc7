#pragma once

#include "QuilloryApp/Brightloop/BrightloopStore.h"
#include "QuilloryApp/Formatter/DprintFormatterService.h"
#include "QuilloryApp/Frontend/FrontendPreviewStore.h"
#include "QuilloryApp/Frontend/FrontendProjectRunner.h"
#include "QuilloryApp/Support/ObservableProperty.h"
#include "QuilloryApp/Inspection/PageInspectionStore.h"
#include "QuilloryApp/Support/Scheduler.h"
#include "QuilloryApp/Workspace/WorkspaceRecentProjectsStore.h"
#include "QuilloryCore/Brightloop/BrightloopModels.h"
#include "QuilloryCore/SiteModel/EditableDocument.h"
#include "QuilloryCore/Editing/PageEditSession.h"
#include "QuilloryCore/Inspection/PageInspectionSnapshot.h"
#include "QuilloryCore/LiveFetch/LiveSiteFetcher.h"
#include "QuilloryCore/Editing/PageUndoSnapshot.h"
#include "QuilloryCore/Git/FileGitSnapshot.h"
#include "QuilloryCore/Git/GitStatusSnapshot.h"
#include "QuilloryCore/Frontend/FrontendProject.h"
#include "QuilloryCore/Frontend/FrontendProjectDetector.h"
#include "QuilloryCore/SiteModel/PreviewTarget.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "QuilloryCore/SiteModel/SiteGraphModels.h"
#include "QuilloryCore/Text/TextFileFingerprint.h"
#include "QuilloryCore/Text/UUID.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

class SiteFolderWatcher;

// Whether a Git status refresh shows "Checking Git" while it runs.
enum class GitRefreshDisplay {
    markLoading,
    quiet,
};

// The hub of one main window: the open site, the selection, the editor's text, every edit session
// and undo history, and the autosave that writes them back. Main thread only; views read the
// observed properties, connect to their `changed` signals and call the operations.
class WorkspaceStore {
public:
    static constexpr std::chrono::milliseconds autosaveDelay { 650 };

    WorkspaceStore(WorkspaceRecentProjectsStore& recentProjectsStore, Scheduler& scheduler);
    ~WorkspaceStore();
    WorkspaceStore(const WorkspaceStore&) = delete;
    WorkspaceStore& operator=(const WorkspaceStore&) = delete;

    // Observed state.
    // The opened folder as it was given; keeps its old value when an open fails.
    const ObservableProperty<std::optional<std::filesystem::path>>& rootURL() const { return m_rootURL; }
    // Present exactly while a workspace is open.
    const ObservableProperty<std::optional<SiteMap>>& siteMap() const { return m_siteMap; }
    const ObservableProperty<std::vector<EditableDocument>>& editableDocuments() const { return m_editableDocuments; }
    // A document id (a page's or a source file's relative path).
    const ObservableProperty<std::optional<std::string>>& selectedPageID() const { return m_selectedPageID; }
    const ObservableProperty<std::u16string>& editorText() const { return m_editorText; }
    // A new value tells the preview to reload.
    const ObservableProperty<UUID>& previewReloadToken() const { return m_previewReloadToken; }
    // The one line of error text the window shows.
    const ObservableProperty<std::optional<std::string>>& errorMessage() const { return m_errorMessage; }
    const ObservableProperty<std::vector<WorkspaceRecentProject>>& recentProjects() const { return m_recentProjects; }

    // The fence feature and the page snapshot, owned here so that workspace events can reset them.
    BrightloopStore& brightloopStore() { return m_brightloopStore; }
    const BrightloopStore& brightloopStore() const { return m_brightloopStore; }
    PageInspectionStore& pageInspectionStore() { return m_pageInspectionStore; }
    const PageInspectionStore& pageInspectionStore() const { return m_pageInspectionStore; }

    // The editor's side of the two-way binding: the editor writes the user's text here, then
    // calls editorTextDidChange().
    void setEditorText(std::u16string text);
    void editorTextDidChange();
    // For views that dismiss the message (a sheet clears it on appearing).
    void clearErrorMessage();

    // Workspace.
    // Writes the old page's pending text first (a failure leaves the old workspace open), then
    // scans the folder and replaces the workspace. Failures go to errorMessage.
    void loadWorkspace(const std::filesystem::path& rootURL);
    void openRecentWorkspace(const WorkspaceRecentProject&);
    // Makes a new folder holding a starter "index.html" and opens it.
    void createStarterWorkspace(const std::filesystem::path& at);

    // Selection and preview.
    // False when the pending text could not be written; the selection then stays.
    bool requestSelectDocument(const std::optional<std::string>& documentID);
    void refreshPreview();

    // Edit sessions.
    // Writes the selected document's pending text now, on the calling thread. False means the
    // write failed (errorMessage says why) and the caller must not go on.
    bool autosaveCurrentPageIfNeeded();
    // Jumps back to the newest snapshot, or the one with this id. False when nothing changed.
    bool undoSelectedPageChange(const std::optional<UUID>& snapshotID = std::nullopt);
    void revertSelectedPageToOpenedBaseline();

    // Brightloop.
    // Maps a fence's records against the editor's current (possibly unsaved) text, or makes
    // generated candidates for a dev server page; the new result replaces the old one and clears
    // the preview effects. Nothing when no document is selected.
    void applyBrightloopRecords(const std::vector<BrightloopDOMRecord>& records, const BrightloopRect& fence);
    // A dev server's output has no mapping to source: one generatedOrExternal candidate per record.
    static BrightloopResult generatedFrontendBrightloopResult(const std::vector<BrightloopDOMRecord>& records,
                                                              const BrightloopSelection& selection);

    // Page snapshot.
    // Asks the preview for a new snapshot; an older one stays shown meanwhile.
    void requestPageInspectionSnapshot();
    void applyPageInspectionSnapshot(PageInspectionSnapshot);
    // The message reaches the panel as it stands; the previous snapshot stays.
    void failPageInspectionSnapshot(std::string message);

    // Outside changes (WorkspaceStoreDiskChanges.cpp). Each session remembers what its file held
    // when it last read or wrote it. Every writer of the selected file checks the file first, and
    // when another program changed or removed it since, nothing is written: the text stays in the
    // editor and diskConflict asks the user. Writers other than the edit session (Git restore,
    // the formatter) use the same check.
    struct DiskConflict {
        enum class Kind {
            changed,
            deleted,
        };
        std::string documentID;
        Kind kind { Kind::changed };
        // The one line the window shows: "index.html changed on disk." or "index.html was deleted on disk.".
        std::string message() const;
        friend bool operator==(const DiskConflict&, const DiskConflict&) = default;
    };
    // Present while the selected document's file changed on disk under unsaved text, or a write
    // found it changed; "Reload from Disk" and "Keep My Version" answer it.
    const ObservableProperty<std::optional<DiskConflict>>& diskConflict() const { return m_diskConflict; }
    // True when the selected document's file no longer holds what its session last read or wrote
    // (another program changed or removed it). False with no selection or no session. Reads the file.
    bool selectedFileChangedOnDisk() const;
    // The checked write every writer of the selected file goes through: writes `text` only while
    // the file still holds what the session last read or wrote, and then remembers the new
    // state. On an outside change nothing is written, diskConflict is raised and the result is
    // false; a failed write puts its reason into errorMessage and gives false as well. The
    // session's texts are the caller's to update.
    bool writeSelectedFileCheckingDisk(const std::u16string& text);
    // For a writer that changed the selected file on purpose by other means (a Git restore):
    // remembers what the file holds now, so that the change is not taken for another program's.
    void rememberSelectedFileOnDisk();
    // "Reload from Disk": the file's text becomes the session's current and last written text, so
    // nothing is pending; an undo snapshot keeps what the editor held. For a deleted file the
    // session is dropped and the site is scanned again.
    void reloadSelectedPageFromDisk();
    // "Keep My Version": writes the editor's text over the file (and so recreates a deleted one).
    void keepSelectedPageVersion();
    // How long the folder watch waits for a burst of file events to end.
    static constexpr std::chrono::milliseconds diskChangeDelay { 150 };
    // Formatting with the bundled dprint.
    // A document is selected, dprint formats its extension, and the bundled formatter is present.
    bool selectedDocumentCanFormat() const;
    // Formats a copy of the editor's text on a worker thread; the result becomes the editor's text
    // as an edit of the user's (one undo step, autosave, preview reload). Does nothing while a
    // run is under way; failures go to errorMessage and leave the text as it is.
    void formatSelectedDocument();
    const ObservableProperty<bool>& isFormattingDocument() const { return m_isFormattingDocument; }
    // The formatter in use; by default the one beside the application.
    void setFormatterService(DprintFormatterService);

    // Live site fetch (WorkspaceStoreLiveFetch.cpp).
    // True from the start of a fetch until it has opened its snapshot or failed.
    const ObservableProperty<bool>& liveFetchIsLoading() const { return m_liveFetchIsLoading; }
    // "Fetched URL into FOLDER with N assets and M skipped resources." after the last success.
    const ObservableProperty<std::optional<std::string>>& liveFetchSummary() const { return m_liveFetchSummary; }
    // Writes the pending text, then copies the page the user typed, with its same-origin resources,
    // into a new folder under Playgrounds/fetched-live on a worker thread, and opens that folder in
    // place of the current workspace, which stays open meanwhile. Reports through errorMessage.
    void fetchLiveSite(const std::string& typedURL);
    // Where Playgrounds/ lies: the process's working directory, standardised.
    static std::filesystem::path repositoryRootURL();
    // The fetcher's limits and timeouts; tests make them small.
    LiveSiteFetcher& liveSiteFetcher() { return m_liveSiteFetcher; }

    // Derived values.
    std::optional<EditableDocument> selectedDocument() const;
    // Nothing for a source document.
    std::optional<SitePage> selectedPage() const;
    // What the preview shows: the selected page through the private scheme, or why there is nothing.
    PreviewTarget previewTarget() const;
    // Null when nothing is selected or the selection has no session; valid until the next operation.
    const PageEditSession* selectedEditSession() const;
    std::vector<EditableDocument> sourceDocuments() const;
    std::size_t sourceDocumentCount() const;
    // Newest first.
    std::vector<PageUndoSnapshot> selectedPageUndoHistory() const;
    // "Pending autosave", "At opened baseline" or "Autosaved changes".
    std::string editStateDescription() const;
    // The whole-file diff of the selected document against its opened baseline, or "No file selected.".
    std::u16string selectedPageDiff() const;

    // Review Diff: selectedPageDiff() as a computation that owns copies of the texts it compares,
    // so that it can run on a worker thread while the store goes on changing.
    std::function<std::u16string()> selectedPageDiffComputation() const;

    // Git and page creation: the working tree's and the selected file's Git state, tracking and
    // restore, and new pages inside Git-tracked folders.
    static constexpr std::chrono::milliseconds quietGitRefreshDelay { 150 };
    const ObservableProperty<GitStatusSnapshot>& gitStatus() const { return m_gitStatus; }
    const ObservableProperty<FileGitSnapshot>& selectedPageGitSnapshot() const { return m_selectedPageGitSnapshot; }
    // Replaces a running refresh. `delay` absent runs Git at once; a loading refresh shows
    // "Checking Git" meanwhile, a quiet one keeps the old state until the new one arrives.
    void startGitStatusRefresh(std::optional<std::chrono::milliseconds> delay, GitRefreshDisplay);
    // The selected file's snapshot, on a worker; the old one stays until the new one arrives.
    void refreshSelectedPageGitSnapshot();
    // Writes the pending text, then adds only the selected file to the index. False on failure
    // (errorMessage says why).
    bool trackSelectedPageInGit();
    // Throws the editor's text away and writes the file as HEAD has it; the user has confirmed.
    bool restoreSelectedPageFromGitHead();
    // Creates a starter page inside a Git-tracked folder of the site and selects it. True means the
    // sheet may close; every refusal leaves its reason in errorMessage.
    bool createPage(const std::string& relativePath, bool addToGitTracking);
    // The selected document's folder followed by "/untitled.html", or "untitled.html" at the root.
    std::string suggestedNewPagePath() const;

    // The document a newly opened workspace selects.
    static std::optional<std::string> defaultSelectedDocumentID(const SiteMap&, const std::vector<EditableDocument>&,
                                                                const std::optional<FrontendProject>&);
    // A readable title from a path or folder name: "my-first_page.html" gives "My First Page",
    // "blog/index.html" gives "Blog"; an index page with no folder in the path is named "Index".
    static std::string pageTitle(std::string_view path);
    // The text of a new page with this title (inserted unescaped).
    static std::u16string starterPageText(std::string_view title);

    // Frontend projects: the detected Vite React project, its dev server preview and npm install.
    static constexpr std::uint16_t frontendPreferredPort = 5173;
    // Detected when the workspace loaded, and again after an install; absent for a static site.
    const ObservableProperty<std::optional<FrontendProject>>& frontendProject() const { return m_frontendProject; }
    FrontendPreviewStore& frontendPreviewStore() { return m_frontendPreviewStore; }
    const FrontendPreviewStore& frontendPreviewStore() const { return m_frontendPreviewStore; }
    const FrontendProjectRunner& frontendRunner() const { return *m_frontendRunner; }
    // Where detection looks for node and npm: FrontendToolAvailability::candidateFolders() unless
    // replaced (tests put tools of their own first).
    void setFrontendToolFolders(std::vector<std::filesystem::path> folders) { m_frontendToolFolders = std::move(folders); }
    bool isShowingFrontendInstallConfirmation() const { return m_frontendPreviewStore.isShowingInstallConfirmation().get(); }
    void setShowingFrontendInstallConfirmation(bool showing) { m_frontendPreviewStore.setShowingInstallConfirmation(showing); }
    // "Quillory will run `npm install` in ROOT.", or "No frontend project detected.".
    std::string frontendInstallCommandDescription() const;
    // Starts the dev server on the first free port from 5173 (replacing a running one), or says
    // why it can't: dependencies missing, a tool missing, a failed launch.
    void startFrontendPreview();
    // Ends the dev server; a running preview becomes stopped.
    void stopFrontendPreview();
    // Raises the install confirmation.
    void requestFrontendDependencyInstall();
    // Runs `npm install` on a worker thread, then detects the project anew. Returns at once.
    void installFrontendDependencies();
    // A chunk of the processes' output: into the log, and a reload when Vite's banner shows while running.
    void handleFrontendRunnerOutput(const std::string& text);
    // Reloads the preview 0.35 s, 1.25 s and 2.85 s from now while the preview still runs at `url`.
    void scheduleFrontendPreviewWarmupReloads(const std::string& url);

private:
    void setEditorTextFromStore(std::u16string text);
    void loadSelectedPage();
    void recordUndoSnapshot(const std::string& pageID, const std::u16string& text);
    void scheduleAutosave();
    void autosaveCurrentPageInBackgroundIfNeeded(std::uint64_t generation);
    void cancelAutosaveTask();
    void publishFailedWorkspace(const std::string& message);
    PageEditSession* mutableSelectedEditSession();

    // Outside changes and the folder watch (WorkspaceStoreDiskChanges.cpp).
    void startWatchingSiteFolder();
    void stopWatchingSiteFolder();
    void siteFolderDidChange(const std::filesystem::path&);
    void handleDiskChanges();
    // Whether the document's file holds neither what its session last read or wrote nor a write of
    // this store still under way. False for a document without a session.
    bool documentChangedOnDisk(const std::string& documentID) const;
    // Called for the selected document when it is shown and when its file changed: reloads the
    // file when nothing is pending, asks when something is.
    void checkSelectedFileOnDisk();
    void adoptDiskText(PageEditSession&, TextFile::FingerprintedText);
    void raiseDiskConflict(const std::string& documentID);
    void rebuildSiteInBackground();
    void applyRebuiltSite(SiteMap, std::vector<EditableDocument>);
    // Remembers a background write under way, so that its file event isn't taken for an outside one.
    std::uint64_t beginBackgroundWrite(const std::string& documentID, const std::u16string& text);
    void endBackgroundWrite(const std::string& documentID, std::uint64_t contentHash);

    WorkspaceRecentProjectsStore& m_recentProjectsStore;
    Scheduler& m_scheduler;
    SiteGraphBuilder m_siteGraphBuilder;

    ObservableProperty<std::optional<std::filesystem::path>> m_rootURL;
    ObservableProperty<std::optional<SiteMap>> m_siteMap;
    ObservableProperty<std::vector<EditableDocument>> m_editableDocuments;
    ObservableProperty<std::optional<std::string>> m_selectedPageID;
    ObservableProperty<std::u16string> m_editorText;
    ObservableProperty<UUID> m_previewReloadToken { UUID::random() };
    ObservableProperty<std::optional<std::string>> m_errorMessage;
    ObservableProperty<std::vector<WorkspaceRecentProject>> m_recentProjects;

    BrightloopStore m_brightloopStore;
    PageInspectionStore m_pageInspectionStore;

    // Live site fetch.
    ObservableProperty<bool> m_liveFetchIsLoading { false };
    ObservableProperty<std::optional<std::string>> m_liveFetchSummary;
    LiveSiteFetcher m_liveSiteFetcher;

    std::map<std::string, PageEditSession> m_editSessions;
    std::map<std::string, std::vector<PageUndoSnapshot>> m_undoHistories;
    bool m_isLoadingEditorText { false };
    std::optional<ScheduledTask> m_autosaveTask;
    std::uint64_t m_autosaveGeneration { 0 };
    // Outside changes and the folder watch.
    ObservableProperty<std::optional<DiskConflict>> m_diskConflict;
    std::unique_ptr<SiteFolderWatcher> m_siteFolderWatcher;
    std::vector<std::filesystem::path> m_pendingDiskChanges;
    std::optional<ScheduledTask> m_diskChangeTask;
    std::uint64_t m_siteRebuildGeneration { 0 };
    // Content hashes of background writes under way, by document id.
    std::multimap<std::string, std::uint64_t> m_backgroundWrites;
    // Formatting.
    DprintFormatterService m_formatterService;
    ObservableProperty<bool> m_isFormattingDocument { false };
    // Git and page creation.
    // Stops both Git refreshes and shows no workspace.
    void resetGitState();
    // A text the session now shares with the file on disk (a revert or a restore wrote it), so
    // the session records it as both its current and its last written text.
    void adoptWrittenText(PageEditSession&, std::u16string text);
    // The pending delay of a status refresh, and generations that make a superseded Git result
    // count for nothing.
    ObservableProperty<GitStatusSnapshot> m_gitStatus;
    ObservableProperty<FileGitSnapshot> m_selectedPageGitSnapshot { FileGitSnapshot::noSelection() };
    std::optional<ScheduledTask> m_gitRefreshTask;
    std::uint64_t m_gitRefreshGeneration { 0 };
    std::uint64_t m_selectedPageGitSnapshotGeneration { 0 };
    // Frontend projects.
    void continueFrontendPreviewWarmupReloads(std::string url, std::size_t step, std::uint64_t taskID);
    void frontendDevServerDidExit(int status);
    void frontendInstallDidFinish(const FrontendCommandRunResult&);
    FrontendProjectDetector frontendProjectDetector() const;
    ObservableProperty<std::optional<FrontendProject>> m_frontendProject;
    std::vector<std::filesystem::path> m_frontendToolFolders { FrontendToolAvailability::candidateFolders() };
    FrontendPreviewStore m_frontendPreviewStore;
    std::unique_ptr<FrontendProjectRunner> m_frontendRunner { std::make_unique<FrontendProjectRunner>() };
    // Warm-up reloads run by themselves until the state no longer matches; kept only so that they
    // end with the store.
    std::map<std::uint64_t, ScheduledTask> m_frontendWarmupReloads;
    std::uint64_t m_nextFrontendWarmupReload { 0 };

    // Background completions hold a weak reference to this and drop their result once it is gone.
    std::shared_ptr<int> m_lifetime { std::make_shared<int>(0) };
};

}
