#include "QuilloryApp/Editor/SourceEditorView.h"

#include "QuilloryApp/Editor/SourceEditorColors.h"
#include "QuilloryApp/Editor/SourceEditorFindActivator.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <adwaita.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <variant>

namespace Quillory {

namespace {

// Shown in place of each NUL character, which a GTK text buffer cannot hold. It is one UTF-16
// unit like the NUL, so offsets in the bound text and in the buffer agree.
constexpr char16_t nulSubstitute = u'\u2400';

// Whether a UTF-16 offset falls between the two halves of an astral character.
bool splitsSurrogatePair(std::u16string_view text, std::size_t offset)
{
    return offset > 0 && UnicodeText::startsSurrogatePair(text, offset - 1);
}

bool isLineTerminator(char16_t unit)
{
    return unit == u'\n' || unit == u'\r' || unit == u'\u0085' || unit == u'\u2028' || unit == u'\u2029';
}

// The UTF-16 offset of the line after the one that holds `offset`. Lines end at a line feed, a
// carriage return (CR LF together), NEL, or a line or paragraph separator; the last line ends at
// the text's end.
std::size_t startOfNextLine(std::u16string_view text, std::size_t offset)
{
    for (std::size_t unit = offset; unit < text.size(); ++unit) {
        if (!isLineTerminator(text[unit]))
            continue;
        if (text[unit] == u'\r' && unit + 1 < text.size() && text[unit + 1] == u'\n')
            return unit + 2;
        return unit + 1;
    }
    return text.size();
}

}

SourceEditorView::SourceEditorView(const ObservableProperty<std::u16string>& text, std::function<void(std::u16string)> onUserEdit)
    : m_text(text)
    , m_onUserEdit(std::move(onUserEdit))
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)))))
    , m_scrolledWindow(gtk_scrolled_window_new())
    , m_buffer(GRef<GtkSourceBuffer>::adopt(gtk_source_buffer_new(nullptr)))
{
    // Colouring comes from Quillory's own analysis, never from a GtkSourceView language.
    gtk_source_buffer_set_highlight_syntax(m_buffer.get(), FALSE);
    gtk_source_buffer_set_highlight_matching_brackets(m_buffer.get(), FALSE);

    m_sourceView = GTK_SOURCE_VIEW(gtk_source_view_new_with_buffer(m_buffer.get()));
    GtkTextView* textView = GTK_TEXT_VIEW(m_sourceView);
    gtk_text_view_set_monospace(textView, TRUE);
    gtk_text_view_set_left_margin(textView, 8);
    gtk_text_view_set_top_margin(textView, 8);
    gtk_text_view_set_bottom_margin(textView, 8);
    gtk_source_view_set_show_line_numbers(m_sourceView, TRUE);
    gtk_source_view_set_tab_width(m_sourceView, 4);
    // Long lines wrap; the line numbers still count each line of the text once.
    gtk_text_view_set_wrap_mode(textView, GTK_WRAP_WORD_CHAR);
    // Enter keeps the current line's indentation.
    gtk_source_view_set_auto_indent(m_sourceView, TRUE);
    gtk_widget_set_hexpand(GTK_WIDGET(m_sourceView), TRUE);
    gtk_widget_set_vexpand(GTK_WIDGET(m_sourceView), TRUE);

    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(m_scrolledWindow), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(m_scrolledWindow), GTK_WIDGET(m_sourceView));
    gtk_widget_set_hexpand(m_scrolledWindow, TRUE);
    gtk_widget_set_vexpand(m_scrolledWindow, TRUE);
    gtk_widget_add_css_class(m_root.get(), "quillory-source-editor");
    gtk_box_append(GTK_BOX(m_root.get()), makeFindBar());
    gtk_box_append(GTK_BOX(m_root.get()), m_scrolledWindow);

    applyStyleScheme();
    // Typing first: an edit it stops must never reach the tag bookkeeping.
    setUpTyping();
    setUpSyntax();
    showBoundText();
    SourceEditorFindActivator::setActiveEditor(this);

    m_connections.observe(m_text, [this] { showBoundText(); });
    m_connections.connectSwapped(m_buffer.get(), "changed", G_CALLBACK(+[](SourceEditorView* self) { self->bufferDidChange(); }), this);
    m_connections.connectSwapped(m_buffer.get(), "notify::cursor-position", G_CALLBACK(+[](SourceEditorView* self) { self->updateStatus(); }), this);
    m_connections.connectSwapped(adw_style_manager_get_default(), "notify::dark", G_CALLBACK(+[](SourceEditorView* self) { self->applyStyleScheme(); }), this);
}

