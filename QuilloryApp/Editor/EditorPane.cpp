#include "QuilloryApp/Editor/EditorPane.h"

#include "QuilloryApp/Editor/DiffReviewSheet.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Formatter/FormatDocumentButton.h"
#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Editing/LineJumpText.h"
#include "QuilloryCore/Editing/SourceEditorCommandRequest.h"

#include <adwaita.h>

#include <chrono>
#include <string>

namespace Quillory {

namespace {

constexpr const char* undoChangeDetailedAction = "editor-pane.undo-change";

GtkLabel* makeLabel(std::initializer_list<const char*> styleClasses)
{
    auto* label = GTK_LABEL(gtk_label_new(nullptr));
    gtk_label_set_xalign(label, 0);
    gtk_label_set_single_line_mode(label, TRUE);
    for (const char* styleClass : styleClasses)
        gtk_widget_add_css_class(GTK_WIDGET(label), styleClass);
    return label;
}

// A header action with its image (if it has one) and words, or its image alone with the words
// for assistive technology; the help text is its tooltip.
void setActionContent(GtkWidget* button, bool showsLabel, const char* systemImageName, const char* label, const char* help)
{
    if (showsLabel && systemImageName) {
        GtkWidget* content = adw_button_content_new();
        adw_button_content_set_icon_name(ADW_BUTTON_CONTENT(content), IconNames::symbolic(systemImageName));
        adw_button_content_set_label(ADW_BUTTON_CONTENT(content), label);
        if (GTK_IS_MENU_BUTTON(button))
            gtk_menu_button_set_child(GTK_MENU_BUTTON(button), content);
        else
            gtk_button_set_child(GTK_BUTTON(button), content);
    } else if (showsLabel) {
        gtk_button_set_label(GTK_BUTTON(button), label);
    } else {
        if (GTK_IS_MENU_BUTTON(button))
            gtk_menu_button_set_icon_name(GTK_MENU_BUTTON(button), IconNames::symbolic(systemImageName));
        else
            gtk_button_set_icon_name(GTK_BUTTON(button), IconNames::symbolic(systemImageName));
        gtk_accessible_update_property(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_PROPERTY_LABEL, label, -1);
    }
    // Flat like the preview header's actions, so that the destructive one stands out by its colour.
    if (GTK_IS_MENU_BUTTON(button))
        gtk_menu_button_set_has_frame(GTK_MENU_BUTTON(button), FALSE);
    else
        gtk_widget_add_css_class(button, "flat");
    gtk_widget_set_tooltip_text(button, help);
}

// A menu label shows an underscore only when it is doubled; a single one would underline the
// next character.
std::string menuLabelText(std::string_view text)
{
    std::string escaped;
    for (char character : text) {
        escaped += character;
        if (character == '_')
            escaped += '_';
    }
    return escaped;
}

// The local time of day a snapshot was taken, "14:05:09".
std::string timeOfDay(std::chrono::system_clock::time_point time)
{
    auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
    GDateTime* local = g_date_time_new_from_unix_local(seconds);
    if (!local)
        return {};
    gchar* formatted = g_date_time_format(local, "%H:%M:%S");
    std::string result(formatted ? formatted : "");
    g_free(formatted);
    g_date_time_unref(local);
    return result;
}

}

EditorPane::EditorPane(WorkspaceStore& store)
    : m_store(store)
    , m_sourceEditor(std::make_unique<SourceEditorView>(store.editorText(), [this](std::u16string text) { userDidEdit(std::move(text)); }))
    , m_expandedFormatButton(std::make_unique<FormatDocumentButton>(store))
    , m_compactFormatButton(std::make_unique<FormatDocumentButton>(store))
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)))))
    , m_lineText(GRef<GtkEntryBuffer>::adopt(gtk_entry_buffer_new(nullptr, -1)))
    , m_undoMenu(GRef<GMenu>::adopt(g_menu_new()))
    , m_actions(GRef<GSimpleActionGroup>::adopt(g_simple_action_group_new()))
{
    GtkWidget* root = m_root.get();
    gtk_widget_add_css_class(root, "quillory-editor-pane");
    gtk_widget_set_vexpand(root, TRUE);

    GSimpleAction* undoChange = g_simple_action_new("undo-change", G_VARIANT_TYPE_STRING);
    m_connections.connectSwapped(undoChange, "activate", G_CALLBACK(+[](EditorPane* self, GVariant* snapshotID) {
        self->undoToSnapshot(g_variant_get_string(snapshotID, nullptr));
    }), this);
    g_action_map_add_action(G_ACTION_MAP(m_actions.get()), G_ACTION(undoChange));
    g_object_unref(undoChange);
    gtk_widget_insert_action_group(root, "editor-pane", G_ACTION_GROUP(m_actions.get()));

    // The expanded form rarely fits beside the preview, so the compact one keeps every action.
    m_expanded = makeHeader(HeaderForm::expanded);
    m_compact = makeHeader(HeaderForm::compact);
    m_headerSqueezer = adw_squeezer_new();
    adw_squeezer_set_transition_type(ADW_SQUEEZER(m_headerSqueezer), ADW_SQUEEZER_TRANSITION_TYPE_NONE);
    gtk_widget_set_hexpand(m_headerSqueezer, TRUE);
    adw_squeezer_add(ADW_SQUEEZER(m_headerSqueezer), m_expanded.box);
    adw_squeezer_add(ADW_SQUEEZER(m_headerSqueezer), m_compact.box);
    gtk_box_append(GTK_BOX(root), m_headerSqueezer);
    gtk_box_append(GTK_BOX(root), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));

    GtkWidget* editorArea = gtk_overlay_new();
    gtk_widget_set_vexpand(editorArea, TRUE);
    gtk_overlay_set_child(GTK_OVERLAY(editorArea), m_sourceEditor->widget());
    m_emptyPageState = makeEmptyPageState(&m_emptyPageStateText);
    gtk_overlay_add_overlay(GTK_OVERLAY(editorArea), m_emptyPageState);
    gtk_box_append(GTK_BOX(root), editorArea);

    showDocument();
    showEditState();
    showCaretStatus();
    showUndoHistory();
    showEmptyPageState();
    m_connections.observe(store.selectedPageID(), [this] {
        // The sheet's diff and its "Revert Page" belong to the document it was opened for.
        m_diffReviewSheet.reset();
        showDocument();
        showEditState();
        showUndoHistory();
    });
    m_connections.observe(store.editableDocuments(), [this] { showDocument(); });
    // Loads, undo, revert and reloads from disk change the text with the session and history
    // already updated; the user's own edits are shown after the store took them (userDidEdit).
    m_connections.observe(store.editorText(), [this] {
        showEditState();
        showUndoHistory();
        showEmptyPageState();
        // A reload from disk or a finished format changed the text under the open sheet: it
        // shows the diff of the new text, never one of a text that is gone.
        if (m_diffReviewSheet)
            m_diffReviewSheet->textDidChange();
    });
    // A completed autosave renews the token.
    m_connections.observe(store.previewReloadToken(), [this] { showEditState(); });
    m_connections.observe(store.diskConflict(), [this] { showEditState(); });
    m_connections.observe(m_sourceEditor->status(), [this] { showCaretStatus(); });
}

