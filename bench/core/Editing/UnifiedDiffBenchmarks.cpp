#include "QuilloryCore/Editing/UnifiedDiff.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "support/ScatteredEditsPage.h"
#include "support/ThreadCPUTime.h"

#include "support/KeepFreedMemory.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <random>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

using namespace Quillory;
using QuilloryBench::scatteredEdits;

namespace {

// A resident-set figure of this process from /proc/self/status, in kibibytes ("VmRSS" now,
// "VmHWM" the peak).
long statusKilobytes(const std::string& field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(field + ":", 0) == 0)
            return std::stol(line.substr(field.size() + 1));
    }
    return -1;
}

// The peak memory of one diff: it runs in a forked child, which sets its peak resident size back
// to its current size (writing 5 to clear_refs), runs the diff, and reports the growth of the peak
// through a pipe. So nothing that earlier benchmarks left resident counts.
double peakGrowthMiB(const std::u16string& oldText, const std::u16string& newText)
{
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return -1;
    pid_t child = fork();
    if (child == 0) {
        close(pipeEnds[0]);
        // Memory that earlier diffs freed but the allocator kept would be reused without
        // counting, so it goes back to the system first.
        malloc_trim(0);
        std::ofstream("/proc/self/clear_refs") << "5";
        long before = statusKilobytes("VmRSS");
        auto diff = UnifiedDiff::make(oldText, newText, "index.html", "opened", "current");
        benchmark::DoNotOptimize(diff);
        long growth = statusKilobytes("VmHWM") - before;
        auto written = write(pipeEnds[1], &growth, sizeof growth);
        _exit(written == sizeof growth ? 0 : 1);
    }
    close(pipeEnds[1]);
    long growth = -1;
    if (read(pipeEnds[0], &growth, sizeof growth) != sizeof growth)
        growth = -1;
    close(pipeEnds[0]);
    waitpid(child, nullptr, 0);
    return static_cast<double>(growth) / 1024.0;
}

struct DiffRun {
    double milliseconds { 0 };
    double cpuMilliseconds { 0 };
    double peakMiB { 0 };
};

// Spawns the system's diff in its own process group, output to /dev/null, and returns its wall
// time (spawn to exit), its CPU time and its peak resident size.
DiffRun runSystemDiff(const std::vector<std::string>& arguments)
{
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    DiffRun run;
    if (posix_spawnp(&child, argv[0], &actions, &attributes, argv.data(), environ) == 0) {
        int status = 0;
        rusage usage {};
        wait4(child, &status, 0, &usage);
        run.milliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        run.peakMiB = static_cast<double>(usage.ru_maxrss) / 1024.0;
        auto milliseconds = [](const timeval& time) { return static_cast<double>(time.tv_sec) * 1000.0 + static_cast<double>(time.tv_usec) / 1000.0; };
        run.cpuMilliseconds = milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
    }
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return run;
}

// Two independent texts over four distinct lines: the worst case for a diff, with long runs of
// ties.
std::pair<std::string, std::string> fourLineAlphabet(std::size_t lineCount)
{
    const char* lines[] = { "<li>alpha</li>\n", "<li>beta</li>\n", "<li>gamma</li>\n", "<li>delta</li>\n" };
    std::mt19937 random(9);
    std::uniform_int_distribution<int> pick(0, 3);
    std::pair<std::string, std::string> texts;
    for (std::size_t line = 0; line < lineCount; ++line) {
        texts.first += lines[pick(random)];
        texts.second += lines[pick(random)];
    }
    return texts;
}

