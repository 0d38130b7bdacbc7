#include "QuilloryApp/Brightloop/BrightloopStore.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Quillory;

namespace {

BrightloopCandidate candidate(const std::string& label)
{
    BrightloopDOMRecordFields fields;
    fields.tagName = "p";
    fields.textSnippet = label;
    fields.rect = { 10, 20, 100, 30 };
    BrightloopCandidate made;
    made.id = UUID::random();
    made.kind = BrightloopCandidateKind::text;
    made.label = label;
    made.confidence = BrightloopConfidence::editableSource;
    made.dom = BrightloopDOMRecord(fields);
    made.sourceRange = BrightloopSourceRange { "index.html", 3, static_cast<std::size_t>(label.size()) };
    made.overlapFraction = 1;
    made.reason = "Single <p> match with verified text content.";
    return made;
}

BrightloopResult resultWith(std::vector<BrightloopCandidate> candidates)
{
    return BrightloopResult(BrightloopSelection { "index.html", "index.html", { 0, 0, 400, 300 } }, std::move(candidates));
}

// Counts the notifications of one property.
template<class T>
struct NotificationCounter {
    explicit NotificationCounter(const ObservableProperty<T>& property)
        : connection(property.changed.connect([this] { ++count; }))
    {
    }
    ~NotificationCounter() { connection.disconnect(); }
    int count { 0 };
    sigc::connection connection;
};

// Every observed field of the store, counted.
struct StoreCounters {
    explicit StoreCounters(const BrightloopStore& store)
        : modeEnabled(store.modeEnabled())
        , result(store.result())
        , visibleAreaToken(store.visibleAreaToken())
        , pendingFence(store.pendingFence())
        , previewDirective(store.previewDirective())
    {
    }
    int total() const { return modeEnabled.count + result.count + visibleAreaToken.count + pendingFence.count + previewDirective.count; }

    NotificationCounter<bool> modeEnabled;
    NotificationCounter<std::optional<BrightloopResult>> result;
    NotificationCounter<std::optional<UUID>> visibleAreaToken;
    NotificationCounter<std::optional<BrightloopRect>> pendingFence;
    NotificationCounter<BrightloopPreviewDirective> previewDirective;
};

}

TEST(BrightloopStore, StartsWithModeOffAndNothingHeld)
{
    BrightloopStore store;
    EXPECT_FALSE(store.modeEnabled().get());
    EXPECT_FALSE(store.result().get());
    EXPECT_FALSE(store.visibleAreaToken().get());
    EXPECT_FALSE(store.pendingFence().get());
    EXPECT_EQ(store.previewDirective().get(), BrightloopPreviewDirective::empty());
}

TEST(BrightloopStore, SettersNotifyOnlyWhenTheValueChanges)
{
    BrightloopStore store;
    StoreCounters counters(store);
    auto first = candidate("Hello");
    auto token = UUID::random();
    BrightloopPreviewDirective directive;
    directive.highlightedCandidate = first;

    // Equal values are stored silently.
    store.setModeEnabled(false);
    store.setResult(std::nullopt);
    store.setVisibleAreaToken(std::nullopt);
    store.setPendingFence(std::nullopt);
    store.setPreviewDirective(BrightloopPreviewDirective::empty());
    EXPECT_EQ(counters.total(), 0);

    store.setModeEnabled(true);
    store.setResult(resultWith({ first }));
    store.setVisibleAreaToken(token);
    store.setPendingFence(BrightloopRect { 1, 2, 3, 4 });
    store.setPreviewDirective(directive);
    EXPECT_EQ(counters.modeEnabled.count, 1);
    EXPECT_EQ(counters.result.count, 1);
    EXPECT_EQ(counters.visibleAreaToken.count, 1);
    EXPECT_EQ(counters.pendingFence.count, 1);
    EXPECT_EQ(counters.previewDirective.count, 1);

    // The same values once more, made afresh: still equal, still silent.
    store.setModeEnabled(true);
    store.setResult(resultWith({ first }));
    store.setVisibleAreaToken(token);
    store.setPendingFence(BrightloopRect { 1, 2, 3, 4 });
    store.setPreviewDirective(directive);
    EXPECT_EQ(counters.total(), 5);
    EXPECT_EQ(store.result()->value().candidates().front().id, first.id);
}

TEST(BrightloopStore, SwitchingModeOffDropsResultAndPendingFenceButKeepsEffects)
{
    BrightloopStore store;
    auto shown = candidate("Shown");
    auto hidden = candidate("Hidden");
    store.toggleMode();
    ASSERT_TRUE(store.modeEnabled().get());
    store.setResult(resultWith({ shown, hidden }));
    store.setPendingFence(BrightloopRect { 5, 5, 50, 50 });
    store.toggleCandidateHidden(hidden);
    store.highlightCandidate(shown);
    auto directive = store.previewDirective().get();

    store.toggleMode();

    EXPECT_FALSE(store.modeEnabled().get());
    EXPECT_FALSE(store.result().get());
    EXPECT_FALSE(store.pendingFence().get());
    // Effects already applied stay until the next clearing event.
    EXPECT_EQ(store.previewDirective().get(), directive);
    EXPECT_TRUE(store.previewDirective()->isHidden(hidden.id));
    EXPECT_TRUE(store.previewDirective()->isHighlighted(shown.id));
}

