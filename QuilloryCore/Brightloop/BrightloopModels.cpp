#include "QuilloryCore/Brightloop/BrightloopModels.h"

#include <algorithm>
#include <utility>

#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace Quillory {

namespace {

// Full Unicode lower-casing (root locale), the way the page's own lower-casing works.
std::string lowercased(const std::string& text)
{
    auto unicode = icu::UnicodeString::fromUTF8(text);
    unicode.toLower(icu::Locale::getRoot());
    std::string result;
    unicode.toUTF8String(result);
    return result;
}

void lowercaseEach(std::vector<std::string>& texts)
{
    for (auto& text : texts)
        text = lowercased(text);
}

}

double BrightloopRect::area() const
{
    return std::max(width, 0.0) * std::max(height, 0.0);
}

bool BrightloopRect::isEmpty() const
{
    return std::min(width, height) <= 0;
}

BrightloopRect BrightloopRect::intersection(const BrightloopRect& other) const
{
    double left = std::max(x, other.x);
    double top = std::max(y, other.y);
    double right = std::min(maxX(), other.maxX());
    double bottom = std::min(maxY(), other.maxY());
    if (bottom <= top || right <= left)
        return { left, top, 0, 0 };
    return { left, top, right - left, bottom - top };
}

double BrightloopRect::overlapArea(const BrightloopRect& other) const
{
    return intersection(other).area();
}

BrightloopDOMRecord::BrightloopDOMRecord(BrightloopDOMRecordFields fields)
    : BrightloopDOMRecordFields(std::move(fields))
{
    tagName = lowercased(tagName);
    lowercaseEach(ancestorTags);
    lowercaseEach(ancestorSignatures);
    lowercaseEach(displayContentsAncestors);
    if (shadowHostTagName)
        shadowHostTagName = lowercased(*shadowHostTagName);
}

bool BrightloopDOMRecord::isVisuallySuppressed() const
{
    if (!isVisible)
        return true;
    if (effectiveOpacity && *effectiveOpacity <= 0.01)
        return true;
    if (textColorAlpha && *textColorAlpha <= 0.05)
        return true;
    return fontSize && *fontSize <= 0.5;
}

namespace {

struct ConfidenceEntry {
    BrightloopConfidence confidence;
    std::string_view name;
};

constexpr std::array<ConfidenceEntry, 5> confidenceNames { {
    { BrightloopConfidence::editableSource, "editableSource" },
    { BrightloopConfidence::editableAttribute, "editableAttribute" },
    { BrightloopConfidence::container, "container" },
    { BrightloopConfidence::renderedOnly, "renderedOnly" },
    { BrightloopConfidence::generatedOrExternal, "generatedOrExternal" },
} };

struct KindEntry {
    BrightloopCandidateKind kind;
    std::string_view name;
};

constexpr std::array<KindEntry, 13> kindNames { {
    { BrightloopCandidateKind::text, "text" },
    { BrightloopCandidateKind::link, "link" },
    { BrightloopCandidateKind::image, "image" },
    { BrightloopCandidateKind::button, "button" },
    { BrightloopCandidateKind::formLabel, "formLabel" },
    { BrightloopCandidateKind::heading, "heading" },
    { BrightloopCandidateKind::section, "section" },
    { BrightloopCandidateKind::listItem, "listItem" },
    { BrightloopCandidateKind::navItem, "navItem" },
    { BrightloopCandidateKind::container, "container" },
    { BrightloopCandidateKind::styleAttribute, "styleAttribute" },
    { BrightloopCandidateKind::classAttribute, "classAttribute" },
    { BrightloopCandidateKind::unknown, "unknown" },
} };

}

int rank(BrightloopConfidence confidence)
{
    auto position = std::find(allBrightloopConfidences.begin(), allBrightloopConfidences.end(), confidence) - allBrightloopConfidences.begin();
    return 5 - static_cast<int>(position);
}

bool supportsJumpToSource(BrightloopConfidence confidence)
{
    return confidence == BrightloopConfidence::editableSource || confidence == BrightloopConfidence::editableAttribute
        || confidence == BrightloopConfidence::container;
}

std::string_view rawValue(BrightloopConfidence confidence)
{
    for (auto& entry : confidenceNames) {
        if (entry.confidence == confidence)
            return entry.name;
    }
    return {};
}

std::optional<BrightloopConfidence> brightloopConfidence(std::string_view name)
{
    for (auto& entry : confidenceNames) {
        if (entry.name == name)
            return entry.confidence;
    }
    return std::nullopt;
}

std::string_view rawValue(BrightloopCandidateKind kind)
{
    for (auto& entry : kindNames) {
        if (entry.kind == kind)
            return entry.name;
    }
    return {};
}

