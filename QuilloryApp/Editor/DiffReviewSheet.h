#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <adwaita.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Quillory {

// The modal sheet over the main window that shows a document's whole-file diff against its
// opened baseline: the heading "Review Diff", the document's path, the diff in a scrolling,
// selectable monospace text, and "Revert Page" and "Close". Escape closes it like "Close".
//
// A diff of a long file takes a while to compute and to fill into the text view, so the sheet
// opens at once with "Computing diff…" and a spinner, computes the diff on a worker thread and
// fills it in on idle, a slice at a time, so the window keeps drawing and answering meanwhile.
// "Revert Page" is disabled until the whole diff is shown: the page's changes are thrown away
// only after the user could see all of them.
class DiffReviewSheet {
public:
    static constexpr int defaultWidth = 760;
    static constexpr int defaultHeight = 560;

    // Gives the diff text. It runs on a worker thread, so it must own copies of what it reads.
    using DiffComputation = std::function<std::u16string()>;
    // Gives the computation of the document's diff as it stands; called on the main thread each
    // time the sheet computes.
    using DiffSource = std::function<DiffComputation()>;

    // `revertAction` runs on "Revert Page", before the sheet closes. `onClose` runs whenever the
    // sheet closes; the owner then destroys it. A result that arrives after that is dropped.
    DiffReviewSheet(GtkWindow* parent, const std::string& documentPath, DiffSource diffSource,
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
    // Its pages: "progress" (the spinner and "Computing diff…") and "diff" (the text).
    GtkStack* contentStack() const { return m_stack; }
    GtkSpinner* progressSpinner() const { return m_progressSpinner; }
    GtkLabel* progressLabel() const { return m_progressLabel; }
    // What the diff view shows (UTF-8).
    std::string shownDiffText() const;
    // From the opening, or a recomputation, until the whole diff is in the text view or the
    // computation failed (the progress label then says why).
    bool isComputing() const { return !m_isShowingWholeDiff && !m_hasFailed; }
    bool isShowingWholeDiff() const { return m_isShowingWholeDiff; }

    // The document's text changed under the sheet: the progress state shows again at once, and
    // the new diff is computed once the change has settled (the store may still be taking it
    // into the session). A result of an older computation that is still on its way is dropped.
    void textDidChange();

private:
    void revert();
    void close();
    void showProgress();
    void startComputation();
    void receiveDiff(std::string utf8Diff);
    void showFailure(const char* message);
    // Appends the next slices of the arrived diff for a few milliseconds. False once all is in.
    bool fillNextSlices();
    void showWholeDiff();

    DiffSource m_diffSource;
    std::function<void()> m_revertAction;
    std::function<void()> m_onClose;
    GRef<GtkWidget> m_window;
    GtkLabel* m_headingLabel { nullptr };
    GtkLabel* m_pathLabel { nullptr };
    GtkStack* m_stack { nullptr };
    GtkSpinner* m_progressSpinner { nullptr };
    GtkLabel* m_progressLabel { nullptr };
    GtkTextView* m_diffView { nullptr };
    GtkButton* m_revertButton { nullptr };
    GtkButton* m_closeButton { nullptr };
    bool m_isClosing { false };
    bool m_isShowingWholeDiff { false };
    bool m_hasFailed { false };
    // A computation's result counts only while the sheet lives and it is the newest one.
    std::shared_ptr<DiffReviewSheet*> m_lifetime;
    std::uint64_t m_computationGeneration { 0 };
    guint m_computeSourceID { 0 };
    // The arrived diff (UTF-8) while it is being filled in, and how much of it is in.
    std::string m_arrivedDiff;
    std::size_t m_filledLength { 0 };
    guint m_fillSourceID { 0 };
    ViewConnections m_connections;
};

}
