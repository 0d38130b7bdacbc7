#include "QuilloryApp/Frontend/FrontendProjectRunner.h"

#include "QuilloryCore/Frontend/FrontendProjectCommands.h"

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <map>
#include <thread>
#include <vector>

namespace Quillory {

namespace {

// How long a destroyed runner waits for the dev server's group to end after SIGTERM before it
// sends SIGKILL.
constexpr auto groupExitGrace = std::chrono::seconds(5);

// The child leads a new process group, so that a signal to the group reaches npm, the shell and
// Node below it.
void enterOwnProcessGroup(gpointer)
{
    setpgid(0, 0);
}

bool processGroupExists(pid_t group)
{
    return kill(-group, 0) == 0 || errno == EPERM;
}

// The launcher for a command: its folder, the environment of the application with the command's
// PATH prefixes and CI, and a process group of its own. The caller picks the pipes.
GRef<GSubprocessLauncher> makeDetachedProcess(const FrontendProcessCommand& command, GSubprocessFlags flags)
{
    std::map<std::string, std::string> environment;
    gchar** current = g_get_environ();
    for (gchar** entry = current; *entry; ++entry) {
        std::string_view pair(*entry);
        auto equals = pair.find('=');
        if (equals != std::string_view::npos)
            environment.emplace(pair.substr(0, equals), pair.substr(equals + 1));
    }
    g_strfreev(current);

    std::vector<std::string> pairs;
    for (const auto& [name, value] : command.processEnvironment(std::move(environment)))
        pairs.push_back(name + "=" + value);
    std::vector<const gchar*> environ;
    for (const auto& pair : pairs)
        environ.push_back(pair.c_str());
    environ.push_back(nullptr);

    auto launcher = GRef<GSubprocessLauncher>::adopt(g_subprocess_launcher_new(flags));
    g_subprocess_launcher_set_environ(launcher.get(), const_cast<gchar**>(environ.data()));
    g_subprocess_launcher_set_cwd(launcher.get(), command.workingDirectory.c_str());
    g_subprocess_launcher_set_child_setup(launcher.get(), enterOwnProcessGroup, nullptr, nullptr);
    return launcher;
}

GRef<GSubprocess> launch(GSubprocessLauncher* launcher, const FrontendProcessCommand& command, GError** error)
{
    std::vector<const gchar*> argv { command.executablePath.c_str() };
    for (const auto& argument : command.arguments)
        argv.push_back(argument.c_str());
    argv.push_back(nullptr);
    return GRef<GSubprocess>::adopt(g_subprocess_launcher_spawnv(launcher, argv.data(), error));
}

pid_t processID(GSubprocess* process)
{
    const gchar* identifier = g_subprocess_get_identifier(process);
    return identifier ? static_cast<pid_t>(std::atoi(identifier)) : 0;
}

// The exit status as the preview reads it: the signal's number when a signal ended the process.
int terminationStatus(GSubprocess* process)
{
    if (g_subprocess_get_if_signaled(process))
        return g_subprocess_get_term_sig(process);
    return g_subprocess_get_exit_status(process);
}

std::string textOrEmpty(GBytes* bytes)
{
    if (!bytes)
        return {};
    gsize size = 0;
    auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    if (!data || !g_utf8_validate(data, static_cast<gssize>(size), nullptr))
        return {};
    return std::string(data, size);
}

bool isBlank(const std::string& text)
{
    return text.find_first_not_of(" \t\n\r\v\f") == std::string::npos;
}

// One run of a terminating command, owned by its GTask.
struct TerminatingRun {
    FrontendProcessCommand command;
    std::function<void(const std::string&)> onOutput;
    std::function<void(FrontendCommandRunResult)> completion;
    std::string output;
    FrontendCommandRunResult result;
};

void runToTheEnd(GTask* task, gpointer, gpointer data, GCancellable*)
{
    auto& run = *static_cast<TerminatingRun*>(data);
    auto launcher = makeDetachedProcess(run.command, static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE));
    GError* error = nullptr;
    auto process = launch(launcher.get(), run.command, &error);
    GBytes* standardOutput = nullptr;
    GBytes* standardError = nullptr;
    // Both pipes are drained while the process runs, so that a long output can't stall it; the
    // text is handed on only after the exit, all at once.
    if (process)
        g_subprocess_communicate(process.get(), nullptr, nullptr, &standardOutput, &standardError, &error);
    if (error) {
        run.result = FrontendCommandRunResult::failure(error->message);
        g_error_free(error);
    } else {
        run.output = textOrEmpty(standardOutput) + textOrEmpty(standardError);
        int status = terminationStatus(process.get());
        if (status == 0)
            run.result = FrontendCommandRunResult::success();
        else
            run.result = FrontendCommandRunResult::failure(run.output.empty() ? "Command failed with exit " + std::to_string(status) + "." : run.output);
    }
    if (standardOutput)
        g_bytes_unref(standardOutput);
    if (standardError)
        g_bytes_unref(standardError);
    g_task_return_boolean(task, TRUE);
}

}

