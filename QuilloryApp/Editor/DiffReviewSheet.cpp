#include "QuilloryApp/Editor/DiffReviewSheet.h"

#include "QuilloryCore/Text/UnicodeText.h"

#include <gio/gio.h>

#include <chrono>
#include <exception>
#include <string_view>
#include <utility>

namespace Quillory {

namespace {

// Filling the text view with ten megabytes at once blocks for about half a second, so it is
// filled in slices of at most this many bytes, for at most `fillTurnBudget` per turn, one turn
// every `fillTurnInterval`. A timer rather than an idle: the time between the turns belongs to the
// window's drawing, and an idle below the redraw's priority would wait for as long as frames take
// longer to draw than they come (as they do with software rendering).
constexpr std::size_t fillSliceBytes = 64 * 1024;
constexpr std::chrono::milliseconds fillTurnBudget { 6 };
constexpr std::chrono::milliseconds fillTurnInterval { 12 };

struct DiffRequest {
    DiffReviewSheet::DiffComputation computeDiff;
    std::uint64_t generation { 0 };
    std::weak_ptr<DiffReviewSheet*> sheet;
};

// Where the slice of `text` that starts at `start` ends: after the last line end within the
// slice's size, or, on a longer line, at a character boundary that does not split a CR LF.
std::size_t sliceEnd(std::string_view text, std::size_t start)
{
    std::size_t end = start + fillSliceBytes;
    if (end >= text.size())
        return text.size();
    auto lineEnd = text.rfind('\n', end - 1);
    if (lineEnd != std::string_view::npos && lineEnd >= start)
        return lineEnd + 1;
    while (end > start + 1 && ((static_cast<unsigned char>(text[end]) & 0xC0) == 0x80 || text[end - 1] == '\r'))
        --end;
    return end;
}

}

DiffReviewSheet::DiffReviewSheet(GtkWindow* parent, const std::string& documentPath, DiffSource diffSource,
                                 std::function<void()> revertAction, std::function<void()> onClose)
    : m_diffSource(std::move(diffSource))
    , m_revertAction(std::move(revertAction))
    , m_onClose(std::move(onClose))
    , m_window(GRef<GtkWidget>::retain(adw_window_new()))
    , m_lifetime(std::make_shared<DiffReviewSheet*>(this))
{
    GtkWindow* window = GTK_WINDOW(m_window.get());
    gtk_window_set_title(window, "Review Diff");
    gtk_window_set_modal(window, TRUE);
    if (parent)
        gtk_window_set_transient_for(window, parent);
    gtk_window_set_default_size(window, defaultWidth, defaultHeight);

    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 10);
    gtk_widget_set_margin_start(content, 16);
    gtk_widget_set_margin_end(content, 16);
    gtk_widget_set_margin_top(content, 16);
    gtk_widget_set_margin_bottom(content, 16);

    m_headingLabel = GTK_LABEL(gtk_label_new("Review Diff"));
    gtk_label_set_xalign(m_headingLabel, 0);
    gtk_widget_add_css_class(GTK_WIDGET(m_headingLabel), "title-3");
    gtk_box_append(GTK_BOX(content), GTK_WIDGET(m_headingLabel));
    m_pathLabel = GTK_LABEL(gtk_label_new(documentPath.c_str()));
    gtk_label_set_xalign(m_pathLabel, 0);
    gtk_label_set_ellipsize(m_pathLabel, PANGO_ELLIPSIZE_MIDDLE);
    gtk_widget_add_css_class(GTK_WIDGET(m_pathLabel), "dim-label");
    gtk_box_append(GTK_BOX(content), GTK_WIDGET(m_pathLabel));

