#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Editing/EditSafety.h"
#include "app/support/WorkspaceHarness.h"
#include "support/FileSizeLimit.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace Quillory;
using namespace QuilloryTest;
using namespace std::chrono_literals;

namespace {

std::u16string lines(int count, bool finalLineEnd)
{
    std::u16string text;
    for (int line = 1; line <= count; ++line) {
        text += u"line " + std::u16string(1, static_cast<char16_t>(u'A' + line));
        if (line < count || finalLineEnd)
            text += u"\n";
    }
    return text;
}

}

TEST(EditSessionFlow, ThreeKeystrokesWithinDelayWriteOnceAfterTheThirdAndRecordThreeSnapshots)
{
    OpenSite open;
    // The load's two Git refreshes are background work of their own.
    auto loadWork = open.scheduler.dispatchedWorkCount();
    open.type(u"<h1>Home</h1>\na");
    open.scheduler.advance(300ms);
    open.type(u"<h1>Home</h1>\nab");
    open.scheduler.advance(300ms);
    open.type(u"<h1>Home</h1>\nabc");

    open.scheduler.advance(649ms);
    EXPECT_EQ(open.scheduler.dispatchedWorkCount(), loadWork);
    EXPECT_EQ(open.site.read("index.html"), "<h1>Home</h1>\n");
    EXPECT_EQ(open.store.editStateDescription(), "Pending autosave");

    open.scheduler.advance(1ms);
    EXPECT_EQ(open.scheduler.dispatchedWorkCount(), loadWork + 1);
    open.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(open.site.read("index.html"), "<h1>Home</h1>\nabc");
    EXPECT_EQ(open.store.editStateDescription(), "Autosaved changes");

    auto history = open.store.selectedPageUndoHistory();
    ASSERT_EQ(history.size(), 3u);
    EXPECT_EQ(history[0].previewText, u"<h1>Home</h1>\nab");
    EXPECT_EQ(history[1].previewText, u"<h1>Home</h1>\na");
    EXPECT_EQ(history[2].previewText, u"<h1>Home</h1>\n");

    // Nothing more is written later; only the quiet Git status refresh follows the write.
    open.scheduler.advance(5s);
    EXPECT_EQ(open.scheduler.dispatchedWorkCount(), loadWork + 2);
    open.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(open.site.read("index.html"), "<h1>Home</h1>\nabc");
}

TEST(EditSessionFlow, CompletedBackgroundWriteRenewsPreviewTokenButKeystrokeDoesNot)
{
    OpenSite open;
    auto token = open.store.previewReloadToken().get();
    open.type(u"<h1>Home!</h1>\n");
    EXPECT_EQ(open.store.previewReloadToken().get(), token);
    open.scheduler.advance(WorkspaceStore::autosaveDelay);
    open.scheduler.runBackgroundWork();
    EXPECT_EQ(open.store.previewReloadToken().get(), token);
    open.scheduler.deliverCompletions();
    EXPECT_NE(open.store.previewReloadToken().get(), token);
}

TEST(EditSessionFlow, TypingThenSwitchingWritesOldPageFirstAndComingBackShowsSessionTextOrTheOutsideChange)
{
    OpenSite open;
    std::u16string textWhenSecondPageLoaded;
    std::string diskWhenSecondPageLoaded;
    ScopedConnection connection { open.store.editorText().changed.connect([&] {
        if (open.store.selectedPageID().get() == "blog/post.html") {
            textWhenSecondPageLoaded = open.store.editorText().get();
            diskWhenSecondPageLoaded = open.site.read("index.html");
        }
    }) };
    open.type(u"<h1>Home, typed</h1>\n");

    EXPECT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));

    EXPECT_EQ(diskWhenSecondPageLoaded, "<h1>Home, typed</h1>\n");
    EXPECT_EQ(textWhenSecondPageLoaded, u"<h1>Post</h1>\n");
    // No autosave waits; only the quiet Git status refresh after the write does.
    EXPECT_EQ(open.scheduler.pendingTimerCount(), 1u);

    // The session's text comes back, with its opened baseline.
    EXPECT_TRUE(open.store.requestSelectDocument(std::string("index.html")));
    EXPECT_EQ(open.store.editorText().get(), u"<h1>Home, typed</h1>\n");
    EXPECT_EQ(open.store.selectedEditSession()->openedBaselineText, u"<h1>Home</h1>\n");

    // A change made outside while the page was left, with nothing unsaved, is simply taken.
    EXPECT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));
    open.site.write("index.html", "<h1>Changed outside</h1>\n");
    EXPECT_TRUE(open.store.requestSelectDocument(std::string("index.html")));
    EXPECT_EQ(open.store.editorText().get(), u"<h1>Changed outside</h1>\n");
    EXPECT_FALSE(open.store.diskConflict().get());
}

