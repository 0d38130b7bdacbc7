#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/QuilloryErrors.h"

#include <variant>

namespace Quillory {

// Live site fetch.

std::filesystem::path WorkspaceStore::repositoryRootURL()
{
    // There is no application bundle to stand beside, so snapshots go below the working directory,
    // never into the opened site.
    std::error_code error;
    return FilePaths::standardized(std::filesystem::current_path(error));
}

void WorkspaceStore::fetchLiveSite(const std::string& typedURL)
{
    cancelAutosaveTask();
    if (!autosaveCurrentPageIfNeeded())
        return;
    std::string startURL;
    try {
        startURL = LiveSiteFetcher::startURL(typedURL);
    } catch (const QuilloryError& error) {
        m_errorMessage.set(error.what());
        return;
    }

    m_liveFetchIsLoading.set(true);
    m_liveFetchSummary.set(std::nullopt);
    m_errorMessage.set(std::nullopt);

    using Outcome = std::variant<LiveSiteFetchResult, std::string>;
    auto fetch = [fetcher = m_liveSiteFetcher, startURL, parent = repositoryRootURL() / "Playgrounds" / "fetched-live",
                  fetchedAt = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now())]() -> Outcome {
        try {
            return fetcher.fetch(startURL, parent, fetchedAt);
        } catch (const std::exception& error) {
            return std::string(error.what());
        }
    };
    auto finish = [this, lifetime = std::weak_ptr<int>(m_lifetime)](Outcome outcome) {
        if (!lifetime.lock())
            return;
        if (auto* failure = std::get_if<std::string>(&outcome)) {
            m_errorMessage.set(*failure);
            m_liveFetchIsLoading.set(false);
            return;
        }
        auto& result = std::get<LiveSiteFetchResult>(outcome);
        loadWorkspace(result.rootURL);
        m_liveFetchSummary.set(Quillory::liveFetchSummary(result));
        m_liveFetchIsLoading.set(false);
    };
    m_scheduler.runInBackground(std::move(fetch), std::move(finish));
}

}
