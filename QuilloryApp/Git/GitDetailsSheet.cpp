#include "QuilloryApp/Git/GitDetailsSheet.h"

#include "QuilloryApp/Git/GitStateAppearance.h"
#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"

namespace Quillory {

namespace {

GtkLabel* makeLabel(const char* text, std::initializer_list<const char*> styleClasses)
{
    auto* label = GTK_LABEL(gtk_label_new(text));
    gtk_label_set_xalign(label, 0);
    gtk_label_set_wrap(label, TRUE);
    gtk_label_set_wrap_mode(label, PANGO_WRAP_WORD_CHAR);
    for (const char* styleClass : styleClasses)
        gtk_widget_add_css_class(GTK_WIDGET(label), styleClass);
    return label;
}

GtkWidget* makeSection(GtkWidget* parent, const char* title)
{
    GtkWidget* section = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    gtk_box_append(GTK_BOX(section), GTK_WIDGET(makeLabel(title, { "heading" })));
    gtk_box_append(GTK_BOX(parent), section);
    return section;
}

// A "name: value" row of the current file's section; returns the value's label.
GtkLabel* appendLabelledRow(GtkWidget* section, const char* name)
{
    GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    auto* nameLabel = makeLabel(name, { "caption", "dim-label" });
    gtk_widget_set_size_request(GTK_WIDGET(nameLabel), 120, -1);
    gtk_box_append(GTK_BOX(row), GTK_WIDGET(nameLabel));
    auto* value = makeLabel("", { "caption" });
    gtk_widget_set_hexpand(GTK_WIDGET(value), TRUE);
    gtk_box_append(GTK_BOX(row), GTK_WIDGET(value));
    gtk_box_append(GTK_BOX(section), row);
    return value;
}

GtkWidget* makeActionButton(const char* label, const char* systemImageName, const char* tooltip)
{
    GtkWidget* button = gtk_button_new();
    GtkWidget* content = adw_button_content_new();
    adw_button_content_set_label(ADW_BUTTON_CONTENT(content), label);
    adw_button_content_set_icon_name(ADW_BUTTON_CONTENT(content), IconNames::symbolic(systemImageName));
    gtk_button_set_child(GTK_BUTTON(button), content);
    gtk_widget_set_tooltip_text(button, tooltip);
    return button;
}

void removeChildren(GtkWidget* box)
{
    while (GtkWidget* child = gtk_widget_get_first_child(box))
        gtk_box_remove(GTK_BOX(box), child);
}

}

GitDetailsSheet::GitDetailsSheet(WorkspaceStore& store, GtkWindow* parent, std::function<void()> onClose)
    : m_store(store)
    , m_onClose(std::move(onClose))
    , m_window(GRef<GtkWidget>::retain(adw_window_new()))
{
    GtkWindow* window = GTK_WINDOW(m_window.get());
    gtk_window_set_title(window, "Git Details");
    gtk_window_set_modal(window, TRUE);
    if (parent)
        gtk_window_set_transient_for(window, parent);
    gtk_window_set_default_size(window, minimumWidth, minimumHeight);

    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    // The minimum is the sheet's own area, whatever the window's frame adds around it.
    gtk_widget_set_size_request(content, minimumWidth, minimumHeight);
    GtkWidget* headerBar = adw_header_bar_new();
    GtkWidget* heading = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_widget_set_valign(heading, GTK_ALIGN_CENTER);
    auto* headline = makeLabel("Git Details", { "heading" });
    gtk_label_set_xalign(headline, 0.5);
    gtk_box_append(GTK_BOX(heading), GTK_WIDGET(headline));
    m_pathLabel = makeLabel("", { "caption", "dim-label" });
    gtk_label_set_xalign(m_pathLabel, 0.5);
    gtk_label_set_ellipsize(m_pathLabel, PANGO_ELLIPSIZE_MIDDLE);
    gtk_label_set_wrap(m_pathLabel, FALSE);
    gtk_box_append(GTK_BOX(heading), GTK_WIDGET(m_pathLabel));
    adw_header_bar_set_title_widget(ADW_HEADER_BAR(headerBar), heading);
    gtk_box_append(GTK_BOX(content), headerBar);
    gtk_box_append(GTK_BOX(content), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));

