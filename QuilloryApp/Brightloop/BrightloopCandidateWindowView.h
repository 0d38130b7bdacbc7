#pragma once

#include "QuilloryApp/Brightloop/BrightloopCandidateRail.h"
#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <gtk/gtk.h>

#include <memory>

namespace Quillory {

class BrightloopStore;

// The content of the pop-out candidates window. It reads the store's current result and
// directive, so it follows every new fence and every hide or highlight, whichever rail they came
// from: a rail without "Pop Out" while there is a result, an empty state otherwise. Main thread only.
//
// The view owns a reference to its widget.
class BrightloopCandidateWindowView {
public:
    // `actions.onPopOut` is ignored: the window's rail has no "Pop Out".
    BrightloopCandidateWindowView(const BrightloopStore&, BrightloopCandidateRail::Actions);
    ~BrightloopCandidateWindowView();
    BrightloopCandidateWindowView(const BrightloopCandidateWindowView&) = delete;
    BrightloopCandidateWindowView& operator=(const BrightloopCandidateWindowView&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    BrightloopCandidateRail& rail() const { return *m_rail; }
    // "No Brightloop Candidates".
    GtkWidget* emptyState() const { return m_emptyState; }
    bool isShowingRail() const;

private:
    void showStore();

    const BrightloopStore& m_store;
    std::unique_ptr<BrightloopCandidateRail> m_rail;
    GRef<GtkWidget> m_root;
    GtkWidget* m_emptyState { nullptr };
    ViewConnections m_connections;
};

}
