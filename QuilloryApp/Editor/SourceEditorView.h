#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ObservableProperty.h"
#include "QuilloryApp/Support/ViewConnections.h"
#include "QuilloryCore/Editing/SourceEditorCommandRequest.h"
#include "QuilloryCore/Text/UUID.h"
#include "QuilloryCore/Text/Utf16Range.h"

#include <gtksourceview/gtksource.h>

#include <cstdint>
#include <functional>
#include <optional>
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

    // The document now shown; the host sets it on every change of selection. A new document
    // forgets the last handled command, so a request meant for the old one is dropped, and puts
    // the caret at the start.
    void setDocumentID(std::optional<std::string> documentID);
    // Carried out at once when it is meant for the document shown and is not the request carried
    // out last; otherwise dropped.
    void requestCommand(const SourceEditorCommandRequest&);
    std::optional<UUID> lastHandledCommandID() const { return m_lastHandledCommandID; }
    // The buffer's selection in UTF-16 code units of bufferText().
    Utf16Range selectedUTF16Range() const;

private:
    void perform(const SourceEditorCommand&);
    void jumpToLine(std::int64_t line);
    void selectUTF16Range(std::int64_t location, std::int64_t length);
    // Selects buffer characters, scrolls the caret into view and takes the keyboard focus.
    void selectCharacters(int start, int end);
    // Scrolls the caret into view once the layout can say where it is.
    void scrollCaretIntoView();
    void scheduleCaretScrollAfterLayout();
    void cancelPendingCaretScroll();
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
    std::optional<std::string> m_documentID;
    std::optional<UUID> m_lastHandledCommandID;
    // The frame callback that waits for a hidden view to be shown and the idle that then scrolls
    // to the caret; 0 when none waits.
    guint m_pendingCaretScrollTickID { 0 };
    guint m_pendingCaretScrollIdleID { 0 };
    ViewConnections m_connections;
};

}
