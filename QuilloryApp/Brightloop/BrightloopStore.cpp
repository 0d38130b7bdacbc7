#include "QuilloryApp/Brightloop/BrightloopStore.h"

#include <algorithm>
#include <utility>

namespace Quillory {

void BrightloopStore::setModeEnabled(bool enabled)
{
    m_modeEnabled.setIfChanged(enabled);
}

void BrightloopStore::setResult(std::optional<BrightloopResult> result)
{
    m_result.setIfChanged(std::move(result));
}

void BrightloopStore::setVisibleAreaToken(std::optional<UUID> token)
{
    m_visibleAreaToken.setIfChanged(std::move(token));
}

void BrightloopStore::setPendingFence(std::optional<BrightloopRect> fence)
{
    m_pendingFence.setIfChanged(std::move(fence));
}

void BrightloopStore::setPreviewDirective(BrightloopPreviewDirective directive)
{
    m_previewDirective.setIfChanged(std::move(directive));
}

void BrightloopStore::toggleMode()
{
    setModeEnabled(!m_modeEnabled.get());
    if (m_modeEnabled.get())
        return;
    // Effects already applied stay visible until the next clearing event.
    setResult(std::nullopt);
    setPendingFence(std::nullopt);
}

void BrightloopStore::toggleCandidateHidden(const BrightloopCandidate& candidate)
{
    auto directive = m_previewDirective.get();
    auto& hidden = directive.hiddenCandidates;
    auto existing = std::find_if(hidden.begin(), hidden.end(), [&](const BrightloopCandidate& each) { return each.id == candidate.id; });
    if (existing != hidden.end())
        hidden.erase(existing);
    else
        hidden.push_back(candidate);
    setPreviewDirective(std::move(directive));
}

void BrightloopStore::highlightCandidate(const BrightloopCandidate& candidate)
{
    auto directive = m_previewDirective.get();
    if (directive.isHighlighted(candidate.id))
        directive.highlightedCandidate.reset();
    else
        directive.highlightedCandidate = candidate;
    setPreviewDirective(std::move(directive));
}

void BrightloopStore::requestVisibleAreaFence()
{
    setVisibleAreaToken(UUID::random());
}

void BrightloopStore::previewDidScroll()
{
    setResult(std::nullopt);
    setPreviewDirective(BrightloopPreviewDirective::empty());
}

void BrightloopStore::reset()
{
    setResult(std::nullopt);
    setPendingFence(std::nullopt);
    setPreviewDirective(BrightloopPreviewDirective::empty());
}

}