TEST(EditSessionFlow, SwitchingAwayFromPageThatCantBeWrittenFailsAndKeepsSelection)
{
    OpenSite open;
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));
    open.type(u"<h1>Post, typed</h1>\n");
    std::optional<FileSizeLimit> limit(std::in_place, 4);

    EXPECT_FALSE(open.store.requestSelectDocument(std::string("index.html")));

    EXPECT_EQ(open.store.selectedPageID().get(), "blog/post.html");
    ASSERT_TRUE(open.store.errorMessage().get());
    EXPECT_NE(open.store.errorMessage()->value_or("").find("post.html"), std::string::npos) << *open.store.errorMessage().get();
    EXPECT_NE(open.store.errorMessage()->value_or("").find("couldn\u2019t be saved"), std::string::npos) << *open.store.errorMessage().get();
    EXPECT_EQ(open.store.editorText().get(), u"<h1>Post, typed</h1>\n");
    EXPECT_EQ(open.store.editStateDescription(), "Pending autosave");

    // Nothing is lost: once writes work again the same switch writes the text.
    limit.reset();
    EXPECT_TRUE(open.store.requestSelectDocument(std::string("index.html")));
    EXPECT_EQ(open.site.read("blog/post.html"), "<h1>Post, typed</h1>\n");
    EXPECT_FALSE(open.store.errorMessage().get());
}

TEST(EditSessionFlow, FailedBackgroundWriteShowsErrorAndStaysPending)
{
    OpenSite open;
    open.type(u"<h1>Home, typed</h1>\n");
    std::optional<FileSizeLimit> limit(std::in_place, 4);

    open.scheduler.advance(WorkspaceStore::autosaveDelay);
    open.scheduler.runBackgroundWorkAndDeliver();
    limit.reset();

    ASSERT_TRUE(open.store.errorMessage().get());
    EXPECT_NE(open.store.errorMessage()->value_or("").find("index.html"), std::string::npos);
    EXPECT_EQ(open.store.editStateDescription(), "Pending autosave");
    EXPECT_EQ(open.scheduler.pendingTimerCount(), 0u);

    // The file is as it was, and the next change tries again.
    EXPECT_EQ(open.site.read("index.html"), "<h1>Home</h1>\n");
    open.type(u"<h1>Home, typed again</h1>\n");
    open.scheduler.advance(WorkspaceStore::autosaveDelay);
    open.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(open.site.read("index.html"), "<h1>Home, typed again</h1>\n");
    EXPECT_FALSE(open.store.errorMessage().get());
    EXPECT_EQ(open.store.editStateDescription(), "Autosaved changes");
}

