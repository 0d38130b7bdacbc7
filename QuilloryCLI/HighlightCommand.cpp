#include "QuilloryCLI/CLICommand.h"
#include "QuilloryCore/Analysis/HTMLSyntaxAnalyzer.h"
#include "QuilloryCore/Text/TextFile.h"
#include "TreeSitterLayer/SourceSyntaxAnalyzer.h"

#include <iostream>

namespace QuilloryCLI {

namespace {

nlohmann::ordered_json rangeArray(const Quillory::Utf16Range& range)
{
    return nlohmann::ordered_json::array({ range.location, range.length });
}

nlohmann::ordered_json highlightJSON(const std::vector<Quillory::HTMLSyntaxSpan>& spans, const std::vector<Quillory::HTMLFoldRegion>& regions)
{
    auto spansJSON = nlohmann::ordered_json::array();
    for (const auto& span : spans)
        spansJSON.push_back({ { "kind", Quillory::htmlSyntaxKindName(span.kind) }, { "range", rangeArray(span.range) } });
    auto regionsJSON = nlohmann::ordered_json::array();
    for (const auto& region : regions) {
        regionsJSON.push_back({ { "id", region.id },
                                { "tagName", region.tagName },
                                { "fullRange", rangeArray(region.fullRange) },
                                { "hiddenRange", rangeArray(region.hiddenRange) },
                                { "startLine", region.startLine },
                                { "endLine", region.endLine } });
    }
    return { { "spans", std::move(spansJSON) }, { "foldRegions", std::move(regionsJSON) } };
}

// Prints the highlight spans and fold regions of a file as the editor gets them for
// DOCUMENT_PATH (FILE by default), or with --scanner from the HTML scanner whatever the path.
void runHighlight(const std::vector<std::string>& arguments)
{
    auto parsed = parseArguments(arguments, { "--path" }, { "--scanner" });
    if (parsed.positional.size() != 1)
        throw UsageError("expected FILE");
    auto text = Quillory::TextFile::readUTF8(parsed.positional[0]);
    nlohmann::ordered_json result;
    if (parsed.hasFlag("--scanner")) {
        result = highlightJSON(Quillory::HTMLSyntaxAnalyzer::spans(text), Quillory::HTMLSyntaxAnalyzer::foldRegions(text));
    } else {
        auto documentPath = parsed.value("--path").value_or(parsed.positional[0]);
        Quillory::SourceSyntaxAnalyzer analyzer;
        result = highlightJSON(analyzer.spans(text, documentPath), analyzer.foldRegions(text, documentPath));
    }
    std::cout << result.dump(2) << '\n';
}

const CommandRegistration registration({ "highlight", "highlight FILE [--path DOCUMENT_PATH] [--scanner]", runHighlight });

}

}
