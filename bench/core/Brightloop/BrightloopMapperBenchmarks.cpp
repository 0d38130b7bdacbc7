#include "QuilloryCore/Brightloop/BrightloopSourceMapper.h"
#include "QuilloryCore/Analysis/HTMLTagIndexer.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <benchmark/benchmark.h>
#include <string>
#include <vector>

using namespace Quillory;

namespace {

// A long article page: a header with a menu, then cards of seven elements each (section, h2,
// p, ul, two li, a) under <main>, 20,000 elements in all. The cards carry classes but no ids,
// so list items and paragraphs can only be told apart by sibling index and text, the costly
// path through the funnel.
constexpr int menuLinks = 6;
constexpr int elementsPerCard = 7;
constexpr int targetElements = 20000;
// html, head, title, body, header, nav, the menu links, main, footer and its p.
constexpr int frameElements = 9 + menuLinks;
constexpr int cardCount = (targetElements - frameElements) / elementsPerCard;
constexpr double cardHeight = 220;
const BrightloopRect visibleArea { 0, 0, 1280, 800 };

std::string cardClass(int card)
{
    return "card tone-" + std::to_string(card % 7);
}

std::u16string generatedPage()
{
    std::string html = "<!doctype html>\n<html>\n<head><title>Long page</title></head>\n<body>\n<header><nav class=\"menu\">";
    for (int link = 0; link < menuLinks; ++link)
        html += "<a href=\"/part" + std::to_string(link) + ".html\">Part " + std::to_string(link) + "</a>";
    html += "</nav></header>\n<main class=\"content\">\n";
    for (int card = 0; card < cardCount; ++card) {
        auto number = std::to_string(card);
        html += "  <section class=\"" + cardClass(card) + "\">\n"
                "    <h2>Heading " + number + "</h2>\n"
                "    <p class=\"lead\">Paragraph " + number + " tells a short story about the topic.</p>\n"
                "    <ul><li>Item " + number + ".1</li><li>Item " + number + ".2</li></ul>\n"
                "    <a class=\"more\" href=\"page" + number + ".html\">More about " + number + "</a>\n"
                "  </section>\n";
    }
    html += "</main>\n<footer><p>End of the page.</p></footer>\n</body>\n</html>\n";
    return UnicodeText::utf16(html);
}

BrightloopDOMRecord record(std::string tagName, BrightloopRect rect, std::optional<std::string> text, std::vector<std::string> classes,
                           std::map<std::string, std::string> attributes, std::vector<std::string> ancestors, std::vector<std::string> signatures,
                           int siblingIndex)
{
    BrightloopDOMRecordFields fields;
    fields.tagName = std::move(tagName);
    fields.rect = rect;
    fields.textSnippet = std::move(text);
    fields.classList = std::move(classes);
    fields.attributes = std::move(attributes);
    fields.ancestorTags = std::move(ancestors);
    fields.ancestorSignatures = std::move(signatures);
    fields.siblingIndex = siblingIndex;
    fields.isVisible = true;
    fields.isPointerHitTarget = fields.textSnippet.has_value();
    fields.effectiveOpacity = 1;
    fields.textColorAlpha = 1;
    fields.fontSize = 16;
    return BrightloopDOMRecord(std::move(fields));
}

// What the collection script reports for the visible area of that page: the menu and every
// card whose box reaches into the first 800 pixels, in document order.
std::vector<BrightloopDOMRecord> visibleRecords()
{
    std::vector<BrightloopDOMRecord> records;
    records.push_back(record("header", { 0, 0, 1280, 60 }, std::nullopt, {}, {}, { "body", "html" }, { "body", "html" }, 0));
    records.push_back(record("nav", { 0, 0, 1280, 60 }, std::nullopt, { "menu" }, { { "class", "menu" } }, { "header", "body", "html" },
                             { "header", "body", "html" }, 0));
    for (int link = 0; link < menuLinks; ++link) {
        records.push_back(record("a", { 20.0 + 120 * link, 20, 100, 20 }, "Part " + std::to_string(link), {},
                                 { { "href", "/part" + std::to_string(link) + ".html" } }, { "nav", "header", "body", "html" },
                                 { "nav.menu", "header", "body", "html" }, link));
    }
    std::vector<std::string> mainChain { "main", "body", "html" };
    std::vector<std::string> mainSignatures { "main.content", "body", "html" };
    records.push_back(record("main", { 0, 60, 1280, cardHeight * cardCount }, std::nullopt, { "content" }, { { "class", "content" } }, { "body", "html" },
                             { "body", "html" }, 0));
    for (int card = 0; 60 + card * cardHeight < visibleArea.maxY(); ++card) {
        auto number = std::to_string(card);
        double top = 60 + card * cardHeight;
        auto classes = std::vector<std::string> { "card", "tone-" + std::to_string(card % 7) };
        auto sectionSignature = "section." + classes[0] + "." + classes[1];
        auto inSection = [&](const std::string& tag) {
            std::vector<std::string> chain { tag };
            chain.insert(chain.end(), mainChain.begin(), mainChain.end());
            return chain;
        };
        auto inSectionSignatures = [&](const std::string& signature) {
            std::vector<std::string> chain { signature };
            chain.insert(chain.end(), mainSignatures.begin(), mainSignatures.end());
            return chain;
        };
        records.push_back(record("section", { 0, top, 1280, cardHeight }, std::nullopt, classes, { { "class", cardClass(card) } }, mainChain,
                                 mainSignatures, card));
        records.push_back(record("h2", { 20, top + 10, 1240, 30 }, "Heading " + number, {}, {}, inSection("section"),
                                 inSectionSignatures(sectionSignature), 0));
        records.push_back(record("p", { 20, top + 50, 1240, 40 }, "Paragraph " + number + " tells a short story about the topic.", { "lead" },
                                 { { "class", "lead" } }, inSection("section"), inSectionSignatures(sectionSignature), 0));
        auto listChain = inSection("section");
        listChain.insert(listChain.begin(), "ul");
        auto listSignatures = inSectionSignatures(sectionSignature);
        listSignatures.insert(listSignatures.begin(), "ul");
        records.push_back(record("ul", { 20, top + 100, 1240, 60 }, std::nullopt, {}, {}, inSection("section"), inSectionSignatures(sectionSignature), 0));
        for (int item = 0; item < 2; ++item) {
            records.push_back(record("li", { 40, top + 100 + 30 * item, 1220, 30 }, "Item " + number + "." + std::to_string(item + 1), {}, {}, listChain,
                                     listSignatures, item));
        }
        records.push_back(record("a", { 20, top + 170, 200, 20 }, "More about " + number, { "more" },
                                 { { "class", "more" }, { "href", "page" + number + ".html" } }, inSection("section"),
                                 inSectionSignatures(sectionSignature), 0));
    }
    return records;
}

void BM_IndexGeneratedPage(benchmark::State& state)
{
    auto page = generatedPage();
    std::size_t tagCount = 0;
    for (auto _ : state) {
        auto tags = HTMLTagIndexer::index(page);
        tagCount = tags.size();
        benchmark::DoNotOptimize(tags);
    }
    state.counters["elements"] = static_cast<double>(tagCount);
    state.counters["utf16Units"] = static_cast<double>(page.size());
}
BENCHMARK(BM_IndexGeneratedPage)->Unit(benchmark::kMillisecond);

// Mapping indexes the page once and then narrows every record; the target is at most twice the
// time of indexing alone.
void BM_MapVisibleFenceOverGeneratedPage(benchmark::State& state)
{
    auto page = generatedPage();
    auto records = visibleRecords();
    BrightloopSelection selection { "index.html", "index.html", visibleArea };
    std::size_t candidateCount = 0;
    for (auto _ : state) {
        auto result = BrightloopSourceMapper::map(records, page, "index.html", selection);
        candidateCount = result.candidates().size();
        benchmark::DoNotOptimize(result);
    }
    state.counters["records"] = static_cast<double>(records.size());
    state.counters["candidates"] = static_cast<double>(candidateCount);
}
BENCHMARK(BM_MapVisibleFenceOverGeneratedPage)->Unit(benchmark::kMillisecond);

}
