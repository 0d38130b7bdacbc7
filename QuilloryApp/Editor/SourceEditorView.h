#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ObservableProperty.h"
#include "QuilloryApp/Support/ViewConnections.h"
#include "QuilloryCore/Analysis/HTMLSyntaxSpan.h"
#include "QuilloryCore/Editing/SourceEditorCommandRequest.h"
#include "QuilloryCore/Editing/SourceLineIndex.h"
#include "QuilloryCore/Text/UUID.h"
#include "QuilloryCore/Text/Utf16Range.h"

#include <gtksourceview/gtksource.h>

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Quillory {

struct SourceSyntaxSnapshot;

// The find actions, numbered as the menu commands name them.
enum class FindAction { showFindInterface = 1, nextMatch = 2, previousMatch = 3, setSearchString = 7, showReplaceInterface = 12 };

// The source editor: a GtkSourceView on a buffer without a GtkSourceView language, in a monospace
// font, two-way bound to a text. It colours the text with tags from a debounced analysis on a
// worker thread, folds HTML elements from a gutter marker, reports the caret's line and column,
// asks before an edit that replaces most of a long page, and has a find bar. Changes the user makes go to `onUserEdit`; changes of the bound
// text made elsewhere replace the buffer without calling it back. The buffer holds UTF-8 and the
// bound text UTF-16; every character, astral ones included, crosses unchanged.
class SourceEditorView {
public:
    SourceEditorView(const ObservableProperty<std::u16string>& text, std::function<void(std::u16string)> onUserEdit);
    ~SourceEditorView();
    SourceEditorView(const SourceEditorView&) = delete;
    SourceEditorView& operator=(const SourceEditorView&) = delete;

    // The find bar above the scrolled window that holds the editor.
    GtkWidget* widget() const { return m_root.get(); }
    GtkScrolledWindow* scrolledWindow() const { return GTK_SCROLLED_WINDOW(m_scrolledWindow); }
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

    // The caret's line and column (UTF-16 units), 1-based.
    const ObservableProperty<SourceEditorStatus>& status() const { return m_status; }
    // "Confirm large editor changes": when off, no edit ever asks.
    void setConfirmLargeEdits(bool confirm) { m_confirmLargeEdits = confirm; }
    // The dialog a large edit waits on, or null.
    GtkWidget* pendingLargeEditDialog() const { return m_largeEditDialog; }

    // Syntax and folds, as last applied.
    const std::vector<HTMLFoldRegion>& foldRegions() const { return m_foldRegions; }
    const std::set<std::string>& foldedRegionIDs() const { return m_foldedRegionIDs; }
    void toggleFold(const std::string& regionID);
    // Applies an analysis: colours, fold regions and the folds whose ids survive. A snapshot of
    // another text than the buffer's is stale and dropped.
    void applySyntaxSnapshot(const SourceSyntaxSnapshot&, bool resetFoldState);
    // The region whose marker a line (1-based) shows: of the regions that start there, the outermost.
    const HTMLFoldRegion* foldRegionStartingOnLine(int line) const;
    // The kind coloured at a buffer character, or nothing.
    std::optional<HTMLSyntaxKind> kindAtCharacter(int characterOffset) const;
    bool isCharacterHidden(int characterOffset) const;
    // How many analyses were applied; each is one run of the analyzer.
    int appliedAnalysisCount() const { return m_appliedAnalysisCount; }
    // True while colours of an analysis applied after typing still wait for idle time, off screen.
    bool hasPendingTagChanges() const { return m_tagSliceIdleID != 0; }
    GtkSourceGutterRenderer* foldMarkerRenderer() const { return m_foldMarkerRenderer; }

    // Find.
    void performFindAction(FindAction);
    // Scrolls the selection to the middle of the view.
    void centerSelectionInVisibleArea();
    void flashFindBar();
    GtkSearchBar* findBar() const { return m_findBar; }
    GtkEditable* findEntry() const { return GTK_EDITABLE(m_findEntry); }
    GtkEditable* replaceEntry() const { return GTK_EDITABLE(m_replaceEntry); }
    bool isReplaceRowShown() const;

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
    void updateStatus();

    // Syntax (SourceEditorViewSyntax.cpp).
    void setUpSyntax();
    void tearDownSyntax();
    void refreshSyntaxAndFolds(bool resetFoldState);
    void scheduleSyntaxAndFoldRefresh();
    void startBackgroundAnalysis();
    // Whether colours are changed all at once, or on screen first and elsewhere in idle slices.
    enum class TagApplication { whole, visibleFirst };
    // The kind painted on each buffer character (one entry per code point) by the spans.
    static std::vector<std::uint8_t> characterKinds(std::u16string_view text, const std::vector<HTMLSyntaxSpan>& spans);
    void applyAnalysis(std::vector<HTMLFoldRegion> foldRegions, const std::vector<std::uint8_t>& characterKinds, bool resetFoldState, TagApplication);
    void applyFoldVisibility();
    void noteInsertion(int characterOffset, std::string_view utf8);
    void noteDeletion(int startCharacter, int endCharacter);

    // Colour tags (SourceEditorViewTags.cpp).
    struct TagRun {
        int start { 0 };
        int end { 0 };
        std::uint8_t old { 0 };
        std::uint8_t wanted { 0 };
    };
    void applyKinds(const std::vector<std::uint8_t>& characterKinds, TagApplication);
    void applyTagRun(const TagRun&);
    // After the buffer's whole text was set.
    void noteTextReplaced();
    void cancelPendingTagRuns();
    // The characters of the lines on screen, from the first line's start past the last line's end.
    std::pair<int, int> visibleCharacterRange() const;

    // The text mirror (SourceEditorViewText.cpp).
    void resetTextMirror(std::u16string text);
    void mirrorInsertion(int characterOffset, std::string_view utf8);
    void mirrorDeletion(int startCharacter, int endCharacter);
    bool textMirrorMatchesBuffer() const;
    // Between buffer characters and UTF-16 offsets of the text; an offset inside an astral
    // character counts as after it.
    std::size_t utf16OffsetOfCharacter(int characterOffset) const;
    int characterOffsetOfUTF16(std::size_t offset) const;

    // Typing (SourceEditorViewTyping.cpp): the document's line ending on Enter and the guard.
    void setUpTyping();
    bool insertTextWillHappen(GtkTextIter* location, const char* text, int length);
    bool deleteRangeWillHappen(GtkTextIter* start, GtkTextIter* end);
    void userActionDidEnd();
    void showLargeEditDialog();
    void applyConfirmedEdit(int startCharacter, int endCharacter, const std::string& replacement);
    std::u16string documentLineEnding() const;

    // Find (SourceEditorViewFind.cpp).
    GtkWidget* makeFindBar();
    void findFrom(bool forward);
    void replaceCurrentMatch();
    void replaceAllMatches();

    const ObservableProperty<std::u16string>& m_text;
    std::function<void(std::u16string)> m_onUserEdit;
    GRef<GtkWidget> m_root;
    GtkWidget* m_scrolledWindow { nullptr };
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
    int m_caretScrollAttempts { 0 };

    // The buffer's text as UTF-16, kept in step with every change, and the buffer character
    // offsets of its astral characters, in order.
    std::u16string m_currentText;
    std::vector<int> m_astralCharacters;
    SourceLineIndex m_lineIndex;
    ObservableProperty<SourceEditorStatus> m_status;

    // Syntax state. The applied kinds mirror the tags in the buffer, one entry per character:
    // a kind, no kind, or unknown (inserted text may have taken a neighbour's tag).
    static constexpr std::uint8_t noKind = 0xFF;
    static constexpr std::uint8_t unknownKind = 0xFE;
    std::array<GtkTextTag*, htmlSyntaxKindCount> m_kindTags {};
    GtkTextTag* m_foldTag { nullptr };
    std::vector<std::uint8_t> m_appliedKinds;
    // Tag changes of the latest analysis still to make, from `m_nextPendingTagRun` on.
    std::vector<TagRun> m_pendingTagRuns;
    std::size_t m_nextPendingTagRun { 0 };
    guint m_tagSliceIdleID { 0 };
    std::vector<HTMLFoldRegion> m_foldRegions;
    std::map<int, std::size_t> m_foldRegionsByStartLine;
    std::set<std::string> m_foldedRegionIDs;
    bool m_hasHiddenTextApplied { false };
    guint m_syntaxRefreshTimerID { 0 };
    // Raised by every new request, so a background result that is not the latest is dropped.
    std::uint64_t m_syntaxGeneration { 0 };
    std::shared_ptr<SourceEditorView*> m_lifetime;
    int m_appliedAnalysisCount { 0 };
    GtkSourceGutterRenderer* m_foldMarkerRenderer { nullptr };

    // Typing state.
    bool m_confirmLargeEdits { true };
    int m_userActionDepth { 0 };
    bool m_bypassGuard { false };
    bool m_isRewritingLineBreak { false };
    struct PendingLargeEdit {
        int startCharacter { 0 };
        int endCharacter { 0 };
        std::string replacement;
    };
    std::optional<PendingLargeEdit> m_pendingLargeEdit;
    GtkWidget* m_largeEditDialog { nullptr };

    // Find state.
    GtkSearchBar* m_findBar { nullptr };
    GtkWidget* m_findEntry { nullptr };
    GtkWidget* m_replaceEntry { nullptr };
    GtkWidget* m_replaceRow { nullptr };
    GRef<GtkSourceSearchSettings> m_searchSettings;
    GRef<GtkSourceSearchContext> m_searchContext;
    guint m_flashTimerID { 0 };

    ViewConnections m_connections;
};

}
