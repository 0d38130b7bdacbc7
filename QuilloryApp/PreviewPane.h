#pragma once

#include "QuilloryApp/GRef.h"
#include "QuilloryApp/WebPreviewView.h"

#include <gtk/gtk.h>

namespace Quillory {

// The rendered side of the working surface: a header labelled "WebKit Preview" above the live
// preview, which an empty state covers while the page's text is empty. Main thread only.
//
// The pane owns a reference to its widget (a vertical box); destroying the pane disconnects the
// preview from it.
class PreviewPane {
public:
    struct Inputs {
        WebPreviewView::Inputs preview;
        // The editor text has length 0 (no trimming).
        bool isPageEmpty { false };
    };

    PreviewPane();
    ~PreviewPane();
    PreviewPane(const PreviewPane&) = delete;
    PreviewPane& operator=(const PreviewPane&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    WebPreviewView& webPreviewView() { return m_webPreviewView; }

    void update(const Inputs&);

private:
    static GtkWidget* makeHeader();
    static GtkWidget* makeEmptyPreviewState();

    WebPreviewView m_webPreviewView;
    GRef<GtkWidget> m_root;
    GtkWidget* m_emptyPreviewState;
};

}
