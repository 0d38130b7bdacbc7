// The diff sheet in a real window under Xvfb, over the real store and real files: it opens at once
// in its progress state, computes on a worker thread, fills the text in, and drops what arrives
// after it closed or after the text changed. The pane's side (what opens, refreshes and closes
// the sheet) is in EditorPaneTests.cpp.

#include "QuilloryApp/Editor/DiffReviewSheet.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ScreenCapture.h"
#include "app/support/ViewTestSupport.h"
#include "app/support/WorkspaceHarness.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// An open site whose "index.html" held `opened` and whose editor now holds `current`, and a window
// for the sheet to open over.
struct SheetFixture : WorkspaceHarness {
    TemporaryDirectory site;
    std::unique_ptr<TestWindow> window;
    std::unique_ptr<DiffReviewSheet> sheet;
    int revertCount { 0 };

    SheetFixture(const std::string& opened, const std::string& current)
    {
        site.write("index.html", opened);
        store.loadWorkspace(site.path());
        type(UnicodeText::utf16(current));
        window = std::make_unique<TestWindow>(gtk_label_new("Editor"), 900, 700);
    }

    // Opens the sheet as "Review Diff" does; closing it destroys it, as the pane does.
    void open(DiffReviewSheet::DiffSource source)
    {
        sheet = std::make_unique<DiffReviewSheet>(GTK_WINDOW(window->window()), "index.html", std::move(source),
                                                  [this] { ++revertCount; }, [this] { sheet.reset(); });
    }
    void openOnTheStore()
    {
        open([this] { return store.selectedPageDiffComputation(); });
    }
    std::string visiblePage() const { return gtk_stack_get_visible_child_name(sheet->contentStack()); }
    bool revertIsSensitive() const { return gtk_widget_get_sensitive(GTK_WIDGET(sheet->revertButton())); }
};

// A computation that waits until the test lets it go, and a witness it holds: the witness is gone
// once the sheet's request, and with it the computation, was freed after its completion ran.
struct GatedComputation {
    std::shared_ptr<std::promise<void>> gate = std::make_shared<std::promise<void>>();
    std::shared_ptr<int> witness = std::make_shared<int>(0);
    std::shared_ptr<std::atomic<bool>> finished = std::make_shared<std::atomic<bool>>(false);

    DiffReviewSheet::DiffComputation computation(std::u16string result) const
    {
        return [released = gate->get_future().share(), witness = witness, finished = finished, result] {
            released.wait();
            finished->store(true);
            return result;
        };
    }
    void release() { gate->set_value(); }
};

// Copies a capture to where the variable says, when it is set (scripts/snapshot-window.sh).
void keepCapture(const std::filesystem::path& png, const char* variable)
{
    if (const char* keep = std::getenv(variable))
        std::filesystem::copy_file(png, keep, std::filesystem::copy_options::overwrite_existing);
}

// Lines of distinct text with some non-ASCII and astral characters; `edited` rewrites every 97th.
std::string numberedLines(int count, bool edited)
{
    std::string text;
    for (int line = 0; line < count; ++line) {
        if (edited && line % 97 == 0)
            text += "<p>R\xC3\xA9\xC3\xA9" "crit " + std::to_string(line) + "</p>\n";
        else
            text += "<p>Ligne \xF0\x9F\x93\x84 " + std::to_string(line) + "</p>\n";
    }
    return text;
}

}

TEST(DiffReviewSheet, OpensInItsProgressStateAndShowsTheWholeDiffOnceItArrives)
{
    SheetFixture fixture("<h1>Home</h1>\n", "<h1>Home</h1>\n<p>New</p>\n");
    fixture.openOnTheStore();
    DiffReviewSheet* sheet = fixture.sheet.get();
    // Nothing has run on the main loop yet: the result cannot be here.
    EXPECT_TRUE(sheet->isComputing());
    EXPECT_EQ(fixture.visiblePage(), "progress");
    EXPECT_STREQ(gtk_label_get_text(sheet->progressLabel()), "Computing diff\u2026");
    EXPECT_TRUE(gtk_spinner_get_spinning(sheet->progressSpinner()));
    EXPECT_FALSE(fixture.revertIsSensitive());
    EXPECT_TRUE(gtk_widget_get_sensitive(GTK_WIDGET(sheet->closeButton())));
    EXPECT_EQ(sheet->shownDiffText(), "");
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(sheet->window())));

    ASSERT_TRUE(waitUntil([&] { return sheet->isShowingWholeDiff(); }));
    EXPECT_EQ(fixture.visiblePage(), "diff");
    EXPECT_EQ(sheet->shownDiffText(), "--- index.html (opened)\n+++ index.html (current)\n@@\n <h1>Home</h1>\n+<p>New</p>\n ");
    EXPECT_FALSE(gtk_spinner_get_spinning(sheet->progressSpinner()));
    EXPECT_TRUE(fixture.revertIsSensitive());
}

