#include "QuilloryApp/Workspace/AppInfo.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Shell/SidebarView.h"
#include "QuilloryApp/Shell/SiteIdentityHeader.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Shell/StatusStripView.h"
#include "QuilloryCore/SiteModel/EditableDocument.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

struct RowSummary {
    SidebarRowKind kind;
    std::string title;
    std::string systemImageName;
    std::optional<std::string> documentID;
    friend bool operator==(const RowSummary&, const RowSummary&) = default;
};

std::ostream& operator<<(std::ostream& stream, const RowSummary& row)
{
    return stream << "{" << static_cast<int>(row.kind) << ", " << row.title << ", " << row.systemImageName << ", "
                  << row.documentID.value_or("-") << "}";
}

std::vector<RowSummary> summaries(const std::vector<SidebarRow>& rows)
{
    std::vector<RowSummary> result;
    for (const auto& row : rows)
        result.push_back({ row.kind, row.title, row.systemImageName, row.documentID });
    return result;
}

std::vector<std::string> titles(const std::vector<SidebarRow>& rows)
{
    std::vector<std::string> result;
    for (const auto& row : rows)
        result.push_back(row.title);
    return result;
}

// Clicks a row as the list's click gesture does: through the row's "listitem.select" action.
void clickRow(SidebarView& sidebar, std::string_view title)
{
    GtkWidget* label = findLabel(GTK_WIDGET(sidebar.listView()), title);
    ASSERT_NE(label, nullptr) << title;
    ASSERT_TRUE(gtk_widget_activate_action(label, "listitem.select", "(bb)", FALSE, FALSE));
    drainMainLoop();
}

const std::vector<RowSummary> studioRows {
    { SidebarRowKind::treeNode, "Northwind Studio", "folder", "index.html" },
    { SidebarRowKind::treeNode, "About Us", "doc.text", "about.html" },
    { SidebarRowKind::treeNode, "Docs", "folder", std::nullopt },
    { SidebarRowKind::treeNode, "Guide", "folder", std::nullopt },
    { SidebarRowKind::treeNode, "Setup Guide", "doc.text", "docs/guide/setup.html" },
    { SidebarRowKind::treeNode, "Journal", "folder", "blog/index.html" },
    { SidebarRowKind::treeNode, "First Post", "doc.text", "blog/first-post.html" },
    { SidebarRowKind::sectionHeader, "Unplaced", "", std::nullopt },
    { SidebarRowKind::document, "Old Home", "questionmark.folder", "index.htm" },
};

}

TEST(SidebarView, ShowsPageTreeAndUnplacedSectionOfFixtureSite)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    auto root = copyFixtureSite("studio", folder);
    SidebarView sidebar(harness.store, harness.settings);
    TestWindow window(sidebar.widget(), 320, 800);

    harness.store.loadWorkspace(root);
    drainMainLoop();

    EXPECT_EQ(summaries(sidebar.displayedRows()), studioRows);
    auto labels = mappedLabelTexts(sidebar.widget());
    for (const auto& row : studioRows)
        EXPECT_TRUE(contains(labels, row.title)) << row.title;
    // A static site has no source documents, so there is no "Source" section.
    EXPECT_FALSE(contains(labels, "Source"));
    EXPECT_FALSE(gtk_widget_get_mapped(sidebar.emptyState()));
    EXPECT_EQ(sidebar.highlightedDocumentID(), "index.html");
}

TEST(SidebarView, SourceSectionListsSourceDocumentsOfAFrontendProject)
{
    // The store can't publish source documents yet: it opens every folder as a static site until
    // frontend project detection exists. The rows are checked on what the document builder makes
    // for such a project, which is what the store will hand the sidebar.
    TemporaryDirectory site;
    site.write("index.html", "<h1>App</h1>\n");
    site.write("src/App.jsx", "export default function App() {}\n");
    site.write("src/styles.css", "body {}\n");
    auto siteMap = SiteGraphBuilder().build(site.path());
    auto documents = EditableDocumentBuilder::build(site.path(), siteMap, IncludeFrontendSource::yes);

    auto rows = summaries(SidebarView::listRows(siteMap, documents, ""));
    std::vector<RowSummary> expected {
        { SidebarRowKind::treeNode, "App", "doc.text", "index.html" },
        { SidebarRowKind::sectionHeader, "Source", "", std::nullopt },
        { SidebarRowKind::document, "src/App.jsx", "curlybraces", "src/App.jsx" },
        { SidebarRowKind::document, "src/styles.css", "curlybraces", "src/styles.css" },
    };
    EXPECT_EQ(rows, expected);

    // In the flat search result a source keeps its braces and a page shows the page icon.
    std::vector<RowSummary> found {
        { SidebarRowKind::document, "App", "doc.text", "index.html" },
        { SidebarRowKind::document, "src/App.jsx", "curlybraces", "src/App.jsx" },
    };
    EXPECT_EQ(summaries(SidebarView::listRows(siteMap, documents, "app")), found);
    EXPECT_EQ(SiteIdentityHeader::sourceCountText(2), "2 source");
    EXPECT_EQ(SiteIdentityHeader::sourceCountText(1), "1 source");
}