TEST(EditSessionFlow, GenerationChangeDuringBackgroundWriteDropsResultUntilLaterWriteCompletes)
{
    OpenSite open;
    open.type(u"<h1>One</h1>\n");
    open.scheduler.advance(WorkspaceStore::autosaveDelay);
    open.scheduler.runBackgroundWork();
    EXPECT_EQ(open.site.read("index.html"), "<h1>One</h1>\n");
    auto token = open.store.previewReloadToken().get();

    // Two changes while the write runs, ending on the text being written: only the generation
    // tells that the result is stale.
    open.type(u"<h1>Two</h1>\n");
    open.type(u"<h1>One</h1>\n");
    open.scheduler.deliverCompletions();

    EXPECT_EQ(open.store.editStateDescription(), "Pending autosave");
    EXPECT_EQ(open.store.selectedEditSession()->lastAutosavedText, u"<h1>Home</h1>\n");
    EXPECT_EQ(open.store.previewReloadToken().get(), token);
    EXPECT_EQ(open.scheduler.pendingTimerCount(), 1u);

    open.type(u"<h1>Three</h1>\n");
    open.scheduler.advance(WorkspaceStore::autosaveDelay);
    open.scheduler.runBackgroundWork();
    EXPECT_EQ(open.site.read("index.html"), "<h1>Three</h1>\n");
    EXPECT_EQ(open.store.editStateDescription(), "Pending autosave");
    open.scheduler.deliverCompletions();
    EXPECT_EQ(open.store.editStateDescription(), "Autosaved changes");
    EXPECT_EQ(open.store.selectedEditSession()->lastAutosavedText, u"<h1>Three</h1>\n");
    EXPECT_NE(open.store.previewReloadToken().get(), token);
}

TEST(EditSessionFlow, BackgroundResultForPageNoLongerSelectedIsDropped)
{
    OpenSite open;
    open.type(u"<h1>One</h1>\n");
    open.scheduler.advance(WorkspaceStore::autosaveDelay);
    open.scheduler.runBackgroundWork();
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));
    auto token = open.store.previewReloadToken().get();

    open.scheduler.deliverCompletions();

    EXPECT_EQ(open.store.previewReloadToken().get(), token);
    EXPECT_EQ(open.site.read("index.html"), "<h1>One</h1>\n");
}

TEST(EditSessionFlow, UndoWithNoHistoryReturnsFalse)
{
    OpenSite open;
    auto token = open.store.previewReloadToken().get();

    EXPECT_FALSE(open.store.undoSelectedPageChange());
    EXPECT_FALSE(open.store.undoSelectedPageChange(UUID::random()));

    EXPECT_EQ(open.store.editorText().get(), u"<h1>Home</h1>\n");
    EXPECT_EQ(open.store.previewReloadToken().get(), token);
    EXPECT_EQ(open.scheduler.pendingTimerCount(), 0u);
}

TEST(EditSessionFlow, UndoOfNewestEntryTwiceReturnsToTextBeforeFirstUndo)
{
    OpenSite open;
    open.type(u"<h1>Home</h1>\nA");
    open.type(u"<h1>Home</h1>\nAB");

    EXPECT_TRUE(open.store.undoSelectedPageChange());
    EXPECT_EQ(open.store.editorText().get(), u"<h1>Home</h1>\nA");
    EXPECT_EQ(open.store.selectedEditSession()->currentText, u"<h1>Home</h1>\nA");

    EXPECT_TRUE(open.store.undoSelectedPageChange());
    EXPECT_EQ(open.store.editorText().get(), u"<h1>Home</h1>\nAB");
    auto history = open.store.selectedPageUndoHistory();
    ASSERT_EQ(history.size(), 2u);
    EXPECT_EQ(history[0].previewText, u"<h1>Home</h1>\nA");
    EXPECT_EQ(history[1].previewText, u"<h1>Home</h1>\n");

    // Undo schedules the autosave like a change.
    EXPECT_EQ(open.scheduler.pendingTimerCount(), 1u);
    open.scheduler.advance(WorkspaceStore::autosaveDelay);
    open.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(open.site.read("index.html"), "<h1>Home</h1>\nAB");
}

