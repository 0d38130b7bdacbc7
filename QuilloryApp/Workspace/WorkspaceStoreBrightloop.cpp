#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include "QuilloryCore/Brightloop/BrightloopSourceMapper.h"
#include "QuilloryCore/Text/StringHelpers.h"

#include <algorithm>
#include <cmath>

namespace Quillory {

// Brightloop.

void WorkspaceStore::applyBrightloopRecords(const std::vector<BrightloopDOMRecord>& records, const BrightloopRect& fence)
{
    auto document = selectedDocument();
    if (!document)
        return;
    BrightloopSelection selection { document->relativePath, document->relativePath, fence };
    // The mapper reads the text the user sees, saved or not.
    auto result = std::holds_alternative<PreviewTarget::FrontendServer>(previewTarget().value)
        ? generatedFrontendBrightloopResult(records, selection)
        : BrightloopSourceMapper::map(records, m_editorText.get(), document->relativePath, selection);
    // A new fence always clears the old effects.
    m_brightloopStore.setPreviewDirective(BrightloopPreviewDirective::empty());
    m_brightloopStore.setResult(std::move(result));
    m_brightloopStore.setPendingFence(std::nullopt);
}

BrightloopResult WorkspaceStore::generatedFrontendBrightloopResult(const std::vector<BrightloopDOMRecord>& records, const BrightloopSelection& selection)
{
    auto isPresentAndNotBlank = [](const std::optional<std::string>& text) {
        return text && !StringHelpers::trimmingWhitespaceAndNewlines(*text).empty();
    };
    std::vector<BrightloopCandidate> candidates;
    candidates.reserve(records.size());
    for (const auto& record : records) {
        BrightloopCandidate candidate;
        candidate.id = UUID::random();
        candidate.kind = BrightloopCandidateKind::unknown;
        if (isPresentAndNotBlank(record.renderedTextSnippet))
            candidate.label = *record.renderedTextSnippet;
        else if (isPresentAndNotBlank(record.textSnippet))
            candidate.label = *record.textSnippet;
        else
            candidate.label = "<" + record.tagName + ">";
        candidate.confidence = BrightloopConfidence::generatedOrExternal;
        candidate.dom = record;
        double overlap = BrightloopSourceMapper::overlapFraction(record.rect, selection.fence);
        candidate.overlapFraction = std::isnan(overlap) ? 0 : std::clamp(overlap, 0.0, 1.0);
        candidate.reason = "Rendered by the Vite React dev server; React source-map editing is not available in this slice.";
        candidates.push_back(std::move(candidate));
    }
    return BrightloopResult(selection, std::move(candidates));
}

// Page snapshot.

void WorkspaceStore::requestPageInspectionSnapshot()
{
    // The older snapshot stays shown while the new one is made.
    m_pageInspectionStore.setIsLoading(true);
    m_pageInspectionStore.setErrorMessage(std::nullopt);
    m_pageInspectionStore.setRequestToken(UUID::random());
}

void WorkspaceStore::applyPageInspectionSnapshot(PageInspectionSnapshot snapshot)
{
    // Answers carry no token: a late one is applied even after a clear.
    m_pageInspectionStore.setSnapshot(std::move(snapshot));
    m_pageInspectionStore.setIsLoading(false);
    m_pageInspectionStore.setErrorMessage(std::nullopt);
}

void WorkspaceStore::failPageInspectionSnapshot(std::string message)
{
    m_pageInspectionStore.setIsLoading(false);
    m_pageInspectionStore.setErrorMessage(std::move(message));
}

}