// The reading side of one of the dev server's pipes. Chunks are not joined into lines, so a
// character cut at a chunk's edge loses that chunk; stdout and stderr interleave as they come.
struct FrontendProjectRunner::OutputCapture {
    GRef<GInputStream> stream;
    GRef<GCancellable> cancellable;
    std::function<void(const std::string&)> onOutput;

    static void readNext(std::unique_ptr<OutputCapture> capture)
    {
        auto* raw = capture.release();
        g_input_stream_read_bytes_async(raw->stream.get(), 16384, G_PRIORITY_DEFAULT, raw->cancellable.get(), chunkDidArrive, raw);
    }

    static void chunkDidArrive(GObject* source, GAsyncResult* result, gpointer data)
    {
        std::unique_ptr<OutputCapture> capture(static_cast<OutputCapture*>(data));
        GBytes* bytes = g_input_stream_read_bytes_finish(G_INPUT_STREAM(source), result, nullptr);
        if (!bytes)
            return;
        gsize size = g_bytes_get_size(bytes);
        auto text = textOrEmpty(bytes);
        g_bytes_unref(bytes);
        // The end of the stream, or a capture cleared meanwhile: no more reading.
        if (size == 0 || g_cancellable_is_cancelled(capture->cancellable.get()))
            return;
        if (!text.empty()) {
            auto onOutput = capture->onOutput;
            onOutput(text);
        }
        if (!g_cancellable_is_cancelled(capture->cancellable.get()))
            readNext(std::move(capture));
    }
};

FrontendProjectRunner::FrontendProjectRunner() = default;

FrontendProjectRunner::~FrontendProjectRunner()
{
    stopDevServer();
    auto deadline = std::chrono::steady_clock::now() + groupExitGrace;
    for (pid_t group : m_endingProcessGroups) {
        while (processGroupExists(group) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (processGroupExists(group))
            kill(-group, SIGKILL);
    }
}

void FrontendProjectRunner::runTerminatingCommand(const FrontendProcessCommand& command, std::function<void(const std::string&)> onOutput,
                                                  std::function<void(FrontendCommandRunResult)> completion)
{
    auto* run = new TerminatingRun { command, std::move(onOutput), std::move(completion), {}, FrontendCommandRunResult::success() };
    GTask* task = g_task_new(nullptr, nullptr, +[](GObject*, GAsyncResult* result, gpointer) {
        auto& finished = *static_cast<TerminatingRun*>(g_task_get_task_data(G_TASK(result)));
        if (!isBlank(finished.output))
            finished.onOutput(finished.output);
        finished.completion(finished.result);
    }, nullptr);
    g_task_set_task_data(task, run, +[](gpointer data) { delete static_cast<TerminatingRun*>(data); });
    g_task_run_in_thread(task, runToTheEnd);
    g_object_unref(task);
}

std::string FrontendProjectRunner::startDevServer(const FrontendProject& project, std::uint16_t preferredPort,
                                                  std::function<void(const std::string&)> onOutput, std::function<void(int)> onTermination)
{
    stopDevServer();
    auto port = firstAvailablePort(preferredPort, portAttempts);
    auto command = FrontendProjectCommands::devCommand(project, port);
    auto launcher = makeDetachedProcess(command, static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE));

    auto launchID = UUID::random();
    GError* error = nullptr;
    auto process = launch(launcher.get(), command, &error);
    if (!process) {
        std::string message = error->message;
        g_error_free(error);
        throw FrontendLaunchError(message);
    }
    // A process that has already ended has been reaped and has no id any more (0): it has no group
    // to end, and 0 must never reach setpgid or kill, which would take this application's own group.
    pid_t pid = processID(process.get());
    // Also from this side, so that a stop right after the launch finds the group.
    if (pid > 0)
        setpgid(pid, pid);
    attachOutputCapture(process.get(), std::move(onOutput));

    struct Waiting {
        std::weak_ptr<int> lifetime;
        FrontendProjectRunner* runner;
        UUID launchID;
        std::function<void(int)> onTermination;
    };
    g_subprocess_wait_async(process.get(), nullptr, +[](GObject* source, GAsyncResult* result, gpointer data) {
        std::unique_ptr<Waiting> waiting(static_cast<Waiting*>(data));
        g_subprocess_wait_finish(G_SUBPROCESS(source), result, nullptr);
        if (waiting->lifetime.expired())
            return;
        waiting->runner->devProcessDidExit(waiting->launchID, G_SUBPROCESS(source), waiting->onTermination);
    }, new Waiting { m_lifetime, this, launchID, std::move(onTermination) });

    m_devProcess = std::move(process);
    m_devProcessID = launchID;
    m_devProcessGroup = pid;
    return "http://127.0.0.1:" + std::to_string(port) + "/";
}

