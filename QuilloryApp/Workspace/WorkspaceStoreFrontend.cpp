#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include "QuilloryCore/Frontend/FrontendPreviewExitMessage.h"
#include "QuilloryCore/Frontend/FrontendProjectCommands.h"

#include <array>

namespace Quillory {

namespace {

// Vite's banner has these; they are the only sign that the server is ready.
bool announcesReadiness(const std::string& text)
{
    return text.find("Local:") != std::string::npos || text.find("ready in") != std::string::npos;
}

// Each measured from the end of the previous step: 0.35 s, 1.25 s and 2.85 s after the start.
constexpr std::array<std::chrono::milliseconds, 3> warmupReloadDelays { std::chrono::milliseconds(350), std::chrono::milliseconds(900),
                                                                         std::chrono::milliseconds(1600) };

std::string portOf(const std::string& url)
{
    // "http://127.0.0.1:PORT/"; a URL without a port stands for Vite's default.
    auto hostStart = url.find("://");
    auto colon = url.find(':', hostStart == std::string::npos ? 0 : hostStart + 3);
    if (colon == std::string::npos)
        return "5173";
    auto end = url.find('/', colon);
    return url.substr(colon + 1, end == std::string::npos ? std::string::npos : end - colon - 1);
}

}

FrontendProjectDetector WorkspaceStore::frontendProjectDetector() const
{
    return FrontendProjectDetector(FrontendToolAvailability::inFolders(m_frontendToolFolders));
}

std::string WorkspaceStore::frontendInstallCommandDescription() const
{
    if (!m_frontendProject.get())
        return "No frontend project detected.";
    return "Quillory will run `npm install` in " + m_frontendProject.get()->rootURL.string() + ".";
}

void WorkspaceStore::startFrontendPreview()
{
    const auto& project = m_frontendProject.get();
    if (!project) {
        m_errorMessage.set("No frontend project detected.");
        return;
    }
    if (!project->hasNodeModules) {
        m_frontendPreviewStore.setState(FrontendPreviewState::needsInstall());
        return;
    }
    if (!project->toolAvailability.nodePath) {
        m_frontendPreviewStore.setState(FrontendPreviewState::failed("Node.js was not found. Install Node.js before starting the Vite preview."));
        return;
    }
    if (!project->toolAvailability.npmPath) {
        m_frontendPreviewStore.setState(FrontendPreviewState::failed("npm was not found. Install npm before starting the Vite preview."));
        return;
    }

    std::weak_ptr<int> lifetime = m_lifetime;
    std::string url;
    try {
        url = m_frontendRunner->startDevServer(
            *project, frontendPreferredPort,
            [this, lifetime](const std::string& text) {
                if (!lifetime.expired())
                    handleFrontendRunnerOutput(text);
            },
            [this, lifetime](int status) {
                if (!lifetime.expired())
                    frontendDevServerDidExit(status);
            });
    } catch (const std::exception& error) {
        m_frontendPreviewStore.setState(FrontendPreviewState::failed(error.what()));
        return;
    }
    m_frontendPreviewStore.setState(FrontendPreviewState::running(url));
    handleFrontendRunnerOutput("$ npm run dev -- --host 127.0.0.1 --port " + portOf(url) + " --strictPort\n");
    m_previewReloadToken.set(UUID::random());
    scheduleFrontendPreviewWarmupReloads(url);
    m_pageInspectionStore.clear();
}

void WorkspaceStore::frontendDevServerDidExit(int status)
{
    // An exit after the preview left running (stopped, failed, reconfigured) changes nothing.
    if (m_frontendPreviewStore.state()->kind != FrontendPreviewState::Case::running)
        return;
    m_frontendPreviewStore.setState(status == 0 ? FrontendPreviewState::stopped() : FrontendPreviewState::failed(FrontendPreviewExitMessage::message(status)));
    m_previewReloadToken.set(UUID::random());
}

void WorkspaceStore::stopFrontendPreview()
{
    m_frontendRunner->stopDevServer();
    if (!m_frontendProject.get())
        return;
    if (m_frontendPreviewStore.state()->kind == FrontendPreviewState::Case::running) {
        m_frontendPreviewStore.setState(FrontendPreviewState::stopped());
        m_previewReloadToken.set(UUID::random());
    }
}

void WorkspaceStore::handleFrontendRunnerOutput(const std::string& text)
{
    m_frontendPreviewStore.appendOutput(text);
    // Each chunk by itself: a banner split between two chunks does not count.
    if (m_frontendPreviewStore.state()->kind == FrontendPreviewState::Case::running && announcesReadiness(text))
        m_previewReloadToken.set(UUID::random());
}

void WorkspaceStore::scheduleFrontendPreviewWarmupReloads(const std::string& url)
{
    continueFrontendPreviewWarmupReloads(url, 0, m_nextFrontendWarmupReload++);
}

void WorkspaceStore::continueFrontendPreviewWarmupReloads(std::string url, std::size_t step, std::uint64_t taskID)
{
    if (step == warmupReloadDelays.size()) {
        m_frontendWarmupReloads.erase(taskID);
        return;
    }
    m_frontendWarmupReloads[taskID] = m_scheduler.schedule(warmupReloadDelays[step], [this, url = std::move(url), step, taskID]() mutable {
        // The task ends by itself once the preview stopped running, or runs at another URL.
        const auto* runningURL = m_frontendPreviewStore.state()->runningURL();
        if (!runningURL || *runningURL != url) {
            m_frontendWarmupReloads.erase(taskID);
            return;
        }
        m_previewReloadToken.set(UUID::random());
        continueFrontendPreviewWarmupReloads(std::move(url), step + 1, taskID);
    });
}

void WorkspaceStore::requestFrontendDependencyInstall()
{
    if (!m_frontendProject.get())
        return;
    m_frontendPreviewStore.setShowingInstallConfirmation(true);
}

void WorkspaceStore::installFrontendDependencies()
{
    const auto& project = m_frontendProject.get();
    if (!project) {
        m_errorMessage.set("No frontend project detected.");
        return;
    }
    if (!project->toolAvailability.nodePath) {
        m_frontendPreviewStore.setState(FrontendPreviewState::failed("Node.js was not found. Install Node.js before installing dependencies."));
        return;
    }
    if (!project->toolAvailability.npmPath) {
        m_frontendPreviewStore.setState(FrontendPreviewState::failed("npm was not found. Install npm before installing dependencies."));
        return;
    }
    m_frontendPreviewStore.setState(FrontendPreviewState::installing());
    handleFrontendRunnerOutput("$ npm install\n");

    std::weak_ptr<int> lifetime = m_lifetime;
    m_frontendRunner->runTerminatingCommand(
        FrontendProjectCommands::installCommand(*project),
        [this, lifetime](const std::string& text) {
            if (!lifetime.expired())
                handleFrontendRunnerOutput(text);
        },
        [this, lifetime, root = project->rootURL](FrontendCommandRunResult result) {
            // A result for a project that another workspace has replaced meanwhile is dropped.
            if (!lifetime.expired() && m_frontendProject.get() && m_frontendProject.get()->rootURL == root)
                frontendInstallDidFinish(result);
        });
}

void WorkspaceStore::frontendInstallDidFinish(const FrontendCommandRunResult& result)
{
    if (result.kind == FrontendCommandRunResult::Case::failure) {
        m_frontendPreviewStore.setState(FrontendPreviewState::failed(result.message));
        return;
    }
    std::optional<FrontendProject> project;
    try {
        project = frontendProjectDetector().detect(m_frontendProject.get()->rootURL);
    } catch (const std::exception& error) {
        m_frontendPreviewStore.setState(FrontendPreviewState::failed(error.what()));
        return;
    }
    if (!project) {
        m_frontendPreviewStore.setState(FrontendPreviewState::failed("Vite React project was not detected after installing dependencies."));
        return;
    }
    auto state = project->initialPreviewState();
    m_frontendProject.set(std::move(project));
    // A run of npm that succeeded counts as done, whatever node_modules shows.
    m_frontendPreviewStore.setState(state == FrontendPreviewState::needsInstall() ? FrontendPreviewState::ready() : state);
}

}