SourceEditorView::~SourceEditorView()
{
    SourceEditorFindActivator::editorWillGoAway(this);
    cancelPendingCaretScroll();
    tearDownSyntax();
    if (m_largeEditDialog)
        gtk_window_destroy(GTK_WINDOW(m_largeEditDialog));
    if (m_flashTimerID)
        g_source_remove(m_flashTimerID);
    m_connections.disconnectAll();
}

std::u16string SourceEditorView::bufferText() const
{
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(GTK_TEXT_BUFFER(m_buffer.get()), &start, &end);
    char* utf8 = gtk_text_buffer_get_text(GTK_TEXT_BUFFER(m_buffer.get()), &start, &end, TRUE);
    // A text buffer only ever holds valid UTF-8.
    auto text = UnicodeText::utf16FromUTF8(utf8);
    g_free(utf8);
    return text ? std::move(*text) : std::u16string();
}

void SourceEditorView::setDocumentID(std::optional<std::string> documentID)
{
    if (documentID == m_documentID)
        return;
    m_documentID = std::move(documentID);
    // Folds belong to the document they were made in.
    m_foldedRegionIDs.clear();
    applyFoldVisibility();
    // A request still pending for the previous document is thereby never carried out.
    m_lastHandledCommandID.reset();
    GtkTextIter start;
    gtk_text_buffer_get_start_iter(GTK_TEXT_BUFFER(m_buffer.get()), &start);
    gtk_text_buffer_place_cursor(GTK_TEXT_BUFFER(m_buffer.get()), &start);
    cancelPendingCaretScroll();
    // Straight to the top left rather than through gtk_text_view_scroll_to_mark(), which, asked
    // before the view has its size, lands at a position computed from an unfinished layout.
    GtkScrollable* scrollable = GTK_SCROLLABLE(m_sourceView);
    for (GtkAdjustment* adjustment : { gtk_scrollable_get_hadjustment(scrollable), gtk_scrollable_get_vadjustment(scrollable) }) {
        if (adjustment)
            gtk_adjustment_set_value(adjustment, gtk_adjustment_get_lower(adjustment));
    }
    refreshSyntaxAndFolds(true);
    updateStatus();
}

void SourceEditorView::requestCommand(const SourceEditorCommandRequest& request)
{
    if (!m_documentID || request.documentID != *m_documentID)
        return;
    if (request.id == m_lastHandledCommandID)
        return;
    m_lastHandledCommandID = request.id;
    perform(request.command);
}

Utf16Range SourceEditorView::selectedUTF16Range() const
{
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_selection_bounds(GTK_TEXT_BUFFER(m_buffer.get()), &start, &end);
    auto location = utf16OffsetOfCharacter(gtk_text_iter_get_offset(&start));
    auto endOffset = utf16OffsetOfCharacter(gtk_text_iter_get_offset(&end));
    return { location, endOffset - location };
}

void SourceEditorView::perform(const SourceEditorCommand& command)
{
    if (auto* jump = std::get_if<SourceEditorCommand::JumpToLine>(&command.value))
        jumpToLine(jump->line);
    else if (auto* select = std::get_if<SourceEditorCommand::SelectUTF16Range>(&command.value))
        selectUTF16Range(select->location, select->length);
}