TEST(EditSessionFlow, UndoToNamedSnapshotJumpsAndKeepsNewerEntries)
{
    OpenSite open;
    open.type(u"1");
    open.type(u"12");
    open.type(u"123");
    auto history = open.store.selectedPageUndoHistory();
    ASSERT_EQ(history.size(), 3u);
    auto oldest = history[2];

    EXPECT_TRUE(open.store.undoSelectedPageChange(oldest.id));

    EXPECT_EQ(open.store.editorText().get(), u"<h1>Home</h1>\n");
    history = open.store.selectedPageUndoHistory();
    ASSERT_EQ(history.size(), 3u);
    EXPECT_EQ(history[0].previewText, u"123");
    EXPECT_EQ(history[1].previewText, u"12");
    EXPECT_EQ(history[2].previewText, u"1");
}

TEST(EditSessionFlow, StoreTextLoadsRecordNoSnapshotAndScheduleNoAutosave)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>\n");
    site.write("about.html", "<h1>About</h1>\n");
    // Like the editor's binding: every change of editorText is reported back to the store.
    int reports = 0;
    ScopedConnection connection { harness.store.editorText().changed.connect([&] {
        ++reports;
        harness.store.editorTextDidChange();
    }) };

    harness.store.loadWorkspace(site.path());
    ASSERT_TRUE(harness.store.requestSelectDocument(std::string("about.html")));
    ASSERT_TRUE(harness.store.requestSelectDocument(std::string("index.html")));

    EXPECT_EQ(reports, 3);
    EXPECT_TRUE(harness.store.selectedPageUndoHistory().empty());
    EXPECT_EQ(harness.scheduler.pendingTimerCount(), 0u);
    EXPECT_EQ(harness.store.editStateDescription(), "At opened baseline");

    // A user's edit through the same binding does record and schedule.
    harness.store.setEditorText(u"<h1>Typed</h1>\n");
    EXPECT_EQ(harness.store.selectedPageUndoHistory().size(), 1u);
    EXPECT_EQ(harness.scheduler.pendingTimerCount(), 1u);

    // Undo writes through the store: its text load records nothing more.
    ASSERT_TRUE(harness.store.undoSelectedPageChange());
    EXPECT_EQ(harness.store.selectedPageUndoHistory().size(), 1u);
    EXPECT_EQ(harness.store.selectedPageUndoHistory().front().previewText, u"<h1>Typed</h1>\n");
}

TEST(EditSessionFlow, RevertAfterAutosavesWritesBaselineAndShowsAtOpenedBaseline)
{
    OpenSite open;
    open.type(u"<h1>First</h1>\n");
    open.scheduler.advance(WorkspaceStore::autosaveDelay);
    open.scheduler.runBackgroundWorkAndDeliver();
    open.type(u"<h1>Second</h1>\n");
    open.scheduler.advance(WorkspaceStore::autosaveDelay);
    open.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_EQ(open.site.read("index.html"), "<h1>Second</h1>\n");
    ASSERT_EQ(open.store.editStateDescription(), "Autosaved changes");
    open.type(u"<h1>Third, pending</h1>\n");
    auto historyBefore = open.store.selectedPageUndoHistory();

    open.store.revertSelectedPageToOpenedBaseline();

    EXPECT_EQ(open.site.read("index.html"), "<h1>Home</h1>\n");
    EXPECT_EQ(open.store.editorText().get(), u"<h1>Home</h1>\n");
    EXPECT_EQ(open.store.editStateDescription(), "At opened baseline");
    EXPECT_EQ(open.scheduler.pendingTimerCount(), 0u);
    EXPECT_EQ(open.store.selectedPageUndoHistory(), historyBefore);
    EXPECT_EQ(open.store.selectedPageDiff(), u"No changes from opened baseline.");
}

TEST(EditSessionFlow, RevertThatCantBeWrittenKeepsSession)
{
    OpenSite open;
    open.type(u"<h1>Typed</h1>\n");
    std::filesystem::remove(open.site.path() / "index.html");
    std::filesystem::create_directory(open.site.path() / "index.html");

    open.store.revertSelectedPageToOpenedBaseline();

    EXPECT_TRUE(open.store.errorMessage().get());
    EXPECT_EQ(open.store.editorText().get(), u"<h1>Typed</h1>\n");
    EXPECT_EQ(open.store.selectedEditSession()->currentText, u"<h1>Typed</h1>\n");
    EXPECT_EQ(open.store.editStateDescription(), "Pending autosave");
}

