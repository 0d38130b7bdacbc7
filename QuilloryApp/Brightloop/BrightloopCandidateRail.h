#pragma once

#include "QuilloryApp/Brightloop/BrightloopCandidateRow.h"
#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Brightloop/BrightloopModels.h"
#include "QuilloryCore/Brightloop/BrightloopPreviewDirective.h"

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace Quillory {

// The candidates of the last fence, in the result's order: a header with their count, then one
// row per candidate, or an empty state when the fence found nothing. The rail neither filters nor
// regroups. Main thread only.
//
// The rail owns a reference to its widget.
class BrightloopCandidateRail {
public:
    struct Actions {
        std::function<void(const BrightloopCandidate&)> onSelectCandidate;
        std::function<void(const BrightloopCandidate&)> onToggleCandidateHidden;
        std::function<void(const BrightloopCandidate&)> onHighlightCandidate;
        // With it the header offers "Pop Out"; the pop-out window's own rail has none.
        std::function<void()> onPopOut;
    };

    explicit BrightloopCandidateRail(Actions);
    ~BrightloopCandidateRail();
    BrightloopCandidateRail(const BrightloopCandidateRail&) = delete;
    BrightloopCandidateRail& operator=(const BrightloopCandidateRail&) = delete;

    GtkWidget* widget() const { return m_root.get(); }

    // Shows a result with the hidden and highlighted state of `directive`. Rows are rebuilt only
    // when the result itself changed; a new directive restyles the rows in place.
    void update(const BrightloopResult&, const BrightloopPreviewDirective&);

    const std::vector<std::unique_ptr<BrightloopCandidateRow>>& rows() const { return m_rows; }
    GtkLabel* countLabel() const { return m_countLabel; }
    // Null when the rail was made without onPopOut.
    GtkButton* popOutButton() const { return m_popOutButton; }
    // The "No Candidates Found" state, shown while the result has no candidates.
    GtkWidget* emptyState() const { return m_emptyState; }
    bool isShowingEmptyState() const;

private:
    GtkWidget* makeHeader();
    void rebuildRows(const BrightloopPreviewDirective&);

    Actions m_actions;
    std::optional<BrightloopResult> m_result;
    std::vector<std::unique_ptr<BrightloopCandidateRow>> m_rows;
    GRef<GtkWidget> m_root;
    GtkLabel* m_countLabel { nullptr };
    GtkButton* m_popOutButton { nullptr };
    GtkWidget* m_body { nullptr };
    GtkWidget* m_list { nullptr };
    GtkWidget* m_emptyState { nullptr };
};

}