void SourceEditorView::jumpToLine(std::int64_t line)
{
    std::size_t offset = 0;
    for (std::int64_t walked = 1; walked < line && offset < m_currentText.size(); ++walked)
        offset = startOfNextLine(m_currentText, offset);
    int character = characterOffsetOfUTF16(offset);
    selectCharacters(character, character);
}

void SourceEditorView::selectUTF16Range(std::int64_t location, std::int64_t length)
{
    std::u16string_view text = m_currentText;
    auto textLength = static_cast<std::int64_t>(text.size());
    auto start = static_cast<std::size_t>(std::clamp<std::int64_t>(location, 0, textLength));
    auto count = static_cast<std::size_t>(std::clamp<std::int64_t>(length, 0, textLength - static_cast<std::int64_t>(start)));
    // A bound that falls inside an astral character widens the range to the whole character,
    // so a selection never splits one and always holds every character it touches. An empty
    // range stays empty, at the character's start.
    int startCharacter = characterOffsetOfUTF16(start) - (splitsSurrogatePair(text, start) ? 1 : 0);
    int endCharacter = count == 0 ? startCharacter : characterOffsetOfUTF16(start + count);
    selectCharacters(startCharacter, endCharacter);
}

void SourceEditorView::selectCharacters(int start, int end)
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    GtkTextIter startIter;
    GtkTextIter endIter;
    gtk_text_buffer_get_iter_at_offset(buffer, &startIter, start);
    gtk_text_buffer_get_iter_at_offset(buffer, &endIter, end);
    // The caret goes to the start, so that the start of a long range is what comes into view.
    gtk_text_buffer_select_range(buffer, &startIter, &endIter);
    scrollCaretIntoView();
    gtk_widget_grab_focus(GTK_WIDGET(m_sourceView));
}

