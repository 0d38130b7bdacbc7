#include "QuilloryCore/Analysis/HTMLTagIndexer.h"
#include "QuilloryCore/Brightloop/BrightloopSourceMapper.h"
#include "QuilloryCore/SiteModel/HTMLLinkExtractor.h"
#include "support/HostilePages.h"
#include "support/KeepFreedMemory.h"

#include <benchmark/benchmark.h>

#include <ctime>
#include <functional>
#include <string>

// The crafted pages that once took the indexer, the mapper and the link extractor minutes or all
// memory. Each benchmark runs its page at the size that used to hurt and at twice that size, and
// reports both processor times and their ratio, "growth": linear work doubles (about 2),
// quadratic work shows as 4 or more.

using namespace Quillory;
using QuilloryTest::repeatedText;

namespace {

using PageOfSize = std::function<std::u16string(std::size_t scale)>;
using Work = std::function<std::size_t(const std::u16string& page)>;

void measureGrowth(benchmark::State& state, std::size_t scale, const PageOfSize& makePage, const Work& work)
{
    // Otherwise a result past glibc's mapping threshold is faulted in afresh on every run while
    // a smaller one reuses the heap, and the ratio measures that step rather than the work.
    QuilloryBench::keepFreedMemory();
    auto page = makePage(scale);
    auto doubled = makePage(scale * 2);
    double single = 0;
    double twice = 0;
    // Processor time, so that a busy machine does not blur the ratio.
    auto milliseconds = [](std::clock_t from, std::clock_t to) { return 1000.0 * static_cast<double>(to - from) / CLOCKS_PER_SEC; };
    for (auto _ : state) {
        auto start = std::clock();
        benchmark::DoNotOptimize(work(page));
        auto middle = std::clock();
        benchmark::DoNotOptimize(work(doubled));
        auto end = std::clock();
        single += milliseconds(start, middle);
        twice += milliseconds(middle, end);
    }
    auto iterations = static_cast<double>(state.iterations());
    state.counters["units"] = static_cast<double>(page.size());
    state.counters["ms"] = single / iterations;
    state.counters["ms_doubled"] = twice / iterations;
    state.counters["growth"] = single > 0 ? twice / single : 0;
}

std::size_t indexed(const std::u16string& page)
{
    return HTMLTagIndexer::index(page).size();
}

std::size_t mapped(const std::u16string& page)
{
    BrightloopDOMRecordFields fields;
    fields.tagName = "div";
    fields.rect = { 10, 10, 200, 20 };
    fields.ancestorTags = { "body", "html" };
    fields.ancestorSignatures = { "body", "html" };
    fields.siblingIndex = 0;
    fields.isVisible = true;
    BrightloopSelection selection { "index.html", "index.html", { 0, 0, 800, 600 } };
    return BrightloopSourceMapper::map({ BrightloopDOMRecord(fields) }, page, "index.html", selection).candidates().size();
}

std::size_t linked(const std::u16string& page)
{
    return HTMLLinkExtractor().hrefs(page).size();
}

const PageOfSize nestedDivs = [](std::size_t count) { return repeatedText(u"<div>", count); };
const PageOfSize unclosedTags = [](std::size_t count) { return repeatedText(u"<a ", count); };
const PageOfSize unclosedQuotes = [](std::size_t count) { return repeatedText(u"<a x=\"", count); };
const PageOfSize siblings = QuilloryTest::distinctSiblings;
const PageOfSize unclosedAnchors = [](std::size_t count) { return repeatedText(u"<a href='x' ", count); };

void BM_Growth_NestedUnclosedDivs_Indexer(benchmark::State& state) { measureGrowth(state, 12'500, nestedDivs, indexed); }
void BM_Growth_NestedUnclosedDivs_Mapper(benchmark::State& state) { measureGrowth(state, 12'500, nestedDivs, mapped); }
void BM_Growth_UnclosedTags_Indexer(benchmark::State& state) { measureGrowth(state, 65'600, unclosedTags, indexed); }
void BM_Growth_UnclosedTags_Mapper(benchmark::State& state) { measureGrowth(state, 65'600, unclosedTags, mapped); }
void BM_Growth_UnclosedQuotes_Indexer(benchmark::State& state) { measureGrowth(state, 32'800, unclosedQuotes, indexed); }
void BM_Growth_UnclosedQuotes_Mapper(benchmark::State& state) { measureGrowth(state, 32'800, unclosedQuotes, mapped); }
void BM_Growth_DistinctSiblingNames_Indexer(benchmark::State& state) { measureGrowth(state, 130'000, siblings, indexed); }
void BM_Growth_DistinctSiblingNames_Mapper(benchmark::State& state) { measureGrowth(state, 130'000, siblings, mapped); }
void BM_Growth_UnclosedAnchors_LinkExtractor(benchmark::State& state) { measureGrowth(state, 4'000, unclosedAnchors, linked); }

}

BENCHMARK(BM_Growth_NestedUnclosedDivs_Indexer)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Growth_NestedUnclosedDivs_Mapper)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Growth_UnclosedTags_Indexer)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Growth_UnclosedTags_Mapper)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Growth_UnclosedQuotes_Indexer)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Growth_UnclosedQuotes_Mapper)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Growth_DistinctSiblingNames_Indexer)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Growth_DistinctSiblingNames_Mapper)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Growth_UnclosedAnchors_LinkExtractor)->Unit(benchmark::kMillisecond)->Iterations(5);
