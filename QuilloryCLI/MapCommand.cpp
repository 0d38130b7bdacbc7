#include "QuilloryCLI/CLICommand.h"
#include "QuilloryCore/Brightloop/BrightloopJS.h"
#include "QuilloryCore/Brightloop/BrightloopSourceMapper.h"
#include "QuilloryCore/Text/TextFile.h"

#include <charconv>
#include <filesystem>
#include <stdexcept>

namespace QuilloryCLI {

namespace {

// "X,Y,W,H" in CSS pixels, read without regard to the locale.
Quillory::BrightloopRect parseFence(const std::string& text)
{
    double values[4] {};
    std::size_t start = 0;
    for (std::size_t index = 0; index < 4; ++index) {
        auto end = text.find(',', start);
        bool last = index == 3;
        if (last != (end == std::string::npos))
            throw UsageError("--fence needs four numbers X,Y,W,H");
        auto piece = text.substr(start, last ? std::string::npos : end - start);
        auto [parsedEnd, error] = std::from_chars(piece.data(), piece.data() + piece.size(), values[index]);
        if (piece.empty() || error != std::errc() || parsedEnd != piece.data() + piece.size())
            throw UsageError("--fence needs four numbers X,Y,W,H, not \u201C" + text + "\u201D");
        start = end + 1;
    }
    return { values[0], values[1], values[2], values[3] };
}

nlohmann::json candidateJSON(const Quillory::BrightloopCandidate& candidate)
{
    nlohmann::json range = nullptr;
    if (candidate.sourceRange) {
        range = {
            { "pageRelativePath", candidate.sourceRange->pageRelativePath },
            { "utf16Start", candidate.sourceRange->utf16Start },
            { "utf16Length", candidate.sourceRange->utf16Length },
        };
    }
    return {
        { "kind", std::string(rawValue(candidate.kind)) },
        { "label", candidate.label },
        { "confidence", std::string(rawValue(candidate.confidence)) },
        { "sourceRange", range },
        { "overlapFraction", candidate.overlapFraction },
        { "reason", candidate.reason },
    };
}

// Maps the collection script's records (read from a file) onto a page's source and prints the
// ranked candidates.
void runMap(const std::vector<std::string>& arguments)
{
    auto parsed = parseArguments(arguments, { "--records", "--fence", "--page" }, {});
    if (parsed.positional.size() != 1)
        throw UsageError("expected one FILE");
    auto recordsPath = parsed.value("--records");
    if (!recordsPath)
        throw UsageError("--records RECORDS_JSON is required");
    auto fenceText = parsed.value("--fence");
    if (!fenceText)
        throw UsageError("--fence X,Y,W,H is required");
    auto fence = parseFence(*fenceText);

    const std::filesystem::path sourcePath = parsed.positional[0];
    auto source = Quillory::TextFile::readUTF8(sourcePath);
    std::vector<Quillory::BrightloopDOMRecord> records;
    try {
        records = Quillory::BrightloopJS::decode(Quillory::TextFile::readBytes(*recordsPath));
    } catch (const Quillory::BrightloopJS::DecodeError& error) {
        throw std::runtime_error(Quillory::TextFile::quotedFileName(*recordsPath) + " holds no valid records: " + error.what());
    }
    auto pagePath = parsed.value("--page").value_or(sourcePath.filename().string());

    Quillory::BrightloopSelection selection { pagePath, pagePath, fence };
    auto result = Quillory::BrightloopSourceMapper::map(records, source, pagePath, selection);
    nlohmann::json candidates = nlohmann::json::array();
    for (auto& candidate : result.candidates())
        candidates.push_back(candidateJSON(candidate));
    printJSON({ { "candidates", candidates } });
}

const CommandRegistration registration({ "map", "map FILE --records RECORDS_JSON --fence X,Y,W,H [--page PAGE_PATH]", runMap });

}

}
