#include "FuzzSupport.h"

#include "QuilloryCore/Analysis/HTMLSyntaxAnalyzer.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <string>
#include <vector>

// Any text, unpaired surrogates included. Spans: each lies in the text, is not empty, is one of
// the scanner's eight kinds and spells what its kind says; spans of tags that closed, comments,
// declarations and entities never overlap one another (only a tag cut off by the end of the
// text leaves spans that the scan then covers again). Folds: each spans an element from "<name"
// to its "</name", hides a non-empty content between them, has the right line numbers and id,
// and the regions nest, ordered by start line with outer ones first.

using namespace Quillory;
using QuilloryFuzz::check;

namespace {

bool isLetter(char16_t unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

bool isNameCharacter(char16_t unit)
{
    return isLetter(unit) || (unit >= u'0' && unit <= u'9') || unit == u'-' || unit == u':' || unit == u'_';
}

bool isWhitespace(char16_t unit)
{
    return unit == u'\t' || unit == u'\n' || unit == u'\r' || unit == u' ';
}

char lowered(char16_t unit)
{
    return static_cast<char>(unit >= u'A' && unit <= u'Z' ? unit + 32 : unit);
}

bool startsWith(std::u16string_view text, std::u16string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

bool isBracket(std::u16string_view piece, bool opening)
{
    return opening ? piece == u"<" || piece == u"</" : piece == u">" || piece == u"/>";
}

// Whether the span's text is what its kind says; `reachesEnd` tells whether it ends the text.
bool spellsItsKind(HTMLSyntaxKind kind, std::u16string_view piece, bool reachesEnd)
{
    switch (kind) {
    case HTMLSyntaxKind::tagBracket:
        return isBracket(piece, true) || isBracket(piece, false);
    case HTMLSyntaxKind::tagName:
        return isLetter(piece.front()) && std::all_of(piece.begin(), piece.end(), isNameCharacter);
    case HTMLSyntaxKind::attributeName:
        return std::none_of(piece.begin(), piece.end(), [](char16_t unit) { return isWhitespace(unit) || unit == u'/' || unit == u'=' || unit == u'>'; });
    case HTMLSyntaxKind::attributeOperator:
        return piece == u"=";
    case HTMLSyntaxKind::attributeValue:
        if (piece.front() == u'"' || piece.front() == u'\'')
            return (piece.size() >= 2 && piece.back() == piece.front() && piece.substr(1, piece.size() - 2).find(piece.front()) == std::u16string_view::npos)
                || (reachesEnd && piece.find(piece.front(), 1) == std::u16string_view::npos);
        return std::none_of(piece.begin(), piece.end(), [](char16_t unit) { return isWhitespace(unit) || unit == u'/' || unit == u'>'; });
    case HTMLSyntaxKind::comment:
        return startsWith(piece, u"<!--") && (reachesEnd || (piece.size() >= 7 && piece.substr(piece.size() - 3) == u"-->"));
    case HTMLSyntaxKind::declaration:
        return (startsWith(piece, u"<!") || startsWith(piece, u"<?"))
            && (piece.find(u'>') == piece.size() - 1 || (reachesEnd && piece.find(u'>') == std::u16string_view::npos));
    case HTMLSyntaxKind::entity:
        return piece.size() >= 3 && piece.front() == u'&' && piece.back() == u';'
            && std::all_of(piece.begin() + 1, piece.end() - 1, [](char16_t unit) { return isNameCharacter(unit) || unit == u'#'; });
    default:
        return false;
    }
}

void checkSpans(std::u16string_view text, std::string_view input)
{
    auto spans = HTMLSyntaxAnalyzer::spans(text);
    for (auto& span : spans) {
        check(span.range.length > 0 && span.range.end() <= text.size(), "a span is empty or leaves the text", input);
        auto piece = text.substr(span.range.location, span.range.length);
        check(spellsItsKind(span.kind, piece, span.range.end() == text.size()), "a span does not spell its kind", input);
    }

    // A tag's spans follow one another from its opening bracket; it is closed when a closing
    // bracket ends them. Everything else the scan yields is closed too.
    std::vector<bool> closed(spans.size(), true);
    for (std::size_t index = 0; index < spans.size();) {
        auto& span = spans[index];
        if (span.kind != HTMLSyntaxKind::tagBracket || !isBracket(text.substr(span.range.location, span.range.length), true)) {
            ++index;
            continue;
        }
        auto last = index + 1;
        check(last < spans.size() && spans[last].kind == HTMLSyntaxKind::tagName && spans[last].range.location == span.range.end(),
              "a tag's name does not follow its bracket", input);
        auto follows = [&](std::size_t next) { return next < spans.size() && spans[next].range.location >= spans[next - 1].range.end(); };
        while (follows(last + 1) && spans[last + 1].kind >= HTMLSyntaxKind::attributeName && spans[last + 1].kind <= HTMLSyntaxKind::attributeValue)
            ++last;
        bool isClosed = follows(last + 1) && spans[last + 1].kind == HTMLSyntaxKind::tagBracket
            && isBracket(text.substr(spans[last + 1].range.location, spans[last + 1].range.length), false);
        if (isClosed)
            ++last;
        for (auto member = index; member <= last; ++member)
            closed[member] = isClosed;
        index = last + 1;
    }
    std::size_t closedEnd = 0;
    for (std::size_t index = 0; index < spans.size(); ++index) {
        if (!closed[index])
            continue;
        check(spans[index].range.location >= closedEnd, "spans of finished markup overlap", input);
        closedEnd = spans[index].range.end();
    }
}

int lineAt(std::u16string_view text, std::size_t position)
{
    return 1 + static_cast<int>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(position), u'\n'));
}

void checkFolds(std::u16string_view text, std::string_view input)
{
    auto regions = HTMLSyntaxAnalyzer::foldRegions(text);
    for (auto& region : regions) {
        auto full = region.fullRange;
        auto hidden = region.hiddenRange;
        check(full.end() <= text.size() && hidden.length > 0 && hidden.location > full.location && hidden.end() + 2 <= full.end(),
              "a region's ranges leave the text or each other", input);
        check(text[full.location] == u'<' && text[hidden.location - 1] == u'>' && text[hidden.end()] == u'<' && text[hidden.end() + 1] == u'/',
              "a region does not run from an opening to a closing tag", input);
        check(full.end() == text.size() || text[full.end() - 1] == u'>', "a region ends inside its closing tag", input);
        const auto& name = region.tagName;
        bool opensAndCloses = !name.empty() && full.location + 1 + name.size() <= text.size() && hidden.end() + 2 + name.size() <= text.size();
        for (std::size_t index = 0; opensAndCloses && index < name.size(); ++index) {
            opensAndCloses = lowered(text[full.location + 1 + index]) == name[index] && lowered(text[hidden.end() + 2 + index]) == name[index]
                && isNameCharacter(text[full.location + 1 + index]);
        }
        check(opensAndCloses, "a region's name is not its tags' lowered name", input);
        check(region.id == name + "-" + std::to_string(full.location) + "-" + std::to_string(full.end()), "a region's id is wrong", input);
        check(region.startLine == lineAt(text, full.location) && region.endLine == lineAt(text, full.end()) && region.startLine < region.endLine,
              "a region's lines are wrong", input);
    }
    for (std::size_t index = 1; index < regions.size(); ++index) {
        auto& before = regions[index - 1];
        auto& after = regions[index];
        check(before.startLine < after.startLine || (before.startLine == after.startLine && before.fullRange.length >= after.fullRange.length),
              "regions are out of order", input);
    }

    // Nested or apart, never crossing: in order of start (outer first), each region lies in the
    // innermost earlier one that it starts in.
    auto byStart = regions;
    std::sort(byStart.begin(), byStart.end(), [](auto& a, auto& b) {
        return a.fullRange.location != b.fullRange.location ? a.fullRange.location < b.fullRange.location : a.fullRange.length > b.fullRange.length;
    });
    std::vector<Utf16Range> open;
    for (auto& region : byStart) {
        while (!open.empty() && open.back().end() <= region.fullRange.location)
            open.pop_back();
        check(open.empty() || region.fullRange.end() <= open.back().end(), "two regions cross", input);
        check(open.empty() || open.back() != region.fullRange, "two regions share a range", input);
        open.push_back(region.fullRange);
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto input = QuilloryFuzz::bytes(data, size);
    // Odd inputs are read as UTF-8, even ones as raw code units, so both kinds of text are seen.
    auto text = size % 2 ? UnicodeText::utf16(input) : QuilloryFuzz::codeUnits(input);
    checkSpans(text, input);
    checkFolds(text, input);
    return 0;
}
