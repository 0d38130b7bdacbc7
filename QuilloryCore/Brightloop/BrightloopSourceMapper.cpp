#include "QuilloryCore/Brightloop/BrightloopSourceMapper.h"
#include "QuilloryCore/Analysis/TagNameTable.h"
#include "QuilloryCore/Text/RegularExpression.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <span>
#include <unordered_map>
#include <unordered_set>

#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace Quillory::BrightloopSourceMapper {

namespace {

using TagPointers = std::vector<const IndexedTag*>;

// The tags of the names a mapping asks for, grouped by name, each group in index order. Every
// search that begins by keeping the tags of one name looks there instead of scanning the whole
// index; since the groups keep the index order, the first tag found is the one a full scan would
// find. Only the names the records can ask for are grouped, in one pass, so a page of many
// distinct names costs one lookup in a small table per tag; a name nobody announced is grouped
// by a pass of its own when first asked for.
class TagLookup {
public:
    TagLookup(const std::vector<IndexedTag>& tags, const std::vector<std::string>& wantedNames)
        : m_tags(tags)
        , m_names(wantedNames.size())
    {
        for (auto& name : wantedNames)
            m_names.intern(name);
        m_groups.resize(m_names.size());
        for (auto& tag : tags) {
            if (auto id = m_names.find(tag.tagName))
                m_groups[*id].push_back(&tag);
        }
    }

    const std::vector<IndexedTag>& all() const { return m_tags; }

    // Stays valid while the lookup lives.
    const TagPointers& named(std::string_view name) const
    {
        if (auto id = m_names.find(name))
            return m_groups[*id];
        m_names.intern(name);
        auto& group = m_groups.emplace_back();
        for (auto& tag : m_tags) {
            if (tag.tagName == name)
                group.push_back(&tag);
        }
        return group;
    }

private:
    const std::vector<IndexedTag>& m_tags;
    mutable TagNameTable m_names;
    // A deque, so that a group handed out stays where it is when another is added.
    mutable std::deque<TagPointers> m_groups;
};

// Every tag name the mapping of these records can look up.
std::vector<std::string> namesAskedFor(std::span<const BrightloopDOMRecord> records)
{
    std::vector<std::string> names { "style" };
    for (auto& record : records) {
        names.push_back(record.tagName);
        if (record.shadowHostTagName)
            names.push_back(*record.shadowHostTagName);
        for (auto& signature : record.ancestorSignatures)
            names.push_back(parseSignature(signature).tagName);
    }
    return names;
}

TagLookup lookupFor(const BrightloopDOMRecord& record, const std::vector<IndexedTag>& tags)
{
    return TagLookup(tags, namesAskedFor(std::span(&record, 1)));
}

struct MappingContext {
    std::u16string_view htmlSource;
    const TagLookup& lookup;
    const std::string& pageRelativePath;
};

std::string lowercased(std::string_view text)
{
    auto unicode = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    unicode.toLower(icu::Locale::getRoot());
    std::string result;
    unicode.toUTF8String(result);
    return result;
}

// The overlap as candidates store it: within 0 to 1, and 0 when it is not a number.
double clampedOverlap(double overlap)
{
    if (std::isnan(overlap))
        return 0;
    return std::clamp(overlap, 0.0, 1.0);
}

BrightloopCandidate makeCandidate(BrightloopCandidateKind candidateKind, std::string candidateLabel, BrightloopConfidence confidence,
                                  const BrightloopDOMRecord& record, std::optional<Utf16Range> range, const std::string& pageRelativePath,
                                  double overlap, std::string reason)
{
    BrightloopCandidate candidate;
    candidate.id = UUID::random();
    candidate.kind = candidateKind;
    candidate.label = std::move(candidateLabel);
    candidate.confidence = confidence;
    candidate.dom = record;
    if (range && supportsJumpToSource(confidence))
        candidate.sourceRange = BrightloopSourceRange { pageRelativePath, range->location, range->length };
    candidate.overlapFraction = clampedOverlap(overlap);
    candidate.reason = std::move(reason);
    return candidate;
}

std::string elementLabel(std::string_view tagName)
{
    return "<" + std::string(tagName) + ">";
}

// Keeps the tags that pass; keeps all when none does, so a step never empties the set.
template<class Predicate>
void keepIfAny(TagPointers& tags, Predicate passes)
{
    TagPointers kept;
    for (auto* tag : tags) {
        if (passes(*tag))
            kept.push_back(tag);
    }
    if (!kept.empty())
        tags = std::move(kept);
}

// Keeps the tags with the best score when the best is at least 1.
template<class Score>
void keepBestScore(TagPointers& tags, Score score)
{
    std::vector<std::size_t> scores;
    scores.reserve(tags.size());
    std::size_t best = 0;
    for (auto* tag : tags) {
        scores.push_back(score(*tag));
        best = std::max(best, scores.back());
    }
    if (best < 1)
        return;
    TagPointers kept;
    for (std::size_t index = 0; index < tags.size(); ++index) {
        if (scores[index] == best)
            kept.push_back(tags[index]);
    }
    tags = std::move(kept);
}

bool contains(const std::vector<std::string>& list, const std::string& value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

bool isASCII(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char character) { return static_cast<unsigned char>(character) < 0x80; });
}