TEST(SidebarView, SearchOfSpacesIsNoSearch)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFixtureSite("studio", folder));
    SidebarView sidebar(harness.store, harness.settings);

    sidebar.setSearchText(" \t\n ");
    EXPECT_EQ(summaries(sidebar.displayedRows()), studioRows);
    EXPECT_EQ(SidebarView::filteredDocuments(harness.store.editableDocuments().get(), "   ").size(), 6u);
}

TEST(SidebarView, SearchShowsMatchingDocumentsFlatAndDropsFoldersWithoutPage)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFixtureSite("studio", folder));
    SidebarView sidebar(harness.store, harness.settings);
    TestWindow window(sidebar.widget(), 320, 800);

    // "guide" matches the page's path and title; the folders Docs and Guide, having no page, go.
    sidebar.setSearchText("  GUIDE ");
    drainMainLoop();
    std::vector<RowSummary> guide { { SidebarRowKind::document, "Setup Guide", "doc.text", "docs/guide/setup.html" } };
    EXPECT_EQ(summaries(sidebar.displayedRows()), guide);
    auto labels = mappedLabelTexts(sidebar.widget());
    EXPECT_TRUE(contains(labels, "Setup Guide"));
    EXPECT_FALSE(contains(labels, "Docs"));
    EXPECT_FALSE(contains(labels, "Guide"));

    // A match on the relative path alone counts too; the order is the documents' stored order.
    sidebar.setSearchText("blog/");
    EXPECT_EQ(titles(sidebar.displayedRows()), (std::vector<std::string> { "First Post", "Journal" }));

    sidebar.setSearchText("nothing like this");
    EXPECT_TRUE(sidebar.displayedRows().empty());

    sidebar.setSearchText("");
    EXPECT_EQ(summaries(sidebar.displayedRows()), studioRows);
    EXPECT_EQ(sidebar.highlightedDocumentID(), "index.html");
}

TEST(SidebarView, ClickingARowSelectsItsDocument)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    auto root = copyFixtureSite("studio", folder);
    harness.store.loadWorkspace(root);
    SidebarView sidebar(harness.store, harness.settings);
    TestWindow window(sidebar.widget(), 320, 800);

    clickRow(sidebar, "First Post");
    EXPECT_EQ(harness.store.selectedPageID().get(), "blog/first-post.html");
    EXPECT_EQ(sidebar.highlightedDocumentID(), "blog/first-post.html");

    // The unplaced page is selectable too.
    clickRow(sidebar, "Old Home");
    EXPECT_EQ(harness.store.selectedPageID().get(), "index.htm");

    // A search result row selects as well.
    sidebar.setSearchText("about");
    drainMainLoop();
    clickRow(sidebar, "About Us");
    EXPECT_EQ(harness.store.selectedPageID().get(), "about.html");
}

TEST(SidebarView, FolderWithoutPageCannotBeSelected)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFixtureSite("studio", folder));
    SidebarView sidebar(harness.store, harness.settings);
    TestWindow window(sidebar.widget(), 320, 800);

    clickRow(sidebar, "Docs");
    clickRow(sidebar, "Unplaced");
    EXPECT_EQ(harness.store.selectedPageID().get(), "index.html");
    EXPECT_EQ(sidebar.highlightedDocumentID(), "index.html");
}

TEST(SidebarView, StoreSelectionInsideACollapsedFolderOpensIt)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFixtureSite("studio", folder));
    SidebarView sidebar(harness.store, harness.settings);

    // Collapse "Journal" (position 5), then let the store select the post inside it.
    auto* journal = GTK_TREE_LIST_ROW(g_list_model_get_item(G_LIST_MODEL(sidebar.selection()), 5));
    gtk_tree_list_row_set_expanded(journal, FALSE);
    EXPECT_FALSE(contains(titles(sidebar.displayedRows()), "First Post"));

    ASSERT_TRUE(harness.store.requestSelectDocument("blog/first-post.html"));
    EXPECT_TRUE(gtk_tree_list_row_get_expanded(journal));
    EXPECT_EQ(sidebar.highlightedDocumentID(), "blog/first-post.html");
    g_object_unref(journal);
}

TEST(SidebarView, CollapsingTheFolderOfTheSelectedPageKeepsTheSelection)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFixtureSite("studio", folder));
    ASSERT_TRUE(harness.store.requestSelectDocument("blog/first-post.html"));
    SidebarView sidebar(harness.store, harness.settings);

    auto* journal = GTK_TREE_LIST_ROW(g_list_model_get_item(G_LIST_MODEL(sidebar.selection()), 5));
    gtk_tree_list_row_set_expanded(journal, FALSE);
    EXPECT_FALSE(gtk_tree_list_row_get_expanded(journal));
    EXPECT_EQ(harness.store.selectedPageID().get(), "blog/first-post.html");
    EXPECT_FALSE(sidebar.highlightedDocumentID());

    // Opened again, the row is highlighted again.
    gtk_tree_list_row_set_expanded(journal, TRUE);
    EXPECT_EQ(sidebar.highlightedDocumentID(), "blog/first-post.html");
    g_object_unref(journal);
}

