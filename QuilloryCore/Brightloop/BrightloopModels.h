#pragma once

#include "QuilloryCore/Text/UUID.h"

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// A rectangle in document space, in CSS pixels: the origin is the document's top left corner,
// so scrolling the page does not move it.
struct BrightloopRect {
    double x { 0 };
    double y { 0 };
    double width { 0 };
    double height { 0 };

    double minX() const { return x; }
    double minY() const { return y; }
    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    // Negative sizes count as 0.
    double area() const;
    bool isEmpty() const;
    // (left, top, 0, 0) when the two do not overlap, so the result still says where they met.
    BrightloopRect intersection(const BrightloopRect& other) const;
    double overlapArea(const BrightloopRect& other) const;

    friend bool operator==(const BrightloopRect&, const BrightloopRect&) = default;
};

// A fence over one document's rendering. Both strings hold the selected document's id.
struct BrightloopSelection {
    std::string pageID;
    std::string pageRelativePath;
    BrightloopRect fence;

    friend bool operator==(const BrightloopSelection&, const BrightloopSelection&) = default;
};

// The fields of a BrightloopDOMRecord as the collection script reports them. Strings are UTF-8;
// lengths the script cuts to are counted in UTF-16 code units.
struct BrightloopDOMRecordFields {
    std::string tagName;
    BrightloopRect rect;
    std::optional<std::string> textSnippet;
    std::optional<std::string> elementID;
    std::vector<std::string> classList;
    std::optional<std::string> role;
    std::map<std::string, std::string> attributes;
    std::vector<std::string> ancestorTags; // Nearest parent first.
    std::vector<std::string> ancestorSignatures; // "tag#id.class1.class2", nearest first.
    std::optional<int> siblingIndex;
    bool isVisible { false };
    bool inShadowDOM { false };
    bool transformed { false };
    std::optional<std::string> pseudoElement; // "::before" or "::after"; nothing for an element.
    std::optional<std::string> renderedTextSnippet;
    std::optional<std::string> contentSourceAttribute;
    std::optional<double> effectiveOpacity;
    std::optional<double> textColorAlpha;
    std::optional<double> fontSize;
    bool hasPaintedSurface { false };
    bool isPointerHitTarget { false };
    std::vector<std::string> displayContentsAncestors;
    std::optional<std::string> shadowHostTagName;
    std::optional<std::string> shadowHostID;
    std::vector<std::string> shadowHostClassList;
    std::map<std::string, std::string> shadowHostAttributes;

    friend bool operator==(const BrightloopDOMRecordFields&, const BrightloopDOMRecordFields&) = default;
};

// One rendered element or generated pseudo-element inside a fence. For a pseudo-element, the tag
// name, id, classes, attributes and ancestry are those of its host element.
struct BrightloopDOMRecord : BrightloopDOMRecordFields {
    BrightloopDOMRecord() = default;
    // Lower-cases the tag name, the ancestor tags and signatures, the display-contents
    // signatures and the shadow host's name. Ids, classes and attributes keep their case, so a
    // signature's id and classes end up lower-cased while the record's own do not.
    explicit BrightloopDOMRecord(BrightloopDOMRecordFields);

    bool isGeneratedRenderedSurface() const { return pseudoElement.has_value(); }
    // Hidden, nearly transparent, with nearly transparent text or a font too small to read. A
    // value that the script could not read never suppresses.
    bool isVisuallySuppressed() const;

    friend bool operator==(const BrightloopDOMRecord&, const BrightloopDOMRecord&) = default;
};

// A stretch of a page's source, in UTF-16 code units.
struct BrightloopSourceRange {
    std::string pageRelativePath;
    std::size_t utf16Start { 0 };
    std::size_t utf16Length { 0 };

    std::size_t utf16End() const { return utf16Start + utf16Length; }
    friend bool operator==(const BrightloopSourceRange&, const BrightloopSourceRange&) = default;
};

// How far the mapper got with a rendered element, best first.
enum class BrightloopConfidence {
    editableSource,
    editableAttribute,
    container,
    renderedOnly,
    generatedOrExternal,
};

inline constexpr std::array<BrightloopConfidence, 5> allBrightloopConfidences {
    BrightloopConfidence::editableSource,
    BrightloopConfidence::editableAttribute,
    BrightloopConfidence::container,
    BrightloopConfidence::renderedOnly,
    BrightloopConfidence::generatedOrExternal,
};

// 5 for editableSource down to 1 for generatedOrExternal.
int rank(BrightloopConfidence);
// Only the first three confidences carry a source range.
bool supportsJumpToSource(BrightloopConfidence);
// The case name, used wherever a confidence leaves the program.
std::string_view rawValue(BrightloopConfidence);
std::optional<BrightloopConfidence> brightloopConfidence(std::string_view rawValue);

enum class BrightloopCandidateKind {
    text,
    link,
    image,
    button,
    formLabel,
    heading,
    section,
    listItem,
    navItem,
    container,
    styleAttribute,
    classAttribute,
    unknown,
};

std::string_view rawValue(BrightloopCandidateKind);
std::optional<BrightloopCandidateKind> brightloopCandidateKind(std::string_view rawValue);

// One offer of the candidate rail: what the rendered element is, where its source is (if the
// confidence allows a jump) and why the mapper thinks so.
struct BrightloopCandidate {
    UUID id;
    BrightloopCandidateKind kind { BrightloopCandidateKind::unknown };
    std::string label;
    BrightloopConfidence confidence { BrightloopConfidence::renderedOnly };
    BrightloopDOMRecord dom;
    std::optional<BrightloopSourceRange> sourceRange;
    double overlapFraction { 0 }; // 0 to 1: how much of the element lies inside the fence.
    std::string reason;

    friend bool operator==(const BrightloopCandidate&, const BrightloopCandidate&) = default;
};

// The ranked answer to one fence. Constructing it sorts the candidates, so a result is always
// in display order.
class BrightloopResult {
public:
    BrightloopResult(BrightloopSelection, std::vector<BrightloopCandidate>);

    const BrightloopSelection& selection() const { return m_selection; }
    const std::vector<BrightloopCandidate>& candidates() const { return m_candidates; }

    // Stable: by visual priority, then confidence rank, then overlap (higher first), then the
    // smaller box; a tie on all four keeps the input order.
    static std::vector<BrightloopCandidate> sorted(std::vector<BrightloopCandidate>);

    friend bool operator==(const BrightloopResult&, const BrightloopResult&) = default;

private:
    static int visualPriority(const BrightloopCandidate&);

    BrightloopSelection m_selection;
    std::vector<BrightloopCandidate> m_candidates;
};

}

template<>
struct std::hash<Quillory::BrightloopRect> {
    std::size_t operator()(const Quillory::BrightloopRect&) const noexcept;
};
template<>
struct std::hash<Quillory::BrightloopSelection> {
    std::size_t operator()(const Quillory::BrightloopSelection&) const noexcept;
};
template<>
struct std::hash<Quillory::BrightloopDOMRecord> {
    std::size_t operator()(const Quillory::BrightloopDOMRecord&) const noexcept;
};
template<>
struct std::hash<Quillory::BrightloopSourceRange> {
    std::size_t operator()(const Quillory::BrightloopSourceRange&) const noexcept;
};
template<>
struct std::hash<Quillory::BrightloopCandidate> {
    std::size_t operator()(const Quillory::BrightloopCandidate&) const noexcept;
};
template<>
struct std::hash<Quillory::BrightloopResult> {
    std::size_t operator()(const Quillory::BrightloopResult&) const noexcept;
};
