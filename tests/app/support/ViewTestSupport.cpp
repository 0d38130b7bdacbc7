#include "app/support/ViewTestSupport.h"

#include <glib.h>

#include <algorithm>

namespace QuilloryTest {

TestWindow::TestWindow(GtkWidget* content, int width, int height)
    : m_window(adw_window_new())
{
    gtk_window_set_default_size(GTK_WINDOW(m_window), width, height);
    adw_window_set_content(ADW_WINDOW(m_window), content);
    gtk_window_present(GTK_WINDOW(m_window));
    runMainLoopUntil([this] { return gtk_widget_get_mapped(m_window) && gtk_widget_get_width(m_window) > 0; });
    waitForFrame();
    drainMainLoop();
}

TestWindow::~TestWindow()
{
    gtk_window_destroy(GTK_WINDOW(m_window));
    drainMainLoop();
}

void TestWindow::waitForFrame() const
{
    GdkFrameClock* clock = gtk_widget_get_frame_clock(m_window);
    if (!clock)
        return;
    bool painted = false;
    gulong handler = g_signal_connect_swapped(clock, "after-paint", G_CALLBACK(+[](bool* flag) { *flag = true; }), &painted);
    gtk_widget_queue_draw(m_window);
    runMainLoopUntil([&] { return painted; });
    g_signal_handler_disconnect(clock, handler);
}

void typeAtEnd(Quillory::SourceEditorView& editor, const char* utf8)
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(editor.buffer());
    GtkTextIter end;
    gtk_text_buffer_get_end_iter(buffer, &end);
    gtk_text_buffer_place_cursor(buffer, &end);
    gtk_text_buffer_begin_user_action(buffer);
    gtk_text_buffer_insert_interactive_at_cursor(buffer, utf8, -1, TRUE);
    gtk_text_buffer_end_user_action(buffer);
}

void drainMainLoop()
{
    while (g_main_context_pending(nullptr))
        g_main_context_iteration(nullptr, FALSE);
}

bool runMainLoopUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout)
{
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        if (!g_main_context_iteration(nullptr, FALSE))
            g_usleep(2000);
    }
    return true;
}

std::vector<GtkWidget*> descendants(GtkWidget* root)
{
    std::vector<GtkWidget*> found;
    for (GtkWidget* child = gtk_widget_get_first_child(root); child; child = gtk_widget_get_next_sibling(child)) {
        found.push_back(child);
        auto below = descendants(child);
        found.insert(found.end(), below.begin(), below.end());
    }
    return found;
}

std::vector<std::string> mappedLabelTexts(GtkWidget* root)
{
    std::vector<std::string> texts;
    for (GtkWidget* widget : descendants(root)) {
        if (GTK_IS_LABEL(widget) && gtk_widget_get_mapped(widget))
            texts.emplace_back(gtk_label_get_text(GTK_LABEL(widget)));
    }
    return texts;
}

bool contains(const std::vector<std::string>& texts, std::string_view text)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

GtkWidget* findLabel(GtkWidget* root, std::string_view text)
{
    auto all = descendants(root);
    auto found = std::find_if(all.begin(), all.end(), [&](GtkWidget* widget) { return GTK_IS_LABEL(widget) && gtk_label_get_text(GTK_LABEL(widget)) == text; });
    return found == all.end() ? nullptr : *found;
}

std::filesystem::path copyFixtureSite(std::string_view name, const TemporaryDirectory& destination)
{
    auto source = std::filesystem::path(QUILLORY_TEST_FIXTURES) / "sites" / std::string(name);
    auto target = destination.path() / std::string(name);
    std::filesystem::copy(source, target, std::filesystem::copy_options::recursive);
    return target;
}

}
