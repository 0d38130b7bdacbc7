#include "QuilloryApp/Inspection/PageInspectionPanel.h"
#include "QuilloryApp/Inspection/PageInspectionStore.h"

#include "app/support/ViewTestSupport.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <optional>
#include <string>
#include <vector>

using namespace Quillory;
using QuilloryTest::descendants;
using QuilloryTest::mappedLabelTexts;
using QuilloryTest::TestWindow;

namespace {

// How often each of the store's fields told its observers.
struct NotificationCounts {
    int snapshot { 0 };
    int isLoading { 0 };
    int errorMessage { 0 };
    int requestToken { 0 };

    explicit NotificationCounts(const PageInspectionStore& store)
    {
        store.snapshot().changed.connect([this] { ++snapshot; });
        store.isLoading().changed.connect([this] { ++isLoading; });
        store.errorMessage().changed.connect([this] { ++errorMessage; });
        store.requestToken().changed.connect([this] { ++requestToken; });
    }

    std::vector<int> all() const { return { snapshot, isLoading, errorMessage, requestToken }; }
};

PageInspectionSnapshot sampleSnapshot()
{
    PageInspectionSnapshot snapshot;
    snapshot.title = "Home";
    snapshot.language = "en";
    snapshot.headings = { { 1, "Welcome home", "top" }, { 2, "Second", std::nullopt } };
    snapshot.links = {
        { "about.html", "About", true },
        { "https://example.org/", "Elsewhere", false },
        { "#top", "Top", true },
        { "mailto:x", "Mail", false },
        { "/docs/", "Docs", true },
    };
    snapshot.images = { { "logo.png", "Logo", false }, { "photo.jpg", std::nullopt, true }, { "spacer.png", "", true } };
    snapshot.stylesheets = {
        { "quillory-site://local/site.css", 5, std::nullopt },
        { "http://127.0.0.1:9/remote.css", 0, "SecurityError" },
        { std::nullopt, 3, std::nullopt },
    };
    return snapshot;
}

const std::vector<std::string> panelHeader = { "Native Page Snapshot", "WebKit + CSSOM" };

// The sample snapshot's metrics and lists as the panel reads from top to bottom.
const std::vector<std::string> sampleSnapshotTexts = {
    "Headings", "2", "Links", "3L / 2E", "Missing Alt", "2", "CSS Rules", "8", "Sheets", "3",
    "Headings", "Welcome home", "Second",
    "Local Links", "about.html", "#top", "/docs/",
    "Missing Alt", "photo.jpg", "spacer.png",
};

std::vector<std::string> joined(std::initializer_list<std::vector<std::string>> parts)
{
    std::vector<std::string> all;
    for (auto& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

GtkSpinner* spinner(GtkWidget* root)
{
    for (GtkWidget* widget : descendants(root)) {
        if (GTK_IS_SPINNER(widget))
            return GTK_SPINNER(widget);
    }
    return nullptr;
}

bool spinnerShows(GtkWidget* root)
{
    GtkSpinner* found = spinner(root);
    return found && gtk_widget_get_mapped(GTK_WIDGET(found)) && gtk_spinner_get_spinning(found);
}

// The panel under test, in a real window with room above it as under the preview.
struct PanelHarness {
    PageInspectionPanel panel;
    GtkWidget* content { gtk_box_new(GTK_ORIENTATION_VERTICAL, 0) };
    TestWindow window { content, 900, 700 };

    PanelHarness()
    {
        GtkWidget* above = gtk_label_new("Preview");
        gtk_widget_set_vexpand(above, TRUE);
        gtk_box_append(GTK_BOX(content), above);
        gtk_box_append(GTK_BOX(content), panel.widget());
    }

    ~PanelHarness() { gtk_box_remove(GTK_BOX(content), panel.widget()); }

    std::vector<std::string> texts() const { return mappedLabelTexts(panel.widget()); }
    bool isShown() const { return gtk_widget_get_visible(panel.widget()) && gtk_widget_get_mapped(panel.widget()); }
};

}

TEST(PageInspectionStore, StartsIdleAndEmpty)
{
    PageInspectionStore store;
    EXPECT_EQ(store.snapshot().get(), std::nullopt);
    EXPECT_FALSE(store.isLoading().get());
    EXPECT_EQ(store.errorMessage().get(), std::nullopt);
    EXPECT_EQ(store.requestToken().get(), std::nullopt);
}

TEST(PageInspectionStore, SnapshotNotifiesOnlyWhenItsValueChanges)
{
    PageInspectionStore store;
    NotificationCounts counts(store);

    // Two absent values are equal.
    store.setSnapshot(std::nullopt);
    EXPECT_EQ(counts.snapshot, 0);

    store.setSnapshot(sampleSnapshot());
    EXPECT_EQ(counts.snapshot, 1);
    // An equal copy is the same value.
    store.setSnapshot(sampleSnapshot());
    EXPECT_EQ(counts.snapshot, 1);

    // One field deep inside differs.
    auto changed = sampleSnapshot();
    changed.links[3].isLocal = true;
    store.setSnapshot(changed);
    EXPECT_EQ(counts.snapshot, 2);
    EXPECT_EQ(store.snapshot().get(), changed);

    auto unreadable = changed;
    unreadable.stylesheets[2].inaccessibleReason = "SecurityError";
    store.setSnapshot(unreadable);
    EXPECT_EQ(counts.snapshot, 3);

    store.setSnapshot(std::nullopt);
    EXPECT_EQ(counts.snapshot, 4);
    EXPECT_EQ(store.snapshot().get(), std::nullopt);
    EXPECT_EQ(counts.all(), (std::vector<int> { 4, 0, 0, 0 }));
}

TEST(PageInspectionStore, LoadingErrorAndTokenNotifyOnlyWhenTheyChange)
{
    PageInspectionStore store;
    NotificationCounts counts(store);

    store.setIsLoading(false);
    store.setErrorMessage(std::nullopt);
    store.setRequestToken(std::nullopt);
    EXPECT_EQ(counts.all(), (std::vector<int> { 0, 0, 0, 0 }));

    store.setIsLoading(true);
    store.setIsLoading(true);
    EXPECT_EQ(counts.isLoading, 1);
    EXPECT_TRUE(store.isLoading().get());

    store.setErrorMessage("Page snapshot failed: not a string");
    store.setErrorMessage("Page snapshot failed: not a string");
    EXPECT_EQ(counts.errorMessage, 1);
    store.setErrorMessage("Page snapshot failed: not utf8");
    EXPECT_EQ(counts.errorMessage, 2);
    // An empty message is a message, not its absence.
    store.setErrorMessage("");
    EXPECT_EQ(counts.errorMessage, 3);
    EXPECT_EQ(store.errorMessage().get(), std::optional<std::string>(""));

    auto token = UUID::random();
    store.setRequestToken(token);
    store.setRequestToken(token);
    EXPECT_EQ(counts.requestToken, 1);
    store.setRequestToken(UUID::random());
    EXPECT_EQ(counts.requestToken, 2);
    EXPECT_EQ(counts.all(), (std::vector<int> { 0, 1, 3, 2 }));
}

TEST(PageInspectionStore, ClearReturnsToIdleAndNotifiesOnlyWhatChanged)
{
    PageInspectionStore store;
    NotificationCounts counts(store);

    store.clear();
    EXPECT_EQ(counts.all(), (std::vector<int> { 0, 0, 0, 0 }));

    store.setSnapshot(sampleSnapshot());
    store.setIsLoading(true);
    store.setRequestToken(UUID::random());
    EXPECT_EQ(counts.all(), (std::vector<int> { 1, 1, 0, 1 }));

    store.clear();
    EXPECT_EQ(store.snapshot().get(), std::nullopt);
    EXPECT_FALSE(store.isLoading().get());
    EXPECT_EQ(store.errorMessage().get(), std::nullopt);
    EXPECT_EQ(store.requestToken().get(), std::nullopt);
    // The error message was already absent, so it stayed silent.
    EXPECT_EQ(counts.all(), (std::vector<int> { 2, 2, 0, 2 }));

    store.setErrorMessage("Page snapshot failed: x");
    store.clear();
    EXPECT_EQ(store.errorMessage().get(), std::nullopt);
    EXPECT_EQ(counts.all(), (std::vector<int> { 2, 2, 2, 2 }));
}

TEST(PageInspectionPanel, IdleAndEmptyHidesThePanel)
{
    PanelHarness harness;
    EXPECT_FALSE(gtk_widget_get_visible(harness.panel.widget()));
    harness.panel.update(std::nullopt, false, std::nullopt);
    EXPECT_FALSE(gtk_widget_get_visible(harness.panel.widget()));
    EXPECT_TRUE(harness.texts().empty());
}

TEST(PageInspectionPanel, FirstRunShowsOnlyTheSpinnerLine)
{
    PanelHarness harness;
    harness.panel.update(std::nullopt, true, std::nullopt);
    EXPECT_TRUE(harness.isShown());
    EXPECT_EQ(harness.texts(), joined({ panelHeader, { "Collecting snapshot..." } }));
    EXPECT_TRUE(spinnerShows(harness.panel.widget()));
}

TEST(PageInspectionPanel, RunWithAnOlderResultKeepsItShown)
{
    PanelHarness harness;
    harness.panel.update(sampleSnapshot(), true, std::nullopt);
    EXPECT_TRUE(harness.isShown());
    EXPECT_EQ(harness.texts(), joined({ panelHeader, { "Collecting snapshot..." }, sampleSnapshotTexts }));
    EXPECT_TRUE(spinnerShows(harness.panel.widget()));
}

TEST(PageInspectionPanel, DoneShowsTheMetricsAndLists)
{
    PanelHarness harness;
    harness.panel.update(std::nullopt, true, std::nullopt);
    harness.panel.update(sampleSnapshot(), false, std::nullopt);
    EXPECT_TRUE(harness.isShown());
    EXPECT_EQ(harness.texts(), joined({ panelHeader, sampleSnapshotTexts }));
    EXPECT_FALSE(spinnerShows(harness.panel.widget()));
    ASSERT_NE(spinner(harness.panel.widget()), nullptr);
    // A stopped run doesn't keep the spinner turning out of sight.
    EXPECT_FALSE(gtk_spinner_get_spinning(spinner(harness.panel.widget())));
}

TEST(PageInspectionPanel, FailureShowsTheTextWithOrWithoutAnOlderResult)
{
    const std::string message = "Page snapshot failed: not a string";
    PanelHarness harness;
    harness.panel.update(std::nullopt, false, message);
    EXPECT_TRUE(harness.isShown());
    EXPECT_EQ(harness.texts(), joined({ panelHeader, { message } }));
    EXPECT_FALSE(spinnerShows(harness.panel.widget()));

    harness.panel.update(sampleSnapshot(), false, message);
    EXPECT_EQ(harness.texts(), joined({ panelHeader, { message }, sampleSnapshotTexts }));
}

TEST(PageInspectionPanel, EmptyListsShowNone)
{
    PanelHarness harness;
    PageInspectionSnapshot empty;
    harness.panel.update(empty, false, std::nullopt);
    EXPECT_EQ(harness.texts(), joined({ panelHeader,
                                        { "Headings", "0", "Links", "0L / 0E", "Missing Alt", "0", "CSS Rules", "0", "Sheets", "0",
                                          "Headings", "None", "Local Links", "None", "Missing Alt", "None" } }));

    // Links that are all external and images that all have alt text leave those lists empty too.
    PageInspectionSnapshot outward;
    outward.headings = { { 1, "Only", std::nullopt } };
    outward.links = { { "https://example.org/", "Out", false }, { "tel:1", "Call", false } };
    outward.images = { { "a.png", "A", false } };
    harness.panel.update(outward, false, std::nullopt);
    EXPECT_EQ(harness.texts(), joined({ panelHeader,
                                        { "Headings", "1", "Links", "0L / 2E", "Missing Alt", "0", "CSS Rules", "0", "Sheets", "0",
                                          "Headings", "Only", "Local Links", "None", "Missing Alt", "None" } }));
}

TEST(PageInspectionPanel, NewSnapshotReplacesTheListLines)
{
    PanelHarness harness;
    harness.panel.update(sampleSnapshot(), false, std::nullopt);
    auto next = sampleSnapshot();
    next.headings = { { 3, "Replaced", std::nullopt } };
    next.links.push_back({ "", "Empty", true });
    harness.panel.update(next, false, std::nullopt);
    EXPECT_EQ(harness.texts(), joined({ panelHeader,
                                        { "Headings", "1", "Links", "4L / 2E", "Missing Alt", "2", "CSS Rules", "8", "Sheets", "3",
                                          "Headings", "Replaced",
                                          "Local Links", "about.html", "#top", "/docs/", "",
                                          "Missing Alt", "photo.jpg", "spacer.png" } }));
}

TEST(PageInspectionPanel, ClearedStoreHidesThePanelAgain)
{
    PanelHarness harness;
    PageInspectionStore store;
    auto show = [&] { harness.panel.update(store.snapshot().get(), store.isLoading().get(), store.errorMessage().get()); };
    store.snapshot().changed.connect(show);
    store.isLoading().changed.connect(show);
    store.errorMessage().changed.connect(show);

    store.setIsLoading(true);
    EXPECT_TRUE(harness.isShown());
    store.setSnapshot(sampleSnapshot());
    store.setIsLoading(false);
    EXPECT_EQ(harness.texts(), joined({ panelHeader, sampleSnapshotTexts }));
    store.clear();
    EXPECT_FALSE(gtk_widget_get_visible(harness.panel.widget()));
}
