#include "QuilloryCore/Analysis/HTMLSyntaxAnalyzer.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "TreeSitterLayer/SourceSyntaxAnalyzer.h"
#include "bench/support/GeneratedHTMLPage.h"
#include "bench/support/KeepFreedMemory.h"

#include <benchmark/benchmark.h>
#include <tree_sitter/api.h>

#include <memory>
#include <string>

using namespace Quillory;

namespace {

extern "C" const TSLanguage* tree_sitter_html();

void SourceSyntaxFullAnalysis(benchmark::State& state)
{
    QuilloryBench::keepFreedMemory();
    QuilloryBench::keepFreedMemory();
    const auto& page = QuilloryBench::generatedHTMLPage();
    SourceSyntaxAnalyzer analyzer;
    for (auto _ : state) {
        auto spans = analyzer.spans(page, "index.html");
        auto regions = analyzer.foldRegions(page, "index.html");
        benchmark::DoNotOptimize(spans.data());
        benchmark::DoNotOptimize(regions.data());
    }
    state.counters["spans"] = static_cast<double>(analyzer.spans(page, "index.html").size());
}

// The floor: one parse of the same text by the HTML grammar alone.
void SourceSyntaxBareTreeSitterParse(benchmark::State& state)
{
    QuilloryBench::keepFreedMemory();
    QuilloryBench::keepFreedMemory();
    const auto& page = QuilloryBench::generatedHTMLPage();
    std::unique_ptr<TSParser, decltype(&ts_parser_delete)> parser(ts_parser_new(), ts_parser_delete);
    ts_parser_set_language(parser.get(), tree_sitter_html());
    for (auto _ : state) {
        std::unique_ptr<TSTree, decltype(&ts_tree_delete)> tree(
            ts_parser_parse_string_encoding(parser.get(), nullptr, reinterpret_cast<const char*>(page.data()),
                                            static_cast<std::uint32_t>(page.size() * 2), TSInputEncodingUTF16),
            ts_tree_delete);
        benchmark::DoNotOptimize(tree.get());
    }
}

// Goal: at most 4x ReadEveryCodeUnit, by CPU time.
void HTMLScannerSpans(benchmark::State& state)
{
    QuilloryBench::keepFreedMemory();
    QuilloryBench::keepFreedMemory();
    const auto& page = QuilloryBench::generatedHTMLPage();
    for (auto _ : state) {
        auto spans = HTMLSyntaxAnalyzer::spans(page);
        benchmark::DoNotOptimize(spans.data());
    }
    state.counters["spans"] = static_cast<double>(HTMLSyntaxAnalyzer::spans(page).size());
    state.counters["units"] = static_cast<double>(page.size());
}

// The floor for the scanner: one pass that reads every code unit.
void ReadEveryCodeUnit(benchmark::State& state)
{
    QuilloryBench::keepFreedMemory();
    const auto& page = QuilloryBench::generatedHTMLPage();
    for (auto _ : state) {
        std::uint32_t sum = 0;
        for (auto unit : page) {
            sum += unit;
            benchmark::DoNotOptimize(sum);
        }
    }
}

}

BENCHMARK(SourceSyntaxFullAnalysis)->Unit(benchmark::kMillisecond);
BENCHMARK(SourceSyntaxBareTreeSitterParse)->Unit(benchmark::kMillisecond);
BENCHMARK(HTMLScannerSpans)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadEveryCodeUnit)->Unit(benchmark::kMillisecond);
