#include "QuilloryApp/Shell/WorkspacePlaceholderView.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

std::vector<AdwActionRow*> recentRows(const WorkspacePlaceholderView& view)
{
    std::vector<AdwActionRow*> rows;
    for (GtkWidget* child = gtk_widget_get_first_child(GTK_WIDGET(view.recentProjectsList())); child; child = gtk_widget_get_next_sibling(child))
        rows.push_back(ADW_ACTION_ROW(child));
    return rows;
}

std::string rowTitle(AdwActionRow* row)
{
    return adw_preferences_row_get_title(ADW_PREFERENCES_ROW(row));
}

std::string rowSubtitle(AdwActionRow* row)
{
    return adw_action_row_get_subtitle(row);
}

std::string buttonLabel(GtkWidget* button)
{
    return adw_button_content_get_label(ADW_BUTTON_CONTENT(gtk_button_get_child(GTK_BUTTON(button))));
}

// Two sites opened one after the other, so the recent list holds "beta" first, then "alpha".
struct TwoRecentSites {
    TemporaryDirectory parent;
    std::filesystem::path alpha { parent.path() / "alpha" };
    std::filesystem::path beta { parent.path() / "beta" };

    explicit TwoRecentSites(WorkspaceStore& store)
    {
        parent.write("alpha/index.html", "<h1>Alpha</h1>\n");
        parent.write("beta/index.html", "<h1>Beta</h1>\n");
        store.loadWorkspace(alpha);
        store.loadWorkspace(beta);
    }
};

}

TEST(WorkspacePlaceholderView, ShowsItsButtonsAndNoRecentSectionOrErrorAtFirst)
{
    ViewHarness harness;
    WorkspacePlaceholderView view(harness.store);
    TestWindow window(view.widget());

    EXPECT_EQ(buttonLabel(view.openExistingButton()), "Open Existing");
    EXPECT_EQ(buttonLabel(view.createNewSiteButton()), "Create New Site");
    EXPECT_TRUE(gtk_widget_get_mapped(view.openExistingButton()));
    EXPECT_FALSE(gtk_widget_get_mapped(view.recentProjectsSection()));
    EXPECT_FALSE(gtk_widget_get_mapped(view.errorRow()));
    // The column is centred and no wider than 520.
    EXPECT_LE(gtk_widget_get_width(gtk_widget_get_parent(view.openExistingButton())), 520);
}

TEST(WorkspacePlaceholderView, ListsRecentProjectsAndOpensOne)
{
    ViewHarness harness;
    TwoRecentSites sites(harness.store);
    WorkspacePlaceholderView view(harness.store);
    TestWindow window(view.widget());

    EXPECT_TRUE(gtk_widget_get_mapped(view.recentProjectsSection()));
    EXPECT_TRUE(contains(mappedLabelTexts(view.widget()), "Recent Projects"));
    auto rows = recentRows(view);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rowTitle(rows[0]), "beta");
    EXPECT_EQ(rowSubtitle(rows[0]), sites.beta.string());
    EXPECT_EQ(rowTitle(rows[1]), "alpha");
    EXPECT_EQ(rowSubtitle(rows[1]), sites.alpha.string());

    g_signal_emit_by_name(rows[1], "activate");
    drainMainLoop();

    EXPECT_EQ(harness.store.rootURL().get(), sites.alpha);
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Alpha</h1>\n");
    // The opened project moved to the front of the list.
    rows = recentRows(view);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rowTitle(rows[0]), "alpha");
    EXPECT_EQ(rowTitle(rows[1]), "beta");
}

TEST(WorkspacePlaceholderView, MissingRecentProjectIsRemovedWithItsMessage)
{
    ViewHarness harness;
    TwoRecentSites sites(harness.store);
    WorkspacePlaceholderView view(harness.store);
    TestWindow window(view.widget());
    std::filesystem::remove_all(sites.alpha);

    g_signal_emit_by_name(recentRows(view)[1], "activate");
    drainMainLoop();

    auto expected = "alpha no longer exists at " + sites.alpha.string() + ".";
    EXPECT_EQ(harness.store.errorMessage().get(), expected);
    EXPECT_TRUE(gtk_widget_get_mapped(view.errorRow()));
    EXPECT_EQ(gtk_label_get_text(view.errorLabel()), expected);
    auto rows = recentRows(view);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rowTitle(rows[0]), "beta");
    // The open site stays open.
    EXPECT_EQ(harness.store.rootURL().get(), sites.beta);

    // The error row goes when the message does.
    harness.store.clearErrorMessage();
    drainMainLoop();
    EXPECT_FALSE(gtk_widget_get_mapped(view.errorRow()));
}

TEST(WorkspacePlaceholderView, RecentProjectNamesAreShownAsTextNotMarkup)
{
    ViewHarness harness;
    TemporaryDirectory parent;
    parent.write("R&D <draft>/index.html", "<h1>Draft</h1>\n");
    harness.store.loadWorkspace(parent.path() / "R&D <draft>");
    WorkspacePlaceholderView view(harness.store);
    TestWindow window(view.widget());

    EXPECT_TRUE(contains(mappedLabelTexts(view.widget()), "R&D <draft>"));
}
