#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "app/support/WorkspaceHarness.h"
#include "support/FileSizeLimit.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;
using namespace std::chrono_literals;

namespace {

// The two-page site, with access to the stores under test.
struct BrightloopSite : OpenSite {
    const BrightloopStore& brightloop() const { return store.brightloopStore(); }
    const PageInspectionStore& inspection() const { return store.pageInspectionStore(); }

    // A fence result, a hidden and a highlighted candidate and a pending fence: everything a
    // reset clears. The mode is on, which no reset changes.
    void fillBrightloop()
    {
        auto& fence = store.brightloopStore();
        if (!fence.modeEnabled().get())
            fence.toggleMode();
        store.applyBrightloopRecords({ heading("Home") }, { 0, 0, 800, 600 });
        ASSERT_TRUE(fence.result().get());
        ASSERT_FALSE(fence.result()->value().candidates().empty());
        const auto& first = fence.result()->value().candidates().front();
        fence.toggleCandidateHidden(first);
        fence.highlightCandidate(first);
        fence.setPendingFence(BrightloopRect { 1, 1, 20, 20 });
    }

    void expectBrightloopReset() const
    {
        EXPECT_TRUE(brightloop().modeEnabled().get());
        EXPECT_FALSE(brightloop().result().get());
        EXPECT_FALSE(brightloop().pendingFence().get());
        EXPECT_EQ(brightloop().previewDirective().get(), BrightloopPreviewDirective::empty());
    }

    // The "done" row: a snapshot shown and the token of its request still set.
    void fillInspection()
    {
        store.requestPageInspectionSnapshot();
        store.applyPageInspectionSnapshot(snapshot("Shown"));
        ASSERT_TRUE(inspection().snapshot().get());
        ASSERT_TRUE(inspection().requestToken().get());
    }

    void expectInspectionCleared() const
    {
        EXPECT_FALSE(inspection().snapshot().get());
        EXPECT_FALSE(inspection().isLoading().get());
        EXPECT_FALSE(inspection().errorMessage().get());
        EXPECT_FALSE(inspection().requestToken().get());
    }

    void expectInspectionKept() const
    {
        ASSERT_TRUE(inspection().snapshot().get());
        EXPECT_EQ(inspection().snapshot()->value().title, "Shown");
        EXPECT_TRUE(inspection().requestToken().get());
    }

    static BrightloopDOMRecord heading(const std::string& text, BrightloopRect rect = { 8, 8, 300, 40 })
    {
        BrightloopDOMRecordFields fields;
        fields.tagName = "h1";
        fields.rect = rect;
        fields.textSnippet = text;
        fields.isVisible = true;
        fields.ancestorTags = { "body", "html" };
        return BrightloopDOMRecord(fields);
    }

    static PageInspectionSnapshot snapshot(const std::string& title)
    {
        PageInspectionSnapshot made;
        made.title = title;
        made.headings = { { 1, title, std::nullopt } };
        return made;
    }
};

BrightloopDOMRecord frontendRecord(const std::string& tagName, BrightloopRect rect, std::optional<std::string> renderedText,
                                   std::optional<std::string> text)
{
    BrightloopDOMRecordFields fields;
    fields.tagName = tagName;
    fields.rect = rect;
    fields.renderedTextSnippet = std::move(renderedText);
    fields.textSnippet = std::move(text);
    fields.isVisible = true;
    return BrightloopDOMRecord(fields);
}

const char* const frontendReason = "Rendered by the Vite React dev server; React source-map editing is not available in this slice.";

}

// Fence results.

TEST(WorkspaceStoreBrightloop, RecordsAreMappedAgainstTheUnsavedEditorText)
{
    BrightloopSite open;
    // Typed, not yet written: the file still holds "<h1>Home</h1>".
    open.type(u"<p>Hi</p>\n<h1>New</h1>\n");
    ASSERT_EQ(open.site.read("index.html"), "<h1>Home</h1>\n");

    BrightloopRect fence { 0, 0, 640, 480 };
    open.store.applyBrightloopRecords({ BrightloopSite::heading("New") }, fence);

    ASSERT_TRUE(open.brightloop().result().get());
    const auto& result = open.brightloop().result()->value();
    EXPECT_EQ(result.selection(), (BrightloopSelection { "index.html", "index.html", fence }));
    ASSERT_EQ(result.candidates().size(), 1u);
    const auto& found = result.candidates().front();
    EXPECT_EQ(found.confidence, BrightloopConfidence::editableSource);
    // "New" in the typed text, in UTF-16 units.
    ASSERT_TRUE(found.sourceRange);
    EXPECT_EQ(*found.sourceRange, (BrightloopSourceRange { "index.html", 14, 3 }));
    EXPECT_EQ(open.site.read("index.html"), "<h1>Home</h1>\n");
}