EditorPane::~EditorPane()
{
    m_connections.disconnectAll();
    m_diffReviewSheet.reset();
}

const EditorPane::Header& EditorPane::visibleHeader() const
{
    return adw_squeezer_get_visible_child(ADW_SQUEEZER(m_headerSqueezer)) == m_compact.box ? m_compact : m_expanded;
}

EditorPane::Header EditorPane::makeHeader(HeaderForm form)
{
    bool expanded = form == HeaderForm::expanded;
    Header header;
    header.box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, expanded ? 6 : 4);
    gtk_widget_set_margin_start(header.box, 12);
    gtk_widget_set_margin_end(header.box, 12);
    gtk_widget_set_margin_top(header.box, 6);
    gtk_widget_set_margin_bottom(header.box, 6);

    // The file's title over its path; both shorten rather than widen the header, and the pair
    // takes the room the actions leave.
    GtkWidget* fileLabel = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_widget_set_valign(fileLabel, GTK_ALIGN_CENTER);
    gtk_widget_set_hexpand(fileLabel, TRUE);
    header.titleLabel = makeLabel({ "caption-heading" });
    header.pathLabel = makeLabel({ "caption", "dim-label" });
    for (GtkLabel* label : { header.titleLabel, header.pathLabel }) {
        gtk_label_set_ellipsize(label, PANGO_ELLIPSIZE_END);
        gtk_label_set_width_chars(label, 5);
        gtk_box_append(GTK_BOX(fileLabel), GTK_WIDGET(label));
    }
    gtk_box_append(GTK_BOX(header.box), fileLabel);

    // Side by side when wide; narrow, the edit state goes under the caret's place, as the path
    // goes under the title, so that the compact form fits the narrowest editor pane.
    GtkWidget* location = gtk_box_new(expanded ? GTK_ORIENTATION_HORIZONTAL : GTK_ORIENTATION_VERTICAL, expanded ? 8 : 0);
    gtk_widget_set_valign(location, GTK_ALIGN_CENTER);
    header.locationLabel = makeLabel({ "caption", "numeric" });
    header.editStateLabel = makeLabel({ "caption", "dim-label" });
    if (!expanded) {
        gtk_label_set_xalign(header.locationLabel, 1);
        gtk_label_set_xalign(header.editStateLabel, 1);
    }
    gtk_box_append(GTK_BOX(location), GTK_WIDGET(header.locationLabel));
    gtk_box_append(GTK_BOX(location), GTK_WIDGET(header.editStateLabel));
    gtk_widget_set_margin_end(location, 4);
    gtk_box_append(GTK_BOX(header.box), location);

    header.lineField = GTK_ENTRY(makeLineField());
    if (expanded) {
        gtk_widget_set_valign(GTK_WIDGET(header.lineField), GTK_ALIGN_CENTER);
        gtk_box_append(GTK_BOX(header.box), GTK_WIDGET(header.lineField));
        header.jumpButton = gtk_button_new();
        m_connections.connectSwapped(header.jumpButton, "clicked", G_CALLBACK(+[](EditorPane* self) { self->jumpToLine(); }), this);
    } else {
        // Narrow, the field waits in a popover under the jump image.
        GtkWidget* popoverContent = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
        gtk_box_append(GTK_BOX(popoverContent), GTK_WIDGET(header.lineField));
        GtkWidget* go = gtk_button_new_with_label("Jump to Line");
        gtk_widget_add_css_class(go, "suggested-action");
        m_connections.connectSwapped(go, "clicked", G_CALLBACK(+[](EditorPane* self) { self->jumpToLine(); }), this);
        gtk_box_append(GTK_BOX(popoverContent), go);
        GtkWidget* popover = gtk_popover_new();
        gtk_popover_set_child(GTK_POPOVER(popover), popoverContent);
        // Opened by a click or by Ctrl+L, it is there to type a number into.
        g_signal_connect_object(popover, "map", G_CALLBACK(gtk_widget_grab_focus), header.lineField, G_CONNECT_SWAPPED);
        header.jumpButton = gtk_menu_button_new();
        gtk_menu_button_set_popover(GTK_MENU_BUTTON(header.jumpButton), popover);
    }
    setActionContent(header.jumpButton, expanded, "arrow.down.to.line.compact", "Jump to Line", "Jump to line");
    gtk_box_append(GTK_BOX(header.box), header.jumpButton);

    header.formatButton = expanded ? m_expandedFormatButton.get() : m_compactFormatButton.get();
    gtk_widget_add_css_class(header.formatButton->widget(), "flat");
    gtk_box_append(GTK_BOX(header.box), header.formatButton->widget());

    header.reviewDiffButton = GTK_BUTTON(gtk_button_new());
    setActionContent(GTK_WIDGET(header.reviewDiffButton), expanded, "doc.text.magnifyingglass", "Review Diff", "Review diff");
    m_connections.connectSwapped(header.reviewDiffButton, "clicked", G_CALLBACK(+[](EditorPane* self) { self->showDiffReview(); }), this);
    gtk_box_append(GTK_BOX(header.box), GTK_WIDGET(header.reviewDiffButton));

    // Words alone when wide, as the action has no image of its own; the restore image when narrow.
    header.revertPageButton = GTK_BUTTON(gtk_button_new());
    setActionContent(GTK_WIDGET(header.revertPageButton), expanded, expanded ? nullptr : "arrow.counterclockwise", "Revert Page", "Revert page");
    gtk_widget_add_css_class(GTK_WIDGET(header.revertPageButton), "destructive-action");
    m_connections.connectSwapped(header.revertPageButton, "clicked", G_CALLBACK(+[](EditorPane* self) {
        self->m_store.revertSelectedPageToOpenedBaseline();
    }), this);
    gtk_box_append(GTK_BOX(header.box), GTK_WIDGET(header.revertPageButton));

    // The undo button and the menu of recent texts, drawn as one control.
    GtkWidget* undoControl = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_widget_add_css_class(undoControl, "linked");
    header.undoButton = GTK_BUTTON(gtk_button_new());
    setActionContent(GTK_WIDGET(header.undoButton), expanded, "arrow.uturn.backward", "Undo Last Change",
                     expanded ? "Undo the last editor change" : "Undo last editor change");
    m_connections.connectSwapped(header.undoButton, "clicked", G_CALLBACK(+[](EditorPane* self) { self->m_store.undoSelectedPageChange(); }), this);
    gtk_box_append(GTK_BOX(undoControl), GTK_WIDGET(header.undoButton));
    header.undoMenuButton = GTK_MENU_BUTTON(gtk_menu_button_new());
    setActionContent(GTK_WIDGET(header.undoMenuButton), false, "chevron.down", "Show recent editor changes", "Show recent editor changes");
    gtk_menu_button_set_menu_model(header.undoMenuButton, undoMenu());
    // The entries are listed when the menu opens, not on every keystroke that adds one.
    gtk_menu_button_set_create_popup_func(header.undoMenuButton, +[](GtkMenuButton*, gpointer self) {
        static_cast<EditorPane*>(self)->fillUndoMenu();
    }, this, nullptr);
    gtk_box_append(GTK_BOX(undoControl), GTK_WIDGET(header.undoMenuButton));
    gtk_box_append(GTK_BOX(header.box), undoControl);

    for (GtkWidget* button : { header.jumpButton, GTK_WIDGET(header.reviewDiffButton), GTK_WIDGET(header.revertPageButton) })
        gtk_widget_set_valign(button, GTK_ALIGN_CENTER);
    gtk_widget_set_valign(header.formatButton->widget(), GTK_ALIGN_CENTER);
    gtk_widget_set_valign(undoControl, GTK_ALIGN_CENTER);
    return header;
}

