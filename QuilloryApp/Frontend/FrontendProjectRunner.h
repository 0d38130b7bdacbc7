#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Frontend/FrontendProcessCommand.h"
#include "QuilloryCore/Frontend/FrontendProject.h"
#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/Text/UUID.h"

#include <gio/gio.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Quillory {

// How `npm install` ended: `success`, or `failure` with npm's output or a sentence.
struct FrontendCommandRunResult {
    enum class Case {
        success,
        failure,
    };
    static FrontendCommandRunResult success() { return { Case::success, {} }; }
    static FrontendCommandRunResult failure(std::string message) { return { Case::failure, std::move(message) }; }

    Case kind { Case::success };
    std::string message;

    friend bool operator==(const FrontendCommandRunResult&, const FrontendCommandRunResult&) = default;
};

// A dev server that could not be launched; the text is the system's reason.
class FrontendLaunchError : public QuilloryError {
public:
    using QuilloryError::QuilloryError;
};

// Launches and stops the frontend project's processes and captures their output. At most one dev
// server runs at a time. Each child runs in a process group of its own: `npm run dev` starts a
// shell and Node under npm, and only a signal to the whole group ends them all. Main thread only.
class FrontendProjectRunner {
public:
    static constexpr int portAttempts = 20;

    FrontendProjectRunner();
    // Ends a dev server that still runs, with its whole group, and waits a few seconds for it and
    // for the groups stopped before to go, so that nothing outlives the runner holding the port.
    ~FrontendProjectRunner();
    FrontendProjectRunner(const FrontendProjectRunner&) = delete;
    FrontendProjectRunner& operator=(const FrontendProjectRunner&) = delete;

    // Runs a command to its end on a worker thread, then hands its output (stdout followed by
    // stderr, when not blank) to `onOutput` and the result to `completion`, both on the main
    // thread. Neither may assume the runner still exists. There is no time limit and no cancel.
    void runTerminatingCommand(const FrontendProcessCommand&, std::function<void(const std::string&)> onOutput,
                               std::function<void(FrontendCommandRunResult)> completion);

    // Replaces any running dev server with `npm run dev` on the first free port from
    // `preferredPort` and returns its URL, "http://127.0.0.1:PORT/". Output chunks (valid UTF-8
    // only) reach `onOutput` and the exit status (the signal's number when a signal ended it)
    // `onTermination`, both on the main thread and only while this launch is the current one.
    // Throws FrontendLaunchError.
    std::string startDevServer(const FrontendProject&, std::uint16_t preferredPort, std::function<void(const std::string&)> onOutput,
                               std::function<void(int)> onTermination);
    // Sends SIGTERM to the dev server's group, if there is one. Neither callback of that launch is
    // called afterwards.
    void stopDevServer();

    // The first port from `startingAt`, of `maxAttempts`, that an IPv4 socket can bind on
    // 127.0.0.1; `startingAt` when none can. A probe: it reserves nothing.
    static std::uint16_t firstAvailablePort(std::uint16_t startingAt, int maxAttempts);

    // The process group of the running dev server (its leader is npm), if one runs and its id is
    // known (a launch that ended at once may still await its exit report without one).
    std::optional<pid_t> devProcessGroup() const;

private:
    struct OutputCapture;

    void attachOutputCapture(GSubprocess*, std::function<void(const std::string&)> onOutput);
    void clearOutputCapture();
    void devProcessDidExit(const UUID& launchID, GSubprocess*, const std::function<void(int)>& onTermination);

    GRef<GSubprocess> m_devProcess;
    std::optional<UUID> m_devProcessID;
    pid_t m_devProcessGroup { 0 };
    // Groups told to terminate that may still be ending; the destructor waits for them too.
    std::vector<pid_t> m_endingProcessGroups;
    // Cancelled by clearOutputCapture(); the pipes' pending reads end with it.
    GRef<GCancellable> m_outputCancellable;
    // Completions of asynchronous waits check that the runner still exists.
    std::shared_ptr<int> m_lifetime { std::make_shared<int>(0) };
};

}
