#include "QuilloryApp/Editor/SourceEditorView.h"
#include "bench/support/GeneratedHTMLPage.h"
#include "bench/support/MainLoopGapProbe.h"

#include <adwaita.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>

using namespace Quillory;

namespace {

using Clock = std::chrono::steady_clock;

// Runs the main loop as an application does, sleeping while nothing is due, until `until` holds
// or `limit` has passed.
void runMainLoopUntil(const std::function<bool()>& until, std::chrono::milliseconds limit)
{
    bool timedOut = false;
    guint timeoutID = g_timeout_add_full(G_PRIORITY_HIGH, static_cast<guint>(limit.count()), +[](gpointer data) -> gboolean {
        *static_cast<bool*>(data) = true;
        return G_SOURCE_REMOVE;
    }, &timedOut, nullptr);
    while (!timedOut && !until())
        g_main_context_iteration(nullptr, TRUE);
    if (!timedOut)
        g_source_remove(timeoutID);
}

void runMainLoopFor(std::chrono::milliseconds duration)
{
    runMainLoopUntil([] { return false; }, duration);
}

using Probe = QuilloryBench::MainLoopGapProbe;

void typeCharacter(GtkTextBuffer* buffer, const char* character)
{
    gtk_text_buffer_begin_user_action(buffer);
    gtk_text_buffer_insert_interactive_at_cursor(buffer, character, -1, TRUE);
    gtk_text_buffer_end_user_action(buffer);
}

// Until the window has settled: the text view measures its lines in idle time after it is shown,
// and a fresh session starts its accessibility registry some seconds after the first window,
// which then reads the whole text once. Neither is part of typing. Settled is a whole second, ten
// seconds or more after the window was shown, in which the main thread never worked a frame's
// length on end; or 40 seconds at most.
void waitForSettledWindow(Clock::time_point shown)
{
    auto settledSince = Clock::now();
    Probe probe;
    runMainLoopUntil([&] {
        if (probe.longestBusyMilliseconds > 16) {
            probe.longestBusyMilliseconds = 0;
            settledSince = Clock::now();
        }
        auto now = Clock::now();
        return now - shown > std::chrono::seconds(10) && now - settledSince > std::chrono::seconds(1);
    }, std::chrono::seconds(40));
}

// The longest time the main loop went without running a high-priority probe while 200 characters
// were typed into the generated 20,000-line page in a real window, analyses included.
void SourceEditorTypingMainLoopGap(benchmark::State& state)
{
    ObservableProperty<std::u16string> text(u"");
    SourceEditorView editor(text, [&text](std::u16string edited) { text.set(std::move(edited)); });
    editor.setDocumentID("index.html");
    // Opening the page: the text set from outside is analysed and coloured at once.
    auto openStart = Clock::now();
    text.set(QuilloryBench::generatedHTMLPage());
    auto openDuration = Clock::now() - openStart;
    GtkWidget* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 1000, 800);
    gtk_window_set_child(GTK_WINDOW(window), editor.widget());
    gtk_window_present(GTK_WINDOW(window));
    auto shown = Clock::now();
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(editor.buffer());
    // Typing in the middle of the page, inside a paragraph.
    GtkTextIter at;
    gtk_text_buffer_get_iter_at_line(buffer, &at, 10000);
    gtk_text_buffer_place_cursor(buffer, &at);
    // A first keystroke, taken back, starts what the first one starts once per session (the
    // accessibility bus of a fresh session, for one); then the window settles.
    typeCharacter(buffer, "x");
    gtk_text_buffer_get_iter_at_mark(buffer, &at, gtk_text_buffer_get_insert(buffer));
    gtk_text_buffer_backspace(buffer, &at, TRUE, TRUE);
    waitForSettledWindow(shown);

    for (auto _ : state) {
        Probe probe;
        int analysesBefore = editor.appliedAnalysisCount();
        for (int character = 0; character < 200; ++character) {
            typeCharacter(buffer, character % 7 == 6 ? " " : "x");
            // A typist's pace, with a pause every 20 characters until that analysis is applied
            // (bounded, for a machine too busy to finish it).
            if (character % 20 == 19) {
                int expected = editor.appliedAnalysisCount() + 1;
                runMainLoopUntil([&] { return editor.appliedAnalysisCount() >= expected && !editor.hasPendingTagChanges(); }, std::chrono::seconds(5));
            } else {
                runMainLoopFor(std::chrono::milliseconds(40));
            }
        }
        runMainLoopFor(std::chrono::milliseconds(200));
        state.SetIterationTime(std::chrono::duration<double>(probe.longest).count());
        state.counters["analyses"] = editor.appliedAnalysisCount() - analysesBefore;
        state.counters["longestBusyMs"] = probe.longestBusyMilliseconds;
        state.counters["openMs"] = std::chrono::duration<double, std::milli>(openDuration).count();
        state.counters["longestGapMs"] = std::chrono::duration<double, std::milli>(probe.longest).count();
    }
    gtk_window_destroy(GTK_WINDOW(window));
}

}

BENCHMARK(SourceEditorTypingMainLoopGap)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