GtkWidget* EditorPane::makeLineField()
{
    GtkWidget* field = gtk_entry_new_with_buffer(m_lineText.get());
    gtk_entry_set_placeholder_text(GTK_ENTRY(field), "Line");
    gtk_editable_set_width_chars(GTK_EDITABLE(field), 5);
    gtk_editable_set_max_width_chars(GTK_EDITABLE(field), 6);
    gtk_entry_set_input_purpose(GTK_ENTRY(field), GTK_INPUT_PURPOSE_NUMBER);
    gtk_accessible_update_property(GTK_ACCESSIBLE(field), GTK_ACCESSIBLE_PROPERTY_LABEL, "Line", -1);
    m_connections.connectSwapped(field, "activate", G_CALLBACK(+[](EditorPane* self) { self->jumpToLine(); }), this);
    return field;
}

GtkWidget* EditorPane::makeEmptyPageState(GtkLabel** text)
{
    // It lies over the editor without taking the pointer, so a click or typing reaches the empty
    // editor beneath.
    GtkWidget* state = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    gtk_widget_set_halign(state, GTK_ALIGN_CENTER);
    gtk_widget_set_valign(state, GTK_ALIGN_CENTER);
    gtk_widget_set_margin_start(state, 24);
    gtk_widget_set_margin_end(state, 24);
    gtk_widget_set_margin_top(state, 24);
    gtk_widget_set_margin_bottom(state, 24);
    gtk_widget_set_can_target(state, FALSE);
    gtk_widget_set_can_focus(state, FALSE);
    GtkWidget* image = gtk_image_new_from_icon_name(IconNames::symbolic("doc.text"));
    gtk_image_set_pixel_size(GTK_IMAGE(image), 32);
    gtk_widget_add_css_class(image, "dim-label");
    gtk_box_append(GTK_BOX(state), image);
    GtkWidget* title = gtk_label_new("Blank source file");
    gtk_widget_add_css_class(title, "title-4");
    gtk_box_append(GTK_BOX(state), title);
    *text = GTK_LABEL(gtk_label_new(nullptr));
    gtk_label_set_wrap(*text, TRUE);
    gtk_label_set_justify(*text, GTK_JUSTIFY_CENTER);
    gtk_label_set_max_width_chars(*text, 48);
    gtk_widget_add_css_class(GTK_WIDGET(*text), "dim-label");
    gtk_box_append(GTK_BOX(state), GTK_WIDGET(*text));
    return state;
}

