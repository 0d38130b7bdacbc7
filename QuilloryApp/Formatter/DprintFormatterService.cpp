#include "QuilloryApp/Formatter/DprintFormatterService.h"

#include "QuilloryApp/Formatter/DprintFormatterError.h"
#include "QuilloryApp/Support/ApplicationResources.h"
#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Text/FileDescriptor.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "QuilloryCore/Text/UUID.h"

#include <gio/gio.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <thread>
#include <unistd.h>

namespace Quillory {

namespace {

#if defined(__x86_64__)
constexpr const char* hostTriple = "x86_64-unknown-linux-gnu";
#elif defined(__aarch64__)
constexpr const char* hostTriple = "aarch64-unknown-linux-gnu";
#else
constexpr const char* hostTriple = "unsupported-host";
#endif

// In the order dprint is given them.
constexpr std::array pluginFileNames {
    "typescript-0.96.1.wasm",
    "json-0.21.3.wasm",
    "markdown-0.22.0.wasm",
    "malva-v0.15.3.wasm",
    "markup_fmt-v0.27.3.wasm",
};

std::filesystem::path systemTemporaryDirectory()
{
    std::error_code error;
    auto folder = std::filesystem::temp_directory_path(error);
    return error ? std::filesystem::path("/tmp") : folder;
}

bool isExecutableFile(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

bool isReadableFile(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) && access(path.c_str(), R_OK) == 0;
}

// The run's own folder, removed with everything in it however the run ends; a failed removal is
// ignored.
class TemporaryFolder {
public:
    explicit TemporaryFolder(std::filesystem::path path)
        : m_path(std::move(path))
    {
        std::filesystem::create_directories(m_path);
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

int openForWriting(const std::filesystem::path& path)
{
    return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
}

// The running dprint, the leader of its own process group. If the holder goes away before the
// process was waited for (a failure on the way), the whole group is ended and reaped.
class DprintProcess {
public:
    explicit DprintProcess(GRef<GSubprocess> process)
        : m_process(std::move(process))
    {
        if (const char* identifier = g_subprocess_get_identifier(m_process.get()))
            m_processGroup = static_cast<pid_t>(std::atol(identifier));
    }
    ~DprintProcess()
    {
        if (m_hasExited)
            return;
        if (m_processGroup > 0)
            kill(-m_processGroup, SIGTERM);
        g_subprocess_wait(m_process.get(), nullptr, nullptr);
    }
    DprintProcess(const DprintProcess&) = delete;
    DprintProcess& operator=(const DprintProcess&) = delete;

    GOutputStream* standardInput() const { return g_subprocess_get_stdin_pipe(m_process.get()); }

    // The exit status, or the number of the signal that ended the process.
    std::int32_t wait()
    {
        GError* error = nullptr;
        if (!g_subprocess_wait(m_process.get(), nullptr, &error)) {
            std::string message = error->message;
            g_error_free(error);
            throw QuilloryError(message);
        }
        m_hasExited = true;
        if (g_subprocess_get_if_exited(m_process.get()))
            return g_subprocess_get_exit_status(m_process.get());
        return g_subprocess_get_if_signaled(m_process.get()) ? g_subprocess_get_term_sig(m_process.get()) : -1;
    }

private:
    GRef<GSubprocess> m_process;
    pid_t m_processGroup { 0 };
    bool m_hasExited { false };
};

GRef<GSubprocess> launch(const std::filesystem::path& executable, const std::vector<std::string>& arguments,
                         FileDescriptor& standardOutput, FileDescriptor& standardError)
{
    auto launcher = GRef<GSubprocessLauncher>::adopt(g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDIN_PIPE));
    // The application's environment, with colour codes kept out of dprint's messages.
    g_subprocess_launcher_setenv(launcher.get(), "NO_COLOR", "1", TRUE);
    // Files rather than pipes, so that neither stream can block the process whatever its size.
    g_subprocess_launcher_take_stdout_fd(launcher.get(), standardOutput.release());
    g_subprocess_launcher_take_stderr_fd(launcher.get(), standardError.release());
    // Its own process group, so that ending it ends whatever it started.
    g_subprocess_launcher_set_child_setup(launcher.get(), +[](gpointer) { setpgid(0, 0); }, nullptr, nullptr);

    std::vector<const char*> argv { executable.c_str() };
    for (const auto& argument : arguments)
        argv.push_back(argument.c_str());
    argv.push_back(nullptr);
    GError* error = nullptr;
    GSubprocess* process = g_subprocess_launcher_spawnv(launcher.get(), argv.data(), &error);
    if (!process) {
        std::string message = error->message;
        g_error_free(error);
        throw QuilloryError(message);
    }
    return GRef<GSubprocess>::adopt(process);
}

// Writes all of `bytes` to the process's standard input and closes it; what went wrong, if
// anything. Runs on its own thread while the caller waits for the process, so a large text can't
// stall the wait. SIGPIPE is blocked here: a process that quits early must not end ours.
std::optional<std::string> feedStandardInput(GOutputStream* stream, const std::string& bytes)
{
    sigset_t pipeSignal;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);