void FrontendProjectRunner::devProcessDidExit(const UUID& launchID, GSubprocess* process, const std::function<void(int)>& onTermination)
{
    // A launch that was stopped or replaced reports nothing.
    if (m_devProcessID != launchID)
        return;
    m_devProcess = {};
    m_devProcessID.reset();
    // Whatever the launch left behind in its group ends with it.
    if (pid_t group = std::exchange(m_devProcessGroup, 0); group > 0)
        kill(-group, SIGKILL);
    clearOutputCapture();
    auto callback = onTermination;
    callback(terminationStatus(process));
}

void FrontendProjectRunner::stopDevServer()
{
    if (!m_devProcess)
        return;
    // The identity goes before the process, so that its exit report finds no match.
    auto process = std::move(m_devProcess);
    m_devProcessID.reset();
    pid_t group = std::exchange(m_devProcessGroup, 0);
    clearOutputCapture();
    if (group <= 0 || kill(-group, SIGTERM) != 0)
        g_subprocess_send_signal(process.get(), SIGTERM);
    std::erase_if(m_endingProcessGroups, [](pid_t ending) { return !processGroupExists(ending); });
    if (group > 0)
        m_endingProcessGroups.push_back(group);
}

std::optional<pid_t> FrontendProjectRunner::devProcessGroup() const
{
    if (!m_devProcess || m_devProcessGroup <= 0)
        return std::nullopt;
    return m_devProcessGroup;
}

void FrontendProjectRunner::attachOutputCapture(GSubprocess* process, std::function<void(const std::string&)> onOutput)
{
    m_outputCancellable = GRef<GCancellable>::adopt(g_cancellable_new());
    for (GInputStream* stream : { g_subprocess_get_stdout_pipe(process), g_subprocess_get_stderr_pipe(process) }) {
        OutputCapture::readNext(std::make_unique<OutputCapture>(
            OutputCapture { GRef<GInputStream>::retain(stream), GRef<GCancellable>::retain(m_outputCancellable.get()), onOutput }));
    }
}

void FrontendProjectRunner::clearOutputCapture()
{
    if (m_outputCancellable)
        g_cancellable_cancel(m_outputCancellable.get());
    m_outputCancellable = {};
}

std::uint16_t FrontendProjectRunner::firstAvailablePort(std::uint16_t startingAt, int maxAttempts)
{
    for (int attempt = 0; attempt < maxAttempts && startingAt + attempt <= 65535; ++attempt) {
        auto port = static_cast<std::uint16_t>(startingAt + attempt);
        int socketDescriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        // A socket that can't be made counts as a port that is taken.
        if (socketDescriptor < 0)
            continue;
        int reuse = 1;
        setsockopt(socketDescriptor, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bool bound = bind(socketDescriptor, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
        close(socketDescriptor);
        if (bound)
            return port;
    }
    return startingAt;
}

}