void EditorPane::userDidEdit(std::u16string text)
{
    m_store.setEditorText(std::move(text));
    m_store.editorTextDidChange();
    // The text's own notification came before the session and the history took the change.
    showEditState();
    showUndoHistory();
}

void EditorPane::showDocument()
{
    // A command meant for the previous document must not reach the next one.
    m_sourceEditor->setDocumentID(m_store.selectedPageID().get());
    auto document = m_store.selectedDocument();
    std::string title = document ? document->title : "";
    std::string path = document ? document->relativePath : "";
    for (const Header* header : { &m_expanded, &m_compact }) {
        gtk_label_set_text(header->titleLabel, title.c_str());
        gtk_label_set_text(header->pathLabel, path.c_str());
        gtk_widget_set_tooltip_text(GTK_WIDGET(header->pathLabel), path.c_str());
    }
    auto note = "Start typing in " + path + ". The preview will refresh as the file autosaves.";
    gtk_label_set_text(m_emptyPageStateText, note.c_str());
}

void EditorPane::showEditState()
{
    auto description = m_store.editStateDescription();
    const auto* session = m_store.selectedEditSession();
    bool hasChanges = session && session->hasChangesFromOpenedBaseline();
    for (const Header* header : { &m_expanded, &m_compact }) {
        gtk_label_set_text(header->editStateLabel, description.c_str());
        gtk_widget_set_sensitive(GTK_WIDGET(header->reviewDiffButton), hasChanges);
        gtk_widget_set_sensitive(GTK_WIDGET(header->revertPageButton), hasChanges);
    }
}