void SourceEditorView::scrollCaretIntoView()
{
    cancelPendingCaretScroll();
    m_caretScrollAttempts = 0;
    // gtk_text_view_scroll_to_mark() computes its target from the layout as it stands, and both a
    // view without its size and a text just replaced have lines not yet measured: it then lands
    // elsewhere. So it waits until the view is shown, then for an idle whose priority is below
    // that of the view's own validation of the layout.
    if (gtk_widget_get_mapped(GTK_WIDGET(m_sourceView))) {
        scheduleCaretScrollAfterLayout();
        return;
    }
    m_pendingCaretScrollTickID = gtk_widget_add_tick_callback(
        GTK_WIDGET(m_sourceView),
        +[](GtkWidget*, GdkFrameClock*, gpointer data) -> gboolean {
            auto* self = static_cast<SourceEditorView*>(data);
            self->m_pendingCaretScrollTickID = 0;
            self->scheduleCaretScrollAfterLayout();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}

void SourceEditorView::scheduleCaretScrollAfterLayout()
{
    m_pendingCaretScrollIdleID = g_idle_add_full(
        G_PRIORITY_DEFAULT_IDLE,
        +[](gpointer data) -> gboolean {
            auto* self = static_cast<SourceEditorView*>(data);
            self->m_pendingCaretScrollIdleID = 0;
            // Hidden again in the meantime: wait for the next showing.
            if (!gtk_widget_get_mapped(GTK_WIDGET(self->m_sourceView))) {
                self->scrollCaretIntoView();
                return G_SOURCE_REMOVE;
            }
            GtkTextView* view = GTK_TEXT_VIEW(self->m_sourceView);
            GtkTextBuffer* buffer = GTK_TEXT_BUFFER(self->m_buffer.get());
            GtkTextIter caret;
            gtk_text_buffer_get_iter_at_mark(buffer, &caret, gtk_text_buffer_get_insert(buffer));
            GdkRectangle visible;
            GdkRectangle location;
            gtk_text_view_get_visible_rect(view, &visible);
            gtk_text_view_get_iter_location(view, &caret, &location);
            // A margin of a few lines keeps the target off the view's edge.
            int margin = std::min(visible.height / 4, std::max(location.height, 16) * 3);
            bool isInsideMargin = location.y >= visible.y + margin && location.y + location.height <= visible.y + visible.height - margin;
            if (isInsideMargin || self->m_caretScrollAttempts >= 3)
                return G_SOURCE_REMOVE;
            ++self->m_caretScrollAttempts;
            bool isFar = location.y + location.height < visible.y - visible.height || location.y > visible.y + 2 * visible.height;
            auto* adjustment = gtk_scrollable_get_vadjustment(GTK_SCROLLABLE(view));
            double target;
            if (isFar)
                target = location.y + location.height / 2.0 - visible.height / 2.0;
            else if (location.y < visible.y + margin)
                target = location.y - margin;
            else
                target = location.y + location.height + margin - visible.height;
            gtk_adjustment_set_value(adjustment, target);
            // Lines measured only now may move the target: look again once the layout has settled.
            self->scheduleCaretScrollAfterLayout();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}

void SourceEditorView::cancelPendingCaretScroll()
{
    if (m_pendingCaretScrollTickID)
        gtk_widget_remove_tick_callback(GTK_WIDGET(m_sourceView), std::exchange(m_pendingCaretScrollTickID, 0));
    if (m_pendingCaretScrollIdleID)
        g_source_remove(std::exchange(m_pendingCaretScrollIdleID, 0));
}

void SourceEditorView::showBoundText()
{
    if (m_isSynchronizing)
        return;
    std::u16string shown = m_text.get();
    bool hasNul = shown.find(u'\0') != std::u16string::npos;
    if (hasNul)
        std::replace(shown.begin(), shown.end(), u'\0', nulSubstitute);
    if (!hasNul && !m_isShowingUneditableText && shown == m_currentText)
        return;

    auto utf8 = UnicodeText::utf8FromUTF16(shown);
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    m_isSynchronizing = true;
    // A text loaded by the store is no step the user can undo in the editor.
    gtk_text_buffer_begin_irreversible_action(buffer);
    gtk_text_buffer_set_text(buffer, utf8.data(), static_cast<int>(utf8.size()));
    gtk_text_buffer_end_irreversible_action(buffer);
    GtkTextIter start;
    gtk_text_buffer_get_start_iter(buffer, &start);
    gtk_text_buffer_place_cursor(buffer, &start);
    m_isSynchronizing = false;
    noteTextReplaced();

    m_isShowingUneditableText = hasNul;
    gtk_text_view_set_editable(GTK_TEXT_VIEW(m_sourceView), !hasNul);
    resetTextMirror(std::move(shown));
    // A text set from outside is analysed at once, keeping the folds whose ids survive.
    refreshSyntaxAndFolds(false);
    updateStatus();
}

void SourceEditorView::bufferDidChange()
{
    if (m_isSynchronizing)
        return;
    // The mirror follows each insertion and deletion; a change that came some other way is read back.
    if (!textMirrorMatchesBuffer())
        resetTextMirror(bufferText());
    scheduleSyntaxAndFoldRefresh();
    updateStatus();
    m_isSynchronizing = true;
    m_onUserEdit(m_currentText);
    m_isSynchronizing = false;
}

void SourceEditorView::updateStatus()
{
    GtkTextIter caret;
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    gtk_text_buffer_get_iter_at_mark(buffer, &caret, gtk_text_buffer_get_insert(buffer));
    auto offset = utf16OffsetOfCharacter(gtk_text_iter_get_offset(&caret));
    m_status.setIfChanged(SourceEditorStatus::at(m_lineIndex, offset));
}

void SourceEditorView::applyStyleScheme()
{
    bool isDark = adw_style_manager_get_dark(adw_style_manager_get_default());
    GtkSourceStyleSchemeManager* schemes = gtk_source_style_scheme_manager_get_default();
    if (GtkSourceStyleScheme* scheme = gtk_source_style_scheme_manager_get_scheme(schemes, isDark ? "Adwaita-dark" : "Adwaita"))
        gtk_source_buffer_set_style_scheme(m_buffer.get(), scheme);
}

}
