#include "QuilloryApp/Editor/SourceEditorView.h"
#include "bench/support/GeneratedHTMLPage.h"

#include <adwaita.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>

using namespace Quillory;

namespace {

using Clock = std::chrono::steady_clock;

void runMainLoopFor(std::chrono::milliseconds duration)
{
    auto end = Clock::now() + duration;
    while (Clock::now() < end)
        g_main_context_iteration(nullptr, FALSE);
}

// The longest time the main loop went without running a high-priority probe while 200 characters
// were typed into the generated 20,000-line page in a real window, analyses included.
void SourceEditorTypingMainLoopGap(benchmark::State& state)
{
    ObservableProperty<std::u16string> text(QuilloryBench::generatedHTMLPage());
    SourceEditorView editor(text, [&text](std::u16string edited) { text.set(std::move(edited)); });
    editor.setDocumentID("index.html");
    GtkWidget* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 1000, 800);
    gtk_window_set_child(GTK_WINDOW(window), editor.widget());
    gtk_window_present(GTK_WINDOW(window));
    runMainLoopFor(std::chrono::milliseconds(1500));
    // Typing in the middle of the page, inside a paragraph.
    GtkTextIter at;
    gtk_text_buffer_get_iter_at_line(GTK_TEXT_BUFFER(editor.buffer()), &at, 10000);
    gtk_text_buffer_place_cursor(GTK_TEXT_BUFFER(editor.buffer()), &at);

    struct Probe {
        Clock::time_point last { Clock::now() };
        Clock::duration longest {};
    } probe;
    for (auto _ : state) {
        probe = {};
        guint probeID = g_timeout_add_full(G_PRIORITY_HIGH, 1, +[](gpointer data) -> gboolean {
            auto* running = static_cast<Probe*>(data);
            auto now = Clock::now();
            running->longest = std::max(running->longest, now - running->last);
            running->last = now;
            return G_SOURCE_CONTINUE;
        }, &probe, nullptr);
        int analysesBefore = editor.appliedAnalysisCount();
        for (int character = 0; character < 200; ++character) {
            GtkTextBuffer* buffer = GTK_TEXT_BUFFER(editor.buffer());
            gtk_text_buffer_begin_user_action(buffer);
            gtk_text_buffer_insert_interactive_at_cursor(buffer, character % 7 == 6 ? " " : "x", -1, TRUE);
            gtk_text_buffer_end_user_action(buffer);
            // A typist's pace, with a pause every 20 characters long enough for an analysis.
            runMainLoopFor(std::chrono::milliseconds(character % 20 == 19 ? 400 : 40));
        }
        runMainLoopFor(std::chrono::milliseconds(600));
        g_source_remove(probeID);
        state.SetIterationTime(std::chrono::duration<double>(probe.longest).count());
        state.counters["analyses"] = editor.appliedAnalysisCount() - analysesBefore;
        state.counters["longestGapMs"] = std::chrono::duration<double, std::milli>(probe.longest).count();
    }
    gtk_window_destroy(GTK_WINDOW(window));
}

}

BENCHMARK(SourceEditorTypingMainLoopGap)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