std::optional<BrightloopCandidateKind> brightloopCandidateKind(std::string_view name)
{
    for (auto& entry : kindNames) {
        if (entry.name == name)
            return entry.kind;
    }
    return std::nullopt;
}

BrightloopResult::BrightloopResult(BrightloopSelection selection, std::vector<BrightloopCandidate> candidates)
    : m_selection(std::move(selection))
    , m_candidates(sorted(std::move(candidates)))
{
}

int BrightloopResult::visualPriority(const BrightloopCandidate& candidate)
{
    const auto& dom = candidate.dom;
    if (dom.pseudoElement) {
        if (dom.renderedTextSnippet && !dom.renderedTextSnippet->empty())
            return 4;
        if (dom.contentSourceAttribute)
            return 4;
        if (dom.hasPaintedSurface)
            return candidate.overlapFraction >= 0.15 ? 3 : 1;
        return 3;
    }
    if (dom.isPointerHitTarget)
        return 2;
    if (dom.isVisuallySuppressed())
        return 0;
    return 2;
}

std::vector<BrightloopCandidate> BrightloopResult::sorted(std::vector<BrightloopCandidate> candidates)
{
    std::stable_sort(candidates.begin(), candidates.end(), [](const BrightloopCandidate& a, const BrightloopCandidate& b) {
        int priorityA = visualPriority(a);
        int priorityB = visualPriority(b);
        if (priorityA != priorityB)
            return priorityA > priorityB;
        int rankA = rank(a.confidence);
        int rankB = rank(b.confidence);
        if (rankA != rankB)
            return rankA > rankB;
        if (a.overlapFraction != b.overlapFraction)
            return a.overlapFraction > b.overlapFraction;
        return a.dom.rect.area() < b.dom.rect.area();
    });
    return candidates;
}

}

namespace {

template<class T>
void combine(std::size_t& seed, const T& value)
{
    seed ^= std::hash<T>()(value) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
}

template<class T>
void combine(std::size_t& seed, const std::optional<T>& value)
{
    combine(seed, value.has_value());
    if (value)
        combine(seed, *value);
}

template<class T>
void combine(std::size_t& seed, const std::vector<T>& values)
{
    combine(seed, values.size());
    for (auto& value : values)
        combine(seed, value);
}

void combine(std::size_t& seed, const std::map<std::string, std::string>& values)
{
    combine(seed, values.size());
    for (auto& [key, value] : values) {
        combine(seed, key);
        combine(seed, value);
    }
}

// The hash of a record: its fields combined in order.
template<class... Fields>
std::size_t hashFields(const Fields&... fields)
{
    std::size_t seed = 0;
    (combine(seed, fields), ...);
    return seed;
}

}

std::size_t std::hash<Quillory::BrightloopRect>::operator()(const Quillory::BrightloopRect& rect) const noexcept
{
    return hashFields(rect.x, rect.y, rect.width, rect.height);
}

std::size_t std::hash<Quillory::BrightloopSelection>::operator()(const Quillory::BrightloopSelection& selection) const noexcept
{
    return hashFields(selection.pageID, selection.pageRelativePath, selection.fence);
}

std::size_t std::hash<Quillory::BrightloopDOMRecord>::operator()(const Quillory::BrightloopDOMRecord& record) const noexcept
{
    return hashFields(record.tagName,
                      record.rect,
                      record.textSnippet,
                      record.elementID,
                      record.classList,
                      record.role,
                      record.attributes,
                      record.ancestorTags,
                      record.ancestorSignatures,
                      record.siblingIndex,
                      record.isVisible,
                      record.inShadowDOM,
                      record.transformed,
                      record.pseudoElement,
                      record.renderedTextSnippet,
                      record.contentSourceAttribute,
                      record.effectiveOpacity,
                      record.textColorAlpha,
                      record.fontSize,
                      record.hasPaintedSurface,
                      record.isPointerHitTarget,
                      record.displayContentsAncestors,
                      record.shadowHostTagName,
                      record.shadowHostID,
                      record.shadowHostClassList,
                      record.shadowHostAttributes);
}

std::size_t std::hash<Quillory::BrightloopSourceRange>::operator()(const Quillory::BrightloopSourceRange& range) const noexcept
{
    return hashFields(range.pageRelativePath, range.utf16Start, range.utf16Length);
}

std::size_t std::hash<Quillory::BrightloopCandidate>::operator()(const Quillory::BrightloopCandidate& candidate) const noexcept
{
    return hashFields(candidate.id,
                      candidate.kind,
                      candidate.label,
                      candidate.confidence,
                      candidate.dom,
                      candidate.sourceRange,
                      candidate.overlapFraction,
                      candidate.reason);
}

std::size_t std::hash<Quillory::BrightloopResult>::operator()(const Quillory::BrightloopResult& result) const noexcept
{
    return hashFields(result.selection(), result.candidates());
}
