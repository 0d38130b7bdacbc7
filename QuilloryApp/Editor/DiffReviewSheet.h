#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <adwaita.h>

#include <functional>
#include <string>

namespace Quillory {

// The modal sheet over the main window that shows a document's whole-file diff against its
// opened baseline: the heading "Review Diff", the document's path, the diff in a scrolling,
// selectable monospace text, and "Revert Page" and "Close". Escape closes it like "Close".
class DiffReviewSheet {
public:
    static constexpr int defaultWidth = 760;
    static constexpr int defaultHeight = 560;

    // `revertAction` runs on "Revert Page", before the sheet closes. `onClose` runs whenever the
    // sheet closes; the owner then destroys it.
    DiffReviewSheet(GtkWindow* parent, const std::string& documentPath, const std::u16string& diffText,
                    std::function<void()> revertAction, std::function<void()> onClose);
    ~DiffReviewSheet();
    DiffReviewSheet(const DiffReviewSheet&) = delete;
    DiffReviewSheet& operator=(const DiffReviewSheet&) = delete;

    GtkWindow* window() const { return GTK_WINDOW(m_window.get()); }
    GtkLabel* headingLabel() const { return m_headingLabel; }
    GtkLabel* pathLabel() const { return m_pathLabel; }
    GtkTextView* diffView() const { return m_diffView; }
    GtkButton* revertButton() const { return m_revertButton; }
    GtkButton* closeButton() const { return m_closeButton; }
    // What the diff view shows (UTF-8).
    std::string shownDiffText() const;

private:
    void revert();
    void close();

    std::function<void()> m_revertAction;
    std::function<void()> m_onClose;
    GRef<GtkWidget> m_window;
    GtkLabel* m_headingLabel { nullptr };
    GtkLabel* m_pathLabel { nullptr };
    GtkTextView* m_diffView { nullptr };
    GtkButton* m_revertButton { nullptr };
    GtkButton* m_closeButton { nullptr };
    bool m_isClosing { false };
    ViewConnections m_connections;
};

}
