#pragma once

#include "QuilloryCore/Brightloop/BrightloopModels.h"
#include "QuilloryCore/Analysis/HTMLTagIndexer.h"
#include "QuilloryCore/Text/Utf16Range.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Finds, for each rendered element inside a fence, the characters of the page's HTML source that
// produced it. It has no DOM: what a record knows narrows the page's indexed tags step by step,
// and what is left decides how confident the answer is. It never fails; every way of not finding
// a source is a candidate whose reason says why.
//
// Source texts are UTF-16 and all ranges count UTF-16 code units. Labels, reasons, names and
// record strings are UTF-8.
namespace Quillory::BrightloopSourceMapper {

// A style rule found for a generated surface.
struct StyleSourceMatch {
    std::string selector; // The selector that was found, as it was sought.
    Utf16Range range; // Where to jump.
    bool isExactRule { false }; // True if `range` is the whole rule.
    std::string cssText; // The source text of `range`.

    friend bool operator==(const StyleSourceMatch&, const StyleSourceMatch&) = default;
};

struct ParsedSignature {
    std::string tagName;
    std::optional<std::string> id;
    std::vector<std::string> classes;

    friend bool operator==(const ParsedSignature&, const ParsedSignature&) = default;
};

// Indexes `htmlSource` once and maps every record in order; the result sorts the candidates.
// No deduplication and no cap: two records that lead to the same range give two candidates.
BrightloopResult map(const std::vector<BrightloopDOMRecord>& records, std::u16string_view htmlSource, const std::string& pageRelativePath,
                     const BrightloopSelection& selection);

// The candidates of one record, in their order; the first rule that applies decides.
std::vector<BrightloopCandidate> candidates(const BrightloopDOMRecord& record, std::u16string_view htmlSource, const std::vector<IndexedTag>& indexed,
                                            const std::string& pageRelativePath, const BrightloopRect& fence);

// The elimination funnel: tag name, id, classes, sibling index, ancestry, text. A step that would
// leave nothing is skipped; the survivors keep the order of `tags`.
std::vector<IndexedTag> narrow(const BrightloopDOMRecord& record, const std::vector<IndexedTag>& tags);

// The first tag, in index order, that fits the nearest ancestor signature that any tag fits.
// Signatures are lower-cased while source ids and classes are not, so an ancestor with an
// upper-case id or class is passed over for one further out.
std::optional<IndexedTag> nearestSourceBackedAncestor(const BrightloopDOMRecord& record, const std::vector<IndexedTag>& indexed);

// The shortest tag that spans all matches without being one of them; of equals the first.
std::optional<IndexedTag> commonAncestor(const std::vector<IndexedTag>& matches, const std::vector<IndexedTag>& indexed);

// Reads "tag#id.class1.class2": the tag name lower-cased, a later "#" segment replacing an
// earlier one, id and classes as they stand.
ParsedSignature parseSignature(std::string_view signature);

// The attributes a person would edit on this kind of element, drawn from the record.
std::vector<std::string> relevantAttributes(const BrightloopDOMRecord& record);
// The names that are keys of the record's attributes, in the given order.
std::vector<std::string> present(const std::vector<std::string>& names, const BrightloopDOMRecord& record);

BrightloopCandidateKind kind(const BrightloopDOMRecord& record, const std::optional<std::string>& attributeName);

std::string label(const BrightloopDOMRecord& record);
std::string containerLabel(const IndexedTag& tag);
// @name="value", nothing escaped.
std::string attributeLabel(std::string_view name, std::string_view value);

// Whether the record's own text can be found in the tag's text (case-sensitive, both normalized).
// The snippet holds only the element's own text nodes while the inner text holds all
// descendants' text, so an inline child in the middle of the text makes them differ.
bool textSnippetMatches(const BrightloopDOMRecord& record, const IndexedTag& tag);

// How much of the element lies inside the fence (not how much of the fence it fills); 0 for an
// element without area. Not clamped.
double overlapFraction(const BrightloopRect& rect, const BrightloopRect& fence);

// The reason followed by the record's caveats: transform, suppression, hit target, display:
// contents ancestors.
std::string reasonWithCaveats(std::string_view reason, const BrightloopDOMRecord& record);

bool isStructuralContainer(std::string_view tagName);

// Every run of white space (as the regular expression "\s" means it) becomes one blank, then
// white space and line ends are trimmed from both ends.
std::string normalize(std::string_view text);

// Generated surfaces: a pseudo-element's attribute candidate (when an attribute shows as its
// text) followed by its style rule candidate.
std::vector<BrightloopCandidate> pseudoElementCandidates(const BrightloopDOMRecord& record, const std::string& pseudoElement, std::u16string_view htmlSource,
                                                         const std::vector<IndexedTag>& indexed, const std::string& pageRelativePath, double overlap);

// Selectors under which a rule for this pseudo-element may stand, most specific first, without
// duplicates.
std::vector<std::string> pseudoSelectorCandidates(const BrightloopDOMRecord& record, const std::string& pseudoElement);

// The whole rule from the selector to its balanced closing brace, if it ends inside the style
// element. Comments and strings are not recognised; nested blocks belong to the rule.
std::optional<Utf16Range> cssRuleRange(Utf16Range selectorRange, Utf16Range styleRange, std::u16string_view htmlSource);

std::string pseudoElementReason(std::string_view label, const StyleSourceMatch& match, const BrightloopDOMRecord& record);

// The editable attributes on the tag of a shadow tree's host, when exactly one source tag can be
// that host.
std::vector<BrightloopCandidate> shadowHostAttributeCandidates(const BrightloopDOMRecord& record, const std::vector<IndexedTag>& indexed,
                                                               const std::string& pageRelativePath, double overlap);

}
