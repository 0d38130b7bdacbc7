#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Brightloop/BrightloopModels.h"

#include <gtk/gtk.h>

#include <functional>
#include <string_view>

namespace Quillory {

// One candidate of the rail: a button that jumps to the candidate's source, showing its kind, label,
// reason and confidence, and beside it the buttons that hide and highlight it in the preview.
// Every row keeps those two, whatever its confidence: an element without a source can still be
// hidden, so that the user can look behind it. Main thread only.
//
// The row owns a reference to its widget.
class BrightloopCandidateRow {
public:
    struct Actions {
        std::function<void()> onSelect;
        std::function<void()> onToggleHidden;
        std::function<void()> onToggleHighlight;
    };

    BrightloopCandidateRow(BrightloopCandidate, bool isHidden, bool isHighlighted, Actions);
    ~BrightloopCandidateRow();
    BrightloopCandidateRow(const BrightloopCandidateRow&) = delete;
    BrightloopCandidateRow& operator=(const BrightloopCandidateRow&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    const BrightloopCandidate& candidate() const { return m_candidate; }
    bool isHidden() const { return m_isHidden; }
    bool isHighlighted() const { return m_isHighlighted; }

    // The main part, insensitive when the confidence allows no jump to source.
    GtkButton* selectButton() const { return m_selectButton; }
    GtkButton* hideButton() const { return m_hideButton; }
    GtkButton* highlightButton() const { return m_highlightButton; }
    GtkLabel* hiddenLabel() const { return m_hiddenLabel; }
    GtkLabel* confidenceTag() const { return m_confidenceTag; }
    // The side buttons' words ("Hide Element", "Clear Highlight", ...), which are their
    // accessible labels.
    const char* hideButtonLabel() const { return m_hideButtonLabel; }
    const char* highlightButtonLabel() const { return m_highlightButtonLabel; }

    // Shows a new hidden and highlighted state without rebuilding the row.
    void setState(bool isHidden, bool isHighlighted);

    // The tag's word and its style class, which gives the tag its colour.
    static std::string_view confidenceWord(BrightloopConfidence);
    static const char* confidenceStyleClass(BrightloopConfidence);
    // The system image name that stands for a kind ("link", "photo", ...).
    static std::string_view systemImageName(BrightloopCandidateKind);

private:
    void showState();

    BrightloopCandidate m_candidate;
    bool m_isHidden;
    bool m_isHighlighted;
    Actions m_actions;
    GRef<GtkWidget> m_root;
    GtkButton* m_selectButton { nullptr };
    GtkButton* m_hideButton { nullptr };
    GtkButton* m_highlightButton { nullptr };
    GtkLabel* m_hiddenLabel { nullptr };
    GtkLabel* m_confidenceTag { nullptr };
    const char* m_hideButtonLabel { "" };
    const char* m_highlightButtonLabel { "" };
};

}
