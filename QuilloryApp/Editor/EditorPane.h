#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <gtk/gtk.h>

#include <memory>
#include <string_view>

namespace Quillory {

class DiffReviewSheet;
class FormatDocumentButton;
class SourceEditorView;
class WorkspaceStore;

// The editor side of the working surface: a header over the source editor, with a note over the
// editor while the text is empty. The header names the document, shows the caret's place and the
// edit state, and holds the editor's actions: jump to a line, format, review the diff against the
// opened baseline, revert the page and undo to one of the recent texts. It comes in two forms,
// and shows the first that fits the pane's width: the expanded one with the line field and the
// actions' words, and a compact one whose actions other than "Format Document" are images (their
// words as tooltip and accessible label), the line field in a popover.
//
// The pane reads and drives the workspace store; the logic of every action is the store's.
class EditorPane {
public:
    // One form of the header. Both exist at all times; the squeezer shows one.
    struct Header {
        GtkWidget* box { nullptr };
        GtkLabel* titleLabel { nullptr };
        GtkLabel* pathLabel { nullptr };
        // "Ln 12, Col 7".
        GtkLabel* locationLabel { nullptr };
        GtkLabel* editStateLabel { nullptr };
        // In the expanded form it stands in the row; in the compact one, in the jump button's popover.
        GtkEntry* lineField { nullptr };
        // A button in the expanded form; in the compact one a menu button that opens the line field.
        GtkWidget* jumpButton { nullptr };
        FormatDocumentButton* formatButton { nullptr };
        GtkButton* reviewDiffButton { nullptr };
        GtkButton* revertPageButton { nullptr };
        GtkButton* undoButton { nullptr };
        GtkMenuButton* undoMenuButton { nullptr };
    };

    explicit EditorPane(WorkspaceStore&);
    ~EditorPane();
    EditorPane(const EditorPane&) = delete;
    EditorPane& operator=(const EditorPane&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    SourceEditorView& sourceEditor() const { return *m_sourceEditor; }

    const Header& expandedHeader() const { return m_expanded; }
    const Header& compactHeader() const { return m_compact; }
    // The form shown now.
    const Header& visibleHeader() const;
    bool isShowingCompactHeader() const { return &visibleHeader() == &m_compact; }
    // The visible form's controls.
    GtkLabel* editStateLabel() const { return visibleHeader().editStateLabel; }
    GtkLabel* caretStatusLabel() const { return visibleHeader().locationLabel; }
    FormatDocumentButton& formatDocumentButton() const { return *visibleHeader().formatButton; }

    // The entries of the undo menu, newest first: labels and the ids of their snapshots. Filled
    // from the selected page's history each time the menu opens.
    GMenuModel* undoMenu() const { return G_MENU_MODEL(m_undoMenu.get()); }
    // The note "Blank source file" over the editor, and whether it is shown.
    GtkWidget* emptyPageState() const { return m_emptyPageState; }
    GtkLabel* emptyPageStateText() const { return m_emptyPageStateText; }
    bool isShowingEmptyPageState() const { return gtk_widget_get_visible(m_emptyPageState); }
    // The diff sheet while it is open, else null.
    DiffReviewSheet* diffReviewSheet() const { return m_diffReviewSheet.get(); }

    // The line fields' text as a line number for the editor; text that does not parse does nothing.
    void jumpToLine();
    // Puts the keyboard focus into the visible form's line field (opening its popover if compact).
    void focusLineField();
    // Opens the diff sheet over the window; nothing while one is open. The sheet computes the
    // diff off the main thread, anew when the text changes; another selection closes it.
    void showDiffReview();
    // Undoes to the snapshot with this id (its text form), if the selected page still has it.
    void undoToSnapshot(std::string_view snapshotID);

private:
    enum class HeaderForm {
        expanded,
        compact,
    };

    Header makeHeader(HeaderForm);
    GtkWidget* makeLineField();
    static GtkWidget* makeEmptyPageState(GtkLabel** text);
    void userDidEdit(std::u16string text);
    void showDocument();
    void showEditState();
    void showCaretStatus();
    void showUndoHistory();
    void fillUndoMenu();
    void showEmptyPageState();

    WorkspaceStore& m_store;
    std::unique_ptr<SourceEditorView> m_sourceEditor;
    std::unique_ptr<FormatDocumentButton> m_expandedFormatButton;
    std::unique_ptr<FormatDocumentButton> m_compactFormatButton;
    GRef<GtkWidget> m_root;
    // Both line fields edit this one text.
    GRef<GtkEntryBuffer> m_lineText;
    GRef<GMenu> m_undoMenu;
    GRef<GSimpleActionGroup> m_actions;
    GtkWidget* m_headerSqueezer { nullptr };
    Header m_expanded;
    Header m_compact;
    GtkWidget* m_emptyPageState { nullptr };
    GtkLabel* m_emptyPageStateText { nullptr };
    std::unique_ptr<DiffReviewSheet> m_diffReviewSheet;
    ViewConnections m_connections;
};

}