TEST(SidebarView, RefusedSelectionKeepsTheOldRowHighlightedAndShowsTheError)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    auto root = copyFixtureSite("studio", folder);
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());
    harness.store.loadWorkspace(root);
    drainMainLoop();
    SidebarView& sidebar = content.sidebar();

    harness.type(u"<h1>Changed</h1>\n");
    // Running as root, permission bits don't stop a write: a folder in the file's place does.
    std::filesystem::remove(root / "index.html");
    std::filesystem::create_directory(root / "index.html");

    clickRow(sidebar, "About Us");

    EXPECT_EQ(harness.store.selectedPageID().get(), "index.html");
    EXPECT_EQ(sidebar.highlightedDocumentID(), "index.html");
    ASSERT_TRUE(harness.store.errorMessage().get());
    StatusStripView& strip = content.editorPreview().statusStrip();
    EXPECT_TRUE(gtk_widget_get_mapped(strip.errorRow()));
    EXPECT_EQ(gtk_label_get_text(strip.errorLabel()), *harness.store.errorMessage().get());
    // The typed text is still in the editor.
    EXPECT_EQ(content.editorPreview().sourceEditor().bufferText(), u"<h1>Changed</h1>\n");
}

TEST(SidebarView, IdentityHeaderCountsPagesWithTheRightPlural)
{
    ViewHarness harness;
    SidebarView sidebar(harness.store, harness.settings);
    SiteIdentityHeader& header = sidebar.identityHeader();
    EXPECT_STREQ(gtk_label_get_text(header.nameLabel()), "No Site");
    EXPECT_STREQ(gtk_label_get_text(header.pageCountLabel()), "0 pages");

    TemporaryDirectory parent;
    auto onePage = parent.path() / "one-page";
    std::filesystem::create_directory(onePage);
    parent.write("one-page/index.html", "<h1>Only</h1>\n");
    harness.store.loadWorkspace(onePage / "");
    EXPECT_STREQ(gtk_label_get_text(header.nameLabel()), "one-page");
    EXPECT_STREQ(gtk_label_get_text(header.pageCountLabel()), "1 page");
    // A static site shows no source count.
    EXPECT_FALSE(gtk_widget_get_visible(header.sourceCount()));

    parent.write("two-pages/index.html", "<h1>One</h1>\n");
    parent.write("two-pages/about.html", "<h1>Two</h1>\n");
    harness.store.loadWorkspace(parent.path() / "two-pages");
    EXPECT_STREQ(gtk_label_get_text(header.nameLabel()), "two-pages");
    EXPECT_STREQ(gtk_label_get_text(header.pageCountLabel()), "2 pages");
    EXPECT_FALSE(gtk_widget_get_visible(header.sourceCount()));
}

TEST(SidebarView, WithoutASiteTheListGivesWayToTheEmptyState)
{
    ViewHarness harness;
    SidebarView sidebar(harness.store, harness.settings);
    TestWindow window(sidebar.widget(), 320, 800);

    auto labels = mappedLabelTexts(sidebar.widget());
    EXPECT_TRUE(contains(labels, "No Site Open"));
    EXPECT_TRUE(contains(labels, "Open a local website folder to inspect its pages."));
    EXPECT_FALSE(gtk_widget_get_mapped(sidebar.listSurface()));

    // A failed open empties the sidebar again, while the header keeps the old folder's name.
    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>\n");
    harness.store.loadWorkspace(site.path());
    drainMainLoop();
    EXPECT_TRUE(gtk_widget_get_mapped(sidebar.listSurface()));
    site.write("broken.html", "\xff\xfe not UTF-8\n");
    harness.store.loadWorkspace(site.path());
    drainMainLoop();
    EXPECT_TRUE(gtk_widget_get_mapped(sidebar.emptyState()));
    EXPECT_TRUE(sidebar.displayedRows().empty());
    EXPECT_STREQ(gtk_label_get_text(sidebar.identityHeader().pageCountLabel()), "0 pages");
}

TEST(SidebarView, VersionBadgeAndSurfaceOpacityFollowTheSettings)
{
    ViewHarness harness;
    SidebarView sidebar(harness.store, harness.settings);
    TestWindow window(sidebar.widget(), 320, 800);

    EXPECT_TRUE(gtk_widget_get_mapped(sidebar.versionBadge()));
    EXPECT_TRUE(contains(mappedLabelTexts(sidebar.versionBadge()), AppInfo::displayVersion()));
    EXPECT_DOUBLE_EQ(sidebar.appliedSurfaceOpacity(), 0.85);

    harness.settings.setShowVersionBadge(false);
    harness.settings.setSidebarOpacity(0.1);
    drainMainLoop();
    EXPECT_FALSE(gtk_widget_get_mapped(sidebar.versionBadge()));
    // The setting clamps to 0.4, and that is what the surface gets.
    EXPECT_DOUBLE_EQ(sidebar.appliedSurfaceOpacity(), 0.4);

    harness.settings.setShowVersionBadge(true);
    drainMainLoop();
    EXPECT_TRUE(gtk_widget_get_mapped(sidebar.versionBadge()));
}