// The texts written into a temporary folder for the system's diff, removed at the end.
class DiffFiles {
public:
    DiffFiles(const std::string& opened, const std::string& current)
        : m_folder(std::filesystem::temp_directory_path() / ("quillory-bench-diff-" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(m_folder);
        std::ofstream(oldPath(), std::ios::binary) << opened;
        std::ofstream(newPath(), std::ios::binary) << current;
    }
    ~DiffFiles() { std::filesystem::remove_all(m_folder); }

    std::string oldPath() const { return (m_folder / "opened.html").string(); }
    std::string newPath() const { return (m_folder / "current.html").string(); }

private:
    std::filesystem::path m_folder;
};

// Each iteration runs the product's diff and then the system's diff on the same texts, so that
// their ratio is read off one run; the peak memory of the product's diff is measured once in a
// forked child afterwards.
void compareWithSystemDiff(benchmark::State& state, const std::pair<std::string, std::string>& texts,
                           const std::vector<std::string>& diffOptions)
{
    QuilloryBench::keepFreedMemory();
    DiffFiles files(texts.first, texts.second);
    auto opened = UnicodeText::utf16(texts.first);
    auto current = UnicodeText::utf16(texts.second);
    std::vector<std::string> arguments { "diff" };
    arguments.insert(arguments.end(), diffOptions.begin(), diffOptions.end());
    arguments.push_back(files.oldPath());
    arguments.push_back(files.newPath());

    double ownMilliseconds = 0;
    double ownCPUMilliseconds = 0;
    double systemMilliseconds = 0;
    double systemCPUMilliseconds = 0;
    double systemPeakMiB = 0;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        auto cpuStart = QuilloryBench::threadCPUMilliseconds();
        auto diff = UnifiedDiff::make(opened, current, "index.html", "opened", "current");
        benchmark::DoNotOptimize(diff);
        ownCPUMilliseconds += QuilloryBench::threadCPUMilliseconds() - cpuStart;
        ownMilliseconds += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        auto system = runSystemDiff(arguments);
        systemMilliseconds += system.milliseconds;
        systemCPUMilliseconds += system.cpuMilliseconds;
        systemPeakMiB = std::max(systemPeakMiB, system.peakMiB);
    }
    auto iterations = static_cast<double>(state.iterations());
    state.counters["quilloryMs"] = ownMilliseconds / iterations;
    state.counters["systemDiffMs"] = systemMilliseconds / iterations;
    state.counters["quilloryToSystem"] = ownMilliseconds / systemMilliseconds;
    // The system diff's CPU time leaves out the spawn, which its wall time includes.
    state.counters["quilloryCPUMs"] = ownCPUMilliseconds / iterations;
    state.counters["systemDiffCPUMs"] = systemCPUMilliseconds / iterations;
    state.counters["quilloryToSystemCPU"] = ownCPUMilliseconds / systemCPUMilliseconds;
    state.counters["quilloryPeakGrowthMiB"] = peakGrowthMiB(opened, current);
    state.counters["systemDiffPeakMiB"] = systemPeakMiB;
}

// Goal: at most 3x the time of `diff -u`, peak memory at most 64 MB.
void UnifiedDiff20000LinesScatteredEditsAgainstDiffU(benchmark::State& state)
{
    compareWithSystemDiff(state, scatteredEdits(20'000), { "-u" });
}
BENCHMARK(UnifiedDiff20000LinesScatteredEditsAgainstDiffU)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

// Goal: at most 1.5x the time of `diff -u --minimal`.
void UnifiedDiff20000LinesFourLineAlphabetAgainstDiffMinimal(benchmark::State& state)
{
    compareWithSystemDiff(state, fourLineAlphabet(20'000), { "-u", "--minimal" });
}
BENCHMARK(UnifiedDiff20000LinesFourLineAlphabetAgainstDiffMinimal)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

// No goal but completing: the time and the peak memory of 200,000-line pages.
void UnifiedDiff200000Lines(benchmark::State& state, std::pair<std::string, std::string> (*texts)(std::size_t))
{
    QuilloryBench::keepFreedMemory();
    auto [openedUTF8, currentUTF8] = texts(200'000);
    auto opened = UnicodeText::utf16(openedUTF8);
    auto current = UnicodeText::utf16(currentUTF8);
    std::size_t diffLength = 0;
    for (auto _ : state) {
        auto diff = UnifiedDiff::make(opened, current, "index.html", "opened", "current");
        diffLength = diff.size();
        benchmark::DoNotOptimize(diff);
    }
    state.counters["diffUTF16Units"] = static_cast<double>(diffLength);
    state.counters["peakGrowthMiB"] = peakGrowthMiB(opened, current);
}
BENCHMARK_CAPTURE(UnifiedDiff200000Lines, ScatteredEdits, scatteredEdits)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK_CAPTURE(UnifiedDiff200000Lines, FourLineAlphabet, fourLineAlphabet)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}