void EditorPane::showCaretStatus()
{
    char text[48];
    std::string status(m_sourceEditor->status().get().format(text, sizeof text));
    for (const Header* header : { &m_expanded, &m_compact })
        gtk_label_set_text(header->locationLabel, status.c_str());
}

void EditorPane::showUndoHistory()
{
    bool hasHistory = !m_store.selectedPageUndoHistory().empty();
    for (const Header* header : { &m_expanded, &m_compact }) {
        gtk_widget_set_sensitive(GTK_WIDGET(header->undoButton), hasHistory);
        gtk_widget_set_sensitive(GTK_WIDGET(header->undoMenuButton), hasHistory);
    }
}

void EditorPane::fillUndoMenu()
{
    g_menu_remove_all(m_undoMenu.get());
    for (const auto& snapshot : m_store.selectedPageUndoHistory()) {
        auto label = menuLabelText(snapshot.menuTitle()) + " \u00B7 " + timeOfDay(snapshot.createdAt);
        GMenuItem* item = g_menu_item_new(label.c_str(), nullptr);
        g_menu_item_set_action_and_target_value(item, undoChangeDetailedAction, g_variant_new_string(snapshot.id.string().c_str()));
        g_menu_append_item(m_undoMenu.get(), item);
        g_object_unref(item);
    }
}

void EditorPane::showEmptyPageState()
{
    gtk_widget_set_visible(m_emptyPageState, m_store.editorText()->empty());
}

void EditorPane::jumpToLine()
{
    auto line = LineJumpText::parse(gtk_entry_buffer_get_text(m_lineText.get()));
    const auto& documentID = m_store.selectedPageID().get();
    if (!line || !documentID)
        return;
    if (GtkPopover* popover = gtk_menu_button_get_popover(GTK_MENU_BUTTON(m_compact.jumpButton)))
        gtk_popover_popdown(popover);
    // The editor clamps the line to the text and takes the focus.
    m_sourceEditor->requestCommand(SourceEditorCommandRequest { UUID::random(), *documentID, SourceEditorCommand::jumpToLine(*line) });
}

void EditorPane::focusLineField()
{
    const Header& header = visibleHeader();
    // The compact form's popover takes the focus into its field once it is shown.
    if (GTK_IS_MENU_BUTTON(header.jumpButton))
        gtk_menu_button_popup(GTK_MENU_BUTTON(header.jumpButton));
    else
        gtk_widget_grab_focus(GTK_WIDGET(header.lineField));
}

void EditorPane::showDiffReview()
{
    auto document = m_store.selectedDocument();
    if (m_diffReviewSheet || !document)
        return;
    GtkRoot* root = gtk_widget_get_root(m_root.get());
    m_diffReviewSheet = std::make_unique<DiffReviewSheet>(
        GTK_IS_WINDOW(root) ? GTK_WINDOW(root) : nullptr, document->relativePath, [this] { return m_store.selectedPageDiffComputation(); },
        [this] { m_store.revertSelectedPageToOpenedBaseline(); }, [this] { m_diffReviewSheet.reset(); });
}

void EditorPane::undoToSnapshot(std::string_view snapshotID)
{
    for (const auto& snapshot : m_store.selectedPageUndoHistory()) {
        if (snapshot.id.string() == snapshotID) {
            m_store.undoSelectedPageChange(snapshot.id);
            return;
        }
    }
}

}
