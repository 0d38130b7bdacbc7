#include "QuilloryCore/Editing/UnifiedDiff.h"

#include <benchmark/benchmark.h>
#include <fstream>
#include <string>

using namespace Quillory;

namespace {

// A resident-set figure from /proc/self/status, in kibibytes ("VmRSS" now, "VmHWM" the peak).
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

// Writing 5 to clear_refs sets the peak resident size back to the current one, so the peak
// seen afterwards belongs to the code that follows, not to earlier benchmarks in this process.
bool resetPeakResidentSize()
{
    std::ofstream clearRefs("/proc/self/clear_refs");
    clearRefs << "5";
    clearRefs.flush();
    return clearRefs.good();
}

std::u16string generatedPage(std::size_t lineCount, std::size_t changedEvery)
{
    std::u16string text;
    for (std::size_t line = 0; line < lineCount; ++line) {
        std::string content = "    <p class=\"row\">Paragraph " + std::to_string(line) + " of the page</p>";
        if (changedEvery && line % changedEvery == changedEvery / 2)
            content = "    <p class=\"row edited\">Rewritten paragraph " + std::to_string(line) + "</p>";
        for (char character : content)
            text += static_cast<char16_t>(character);
        text += u'\n';
    }
    return text;
}

// Two 5,000-line pages that differ in 100 lines: the full table is 5,002 by 5,002 cells.
void BM_UnifiedDiffMake5000Lines100Changed(benchmark::State& state)
{
    auto opened = generatedPage(5000, 0);
    auto current = generatedPage(5000, 50);
    if (!resetPeakResidentSize()) {
        state.SkipWithError("cannot reset the peak resident size through /proc/self/clear_refs");
        return;
    }
    auto residentBefore = statusKilobytes("VmRSS");
    std::size_t diffLength = 0;
    for (auto _ : state) {
        auto diff = UnifiedDiff::make(opened, current, "index.html", "opened", "current");
        diffLength = diff.size();
        benchmark::DoNotOptimize(diff);
    }
    auto peakGrowth = statusKilobytes("VmHWM") - residentBefore;
    state.counters["peakRSSGrowthMiB"] = static_cast<double>(peakGrowth) / 1024.0;
    state.counters["diffUTF16Units"] = static_cast<double>(diffLength);
}
BENCHMARK(BM_UnifiedDiffMake5000Lines100Changed)->Unit(benchmark::kMillisecond);

}