TEST(WorkspaceStoreBrightloop, SelectionOfAPageInAFolderHoldsItsRelativePath)
{
    BrightloopSite open;
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));
    open.store.applyBrightloopRecords({ BrightloopSite::heading("Post") }, { 0, 0, 100, 100 });

    ASSERT_TRUE(open.brightloop().result().get());
    const auto& result = open.brightloop().result()->value();
    EXPECT_EQ(result.selection().pageID, "blog/post.html");
    EXPECT_EQ(result.selection().pageRelativePath, "blog/post.html");
    ASSERT_EQ(result.candidates().size(), 1u);
    ASSERT_TRUE(result.candidates().front().sourceRange);
    EXPECT_EQ(*result.candidates().front().sourceRange, (BrightloopSourceRange { "blog/post.html", 4, 4 }));
}

TEST(WorkspaceStoreBrightloop, ANewFenceClearsEffectsAndPendingFence)
{
    BrightloopSite open;
    open.fillBrightloop();
    auto firstResult = open.brightloop().result().get();
    ASSERT_NE(open.brightloop().previewDirective().get(), BrightloopPreviewDirective::empty());

    open.store.applyBrightloopRecords({ BrightloopSite::heading("Home") }, { 0, 0, 400, 400 });

    EXPECT_EQ(open.brightloop().previewDirective().get(), BrightloopPreviewDirective::empty());
    EXPECT_FALSE(open.brightloop().pendingFence().get());
    ASSERT_TRUE(open.brightloop().result().get());
    EXPECT_NE(open.brightloop().result().get(), firstResult);
    EXPECT_EQ(open.brightloop().result()->value().selection().fence, (BrightloopRect { 0, 0, 400, 400 }));
    EXPECT_TRUE(open.brightloop().modeEnabled().get());
}

TEST(WorkspaceStoreBrightloop, NoRecordsGiveAnEmptyResultRatherThanAStaleOne)
{
    BrightloopSite open;
    open.fillBrightloop();
    open.store.applyBrightloopRecords({}, { 0, 0, 10, 10 });
    ASSERT_TRUE(open.brightloop().result().get());
    EXPECT_TRUE(open.brightloop().result()->value().candidates().empty());
}

TEST(WorkspaceStoreBrightloop, WithoutASelectedDocumentRecordsChangeNothing)
{
    // No workspace at all.
    WorkspaceHarness empty;
    auto& fence = empty.store.brightloopStore();
    fence.toggleCandidateHidden(BrightloopCandidate { UUID::random(), BrightloopCandidateKind::text, "Kept", BrightloopConfidence::renderedOnly, {}, {}, 0, "" });
    fence.setPendingFence(BrightloopRect { 1, 1, 5, 5 });
    auto directive = fence.previewDirective().get();
    empty.store.applyBrightloopRecords({ BrightloopSite::heading("Home") }, { 0, 0, 10, 10 });
    EXPECT_FALSE(fence.result().get());
    EXPECT_EQ(fence.previewDirective().get(), directive);
    EXPECT_TRUE(fence.pendingFence().get());

    // A workspace whose folder has no document to select.
    WorkspaceHarness noPages;
    TemporaryDirectory site;
    site.write("notes.txt", "no page here\n");
    noPages.store.loadWorkspace(site.path());
    ASSERT_TRUE(noPages.store.siteMap().get());
    ASSERT_FALSE(noPages.store.selectedPageID().get());
    noPages.store.applyBrightloopRecords({ BrightloopSite::heading("Home") }, { 0, 0, 10, 10 });
    EXPECT_FALSE(noPages.store.brightloopStore().result().get());
}

