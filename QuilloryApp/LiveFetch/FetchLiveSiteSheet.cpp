#include "QuilloryApp/LiveFetch/FetchLiveSiteSheet.h"

#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"

namespace Quillory {

namespace {

GtkLabel* makeWrappingLabel(const char* text, const char* cssClass)
{
    GtkLabel* label = GTK_LABEL(gtk_label_new(text));
    gtk_label_set_wrap(label, TRUE);
    gtk_label_set_xalign(label, 0.0f);
    gtk_label_set_selectable(label, FALSE);
    if (cssClass)
        gtk_widget_add_css_class(GTK_WIDGET(label), cssClass);
    return label;
}

// An icon beside a wrapping label, as the sheet's status rows show them.
GtkWidget* makeIconRow(const char* systemImageName, GtkLabel* label)
{
    GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    // At least one text line high: GTK 4.8 measures a wrapping label beside a 16-pixel icon a
    // pixel short when no width is given, and then warns of overlapping widgets.
    gtk_widget_set_size_request(row, -1, 20);
    GtkWidget* icon = gtk_image_new_from_icon_name(IconNames::symbolic(systemImageName));
    gtk_widget_set_valign(icon, GTK_ALIGN_START);
    gtk_box_append(GTK_BOX(row), icon);
    gtk_label_set_wrap_mode(label, PANGO_WRAP_WORD_CHAR);
    gtk_widget_set_hexpand(GTK_WIDGET(label), TRUE);
    gtk_box_append(GTK_BOX(row), GTK_WIDGET(label));
    return row;
}

}

FetchLiveSiteSheet::FetchLiveSiteSheet(WorkspaceStore& store, GtkWindow* parent)
    : m_store(store)
    , m_window(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(adw_window_new()))))
{
    GtkWindow* window = GTK_WINDOW(m_window.get());
    gtk_window_set_title(window, "Fetch Live Site");
    gtk_window_set_modal(window, TRUE);
    gtk_window_set_transient_for(window, parent);
    gtk_window_set_hide_on_close(window, TRUE);
    gtk_window_set_default_size(window, 520, -1);

    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_widget_set_margin_start(column, 24);
    gtk_widget_set_margin_end(column, 24);
    gtk_widget_set_margin_top(column, 24);
    gtk_widget_set_margin_bottom(column, 24);
    adw_window_set_content(ADW_WINDOW(window), column);

    gtk_box_append(GTK_BOX(column), GTK_WIDGET(makeWrappingLabel("Fetch Live Site", "title-2")));
    gtk_box_append(GTK_BOX(column), GTK_WIDGET(makeWrappingLabel("Save a local inspection snapshot under Playgrounds/fetched-live.", "dim-label")));

    m_urlEntry = GTK_ENTRY(gtk_entry_new());
    gtk_entry_set_placeholder_text(m_urlEntry, "https://example.com");
    gtk_entry_set_input_purpose(m_urlEntry, GTK_INPUT_PURPOSE_URL);
    gtk_accessible_update_property(GTK_ACCESSIBLE(m_urlEntry), GTK_ACCESSIBLE_PROPERTY_LABEL, "Live website URL", -1);
    gtk_box_append(GTK_BOX(column), GTK_WIDGET(m_urlEntry));
    gtk_box_append(GTK_BOX(column), GTK_WIDGET(makeWrappingLabel(
        "The snapshot is a local playground copy. It does not publish changes back to the live website.", "caption")));

    m_loadingRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    m_spinner = gtk_spinner_new();
    gtk_widget_set_valign(m_spinner, GTK_ALIGN_CENTER);
    gtk_box_append(GTK_BOX(m_loadingRow), m_spinner);
    gtk_box_append(GTK_BOX(m_loadingRow), gtk_label_new("Fetching page and same-origin assets..."));
    gtk_box_append(GTK_BOX(column), m_loadingRow);

    m_errorLabel = makeWrappingLabel(nullptr, nullptr);
    m_errorRow = makeIconRow("exclamationmark.triangle", m_errorLabel);
    gtk_widget_add_css_class(m_errorRow, "warning");
    gtk_box_append(GTK_BOX(column), m_errorRow);

    m_summaryLabel = makeWrappingLabel(nullptr, nullptr);
    m_summaryRow = makeIconRow("checkmark.circle", m_summaryLabel);
    gtk_widget_add_css_class(m_summaryRow, "success");
    gtk_box_append(GTK_BOX(column), m_summaryRow);

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    gtk_widget_set_halign(buttons, GTK_ALIGN_END);
    gtk_widget_set_margin_top(buttons, 8);
    m_cancelButton = gtk_button_new_with_label("Cancel");
    m_fetchButton = gtk_button_new_with_label("Fetch");
    gtk_widget_add_css_class(m_fetchButton, "suggested-action");
    gtk_box_append(GTK_BOX(buttons), m_cancelButton);
    gtk_box_append(GTK_BOX(buttons), m_fetchButton);
    gtk_box_append(GTK_BOX(column), buttons);
    gtk_window_set_default_widget(window, m_fetchButton);

    update();
    m_connections.observe(store.liveFetchIsLoading(), [this] { update(); });
    m_connections.observe(store.liveFetchSummary(), [this] { update(); });
    m_connections.observe(store.errorMessage(), [this] { update(); });
    m_connections.connectSwapped(m_fetchButton, "clicked", G_CALLBACK(+[](FetchLiveSiteSheet* self) { self->fetch(); }), this);
    m_connections.connectSwapped(m_urlEntry, "activate", G_CALLBACK(+[](FetchLiveSiteSheet* self) { self->fetch(); }), this);
    m_connections.connectSwapped(m_cancelButton, "clicked", G_CALLBACK(+[](FetchLiveSiteSheet* self) { self->close(); }), this);
}

FetchLiveSiteSheet::~FetchLiveSiteSheet()
{
    m_connections.disconnectAll();
    gtk_window_destroy(GTK_WINDOW(m_window.get()));
}

void FetchLiveSiteSheet::present()
{
    gtk_window_set_focus(GTK_WINDOW(m_window.get()), GTK_WIDGET(m_urlEntry));
    gtk_window_present(GTK_WINDOW(m_window.get()));
}

void FetchLiveSiteSheet::close()
{
    gtk_widget_set_visible(m_window.get(), FALSE);
}

bool FetchLiveSiteSheet::isPresented() const
{
    return gtk_widget_get_visible(m_window.get());
}

std::string FetchLiveSiteSheet::urlString() const
{
    return gtk_editable_get_text(GTK_EDITABLE(m_urlEntry));
}

void FetchLiveSiteSheet::fetch()
{
    // A second fetch waits for the first; the button is off meanwhile, but Enter still arrives here.
    if (m_store.liveFetchIsLoading().get())
        return;
    m_store.fetchLiveSite(urlString());
}

void FetchLiveSiteSheet::update()
{
    bool isLoading = m_store.liveFetchIsLoading().get();
    gtk_widget_set_visible(m_loadingRow, isLoading);
    gtk_spinner_set_spinning(GTK_SPINNER(m_spinner), isLoading);
    gtk_widget_set_sensitive(m_fetchButton, !isLoading);

    const auto& error = m_store.errorMessage().get();
    gtk_widget_set_visible(m_errorRow, error.has_value());
    gtk_label_set_text(m_errorLabel, error ? error->c_str() : "");

    const auto& summary = m_store.liveFetchSummary().get();
    gtk_widget_set_visible(m_summaryRow, summary.has_value());
    gtk_label_set_text(m_summaryLabel, summary ? summary->c_str() : "");
}

}