    // A read-only text view: the diff can be selected and copied, and long files scroll.
    m_diffView = GTK_TEXT_VIEW(gtk_text_view_new());
    gtk_text_view_set_editable(m_diffView, FALSE);
    gtk_text_view_set_cursor_visible(m_diffView, FALSE);
    gtk_text_view_set_monospace(m_diffView, TRUE);
    gtk_text_view_set_wrap_mode(m_diffView, GTK_WRAP_NONE);
    gtk_text_view_set_left_margin(m_diffView, 8);
    gtk_text_view_set_right_margin(m_diffView, 8);
    gtk_text_view_set_top_margin(m_diffView, 8);
    gtk_text_view_set_bottom_margin(m_diffView, 8);
    // Read-only: an undo record of the filled-in text would only cost memory.
    gtk_text_buffer_set_enable_undo(gtk_text_view_get_buffer(m_diffView), FALSE);
    GtkWidget* scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), GTK_WIDGET(m_diffView));

    GtkWidget* progress = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_widget_set_halign(progress, GTK_ALIGN_CENTER);
    gtk_widget_set_valign(progress, GTK_ALIGN_CENTER);
    m_progressSpinner = GTK_SPINNER(gtk_spinner_new());
    gtk_widget_set_size_request(GTK_WIDGET(m_progressSpinner), 32, 32);
    gtk_box_append(GTK_BOX(progress), GTK_WIDGET(m_progressSpinner));
    m_progressLabel = GTK_LABEL(gtk_label_new("Computing diff\u2026"));
    gtk_label_set_wrap(m_progressLabel, TRUE);
    gtk_label_set_justify(m_progressLabel, GTK_JUSTIFY_CENTER);
    gtk_widget_add_css_class(GTK_WIDGET(m_progressLabel), "dim-label");
    gtk_box_append(GTK_BOX(progress), GTK_WIDGET(m_progressLabel));

    m_stack = GTK_STACK(gtk_stack_new());
    gtk_stack_add_named(m_stack, progress, "progress");
    gtk_stack_add_named(m_stack, scroller, "diff");
    GtkWidget* frame = gtk_frame_new(nullptr);
    gtk_frame_set_child(GTK_FRAME(frame), GTK_WIDGET(m_stack));
    gtk_widget_set_vexpand(frame, TRUE);
    gtk_box_append(GTK_BOX(content), frame);

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    gtk_widget_set_halign(buttons, GTK_ALIGN_END);
    m_revertButton = GTK_BUTTON(gtk_button_new_with_label("Revert Page"));
    gtk_widget_add_css_class(GTK_WIDGET(m_revertButton), "destructive-action");
    gtk_box_append(GTK_BOX(buttons), GTK_WIDGET(m_revertButton));
    m_closeButton = GTK_BUTTON(gtk_button_new_with_label("Close"));
    gtk_box_append(GTK_BOX(buttons), GTK_WIDGET(m_closeButton));
    gtk_box_append(GTK_BOX(content), buttons);
    adw_window_set_content(ADW_WINDOW(window), content);

    GtkEventController* shortcuts = gtk_shortcut_controller_new();
    gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(shortcuts),
                                         gtk_shortcut_new(gtk_keyval_trigger_new(GDK_KEY_Escape, GdkModifierType(0)), gtk_named_action_new("window.close")));
    gtk_widget_add_controller(m_window.get(), shortcuts);

    m_connections.connectSwapped(m_revertButton, "clicked", G_CALLBACK(+[](DiffReviewSheet* self) { self->revert(); }), this);
    m_connections.connectSwapped(m_closeButton, "clicked", G_CALLBACK(+[](DiffReviewSheet* self) { self->close(); }), this);
    m_connections.connectSwapped(window, "close-request", G_CALLBACK(+[](DiffReviewSheet* self) -> gboolean {
        self->close();
        return TRUE;
    }), this);
    // The focus starts on "Close", away from the destructive button.
    gtk_window_set_focus(window, GTK_WIDGET(m_closeButton));
    showProgress();
    gtk_window_present(window);
    startComputation();
}

DiffReviewSheet::~DiffReviewSheet()
{
    // A computation still running finds the sheet gone and drops its result.
    m_lifetime.reset();
    for (guint sourceID : { m_computeSourceID, m_fillSourceID }) {
        if (sourceID)
            g_source_remove(sourceID);
    }
    m_connections.disconnectAll();
    gtk_window_destroy(GTK_WINDOW(m_window.get()));
}

std::string DiffReviewSheet::shownDiffText() const
{
    GtkTextBuffer* buffer = gtk_text_view_get_buffer(m_diffView);
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    char* text = gtk_text_buffer_get_text(buffer, &start, &end, TRUE);
    std::string result(text);
    g_free(text);
    return result;
}

void DiffReviewSheet::textDidChange()
{
    ++m_computationGeneration;
    showProgress();
    if (m_computeSourceID)
        return;
    m_computeSourceID = g_idle_add_full(G_PRIORITY_HIGH_IDLE, +[](gpointer data) -> gboolean {
        auto* self = static_cast<DiffReviewSheet*>(data);
        self->m_computeSourceID = 0;
        self->startComputation();
        return G_SOURCE_REMOVE;
    }, this, nullptr);
}