TEST(WorkspaceStoreBrightloop, EffectsAndResultSurviveAnEditAndItsAutosaveReload)
{
    BrightloopSite open;
    open.fillBrightloop();
    auto result = open.brightloop().result().get();
    auto directive = open.brightloop().previewDirective().get();
    auto reloadToken = open.store.previewReloadToken().get();

    open.type(u"<p>Inserted</p>\n<h1>Home</h1>\n");
    open.scheduler.advance(650ms);
    open.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_EQ(open.site.read("index.html"), "<p>Inserted</p>\n<h1>Home</h1>\n");
    ASSERT_NE(open.store.previewReloadToken().get(), reloadToken);

    EXPECT_EQ(open.brightloop().previewDirective().get(), directive);
    // A candidate's source range is not moved for the new text.
    EXPECT_EQ(open.brightloop().result().get(), result);
}

// Dev server pages. WorkspaceStore has no running dev server yet, so its preview target is never
// frontendServer; these call the candidate maker the store uses for that target directly.

TEST(WorkspaceStoreBrightloop, FrontendPageYieldsOnlyGeneratedCandidatesWithoutSourceRanges)
{
    BrightloopSelection selection { "src/App.jsx", "src/App.jsx", { 0, 0, 100, 100 } };
    std::vector<BrightloopDOMRecord> records {
        frontendRecord("h1", { 0, 0, 100, 20 }, std::string("Rendered title"), std::string("Source title")),
        frontendRecord("p", { 0, 30, 100, 20 }, std::string(" \n\t "), std::string("Own text")),
        frontendRecord("div", { 0, 60, 100, 20 }, std::nullopt, std::string("   ")),
        frontendRecord("section", { 0, 90, 100, 20 }, std::nullopt, std::nullopt),
    };

    auto result = WorkspaceStore::generatedFrontendBrightloopResult(records, selection);

    EXPECT_EQ(result.selection(), selection);
    ASSERT_EQ(result.candidates().size(), 4u);
    std::vector<std::string> labels;
    for (const auto& made : result.candidates()) {
        EXPECT_EQ(made.confidence, BrightloopConfidence::generatedOrExternal);
        EXPECT_EQ(made.kind, BrightloopCandidateKind::unknown);
        EXPECT_FALSE(made.sourceRange);
        EXPECT_EQ(made.reason, frontendReason);
        labels.push_back(made.label);
    }
    // Rendered text first, then own text, then the tag; blank texts don't count.
    auto has = [&](const std::string& label) { return std::find(labels.begin(), labels.end(), label) != labels.end(); };
    EXPECT_TRUE(has("Rendered title"));
    EXPECT_TRUE(has("Own text"));
    EXPECT_TRUE(has("<div>"));
    EXPECT_TRUE(has("<section>"));
}

TEST(WorkspaceStoreBrightloop, FrontendCandidatesCarryClampedOverlapAndAreSorted)
{
    BrightloopSelection selection { "src/App.jsx", "src/App.jsx", { 0, 0, 100, 100 } };
    std::vector<BrightloopDOMRecord> records {
        frontendRecord("div", { 50, 0, 100, 50 }, std::nullopt, std::nullopt), // half inside
        frontendRecord("span", { 10, 10, 0, 0 }, std::nullopt, std::nullopt), // no area
        frontendRecord("p", { 200, 200, 10, 10 }, std::nullopt, std::nullopt), // outside
        frontendRecord("img", { 10, 10, 20, 20 }, std::nullopt, std::nullopt), // wholly inside
    };

    auto result = WorkspaceStore::generatedFrontendBrightloopResult(records, selection);

    ASSERT_EQ(result.candidates().size(), 4u);
    for (const auto& made : result.candidates()) {
        double expected = made.dom.tagName == "div" ? 0.5 : made.dom.tagName == "img" ? 1.0 : 0.0;
        EXPECT_DOUBLE_EQ(made.overlapFraction, expected) << made.dom.tagName;
        EXPECT_GE(made.overlapFraction, 0.0);
        EXPECT_LE(made.overlapFraction, 1.0);
    }
    // The result is in display order, as any other.
    EXPECT_EQ(result.candidates(), BrightloopResult::sorted(result.candidates()));
}

// The four reset events that exist in this store.

TEST(WorkspaceStoreBrightloop, LoadingAWorkspaceResetsResultAndEffectsButNotTheMode)
{
    BrightloopSite open;
    open.fillBrightloop();
    TemporaryDirectory other;
    other.write("index.html", "<h1>Other</h1>\n");
    open.store.loadWorkspace(other.path());
    ASSERT_EQ(open.store.rootURL().get(), other.path());
    open.expectBrightloopReset();
}

