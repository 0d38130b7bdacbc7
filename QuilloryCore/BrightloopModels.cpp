#include "QuilloryCore/BrightloopModels.h"

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

}

std::size_t std::hash<Quillory::BrightloopRect>::operator()(const Quillory::BrightloopRect& rect) const noexcept
{
    std::size_t seed = 0;
    combine(seed, rect.x);
    combine(seed, rect.y);
    combine(seed, rect.width);
    combine(seed, rect.height);
    return seed;
}

std::size_t std::hash<Quillory::BrightloopSelection>::operator()(const Quillory::BrightloopSelection& selection) const noexcept
{
    std::size_t seed = 0;
    combine(seed, selection.pageID);
    combine(seed, selection.pageRelativePath);
    combine(seed, selection.fence);
    return seed;
}

std::size_t std::hash<Quillory::BrightloopDOMRecord>::operator()(const Quillory::BrightloopDOMRecord& record) const noexcept
{
    std::size_t seed = 0;
    combine(seed, record.tagName);
    combine(seed, record.rect);
    combine(seed, record.textSnippet);
    combine(seed, record.elementID);
    combine(seed, record.classList);
    combine(seed, record.role);
    combine(seed, record.attributes);
    combine(seed, record.ancestorTags);
    combine(seed, record.ancestorSignatures);
    combine(seed, record.siblingIndex);
    combine(seed, record.isVisible);
    combine(seed, record.inShadowDOM);
    combine(seed, record.transformed);
    combine(seed, record.pseudoElement);
    combine(seed, record.renderedTextSnippet);
    combine(seed, record.contentSourceAttribute);
    combine(seed, record.effectiveOpacity);
    combine(seed, record.textColorAlpha);
    combine(seed, record.fontSize);
    combine(seed, record.hasPaintedSurface);
    combine(seed, record.isPointerHitTarget);
    combine(seed, record.displayContentsAncestors);
    combine(seed, record.shadowHostTagName);
    combine(seed, record.shadowHostID);
    combine(seed, record.shadowHostClassList);
    combine(seed, record.shadowHostAttributes);
    return seed;
}

std::size_t std::hash<Quillory::BrightloopSourceRange>::operator()(const Quillory::BrightloopSourceRange& range) const noexcept
{
    std::size_t seed = 0;
    combine(seed, range.pageRelativePath);
    combine(seed, range.utf16Start);
    combine(seed, range.utf16Length);
    return seed;
}

std::size_t std::hash<Quillory::BrightloopCandidate>::operator()(const Quillory::BrightloopCandidate& candidate) const noexcept
{
    std::size_t seed = 0;
    combine(seed, candidate.id);
    combine(seed, candidate.kind);
    combine(seed, candidate.label);
    combine(seed, candidate.confidence);
    combine(seed, candidate.dom);
    combine(seed, candidate.sourceRange);
    combine(seed, candidate.overlapFraction);
    combine(seed, candidate.reason);
    return seed;
}

std::size_t std::hash<Quillory::BrightloopResult>::operator()(const Quillory::BrightloopResult& result) const noexcept
{
    std::size_t seed = 0;
    combine(seed, result.selection());
    combine(seed, result.candidates());
    return seed;
}