void DiffReviewSheet::showProgress()
{
    if (m_fillSourceID)
        g_source_remove(std::exchange(m_fillSourceID, 0));
    m_arrivedDiff.clear();
    m_filledLength = 0;
    m_isShowingWholeDiff = false;
    m_hasFailed = false;
    gtk_text_buffer_set_text(gtk_text_view_get_buffer(m_diffView), "", 0);
    gtk_label_set_text(m_progressLabel, "Computing diff\u2026");
    gtk_spinner_start(m_progressSpinner);
    gtk_stack_set_visible_child_name(m_stack, "progress");
    gtk_widget_set_sensitive(GTK_WIDGET(m_revertButton), FALSE);
}

void DiffReviewSheet::startComputation()
{
    auto* request = new DiffRequest { m_diffSource(), ++m_computationGeneration, m_lifetime };
    GTask* task = g_task_new(nullptr, nullptr, +[](GObject*, GAsyncResult* result, gpointer) {
        GError* error = nullptr;
        auto* diff = static_cast<std::string*>(g_task_propagate_pointer(G_TASK(result), &error));
        auto* finished = static_cast<DiffRequest*>(g_task_get_task_data(G_TASK(result)));
        auto sheet = finished->sheet.lock();
        if (sheet && finished->generation == (*sheet)->m_computationGeneration) {
            if (diff)
                (*sheet)->receiveDiff(std::move(*diff));
            else
                (*sheet)->showFailure(error->message);
        }
        delete diff;
        g_clear_error(&error);
    }, nullptr);
    g_task_set_task_data(task, request, +[](gpointer data) { delete static_cast<DiffRequest*>(data); });
    g_task_run_in_thread(task, +[](GTask* running, gpointer, gpointer data, GCancellable*) {
        auto* work = static_cast<DiffRequest*>(data);
        try {
            // Converted here too: for a long file that takes a while as well.
            auto* diff = new std::string(UnicodeText::utf8FromUTF16(work->computeDiff()));
            g_task_return_pointer(running, diff, +[](gpointer pointer) { delete static_cast<std::string*>(pointer); });
        } catch (const std::exception& failure) {
            g_task_return_new_error(running, G_IO_ERROR, G_IO_ERROR_FAILED, "The diff could not be computed: %s", failure.what());
        }
    });
    g_object_unref(task);
}

void DiffReviewSheet::receiveDiff(std::string utf8Diff)
{
    m_arrivedDiff = std::move(utf8Diff);
    m_filledLength = 0;
    if (!fillNextSlices()) {
        showWholeDiff();
        return;
    }
    m_fillSourceID = g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(fillTurnInterval.count()), +[](gpointer data) -> gboolean {
        auto* self = static_cast<DiffReviewSheet*>(data);
        if (self->fillNextSlices())
            return G_SOURCE_CONTINUE;
        self->m_fillSourceID = 0;
        self->showWholeDiff();
        return G_SOURCE_REMOVE;
    }, this, nullptr);
}

void DiffReviewSheet::showFailure(const char* message)
{
    m_hasFailed = true;
    gtk_spinner_stop(m_progressSpinner);
    gtk_label_set_text(m_progressLabel, message);
}

bool DiffReviewSheet::fillNextSlices()
{
    GtkTextBuffer* buffer = gtk_text_view_get_buffer(m_diffView);
    auto deadline = std::chrono::steady_clock::now() + fillTurnBudget;
    while (m_filledLength < m_arrivedDiff.size()) {
        auto end = sliceEnd(m_arrivedDiff, m_filledLength);
        GtkTextIter at;
        gtk_text_buffer_get_end_iter(buffer, &at);
        gtk_text_buffer_insert(buffer, &at, m_arrivedDiff.data() + m_filledLength, static_cast<int>(end - m_filledLength));
        m_filledLength = end;
        if (std::chrono::steady_clock::now() >= deadline)
            break;
    }
    return m_filledLength < m_arrivedDiff.size();
}

void DiffReviewSheet::showWholeDiff()
{
    m_arrivedDiff = std::string();
    m_filledLength = 0;
    m_isShowingWholeDiff = true;
    gtk_spinner_stop(m_progressSpinner);
    gtk_stack_set_visible_child_name(m_stack, "diff");
    gtk_widget_set_sensitive(GTK_WIDGET(m_revertButton), TRUE);
}

void DiffReviewSheet::revert()
{
    // The button is insensitive until the whole diff is shown; this holds for any other way in.
    if (m_isClosing || !m_isShowingWholeDiff)
        return;
    auto revertAction = m_revertAction;
    if (revertAction)
        revertAction();
    close();
}

void DiffReviewSheet::close()
{
    if (m_isClosing)
        return;
    m_isClosing = true;
    gtk_widget_set_visible(m_window.get(), FALSE);
    // The owner destroys this sheet; keep the callback alive while it runs.
    auto onClose = m_onClose;
    if (onClose)
        onClose();
}

}