    std::optional<std::string> failure;
    GError* error = nullptr;
    if (!g_output_stream_write_all(stream, bytes.data(), bytes.size(), nullptr, nullptr, &error)) {
        failure = error->message;
        g_clear_error(&error);
    }
    if (!g_output_stream_close(stream, nullptr, &error)) {
        if (!failure)
            failure = error->message;
        g_clear_error(&error);
    }
    // A write into a pipe whose reader has gone leaves SIGPIPE pending on this thread; take it.
    timespec noWait {};
    while (sigtimedwait(&pipeSignal, nullptr, &noWait) == SIGPIPE) { }
    return failure;
}

}

DprintFormatterService::DprintFormatterService()
    : DprintFormatterService(ApplicationResources::url("ThirdParty/dprint"), systemTemporaryDirectory())
{
}

DprintFormatterService::DprintFormatterService(std::optional<std::filesystem::path> resourceRootURL, std::filesystem::path temporaryDirectory)
    : m_resourceRootURL(std::move(resourceRootURL))
    , m_temporaryDirectory(std::move(temporaryDirectory))
{
}

bool DprintFormatterService::supportsDocumentPath(std::string_view documentPath)
{
    auto extension = std::filesystem::path(documentPath).extension().string();
    if (extension.empty())
        return false;
    auto lowered = StringHelpers::asciiLowercased(std::string_view(extension).substr(1));
    return std::find(supportedExtensions.begin(), supportedExtensions.end(), lowered) != supportedExtensions.end();
}

std::filesystem::path DprintFormatterService::executableURL(const std::filesystem::path& resourceRootURL)
{
    return resourceRootURL / dprintVersion / "bin" / hostTriple / "dprint";
}

std::vector<std::filesystem::path> DprintFormatterService::pluginURLs(const std::filesystem::path& resourceRootURL)
{
    std::vector<std::filesystem::path> urls;
    for (const char* name : pluginFileNames)
        urls.push_back(resourceRootURL / dprintVersion / "plugins" / name);
    return urls;
}

void DprintFormatterService::writeConfig(const std::vector<std::filesystem::path>& pluginURLs, const std::filesystem::path& to)
{
    auto plugins = nlohmann::json::array();
    for (const auto& url : pluginURLs)
        plugins.push_back(std::filesystem::absolute(url).string());
    // nlohmann's objects keep their keys sorted.
    nlohmann::json config {
        { "plugins", plugins },
        { "typescript", nlohmann::json::object() },
        { "json", nlohmann::json::object() },
        { "markdown", nlohmann::json::object() },
        { "malva", nlohmann::json::object() },
        { "markup", nlohmann::json::object() },
    };
    TextFile::writeBytesAtomically(to, config.dump(2) + "\n");
}

bool DprintFormatterService::isAvailableForCurrentHost() const
{
    if (!m_resourceRootURL || !isExecutableFile(executableURL(*m_resourceRootURL)))
        return false;
    auto plugins = pluginURLs(*m_resourceRootURL);
    return std::all_of(plugins.begin(), plugins.end(), isReadableFile);
}

std::u16string DprintFormatterService::format(const std::u16string& text, const std::string& documentPath) const
{
    if (!supportsDocumentPath(documentPath))
        throw DprintFormatterError::unsupportedExtension(documentPath);
    if (!m_resourceRootURL)
        throw DprintFormatterError::missingResource("ThirdParty/dprint");
    auto executable = executableURL(*m_resourceRootURL);
    if (!isExecutableFile(executable))
        throw DprintFormatterError::missingResource(executable.string());
    auto plugins = pluginURLs(*m_resourceRootURL);
    for (const auto& plugin : plugins) {
        if (!isReadableFile(plugin))
            throw DprintFormatterError::missingResource(plugin.string());
    }

    TemporaryFolder folder(m_temporaryDirectory / ("quillory-dprint-" + UUID::random().string()));
    auto configURL = folder.path() / "dprint.json";
    auto standardOutputURL = folder.path() / "stdout.txt";
    auto standardErrorURL = folder.path() / "stderr.txt";
    writeConfig(plugins, configURL);

    FileDescriptor standardOutput(openForWriting(standardOutputURL));
    FileDescriptor standardError(openForWriting(standardErrorURL));
    if (standardOutput.get() < 0 || standardError.get() < 0)
        throw DprintFormatterError::missingResource(folder.path().string());

    DprintProcess process(launch(executable,
        { "fmt", "--stdin", documentPath, "--config", configURL.string(), "--config-discovery=false", "--log-level", "silent" },
        standardOutput, standardError));
    std::optional<std::string> inputFailure;
    std::thread writer([&, bytes = UnicodeText::utf8FromUTF16(text)] { inputFailure = feedStandardInput(process.standardInput(), bytes); });
    std::int32_t status;
    try {
        status = process.wait();
    } catch (...) {
        writer.join();
        throw;
    }
    writer.join();

    auto output = TextFile::readBytes(standardOutputURL);
    std::string message;
    try {
        message = StringHelpers::trimmingWhitespaceAndNewlines(UnicodeText::utf8FromUTF16(TextFile::readUTF8(standardErrorURL)));
    } catch (const std::exception&) {
        message.clear();
    }
    // dprint's own failure says more than the broken pipe it caused.
    if (status != 0)
        throw DprintFormatterError::processFailed(status, message);
    if (inputFailure)
        throw QuilloryError(*inputFailure);
    auto formatted = UnicodeText::utf16FromUTF8(output);
    if (!formatted)
        throw DprintFormatterError::outputDecodingFailed();
    return std::move(*formatted);
}

}