TEST(BrightloopStore, SwitchingModeOnTouchesNothingElse)
{
    BrightloopStore store;
    StoreCounters counters(store);
    store.toggleMode();
    EXPECT_TRUE(store.modeEnabled().get());
    EXPECT_EQ(counters.modeEnabled.count, 1);
    EXPECT_EQ(counters.total(), 1);
}

TEST(BrightloopStore, TogglingHideTwiceRestoresTheDirective)
{
    BrightloopStore store;
    auto first = candidate("First");
    auto second = candidate("Second");

    store.toggleCandidateHidden(first);
    store.toggleCandidateHidden(second);
    ASSERT_EQ(store.previewDirective()->hiddenCandidates, (std::vector<BrightloopCandidate> { first, second }));

    store.toggleCandidateHidden(first);
    EXPECT_EQ(store.previewDirective()->hiddenCandidates, (std::vector<BrightloopCandidate> { second }));
    store.toggleCandidateHidden(second);
    EXPECT_EQ(store.previewDirective().get(), BrightloopPreviewDirective::empty());
}

TEST(BrightloopStore, HidingGoesByIdNotByValue)
{
    BrightloopStore store;
    auto first = candidate("First");
    store.toggleCandidateHidden(first);
    // The same candidate as a later result might carry it, with another label: the id decides.
    auto sameID = first;
    sameID.label = "Relabelled";
    store.toggleCandidateHidden(sameID);
    EXPECT_TRUE(store.previewDirective()->hiddenCandidates.empty());

    // A candidate with equal contents but a new id is another candidate.
    auto lookalike = first;
    lookalike.id = UUID::random();
    store.toggleCandidateHidden(first);
    store.toggleCandidateHidden(lookalike);
    EXPECT_EQ(store.previewDirective()->hiddenCandidates.size(), 2u);
}

TEST(BrightloopStore, HighlightingAnotherMovesTheHighlightAndTheSameAgainRemovesIt)
{
    BrightloopStore store;
    StoreCounters counters(store);
    auto first = candidate("First");
    auto second = candidate("Second");

    store.highlightCandidate(first);
    EXPECT_EQ(store.previewDirective()->highlightedCandidate, first);
    store.highlightCandidate(second);
    EXPECT_EQ(store.previewDirective()->highlightedCandidate, second);
    EXPECT_FALSE(store.previewDirective()->isHighlighted(first.id));
    store.highlightCandidate(second);
    EXPECT_FALSE(store.previewDirective()->highlightedCandidate);
    EXPECT_EQ(counters.previewDirective.count, 3);
}

TEST(BrightloopStore, CandidateCanBeHiddenAndHighlightedAtOnce)
{
    BrightloopStore store;
    auto both = candidate("Both");
    store.toggleCandidateHidden(both);
    store.highlightCandidate(both);
    EXPECT_TRUE(store.previewDirective()->isHidden(both.id));
    EXPECT_TRUE(store.previewDirective()->isHighlighted(both.id));
    // Un-highlighting leaves it hidden.
    store.highlightCandidate(both);
    EXPECT_TRUE(store.previewDirective()->isHidden(both.id));
    EXPECT_FALSE(store.previewDirective()->highlightedCandidate);
}

TEST(BrightloopStore, EachVisibleAreaRequestIsAFreshToken)
{
    BrightloopStore store;
    StoreCounters counters(store);
    store.requestVisibleAreaFence();
    ASSERT_TRUE(store.visibleAreaToken().get());
    auto first = *store.visibleAreaToken().get();
    store.requestVisibleAreaFence();
    ASSERT_TRUE(store.visibleAreaToken().get());
    EXPECT_NE(*store.visibleAreaToken().get(), first);
    EXPECT_EQ(counters.visibleAreaToken.count, 2);
}

TEST(BrightloopStore, ScrollingThePreviewDropsResultAndEffectsButKeepsMode)
{
    BrightloopStore store;
    auto shown = candidate("Shown");
    store.toggleMode();
    store.setResult(resultWith({ shown }));
    store.toggleCandidateHidden(shown);
    store.highlightCandidate(shown);

    store.previewDidScroll();

    EXPECT_TRUE(store.modeEnabled().get());
    EXPECT_FALSE(store.result().get());
    EXPECT_EQ(store.previewDirective().get(), BrightloopPreviewDirective::empty());
}

TEST(BrightloopStore, ResetDropsResultPendingFenceAndEffectsButKeepsModeAndToken)
{
    BrightloopStore store;
    auto shown = candidate("Shown");
    store.toggleMode();
    store.requestVisibleAreaFence();
    auto token = store.visibleAreaToken().get();
    store.setResult(resultWith({ shown }));
    store.setPendingFence(BrightloopRect { 0, 0, 10, 10 });
    store.toggleCandidateHidden(shown);

    store.reset();

    EXPECT_TRUE(store.modeEnabled().get());
    EXPECT_EQ(store.visibleAreaToken().get(), token);
    EXPECT_FALSE(store.result().get());
    EXPECT_FALSE(store.pendingFence().get());
    EXPECT_EQ(store.previewDirective().get(), BrightloopPreviewDirective::empty());
}

TEST(BrightloopStore, ResetOfAnEmptyStoreNotifiesNothing)
{
    BrightloopStore store;
    StoreCounters counters(store);
    store.reset();
    store.previewDidScroll();
    EXPECT_EQ(counters.total(), 0);
}