TEST(EditSessionFlow, SnapshotOfTextWithLeadingBlankLinesTakesTitleFromFirstLineWithCharacters)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    site.write("index.html", "\n\n   <h1>Welcome</h1>  \n<p>x</p>\n");
    harness.store.loadWorkspace(site.path());

    harness.type(u"changed");

    ASSERT_EQ(harness.store.selectedPageUndoHistory().size(), 1u);
    EXPECT_EQ(harness.store.selectedPageUndoHistory().front().menuTitle(), "<h1>Welcome</h1>");
}

TEST(EditSessionFlow, SnapshotWhoseFirstLineIsSpacesOnlyIsTitledBlankPage)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    site.write("index.html", "     \n<h1>Below</h1>\n");
    harness.store.loadWorkspace(site.path());

    harness.type(u"changed");

    ASSERT_EQ(harness.store.selectedPageUndoHistory().size(), 1u);
    EXPECT_EQ(harness.store.selectedPageUndoHistory().front().menuTitle(), "Blank page");
}

TEST(EditSessionFlow, DiffOfEqualTextsSaysNoChanges)
{
    OpenSite open;
    EXPECT_EQ(open.store.selectedPageDiff(), u"No changes from opened baseline.");
    // Typing and typing back gives equal texts again.
    open.type(u"<h1>Other</h1>\n");
    open.type(u"<h1>Home</h1>\n");
    EXPECT_EQ(open.store.selectedPageDiff(), u"No changes from opened baseline.");
}

TEST(EditSessionFlow, DiffOfOneLineChangeListsWholeFileWithDeletionFirst)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    site.write("docs/page.html", "<p>one</p>\n<p>two</p>\n<p>three</p>\n");
    harness.store.loadWorkspace(site.path());
    ASSERT_EQ(harness.store.selectedPageID().get(), "docs/page.html");

    harness.type(u"<p>one</p>\n<p>TWO</p>\n<p>three</p>\n");

    EXPECT_EQ(harness.store.selectedPageDiff(), u"--- docs/page.html (opened)\n"
                                                u"+++ docs/page.html (current)\n"
                                                u"@@\n"
                                                u" <p>one</p>\n"
                                                u"-<p>two</p>\n"
                                                u"+<p>TWO</p>\n"
                                                u" <p>three</p>\n"
                                                u" ");
}

TEST(EditSessionFlow, ReplacingAllOfTwentyOneLineFileAsks)
{
    auto text = lines(21, false);
    EXPECT_TRUE(EditSafety::largeEditNeedsConfirmation(text, { 0, text.size() }, u"x"));
}

TEST(EditSessionFlow, ReplacingAllOfTwentyLineFileDoesNotAsk)
{
    auto text = lines(20, false);
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, { 0, text.size() }, u"x"));
}

TEST(EditSessionFlow, TenWholeLinesWithLastLineEndOfTwentyOneLineFileAsk)
{
    auto text = lines(21, false);
    auto tenLines = lines(10, true);
    ASSERT_EQ(EditSafety::lineCount(tenLines), 11u);
    EXPECT_TRUE(EditSafety::largeEditNeedsConfirmation(text, { 0, tenLines.size() }, std::nullopt));
}

TEST(EditSessionFlow, TenWholeLinesWithoutLastLineEndOfTwentyOneLineFileDoNotAsk)
{
    auto text = lines(21, false);
    auto tenLines = lines(10, false);
    ASSERT_EQ(EditSafety::lineCount(tenLines), 10u);
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, { 0, tenLines.size() }, std::nullopt));
}

TEST(EditSessionFlow, ReplacingTextByIdenticalTextNeverAsks)
{
    auto text = lines(40, true);
    EXPECT_FALSE(EditSafety::largeEditNeedsConfirmation(text, { 0, text.size() }, text));
}