// ICU's "\s" within ASCII: tab, line feed, vertical tab, form feed, carriage return and space.
bool isRegexWhitespace(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

// True when normalize would give the text back unchanged: ASCII, no white space but single
// inner blanks. Indexed inner texts mostly are, and the funnel compares many of them.
bool isNormalizedASCII(std::string_view text)
{
    if (!text.empty() && (text.front() == ' ' || text.back() == ' '))
        return false;
    char previous = 0;
    for (char character : text) {
        if (static_cast<unsigned char>(character) >= 0x80 || (character != ' ' && isRegexWhitespace(character)) || (character == ' ' && previous == ' '))
            return false;
        previous = character;
    }
    return true;
}

// Whether normalize(text) contains the already normalized `snippet`.
bool containsNormalized(std::string_view text, std::string_view snippet)
{
    if (isNormalizedASCII(text))
        return text.find(snippet) != std::string_view::npos;
    return normalize(text).find(snippet) != std::string::npos;
}

TagPointers narrowed(const BrightloopDOMRecord& record, const TagLookup& lookup)
{
    TagPointers tags = lookup.named(record.tagName);
    if (tags.empty())
        return tags;

    if (record.elementID && !record.elementID->empty()) {
        keepIfAny(tags, [&](const IndexedTag& tag) {
            auto* id = tag.attribute("id");
            return id && id->value == *record.elementID;
        });
    }
    if (tags.size() <= 1)
        return tags;

    if (!record.classList.empty()) {
        // The two class lists are compared as sets: duplicates count once.
        std::vector<std::string> recordClasses;
        for (auto& name : record.classList) {
            if (!contains(recordClasses, name))
                recordClasses.push_back(name);
        }
        keepBestScore(tags, [&](const IndexedTag& tag) {
            std::size_t shared = 0;
            for (auto& name : recordClasses) {
                if (contains(tag.classes, name))
                    ++shared;
            }
            return shared;
        });
    }
    if (tags.size() <= 1)
        return tags;

    if (record.siblingIndex)
        keepIfAny(tags, [&](const IndexedTag& tag) { return tag.siblingIndex == *record.siblingIndex; });
    if (tags.size() <= 1)
        return tags;

    if (!record.ancestorTags.empty()) {
        keepBestScore(tags, [&](const IndexedTag& tag) {
            std::size_t common = 0;
            auto ancestor = tag.ancestorTags.begin();
            while (common < record.ancestorTags.size() && ancestor != tag.ancestorTags.end() && record.ancestorTags[common] == *ancestor) {
                ++common;
                ++ancestor;
            }
            return common;
        });
    }
    if (tags.size() <= 1)
        return tags;

    if (record.textSnippet) {
        auto snippet = normalize(*record.textSnippet);
        keepIfAny(tags, [&](const IndexedTag& tag) { return tag.innerText && containsNormalized(*tag.innerText, snippet); });
    }
    return tags;
}

std::vector<IndexedTag> copies(const TagPointers& tags)
{
    std::vector<IndexedTag> result;
    result.reserve(tags.size());
    for (auto* tag : tags)
        result.push_back(*tag);
    return result;
}

const IndexedTag* nearestAncestor(const BrightloopDOMRecord& record, const TagLookup& lookup)
{
    for (auto& signature : record.ancestorSignatures) {
        auto parsed = parseSignature(signature);
        for (auto* tag : lookup.named(parsed.tagName)) {
            if (parsed.id) {
                auto* id = tag->attribute("id");
                if (!id || id->value != *parsed.id)
                    continue;
            }
            bool hasAllClasses = std::all_of(parsed.classes.begin(), parsed.classes.end(), [&](auto& name) { return contains(tag->classes, name); });
            if (hasAllClasses)
                return tag;
        }
    }
    return nullptr;
}

const IndexedTag* commonAncestorOf(const TagPointers& matches, const std::vector<IndexedTag>& indexed)
{
    if (matches.empty())
        return nullptr;
    std::size_t minStart = matches.front()->fullRange.location;
    std::size_t maxEnd = matches.front()->fullRange.end();
    std::unordered_set<NSRangeKey> matchRanges;
    for (auto* match : matches) {
        minStart = std::min(minStart, match->fullRange.location);
        maxEnd = std::max(maxEnd, match->fullRange.end());
        matchRanges.insert(NSRangeKey(match->fullRange));
    }
    const IndexedTag* best = nullptr;
    for (auto& tag : indexed) {
        if (tag.fullRange.location > minStart || tag.fullRange.end() < maxEnd || matchRanges.contains(NSRangeKey(tag.fullRange)))
            continue;
        if (!best || tag.fullRange.length < best->fullRange.length)
            best = &tag;
    }
    return best;
}

std::string textOf(std::u16string_view htmlSource, Utf16Range range)
{
    if (range.location >= htmlSource.size())
        return {};
    return UnicodeText::utf8FromUTF16(htmlSource.substr(range.location, range.length));
}

// The first occurrence of `needle` anywhere in the text, ignoring case, taken as plain text.
std::optional<Utf16Range> firstOccurrenceIgnoringCase(std::u16string_view text, std::string_view needle)
{
    std::u16string pattern;
    for (char16_t unit : UnicodeText::utf16(needle)) {
        bool asciiAlphanumeric = (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') || (unit >= u'0' && unit <= u'9');
        if (unit < 0x80 && !asciiAlphanumeric)
            pattern.push_back(u'\\');
        pattern.push_back(unit);
    }
    auto expression = RegularExpression::make(pattern, static_cast<unsigned>(RegularExpression::Option::CaseInsensitive));
    if (!expression)
        return std::nullopt;
    auto match = expression->firstMatch(text);
    if (!match)
        return std::nullopt;
    return match->range(0);
}

std::optional<std::string> contentAttributeName(const std::string& cssText)
{
    static const auto expression = RegularExpression::make(u"content\\s*:\\s*attr\\(\\s*([A-Za-z_][-A-Za-z0-9_:.]*)\\s*\\)",
                                                           static_cast<unsigned>(RegularExpression::Option::CaseInsensitive));
    if (!expression)
        return std::nullopt;
    auto text = UnicodeText::utf16(cssText);
    auto match = expression->firstMatch(text);
    if (!match)
        return std::nullopt;
    auto group = match->range(1);
    if (!group)
        return std::nullopt;
    return lowercased(UnicodeText::utf8FromUTF16(std::u16string_view(text).substr(group->location, group->length)));
}

std::vector<BrightloopCandidate> pseudoCandidates(const BrightloopDOMRecord& record, const std::string& pseudoElement, const MappingContext& context,
                                                  double overlap)
{
    std::optional<std::string> selector;
    std::optional<Utf16Range> selectorRange;
    for (auto& candidate : pseudoSelectorCandidates(record, pseudoElement)) {
        if (auto range = firstOccurrenceIgnoringCase(context.htmlSource, candidate)) {
            selector = candidate;
            selectorRange = range;
            break;
        }
    }

    std::optional<StyleSourceMatch> match;
    if (selector) {
        const IndexedTag* styleTag = nullptr;
        for (auto* tag : context.lookup.named("style")) {
            if (tag->fullRange.contains(*selectorRange)) {
                styleTag = tag;
                break;
            }
        }
        if (styleTag) {
            if (auto rule = cssRuleRange(*selectorRange, styleTag->fullRange, context.htmlSource))
                match = StyleSourceMatch { *selector, *rule, true, textOf(context.htmlSource, *rule) };
            else
                match = StyleSourceMatch { *selector, styleTag->fullRange, false, textOf(context.htmlSource, styleTag->fullRange) };
        } else {
            match = StyleSourceMatch { *selector, *selectorRange, false, *selector };
        }
    }

    std::string painterLabel = match ? match->selector : record.tagName + pseudoElement;
    std::optional<std::string> attributeName = record.contentSourceAttribute;
    if (!attributeName && match)
        attributeName = contentAttributeName(match->cssText);

    std::vector<BrightloopCandidate> result;
    if (attributeName) {
        auto tags = narrowed(record, context.lookup);
        if (!tags.empty()) {
            if (auto* attribute = tags.front()->attribute(*attributeName)) {
                const std::string& shown = record.renderedTextSnippet ? *record.renderedTextSnippet : attribute->value;
                result.push_back(makeCandidate(kind(record, attributeName), attributeLabel(*attributeName, attribute->value),
                                               BrightloopConfidence::editableAttribute, record, attribute->valueRange, context.pageRelativePath, overlap,
                                               "Visible: \"" + shown + "\" generated by " + pseudoElement + " from @" + *attributeName
                                                   + ". Source: editable attribute on <" + record.tagName + ">. Painter: " + painterLabel + "."));
            }
        }
    }

    if (match) {
        result.push_back(makeCandidate(BrightloopCandidateKind::styleAttribute, match->selector, BrightloopConfidence::container, record, match->range,
                                       context.pageRelativePath, overlap, pseudoElementReason(match->selector, *match, record)));
    } else {
        result.push_back(makeCandidate(BrightloopCandidateKind::styleAttribute, record.tagName + pseudoElement, BrightloopConfidence::renderedOnly, record,
                                       std::nullopt, context.pageRelativePath, overlap,
                                       "Painter: CSS " + pseudoElement + " rendered this visual surface, but no matching local style rule was found."));
    }
    return result;
}

std::vector<BrightloopCandidate> shadowHostCandidates(const BrightloopDOMRecord& record, const MappingContext& context, double overlap)
{
    if (!record.shadowHostTagName || record.shadowHostTagName->empty())
        return {};
    BrightloopDOMRecordFields hostFields;
    hostFields.tagName = *record.shadowHostTagName;
    hostFields.rect = record.rect;
    hostFields.elementID = record.shadowHostID;
    hostFields.classList = record.shadowHostClassList;
    hostFields.attributes = record.shadowHostAttributes;
    hostFields.isVisible = true;
    BrightloopDOMRecord host(std::move(hostFields));

    auto tags = narrowed(host, context.lookup);
    // Several possible hosts are not chosen between.
    if (tags.size() != 1)
        return {};
    const IndexedTag& tag = *tags.front();
    std::vector<BrightloopCandidate> result;
    for (auto& name : relevantAttributes(host)) {
        auto* attribute = tag.attribute(name);
        if (!attribute)
            continue;
        result.push_back(makeCandidate(kind(host, name), attributeLabel(name, attribute->value), BrightloopConfidence::editableAttribute, record,
                                       attribute->valueRange, context.pageRelativePath, overlap,
                                       "Shadow DOM content is generated, but host <" + host.tagName + "> @" + name + " is editable source."));
    }
    return result;
}

std::vector<BrightloopCandidate> candidatesFor(const BrightloopDOMRecord& record, const MappingContext& context, const BrightloopRect& fence)
{
    double overlap = overlapFraction(record.rect, fence);
    const auto& path = context.pageRelativePath;

    if (record.pseudoElement)
        return pseudoCandidates(record, *record.pseudoElement, context, overlap);

    if (record.inShadowDOM) {
        std::vector<BrightloopCandidate> result;
        result.push_back(makeCandidate(BrightloopCandidateKind::unknown, elementLabel(record.tagName), BrightloopConfidence::generatedOrExternal, record,
                                       std::nullopt, path, overlap, "Inside a shadow DOM root; runtime internals are generated by the host element."));
        for (auto& candidate : shadowHostCandidates(record, context, overlap))
            result.push_back(std::move(candidate));
        return result;
    }

    if (record.tagName == "script" || record.tagName == "style") {
        return { makeCandidate(BrightloopCandidateKind::unknown, elementLabel(record.tagName), BrightloopConfidence::generatedOrExternal, record,
                               std::nullopt, path, overlap, "Element is generated or external (" + record.tagName + ").") };
    }

    auto matches = narrowed(record, context.lookup);

    if (matches.empty()) {
        if (auto* ancestor = nearestAncestor(record, context.lookup)) {
            return { makeCandidate(BrightloopCandidateKind::container, containerLabel(*ancestor), BrightloopConfidence::container, record,
                                   ancestor->fullRange, path, overlap,
                                   "No source tag matched this rendered element; treating it as runtime-generated content inside nearest "
                                   "source-backed container <"
                                       + ancestor->tagName + ">.") };
        }
        return { makeCandidate(kind(record, std::nullopt), label(record), BrightloopConfidence::renderedOnly, record, std::nullopt, path, overlap,
                               "No <" + record.tagName + "> in source matched this rendered element.") };
    }

    if (matches.size() > 1) {
        auto count = std::to_string(matches.size());
        if (auto* ancestor = commonAncestorOf(matches, context.lookup.all())) {
            return { makeCandidate(BrightloopCandidateKind::container, containerLabel(*ancestor), BrightloopConfidence::container, record,
                                   ancestor->fullRange, path, overlap,
                                   count + " <" + record.tagName + "> elements matched; falling back to common ancestor <" + ancestor->tagName + ">.") };
        }
        return { makeCandidate(kind(record, std::nullopt), label(record), BrightloopConfidence::renderedOnly, record, std::nullopt, path, overlap,
                               count + " <" + record.tagName + "> elements matched; cannot disambiguate without a common ancestor.") };
    }

    const IndexedTag& tag = *matches.front();
    std::vector<BrightloopCandidate> result;
    for (auto& name : relevantAttributes(record)) {
        // An attribute set at run time has no source to offer.
        auto* attribute = tag.attribute(name);
        if (!attribute)
            continue;
        result.push_back(makeCandidate(kind(record, name), attributeLabel(name, attribute->value), BrightloopConfidence::editableAttribute, record,
                                       attribute->valueRange, path, overlap,
                                       reasonWithCaveats("Matched <" + record.tagName + "> with editable @" + name + ".", record)));
    }

    if (record.textSnippet && !textSnippetMatches(record, tag)) {
        if (auto* ancestor = nearestAncestor(record, context.lookup)) {
            result.push_back(makeCandidate(BrightloopCandidateKind::container, containerLabel(*ancestor), BrightloopConfidence::container, record,
                                           ancestor->fullRange, path, overlap,
                                           "Rendered text differs from source; treating it as runtime-generated content inside nearest source-backed "
                                           "container <"
                                               + ancestor->tagName + ">."));
        } else {
            result.push_back(makeCandidate(kind(record, std::nullopt), label(record), BrightloopConfidence::renderedOnly, record, std::nullopt, path,
                                           overlap, "Tag matched in source but rendered text differs; treating as dynamically generated."));
        }
    } else if (!record.textSnippet && isStructuralContainer(tag.tagName)) {
        result.push_back(makeCandidate(kind(record, std::nullopt), label(record), BrightloopConfidence::container, record, tag.fullRange, path, overlap,
                                       reasonWithCaveats("Structural <" + record.tagName + "> container.", record)));
    } else {
        // A record without text of its own (an img, say) counts as matching its source text.
        auto range = record.textSnippet && tag.innerTextRange ? *tag.innerTextRange : tag.fullRange;
        result.push_back(makeCandidate(kind(record, std::nullopt), label(record), BrightloopConfidence::editableSource, record, range, path, overlap,
                                       reasonWithCaveats("Single <" + record.tagName + "> match with verified text content.", record)));
    }
    return result;
}

}

BrightloopResult map(const std::vector<BrightloopDOMRecord>& records, std::u16string_view htmlSource, const std::string& pageRelativePath,
                     const BrightloopSelection& selection)
{
    auto indexed = HTMLTagIndexer::index(htmlSource);
    TagLookup lookup(indexed, namesAskedFor(records));
    MappingContext context { htmlSource, lookup, pageRelativePath };
    std::vector<BrightloopCandidate> all;
    for (auto& record : records) {
        for (auto& candidate : candidatesFor(record, context, selection.fence))
            all.push_back(std::move(candidate));
    }
    return BrightloopResult(selection, std::move(all));
}

std::vector<BrightloopCandidate> candidates(const BrightloopDOMRecord& record, std::u16string_view htmlSource, const std::vector<IndexedTag>& indexed,
                                            const std::string& pageRelativePath, const BrightloopRect& fence)
{
    auto lookup = lookupFor(record, indexed);
    return candidatesFor(record, { htmlSource, lookup, pageRelativePath }, fence);
}

std::vector<IndexedTag> narrow(const BrightloopDOMRecord& record, const std::vector<IndexedTag>& tags)
{
    return copies(narrowed(record, lookupFor(record, tags)));
}

std::optional<IndexedTag> nearestSourceBackedAncestor(const BrightloopDOMRecord& record, const std::vector<IndexedTag>& indexed)
{
    if (auto* tag = nearestAncestor(record, lookupFor(record, indexed)))
        return *tag;
    return std::nullopt;
}

std::optional<IndexedTag> commonAncestor(const std::vector<IndexedTag>& matches, const std::vector<IndexedTag>& indexed)
{
    TagPointers pointers;
    for (auto& match : matches)
        pointers.push_back(&match);
    if (auto* tag = commonAncestorOf(pointers, indexed))
        return *tag;
    return std::nullopt;
}

ParsedSignature parseSignature(std::string_view signature)
{
    auto nameEnd = signature.find_first_of("#.");
    ParsedSignature parsed;
    parsed.tagName = lowercased(signature.substr(0, nameEnd));
    while (nameEnd != std::string_view::npos) {
        auto segmentEnd = signature.find_first_of("#.", nameEnd + 1);
        auto segment = std::string(signature.substr(nameEnd + 1, segmentEnd == std::string_view::npos ? std::string_view::npos : segmentEnd - nameEnd - 1));
        if (signature[nameEnd] == '#')
            parsed.id = std::move(segment);
        else
            parsed.classes.push_back(std::move(segment));
        nameEnd = segmentEnd;
    }
    return parsed;
}

std::vector<std::string> relevantAttributes(const BrightloopDOMRecord& record)
{
    if (record.tagName == "a")
        return present({ "href", "style", "class" }, record);
    if (record.tagName == "img")
        return present({ "src", "alt", "style", "class" }, record);
    if (record.tagName.find('-') == std::string::npos)
        return present({ "style", "class" }, record);
    // A custom element: its own attributes are its editable interface. The map is already in
    // ascending order.
    std::vector<std::string> names;
    for (auto& [name, value] : record.attributes) {
        if (name == "id" || name == "class" || name == "style" || name == "role" || StringHelpers::startsWith(name, "aria-")
            || StringHelpers::startsWith(name, "on"))
            continue;
        names.push_back(name);
    }
    return names;
}

std::vector<std::string> present(const std::vector<std::string>& names, const BrightloopDOMRecord& record)
{
    std::vector<std::string> result;
    for (auto& name : names) {
        if (record.attributes.contains(name))
            result.push_back(name);
    }
    return result;
}

BrightloopCandidateKind kind(const BrightloopDOMRecord& record, const std::optional<std::string>& attributeName)
{
    if (attributeName) {
        if (*attributeName == "style")
            return BrightloopCandidateKind::styleAttribute;
        if (*attributeName == "class")
            return BrightloopCandidateKind::classAttribute;
        if (record.pseudoElement)
            return BrightloopCandidateKind::text;
        if (record.tagName == "a")
            return BrightloopCandidateKind::link;
        if (record.tagName == "img")
            return BrightloopCandidateKind::image;
        return BrightloopCandidateKind::unknown;
    }
    static const std::unordered_map<std::string_view, BrightloopCandidateKind> kinds {
        { "a", BrightloopCandidateKind::link },
        { "img", BrightloopCandidateKind::image },
        { "button", BrightloopCandidateKind::button },
        { "label", BrightloopCandidateKind::formLabel },
        { "h1", BrightloopCandidateKind::heading },
        { "h2", BrightloopCandidateKind::heading },
        { "h3", BrightloopCandidateKind::heading },
        { "h4", BrightloopCandidateKind::heading },
        { "h5", BrightloopCandidateKind::heading },
        { "h6", BrightloopCandidateKind::heading },
        { "section", BrightloopCandidateKind::section },
        { "article", BrightloopCandidateKind::section },
        { "aside", BrightloopCandidateKind::section },
        { "header", BrightloopCandidateKind::section },
        { "footer", BrightloopCandidateKind::section },
        { "main", BrightloopCandidateKind::section },
        { "li", BrightloopCandidateKind::listItem },
        { "nav", BrightloopCandidateKind::navItem },
        { "div", BrightloopCandidateKind::container },
        { "p", BrightloopCandidateKind::text },
        { "span", BrightloopCandidateKind::text },
        { "em", BrightloopCandidateKind::text },
        { "strong", BrightloopCandidateKind::text },
    };
    auto found = kinds.find(record.tagName);
    return found == kinds.end() ? BrightloopCandidateKind::unknown : found->second;
}

std::string label(const BrightloopDOMRecord& record)
{
    if (record.textSnippet && !record.textSnippet->empty())
        return *record.textSnippet;
    if (record.elementID && !record.elementID->empty())
        return "<" + record.tagName + " #" + *record.elementID + ">";
    return elementLabel(record.tagName);
}

std::string containerLabel(const IndexedTag& tag)
{
    auto* id = tag.attribute("id");
    if (id && !id->value.empty())
        return "<" + tag.tagName + " #" + id->value + ">";
    return elementLabel(tag.tagName);
}

std::string attributeLabel(std::string_view name, std::string_view value)
{
    return "@" + std::string(name) + "=\"" + std::string(value) + "\"";
}

bool textSnippetMatches(const BrightloopDOMRecord& record, const IndexedTag& tag)
{
    if (!record.textSnippet)
        return true;
    if (!tag.innerText)
        return false;
    auto snippet = normalize(*record.textSnippet);
    if (snippet.empty())
        return true;
    return containsNormalized(*tag.innerText, snippet);
}

double overlapFraction(const BrightloopRect& rect, const BrightloopRect& fence)
{
    double area = rect.area();
    if (area <= 0)
        return 0;
    return fence.overlapArea(rect) / area;
}

std::string reasonWithCaveats(std::string_view reason, const BrightloopDOMRecord& record)
{
    std::string text(reason);
    if (record.transformed)
        text += " Element uses CSS transform; Brightloop geometry is an axis-aligned bounding box.";
    if (record.isVisuallySuppressed())
        text += " Visible: this source node is visually suppressed by CSS or ancestor opacity.";
    if (record.isPointerHitTarget)
        text += " Hit target: this element receives pointer events for the fenced surface.";
    if (!record.displayContentsAncestors.empty()) {
        text += " Inside display: contents ancestor ";
        for (std::size_t index = 0; index < record.displayContentsAncestors.size(); ++index) {
            if (index > 0)
                text += " > ";
            text += record.displayContentsAncestors[index];
        }
        text += ".";
    }
    return text;
}

bool isStructuralContainer(std::string_view tagName)
{
    static constexpr std::string_view names[] = { "html", "body", "section", "article", "aside", "header", "footer", "main", "nav", "div", "ul", "ol" };
    return std::find(std::begin(names), std::end(names), tagName) != std::end(names);
}

std::string normalize(std::string_view text)
{
    if (isASCII(text)) {
        // The common case, done by hand with the same character classes as the general path.
        std::string collapsed;
        collapsed.reserve(text.size());
        bool inRun = false;
        for (char character : text) {
            if (isRegexWhitespace(character)) {
                if (!inRun)
                    collapsed.push_back(' ');
                inRun = true;
            } else {
                collapsed.push_back(character);
                inRun = false;
            }
        }
        std::size_t start = 0;
        std::size_t end = collapsed.size();
        while (start < end && StringHelpers::isWhitespaceOrNewline(static_cast<unsigned char>(collapsed[start])))
            ++start;
        while (end > start && StringHelpers::isWhitespaceOrNewline(static_cast<unsigned char>(collapsed[end - 1])))
            --end;
        return collapsed.substr(start, end - start);
    }
    static const auto whitespace = RegularExpression::make(u"\\s+");
    auto collapsed = whitespace->replacingMatches(UnicodeText::utf16(text), u" ");
    return UnicodeText::utf8FromUTF16(StringHelpers::trimmingWhitespaceAndNewlines(collapsed));
}

std::vector<BrightloopCandidate> pseudoElementCandidates(const BrightloopDOMRecord& record, const std::string& pseudoElement, std::u16string_view htmlSource,
                                                         const std::vector<IndexedTag>& indexed, const std::string& pageRelativePath, double overlap)
{
    auto lookup = lookupFor(record, indexed);
    return pseudoCandidates(record, pseudoElement, { htmlSource, lookup, pageRelativePath }, overlap);
}

std::vector<std::string> pseudoSelectorCandidates(const BrightloopDOMRecord& record, const std::string& pseudoElement)
{
    std::vector<std::string> selectors;
    auto add = [&](std::string selector) {
        if (!contains(selectors, selector))
            selectors.push_back(std::move(selector));
    };
    const auto& tagName = record.tagName;
    if (record.elementID && !record.elementID->empty()) {
        add("#" + *record.elementID + pseudoElement);
        add(tagName + "#" + *record.elementID + pseudoElement);
    }
    if (!record.classList.empty()) {
        std::string allClasses;
        for (auto& name : record.classList)
            allClasses += "." + name;
        add(allClasses + pseudoElement);
        add(tagName + allClasses + pseudoElement);
        for (auto& name : record.classList) {
            add("." + name + pseudoElement);
            add(tagName + "." + name + pseudoElement);
        }
    }
    add(tagName + pseudoElement);
    return selectors;
}

std::optional<Utf16Range> cssRuleRange(Utf16Range selectorRange, Utf16Range styleRange, std::u16string_view htmlSource)
{
    std::size_t selectorEnd = selectorRange.end();
    std::size_t styleEnd = styleRange.end();
    if (selectorEnd >= styleEnd)
        return std::nullopt;
    // A style element's range may end one unit behind the text; positions beyond it hold nothing.
    std::size_t limit = std::min(styleEnd, htmlSource.size());
    std::size_t position = selectorEnd;
    while (position < limit && htmlSource[position] != u'{')
        ++position;
    if (position >= limit)
        return std::nullopt;
    int depth = 0;
    for (; position < limit; ++position) {
        if (htmlSource[position] == u'{')
            ++depth;
        else if (htmlSource[position] == u'}')
            --depth;
        if (depth == 0)
            return Utf16Range { selectorRange.location, position + 1 - selectorRange.location };
    }
    return std::nullopt;
}

std::string pseudoElementReason(std::string_view label, const StyleSourceMatch& match, const BrightloopDOMRecord& record)
{
    std::string surface = record.hasPaintedSurface ? "painted CSS surface" : "generated visual surface";
    std::string visible = record.renderedTextSnippet ? " Visible: \"" + *record.renderedTextSnippet + "\"." : "";
    std::string text = "Painter: " + std::string(label) + " generated this " + surface + "." + visible;
    if (match.isExactRule)
        text += " Source: exact pseudo-element style rule.";
    else
        text += " Source: broader style-block jump; exact rule offsets were unavailable.";
    return text;
}

std::vector<BrightloopCandidate> shadowHostAttributeCandidates(const BrightloopDOMRecord& record, const std::vector<IndexedTag>& indexed,
                                                               const std::string& pageRelativePath, double overlap)
{
    auto lookup = lookupFor(record, indexed);
    return shadowHostCandidates(record, { {}, lookup, pageRelativePath }, overlap);
}

}