TEST(WorkspaceStoreBrightloop, ReloadingTheSameWorkspaceResetsToo)
{
    BrightloopSite open;
    open.fillBrightloop();
    open.store.loadWorkspace(open.site.path());
    open.expectBrightloopReset();
}

TEST(WorkspaceStoreBrightloop, AFailedOpenResetsAsItClosesTheOldWorkspace)
{
    BrightloopSite open;
    open.fillBrightloop();
    open.fillInspection();
    TemporaryDirectory badSite;
    badSite.write("index.html", "<h1>Caf\xE9</h1>\n");
    open.store.loadWorkspace(badSite.path());
    ASSERT_TRUE(open.store.errorMessage().get());
    ASSERT_FALSE(open.store.siteMap().get());
    open.expectBrightloopReset();
    open.expectInspectionCleared();
}

TEST(WorkspaceStoreBrightloop, AnOpenStoppedByAnUnwritablePageResetsNothing)
{
    BrightloopSite open;
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));
    open.fillBrightloop();
    open.fillInspection();
    open.type(u"<h1>Post, typed</h1>\n");
    // Running as root, permission bits don't stop a write: the page's folder is removed instead.
    std::filesystem::remove_all(open.site.path() / "blog");
    TemporaryDirectory other;
    other.write("index.html", "<h1>Other</h1>\n");

    open.store.loadWorkspace(other.path());

    ASSERT_EQ(open.store.rootURL().get(), open.site.path());
    EXPECT_TRUE(open.brightloop().result().get());
    EXPECT_NE(open.brightloop().previewDirective().get(), BrightloopPreviewDirective::empty());
    open.expectInspectionKept();
}

TEST(WorkspaceStoreBrightloop, SelectingAnotherDocumentResetsResultAndEffects)
{
    BrightloopSite open;
    open.fillBrightloop();
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));
    open.expectBrightloopReset();
}

TEST(WorkspaceStoreBrightloop, SelectingTheSelectedDocumentAgainKeepsResultAndEffects)
{
    BrightloopSite open;
    open.fillBrightloop();
    auto result = open.brightloop().result().get();
    auto directive = open.brightloop().previewDirective().get();
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("index.html")));
    EXPECT_EQ(open.brightloop().result().get(), result);
    EXPECT_EQ(open.brightloop().previewDirective().get(), directive);
    EXPECT_TRUE(open.brightloop().pendingFence().get());
}

TEST(WorkspaceStoreBrightloop, ASwitchStoppedByAnUnwritablePageKeepsResultAndEffects)
{
    BrightloopSite open;
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));
    open.fillBrightloop();
    open.fillInspection();
    open.type(u"<h1>Post, typed</h1>\n");
    std::filesystem::remove_all(open.site.path() / "blog");

    EXPECT_FALSE(open.store.requestSelectDocument(std::string("index.html")));

    EXPECT_TRUE(open.brightloop().result().get());
    EXPECT_NE(open.brightloop().previewDirective().get(), BrightloopPreviewDirective::empty());
    open.expectInspectionKept();
}

// Page snapshot requests and answers.

TEST(WorkspaceStorePageInspection, StartsIdleAndEmpty)
{
    BrightloopSite open;
    open.expectInspectionCleared();
}

TEST(WorkspaceStorePageInspection, FirstRequestIsLoadingWithoutASnapshot)
{
    BrightloopSite open;
    open.store.requestPageInspectionSnapshot();
    EXPECT_FALSE(open.inspection().snapshot().get());
    EXPECT_TRUE(open.inspection().isLoading().get());
    EXPECT_FALSE(open.inspection().errorMessage().get());
    EXPECT_TRUE(open.inspection().requestToken().get());
}

TEST(WorkspaceStorePageInspection, RequestWithAnOlderResultKeepsItShown)
{
    BrightloopSite open;
    open.fillInspection();
    auto firstToken = open.inspection().requestToken().get();
    open.store.requestPageInspectionSnapshot();
    ASSERT_TRUE(open.inspection().snapshot().get());
    EXPECT_EQ(open.inspection().snapshot()->value().title, "Shown");
    EXPECT_TRUE(open.inspection().isLoading().get());
    EXPECT_FALSE(open.inspection().errorMessage().get());
    EXPECT_NE(open.inspection().requestToken().get(), firstToken);
}

