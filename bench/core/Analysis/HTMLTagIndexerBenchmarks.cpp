#include "QuilloryCore/Analysis/HTMLTagIndexer.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <benchmark/benchmark.h>
#include <string>

using namespace Quillory;

namespace {

constexpr std::size_t documentBytes = 5 * 1024 * 1024;

// One article of an ordinary marketing page: nested sections, lists, links, images, inline
// formatting, comments, and its own style and script blocks.
constexpr std::string_view articleMarkup = R"(
      <!-- Feature block -->
      <article class="feature card" id="feature-{N}" data-index="{N}">
        <header class="feature__header">
          <h2 class="feature__title">Caf&eacute; d&eacute;tails &amp; more — café {N}</h2>
          <p class="feature__lede">Design a page, see it <em>rendered</em> and jump back to <strong>the source</strong>.</p>
        </header>
        <section class="feature__body">
          <img src="images/feature-{N}.png" alt="Screenshot of feature {N}" width="640" height="360" loading=lazy>
          <ul class="feature__list">
            <li class="item"><a href="docs/start.html#step-1" title="First step">Open a folder</a></li>
            <li class="item"><a href="docs/start.html#step-2" title="Second step">Edit the page</a></li>
            <li class="item is-new"><a href="docs/fence.html">Draw a fence</a> <span class="badge">New</span></li>
          </ul>
          <p>
            Plain text with a <a href="https://example.org/path?q=1&amp;r=2">link</a>, a line<br>
            break, an <abbr title="HyperText Markup Language">HTML</abbr> term and a emoji 😀 in it.
          </p>
          <form class="subscribe" action="/subscribe" method="post">
            <label for="email-{N}">Email</label>
            <input type="email" id="email-{N}" name="email" placeholder="you@example.org" required>
            <button type="submit" class="button button--primary">Subscribe</button>
          </form>
        </section>
        <style>
          #feature-{N} .badge { color: #fff; background: linear-gradient(90deg, #f06, #48f); }
          #feature-{N} > header h2::after { content: "\2192"; }
        </style>
        <script>
          document.querySelectorAll("#feature-{N} .item").forEach((item, index) => {
            if (index < 3 && item.dataset.seen !== "1") { item.dataset.seen = "1"; }
            const html = "<span class=\"tip\">" + index + "</span>";
          });
        </script>
        <footer class="feature__footer"><small>Updated <time datetime="2024-06-11">June 11</time></small></footer>
      </article>
)";

std::string benchmarkDocument()
{
    std::string document = R"(<!DOCTYPE html>
<html lang="en">
  <head>
    <meta charset="utf-8">
    <meta name="viewport" content="width=device-width, initial-scale=1">
    <title>Quillory feature tour</title>
    <link rel="stylesheet" href="styles/site.css">
    <style>
      :root { --accent: #3a7afe; --radius: 12px; }
      body { margin: 0; font: 16px/1.5 system-ui, sans-serif; }
      .card { border-radius: var(--radius); box-shadow: 0 1px 3px rgba(0, 0, 0, .2); }
      .card > header h2 { font-size: 1.5rem; }
    </style>
    <script type="module">
      import { start } from "./scripts/app.js";
      window.addEventListener("DOMContentLoaded", () => start({ fenceColour: "#3a7afe", limit: 1 < 2 }));
    </script>
  </head>
  <body class="home">
    <header class="site-header">
      <nav class="site-nav" aria-label="Main">
        <a href="index.html" class="site-nav__link is-current">Home</a>
        <a href="about.html" class="site-nav__link">About</a>
        <a href="blog/index.html" class="site-nav__link">Blog</a>
      </nav>
    </header>
    <main id="content">
)";
    std::size_t articleNumber = 0;
    while (document.size() < documentBytes) {
        std::string article(articleMarkup);
        auto number = std::to_string(articleNumber++);
        for (auto marker = article.find("{N}"); marker != std::string::npos; marker = article.find("{N}", marker))
            article.replace(marker, 3, number);
        document += article;
    }
    document += R"(    </main>
    <footer class="site-footer"><p>&copy; 2024 Quillory</p></footer>
  </body>
</html>
)";
    return document;
}

const std::string& document()
{
    static const std::string made = benchmarkDocument();
    return made;
}

std::u16string documentText(benchmark::State& state)
{
    auto text = UnicodeText::utf16FromUTF8(document());
    if (!text)
        state.SkipWithError("the benchmark document is not valid UTF-8");
    return text.value_or(std::u16string());
}

// All three benchmarks count the same UTF-8 bytes, so their MB/s compare directly.

// The indexing call alone. Releasing the result (hundreds of thousands of strings, vectors and
// map nodes) is its holder's cost and runs outside the timed region; the next benchmark
// includes it.
void BM_HTMLTagIndexerIndex5MB(benchmark::State& state)
{
    auto text = documentText(state);
    std::size_t tagCount = 0;
    for (auto _ : state) {
        auto tags = HTMLTagIndexer::index(text);
        state.PauseTiming();
        tagCount = tags.size();
        benchmark::DoNotOptimize(tags);
        tags = {};
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * document().size()));
    state.counters["tags"] = static_cast<double>(tagCount);
}
BENCHMARK(BM_HTMLTagIndexerIndex5MB)->Unit(benchmark::kMillisecond);

void BM_HTMLTagIndexerIndexAndRelease5MB(benchmark::State& state)
{
    auto text = documentText(state);
    for (auto _ : state) {
        auto tags = HTMLTagIndexer::index(text);
        benchmark::DoNotOptimize(tags);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * document().size()));
}
BENCHMARK(BM_HTMLTagIndexerIndexAndRelease5MB)->Unit(benchmark::kMillisecond);

// The floor the indexer is measured against: only turning the same bytes into UTF-16.
void BM_UTF16FromUTF8SameDocument(benchmark::State& state)
{
    const auto& bytes = document();
    for (auto _ : state) {
        auto text = UnicodeText::utf16FromUTF8(bytes);
        benchmark::DoNotOptimize(text);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(BM_UTF16FromUTF8SameDocument)->Unit(benchmark::kMillisecond);

}