    GtkWidget* scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_widget_set_vexpand(scroller, TRUE);
    GtkWidget* sections = gtk_box_new(GTK_ORIENTATION_VERTICAL, 22);
    gtk_widget_set_margin_start(sections, 20);
    gtk_widget_set_margin_end(sections, 20);
    gtk_widget_set_margin_top(sections, 16);
    gtk_widget_set_margin_bottom(sections, 16);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), sections);
    gtk_box_append(GTK_BOX(content), scroller);

    GtkWidget* currentFile = makeSection(sections, "Current File");
    m_workspacePathLabel = appendLabelledRow(currentFile, "Workspace path");
    m_gitPathLabel = appendLabelledRow(currentFile, "Git path");
    GtkWidget* statusRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    auto* statusName = makeLabel("Status", { "caption", "dim-label" });
    gtk_widget_set_size_request(GTK_WIDGET(statusName), 120, -1);
    gtk_box_append(GTK_BOX(statusRow), GTK_WIDGET(statusName));
    m_statusWordLabel = makeLabel("", { "caption-heading" });
    gtk_box_append(GTK_BOX(statusRow), GTK_WIDGET(m_statusWordLabel));
    gtk_box_append(GTK_BOX(currentFile), statusRow);
    m_statusEntryLabel = makeLabel("", { "caption", "quillory-git-entry" });
    gtk_box_append(GTK_BOX(currentFile), GTK_WIDGET(m_statusEntryLabel));
    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
    gtk_widget_set_margin_top(buttons, 4);
    m_trackButton = makeActionButton("Track Current File in Git", "plus.square.dashed", "Run git add for only the selected file");
    gtk_box_append(GTK_BOX(buttons), m_trackButton);
    m_restoreButton = makeActionButton("Restore Current File from Git", "arrow.counterclockwise", "Replace only the selected file with its latest committed contents");
    gtk_widget_add_css_class(m_restoreButton, "destructive-action");
    gtk_box_append(GTK_BOX(buttons), m_restoreButton);
    gtk_box_append(GTK_BOX(currentFile), buttons);

    m_otherChangesBox = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_box_append(GTK_BOX(makeSection(sections, "Other Repository Changes")), m_otherChangesBox);
    m_historyBox = gtk_box_new(GTK_ORIENTATION_VERTICAL, 4);
    gtk_box_append(GTK_BOX(makeSection(sections, "Recent History")), m_historyBox);

    GtkWidget* footer = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_widget_set_halign(footer, GTK_ALIGN_END);
    gtk_widget_set_margin_start(footer, 20);
    gtk_widget_set_margin_end(footer, 20);
    gtk_widget_set_margin_top(footer, 12);
    gtk_widget_set_margin_bottom(footer, 16);
    m_closeButton = gtk_button_new_with_label("Close");
    gtk_box_append(GTK_BOX(footer), m_closeButton);
    gtk_box_append(GTK_BOX(content), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));
    gtk_box_append(GTK_BOX(content), footer);
    adw_window_set_content(ADW_WINDOW(window), content);

    showSnapshot();
    m_connections.observe(store.selectedPageGitSnapshot(), [this] { showSnapshot(); });
    // The sheet ignores what the two actions return; a failure shows in the strip.
    m_connections.connectSwapped(m_trackButton, "clicked", G_CALLBACK(+[](GitDetailsSheet* self) { self->m_store.trackSelectedPageInGit(); }), this);
    m_connections.connectSwapped(m_restoreButton, "clicked", G_CALLBACK(+[](GitDetailsSheet* self) { self->confirmRestore(); }), this);
    m_connections.connectSwapped(m_closeButton, "clicked", G_CALLBACK(+[](GitDetailsSheet* self) { self->close(); }), this);
    m_connections.connectSwapped(window, "close-request", G_CALLBACK(+[](GitDetailsSheet* self) -> gboolean {
        self->close();
        return TRUE;
    }), this);
    // The focus starts on "Close" rather than on a selectable line or the destructive button.
    gtk_window_set_focus(window, m_closeButton);
    gtk_window_present(window);
}

GitDetailsSheet::~GitDetailsSheet()
{
    m_connections.disconnectAll();
    if (m_confirmation)
        gtk_window_destroy(GTK_WINDOW(m_confirmation.get()));
    gtk_window_destroy(GTK_WINDOW(m_window.get()));
}

bool GitDetailsSheet::canRestoreFromGit(const FileGitSnapshot& snapshot)
{
    using Kind = FileGitSnapshot::FileState::Kind;
    auto kind = snapshot.currentFileStatus.kind;
    return (kind == Kind::modified || kind == Kind::deleted) && !snapshot.history.empty();
}