TEST(WorkspaceStorePageInspection, AnswerIsShownAndTheTokenStays)
{
    BrightloopSite open;
    open.store.requestPageInspectionSnapshot();
    auto token = open.inspection().requestToken().get();
    open.store.applyPageInspectionSnapshot(BrightloopSite::snapshot("Done"));
    ASSERT_TRUE(open.inspection().snapshot().get());
    EXPECT_EQ(*open.inspection().snapshot().get(), BrightloopSite::snapshot("Done"));
    EXPECT_FALSE(open.inspection().isLoading().get());
    EXPECT_FALSE(open.inspection().errorMessage().get());
    // The web view's memory of the last token is what prevents a second run.
    EXPECT_EQ(open.inspection().requestToken().get(), token);
}

TEST(WorkspaceStorePageInspection, FailureKeepsTheOlderSnapshotOrNone)
{
    BrightloopSite open;
    open.store.requestPageInspectionSnapshot();
    open.store.failPageInspectionSnapshot("Page snapshot failed: no string");
    EXPECT_FALSE(open.inspection().snapshot().get());
    EXPECT_FALSE(open.inspection().isLoading().get());
    EXPECT_EQ(open.inspection().errorMessage().get(), "Page snapshot failed: no string");

    open.store.requestPageInspectionSnapshot();
    EXPECT_FALSE(open.inspection().errorMessage().get());
    open.store.applyPageInspectionSnapshot(BrightloopSite::snapshot("Older"));
    open.store.requestPageInspectionSnapshot();
    open.store.failPageInspectionSnapshot("Page snapshot failed: gone");
    ASSERT_TRUE(open.inspection().snapshot().get());
    EXPECT_EQ(open.inspection().snapshot()->value().title, "Older");
    EXPECT_FALSE(open.inspection().isLoading().get());
    EXPECT_EQ(open.inspection().errorMessage().get(), "Page snapshot failed: gone");
}

TEST(WorkspaceStorePageInspection, TwoRequestsGiveTwoTokensAndBothAnswersApplyInArrivalOrder)
{
    BrightloopSite open;
    int tokenChanges = 0;
    ScopedConnection counting { open.inspection().requestToken().changed.connect([&] { ++tokenChanges; }) };
    open.store.requestPageInspectionSnapshot();
    auto first = open.inspection().requestToken().get();
    open.store.requestPageInspectionSnapshot();
    auto second = open.inspection().requestToken().get();
    ASSERT_TRUE(first && second);
    EXPECT_NE(*first, *second);
    EXPECT_EQ(tokenChanges, 2);

    open.store.applyPageInspectionSnapshot(BrightloopSite::snapshot("First answer"));
    EXPECT_EQ(open.inspection().snapshot()->value().title, "First answer");
    open.store.applyPageInspectionSnapshot(BrightloopSite::snapshot("Second answer"));
    EXPECT_EQ(open.inspection().snapshot()->value().title, "Second answer");
    EXPECT_FALSE(open.inspection().isLoading().get());
}

TEST(WorkspaceStorePageInspection, LateAnswerAfterAClearIsStillApplied)
{
    BrightloopSite open;
    open.store.requestPageInspectionSnapshot();
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));
    open.expectInspectionCleared();

    open.store.applyPageInspectionSnapshot(BrightloopSite::snapshot("Late"));

    ASSERT_TRUE(open.inspection().snapshot().get());
    EXPECT_EQ(open.inspection().snapshot()->value().title, "Late");
    EXPECT_FALSE(open.inspection().isLoading().get());
    EXPECT_FALSE(open.inspection().requestToken().get());
}

TEST(WorkspaceStorePageInspection, RepeatedStateDoesNotNotify)
{
    BrightloopSite open;
    open.fillInspection();
    int changes = 0;
    ScopedConnection snapshotChanges { open.inspection().snapshot().changed.connect([&] { ++changes; }) };
    ScopedConnection loadingChanges { open.inspection().isLoading().changed.connect([&] { ++changes; }) };
    ScopedConnection errorChanges { open.inspection().errorMessage().changed.connect([&] { ++changes; }) };
    open.store.applyPageInspectionSnapshot(BrightloopSite::snapshot("Shown"));
    EXPECT_EQ(changes, 0);
}

