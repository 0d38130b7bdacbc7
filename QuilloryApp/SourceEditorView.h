#pragma once

#include "QuilloryApp/GRef.h"
#include "QuilloryApp/ObservableProperty.h"
#include "QuilloryApp/ViewConnections.h"

#include <gtksourceview/gtksource.h>

#include <functional>
#include <string>

namespace Quillory {

// The source editor: a GtkSourceView on a buffer without a GtkSourceView language, in a monospace
// font, two-way bound to a text. Changes the user makes go to `onUserEdit`; changes of the bound
// text made elsewhere replace the buffer without calling it back. The buffer holds UTF-8 and the
// bound text UTF-16; every character, astral ones included, crosses unchanged.
class SourceEditorView {
public:
    SourceEditorView(const ObservableProperty<std::u16string>& text, std::function<void(std::u16string)> onUserEdit);
    ~SourceEditorView();
    SourceEditorView(const SourceEditorView&) = delete;
    SourceEditorView& operator=(const SourceEditorView&) = delete;

    // The scrolled window that holds the editor.
    GtkWidget* widget() const { return m_scrolledWindow.get(); }
    GtkSourceView* sourceView() const { return m_sourceView; }
    GtkSourceBuffer* buffer() const { return m_buffer.get(); }

    // The buffer's whole text, hidden characters included, as UTF-16.
    std::u16string bufferText() const;

    // True while the bound text holds a NUL character. The buffer can't hold one, so the text is
    // shown with U+2400 in its place and the editor is read-only, so that an edit can't write the
    // file back without its NUL characters.
    bool isShowingUneditableText() const { return m_isShowingUneditableText; }

private:
    void showBoundText();
    void bufferDidChange();
    void applyStyleScheme();

    const ObservableProperty<std::u16string>& m_text;
    std::function<void(std::u16string)> m_onUserEdit;
    GRef<GtkWidget> m_scrolledWindow;
    GRef<GtkSourceBuffer> m_buffer;
    GtkSourceView* m_sourceView { nullptr };
    // Raised while this view writes the buffer or the bound text, so that neither side's change
    // notification is taken for the other's.
    bool m_isSynchronizing { false };
    bool m_isShowingUneditableText { false };
    ViewConnections m_connections;
};

}