void GitDetailsSheet::showSnapshot()
{
    const auto& snapshot = m_store.selectedPageGitSnapshot().get();
    gtk_label_set_text(m_pathLabel, snapshot.workspaceRelativePath.empty() ? "No file selected" : snapshot.workspaceRelativePath.c_str());
    gtk_label_set_text(m_workspacePathLabel, snapshot.workspaceRelativePath.c_str());
    gtk_label_set_text(m_gitPathLabel, snapshot.repoRelativePath.c_str());
    // The message of an unavailable state isn't shown here.
    auto kind = snapshot.currentFileStatus.kind;
    gtk_label_set_text(m_statusWordLabel, GitStateAppearance::word(kind));
    GitStateAppearance::applyColour(GTK_WIDGET(m_statusWordLabel), GitStateAppearance::colour(kind));
    gtk_label_set_text(m_statusEntryLabel, snapshot.currentStatusEntry ? snapshot.currentStatusEntry->c_str() : "");
    gtk_widget_set_visible(GTK_WIDGET(m_statusEntryLabel), snapshot.currentStatusEntry.has_value());
    gtk_widget_set_sensitive(m_trackButton, kind == FileGitSnapshot::FileState::Kind::untracked);
    gtk_widget_set_sensitive(m_restoreButton, canRestoreFromGit(snapshot));

    removeChildren(m_otherChangesBox);
    for (const auto& entry : snapshot.otherStatusEntries) {
        auto* line = makeLabel(entry.c_str(), { "caption", "quillory-git-entry" });
        gtk_label_set_selectable(line, TRUE);
        gtk_box_append(GTK_BOX(m_otherChangesBox), GTK_WIDGET(line));
    }
    if (snapshot.otherStatusEntries.empty())
        gtk_box_append(GTK_BOX(m_otherChangesBox), GTK_WIDGET(makeLabel("No other changed paths.", { "caption", "dim-label" })));

    removeChildren(m_historyBox);
    for (const auto& entry : snapshot.history) {
        GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
        auto* hash = makeLabel(entry.hash.c_str(), { "caption", "quillory-git-entry" });
        gtk_label_set_wrap(hash, FALSE);
        gtk_box_append(GTK_BOX(row), GTK_WIDGET(hash));
        auto* subject = makeLabel(entry.subject.c_str(), { "caption" });
        gtk_widget_set_hexpand(GTK_WIDGET(subject), TRUE);
        gtk_box_append(GTK_BOX(row), GTK_WIDGET(subject));
        gtk_box_append(GTK_BOX(m_historyBox), row);
    }
    if (snapshot.history.empty())
        gtk_box_append(GTK_BOX(m_historyBox), GTK_WIDGET(makeLabel("No commits found for this file.", { "caption", "dim-label" })));
}

void GitDetailsSheet::confirmRestore()
{
    if (m_isConfirmingRestore)
        return;
    const auto& path = m_store.selectedPageGitSnapshot()->workspaceRelativePath;
    auto body = "This replaces only " + path + " with its latest committed contents. Other changed files are left alone.";
    m_confirmation = GRef<GtkWidget>::retain(adw_message_dialog_new(window(), "Restore selected file from Git HEAD?", body.c_str()));
    auto* dialog = ADW_MESSAGE_DIALOG(m_confirmation.get());
    adw_message_dialog_add_responses(dialog, "cancel", "Cancel", "restore", "Restore Current File", nullptr);
    adw_message_dialog_set_response_appearance(dialog, "restore", ADW_RESPONSE_DESTRUCTIVE);
    adw_message_dialog_set_default_response(dialog, "cancel");
    adw_message_dialog_set_close_response(dialog, "cancel");
    m_connections.connectSwapped(dialog, "response", G_CALLBACK(+[](GitDetailsSheet* self, const char* response) {
        self->confirmationDidRespond(response);
    }), this);
    m_isConfirmingRestore = true;
    gtk_window_present(GTK_WINDOW(dialog));
}

void GitDetailsSheet::confirmationDidRespond(const char* response)
{
    // The dialog closes itself after answering.
    m_isConfirmingRestore = false;
    m_confirmation = {};
    if (g_strcmp0(response, "restore") == 0)
        m_store.restoreSelectedPageFromGitHead();
}

void GitDetailsSheet::close()
{
    gtk_widget_set_visible(m_window.get(), FALSE);
    // The owner destroys this sheet; keep the callback alive while it runs.
    auto onClose = m_onClose;
    if (onClose)
        onClose();
}

}