// Every operation that can make a snapshot stale clears it.

TEST(WorkspaceStorePageInspection, LoadingAWorkspaceClears)
{
    BrightloopSite open;
    open.fillInspection();
    open.store.loadWorkspace(open.site.path());
    open.expectInspectionCleared();
}

TEST(WorkspaceStorePageInspection, SelectingAnotherDocumentClears)
{
    BrightloopSite open;
    open.fillInspection();
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));
    open.expectInspectionCleared();
}

TEST(WorkspaceStorePageInspection, SelectingTheSelectedDocumentAgainKeeps)
{
    BrightloopSite open;
    open.fillInspection();
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("index.html")));
    open.expectInspectionKept();
}

TEST(WorkspaceStorePageInspection, RefreshingThePreviewClears)
{
    BrightloopSite open;
    open.fillInspection();
    open.store.refreshPreview();
    open.expectInspectionCleared();
}

TEST(WorkspaceStorePageInspection, AKeystrokeAloneKeepsTheSnapshot)
{
    BrightloopSite open;
    open.fillInspection();
    open.type(u"<h1>Typed</h1>\n");
    open.expectInspectionKept();
}

TEST(WorkspaceStorePageInspection, CompletedBackgroundAutosaveClears)
{
    BrightloopSite open;
    open.type(u"<h1>Typed</h1>\n");
    open.fillInspection();
    open.scheduler.advance(650ms);
    open.scheduler.runBackgroundWork();
    // Written but not yet delivered: the snapshot still describes what the preview shows.
    open.expectInspectionKept();
    open.scheduler.deliverCompletions();
    ASSERT_EQ(open.site.read("index.html"), "<h1>Typed</h1>\n");
    open.expectInspectionCleared();
}

TEST(WorkspaceStorePageInspection, FailedBackgroundAutosaveKeepsTheSnapshot)
{
    BrightloopSite open;
    ASSERT_TRUE(open.store.requestSelectDocument(std::string("blog/post.html")));
    open.type(u"<h1>Typed</h1>\n");
    open.fillInspection();
    FileSizeLimit limit(4);
    open.scheduler.advance(650ms);
    open.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_TRUE(open.store.errorMessage().get());
    open.expectInspectionKept();
}

TEST(WorkspaceStorePageInspection, SynchronousAutosaveClearsOnlyWhenItWrites)
{
    BrightloopSite open;
    open.fillInspection();
    // Nothing pending: nothing is written and the snapshot still holds.
    ASSERT_TRUE(open.store.autosaveCurrentPageIfNeeded());
    open.expectInspectionKept();

    open.type(u"<h1>Typed</h1>\n");
    ASSERT_TRUE(open.store.autosaveCurrentPageIfNeeded());
    ASSERT_EQ(open.site.read("index.html"), "<h1>Typed</h1>\n");
    open.expectInspectionCleared();
}

TEST(WorkspaceStorePageInspection, UndoClears)
{
    BrightloopSite open;
    open.type(u"<h1>Typed</h1>\n");
    open.fillInspection();
    ASSERT_TRUE(open.store.undoSelectedPageChange());
    ASSERT_EQ(open.store.editorText().get(), u"<h1>Home</h1>\n");
    open.expectInspectionCleared();
}

TEST(WorkspaceStorePageInspection, UndoWithNothingToUndoKeeps)
{
    BrightloopSite open;
    open.fillInspection();
    ASSERT_FALSE(open.store.undoSelectedPageChange());
    open.expectInspectionKept();
}

TEST(WorkspaceStorePageInspection, RevertToTheOpenedBaselineClears)
{
    BrightloopSite open;
    open.type(u"<h1>Typed</h1>\n");
    ASSERT_TRUE(open.store.autosaveCurrentPageIfNeeded());
    open.fillInspection();
    open.store.revertSelectedPageToOpenedBaseline();
    ASSERT_EQ(open.site.read("index.html"), "<h1>Home</h1>\n");
    open.expectInspectionCleared();
}

TEST(WorkspaceStorePageInspection, ClearingDoesNotTouchTheFenceResult)
{
    BrightloopSite open;
    open.fillBrightloop();
    auto result = open.brightloop().result().get();
    open.fillInspection();
    open.store.refreshPreview();
    open.expectInspectionCleared();
    EXPECT_EQ(open.brightloop().result().get(), result);
}