TEST(DiffReviewSheet, ALongDiffIsFilledInWholeWithItsLongLinesCharactersAndLineEnds)
{
    // Past several fill slices: 40,000 lines with multi-byte characters, CR LF line ends, and one
    // line of 300 kB without a line end, so that slices must also end inside a line.
    std::string longLine;
    while (longLine.size() < 300'000)
        longLine += "caf\xC3\xA9 \xF0\x9F\x8C\x8D \r";
    std::string opened = numberedLines(40'000, false) + "a\r\nb\r\n" + longLine;
    std::string current = numberedLines(40'000, true) + "a\r\nB\r\n" + longLine + "!";
    SheetFixture fixture(opened, current);
    fixture.openOnTheStore();
    ASSERT_TRUE(waitUntil([&] { return fixture.sheet->isShowingWholeDiff(); }));
    EXPECT_EQ(fixture.sheet->shownDiffText(), UnicodeText::utf8FromUTF16(fixture.store.selectedPageDiff()));
    EXPECT_TRUE(fixture.revertIsSensitive());
}

TEST(DiffReviewSheet, ClosingBeforeALargeDiffArrivesDropsItSafely)
{
    // 200,000 lines: the worker is still computing when the sheet closes.
    SheetFixture fixture(numberedLines(200'000, false), numberedLines(200'000, true));
    auto witness = std::make_shared<int>(0);
    std::weak_ptr<int> watched = witness;
    fixture.open([&fixture, witness = std::move(witness)] {
        return [witness, storeComputation = fixture.store.selectedPageDiffComputation()] { return storeComputation(); };
    });
    ASSERT_TRUE(fixture.sheet->isComputing());
    g_signal_emit_by_name(fixture.sheet->closeButton(), "clicked");
    ASSERT_EQ(fixture.sheet, nullptr);

    // The computation runs to its end and its completion comes to a sheet that is gone.
    ASSERT_TRUE(waitUntil([&] { return watched.expired(); }, std::chrono::seconds(120)));
    waitFor(std::chrono::milliseconds(200));
    EXPECT_EQ(fixture.revertCount, 0);
    EXPECT_EQ(fixture.site.read("index.html"), numberedLines(200'000, false));
}

TEST(DiffReviewSheet, AResultThatArrivesAfterTheSheetClosedIsDropped)
{
    SheetFixture fixture("<h1>Home</h1>\n", "<h1>Home</h1>\n<p>New</p>\n");
    GatedComputation gated;
    std::weak_ptr<int> watched = gated.witness;
    fixture.open([computation = gated.computation(u"late")] { return computation; });
    gated.witness.reset();
    gtk_window_close(fixture.sheet->window());
    ASSERT_EQ(fixture.sheet, nullptr);

    gated.release();
    ASSERT_TRUE(waitUntil([&] { return watched.expired(); }));
    EXPECT_TRUE(gated.finished->load());
    drainMainLoop();
}

TEST(DiffReviewSheet, AfterTheTextChangedOnlyTheNewDiffIsShown)
{
    SheetFixture fixture("<h1>Home</h1>\n", "<h1>Home</h1>\n<p>New</p>\n");
    GatedComputation first;
    std::weak_ptr<int> watchedFirst = first.witness;
    int computations = 0;
    // The source hands the first computation over, so that the witness goes with the request.
    fixture.open([&computations, firstComputation = first.computation(u"old diff")]() mutable -> DiffReviewSheet::DiffComputation {
        if (computations++ == 0)
            return std::move(firstComputation);
        return [] { return std::u16string(u"new diff"); };
    });
    first.witness.reset();
    fixture.sheet->textDidChange();
    EXPECT_TRUE(fixture.sheet->isComputing());
    ASSERT_TRUE(waitUntil([&] { return fixture.sheet->isShowingWholeDiff(); }));
    EXPECT_EQ(fixture.sheet->shownDiffText(), "new diff");

    // The first computation ends later; its result belongs to a text that is gone.
    first.release();
    ASSERT_TRUE(waitUntil([&] { return watchedFirst.expired(); }));
    drainMainLoop();
    EXPECT_EQ(fixture.sheet->shownDiffText(), "new diff");
    EXPECT_TRUE(fixture.sheet->isShowingWholeDiff());
    EXPECT_EQ(computations, 2);
}

TEST(DiffReviewSheet, ATextChangeAfterTheDiffIsShownGoesBackToTheProgressStateAndComputesAnew)
{
    SheetFixture fixture("<h1>Home</h1>\n", "<h1>Home</h1>\n<p>New</p>\n");
    fixture.openOnTheStore();
    ASSERT_TRUE(waitUntil([&] { return fixture.sheet->isShowingWholeDiff(); }));

    fixture.type(u"<h1>Home</h1>\n<p>Newer</p>\n");
    fixture.sheet->textDidChange();
    EXPECT_TRUE(fixture.sheet->isComputing());
    EXPECT_EQ(fixture.visiblePage(), "progress");
    EXPECT_FALSE(fixture.revertIsSensitive());
    EXPECT_EQ(fixture.sheet->shownDiffText(), "");
    ASSERT_TRUE(waitUntil([&] { return fixture.sheet->isShowingWholeDiff(); }));
    EXPECT_EQ(fixture.sheet->shownDiffText(), "--- index.html (opened)\n+++ index.html (current)\n@@\n <h1>Home</h1>\n+<p>Newer</p>\n ");
}

TEST(DiffReviewSheet, RevertDoesNothingUntilTheWholeDiffIsShown)
{
    SheetFixture fixture("<h1>Home</h1>\n", "<h1>Home</h1>\n<p>New</p>\n");
    GatedComputation gated;
    fixture.open([computation = gated.computation(u"diff")] { return computation; });
    // An activation that bypasses the insensitive button.
    g_signal_emit_by_name(fixture.sheet->revertButton(), "clicked");
    EXPECT_EQ(fixture.revertCount, 0);
    ASSERT_NE(fixture.sheet, nullptr);

    gated.release();
    ASSERT_TRUE(waitUntil([&] { return fixture.sheet->isShowingWholeDiff(); }));
    g_signal_emit_by_name(fixture.sheet->revertButton(), "clicked");
    EXPECT_EQ(fixture.revertCount, 1);
    EXPECT_EQ(fixture.sheet, nullptr);
}

TEST(DiffReviewSheet, AComputationThatFailsSaysWhyAndKeepsRevertDisabled)
{
    // Stands in for a diff that runs out of memory, which can't be provoked here.
    SheetFixture fixture("<h1>Home</h1>\n", "<h1>Home</h1>\n<p>New</p>\n");
    fixture.open([]() -> DiffReviewSheet::DiffComputation { return []() -> std::u16string { throw std::runtime_error("std::bad_alloc"); }; });
    ASSERT_TRUE(waitUntil([&] { return !gtk_spinner_get_spinning(fixture.sheet->progressSpinner()); }));
    EXPECT_STREQ(gtk_label_get_text(fixture.sheet->progressLabel()), "The diff could not be computed: std::bad_alloc");
    EXPECT_EQ(fixture.visiblePage(), "progress");
    EXPECT_FALSE(fixture.revertIsSensitive());
    EXPECT_FALSE(fixture.sheet->isComputing());
    EXPECT_FALSE(fixture.sheet->isShowingWholeDiff());
    g_signal_emit_by_name(fixture.sheet->closeButton(), "clicked");
    EXPECT_EQ(fixture.sheet, nullptr);
}

TEST(DiffReviewSheetOnScreen, ScreenCaptureShowsTheProgressStateAndThenTheDiff)
{
    SheetFixture fixture("<h1>Harbour Notes</h1>\n<p>Tides change twice a day.</p>\n",
                         "<h1>Harbour Notes</h1>\n<p>Tides change twice a day.</p>\n<p>Boats leave at dawn.</p>\n");
    GatedComputation gated;
    auto storeComputation = fixture.store.selectedPageDiffComputation();
    fixture.open([gatedComputation = gated.computation(u""), storeComputation]() -> DiffReviewSheet::DiffComputation {
        // Held back until the progress state is captured, then the store's diff.
        return [gatedComputation, storeComputation] {
            gatedComputation();
            return storeComputation();
        };
    });
    GtkWidget* sheetWindow = GTK_WIDGET(fixture.sheet->window());
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(sheetWindow); }));
    waitFor(std::chrono::milliseconds(300));
    TemporaryDirectory captures;
    auto progressPNG = captures.path() / "diff-sheet-progress.png";
    ASSERT_TRUE(saveScreenCapture(sheetWindow, progressPNG));
    keepCapture(progressPNG, "QUILLORY_DIFF_SHEET_PROGRESS_SNAPSHOT");

    gated.release();
    ASSERT_TRUE(waitUntil([&] { return fixture.sheet->isShowingWholeDiff(); }));
    waitFor(std::chrono::milliseconds(300));
    auto diffPNG = captures.path() / "diff-sheet.png";
    ASSERT_TRUE(saveScreenCapture(sheetWindow, diffPNG));
    keepCapture(diffPNG, "QUILLORY_DIFF_SHEET_SNAPSHOT");
}
