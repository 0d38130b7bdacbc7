#include "QuilloryApp/Creation/NewPageSheet.h"
#include "QuilloryApp/Git/GitDetailsSheet.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Shell/SidebarView.h"
#include "QuilloryApp/Shell/StatusStripView.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ScreenCapture.h"
#include "app/support/ViewTestSupport.h"
#include "support/GitRepository.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// A committed site in a real repository and a status strip in a window, over a manual scheduler
// whose Git work the test runs when it chooses.
struct StripWindow : ViewHarness {
    TemporaryDirectory site;
    GitRepository repository { site.path() };
    StatusStripView strip { store };
    TestWindow window { strip.widget(), 900, 120 };

    void openCommittedSite()
    {
        site.write("index.html", "<h1>Home</h1>\n");
        site.write("about.html", "<h1>About</h1>\n");
        repository.commitAll("First pages");
        store.loadWorkspace(site.path());
        scheduler.runBackgroundWorkAndDeliver();
        drainMainLoop();
    }

    std::string title() const { return gtk_label_get_text(strip.gitTitleLabel()); }
    std::string detail() const { return gtk_label_get_text(strip.gitDetailLabel()); }
    std::string iconName() const { return gtk_image_get_icon_name(strip.gitSymbol()); }
    bool hasColour(const char* styleClass) const { return gtk_widget_has_css_class(strip.gitTitleRow(), styleClass); }
    // The strip's words, its symbol's icon and the one colour class of its title.
    void expectState(const char* expectedTitle, const std::string& expectedDetail, const char* expectedIcon, const char* colourClass) const
    {
        EXPECT_EQ(title(), expectedTitle);
        EXPECT_EQ(detail(), expectedDetail);
        EXPECT_EQ(iconName(), expectedIcon);
        for (const char* each : { "quillory-git-secondary", "quillory-git-green", "quillory-git-orange", "quillory-git-sky" })
            EXPECT_EQ(hasColour(each), std::string_view(each) == colourClass) << each;
    }
    GdkRGBA titleColour() const
    {
        GdkRGBA colour;
        gtk_style_context_get_color(gtk_widget_get_style_context(GTK_WIDGET(strip.gitTitleLabel())), &colour);
        return colour;
    }

    // Clicks the strip's Git button and returns the sheet it opened.
    GitDetailsSheet& openSheet()
    {
        g_signal_emit_by_name(strip.gitButton(), "clicked");
        EXPECT_TRUE(strip.isShowingGitDetails());
        scheduler.runBackgroundWorkAndDeliver();
        drainMainLoop();
        return *strip.gitDetailsSheet();
    }
};

std::vector<std::string> sheetTexts(const GitDetailsSheet& sheet)
{
    return mappedLabelTexts(GTK_WIDGET(sheet.window()));
}

}

TEST(GitStatusStrip, WithoutASiteSaysNoWorkspaceInTheSecondaryColour)
{
    StripWindow harness;
    harness.expectState("No workspace", "Open a local site folder.", "folder-symbolic", "quillory-git-secondary");
    EXPECT_STREQ(gtk_widget_get_tooltip_text(harness.strip.gitButton()), "Show Git details for the selected file");
    EXPECT_FALSE(gtk_widget_get_visible(harness.strip.errorRow()));
}

TEST(GitStatusStrip, CheckingThenCleanInGreen)
{
    StripWindow harness;
    harness.site.write("index.html", "<h1>Home</h1>\n");
    harness.repository.commitAll("Home");
    harness.store.loadWorkspace(harness.site.path());
    harness.expectState("Checking Git", "Reading repository status.", "content-loading-symbolic", "quillory-git-secondary");

    harness.scheduler.runBackgroundWorkAndDeliver();
    harness.expectState("Git clean", "No tracked or untracked changes.", "object-select-symbolic", "quillory-git-green");
    auto colour = harness.titleColour();
    EXPECT_GT(colour.green, colour.red);
    EXPECT_GT(colour.green, colour.blue);
}

TEST(GitStatusStrip, FiveChangesShowTheCountAndThreeLinesInSky)
{
    StripWindow harness;
    harness.openCommittedSite();
    harness.site.write("index.html", "<h1>Changed</h1>\n");
    harness.site.write("about.html", "<h1>Changed</h1>\n");
    harness.site.write("a.html", "a");
    harness.site.write("b.html", "b");
    harness.site.write("c.html", "c");
    harness.store.startGitStatusRefresh(std::nullopt, GitRefreshDisplay::markLoading);
    harness.scheduler.runBackgroundWorkAndDeliver();

    harness.expectState("5 Git changes", " M about.html\n M index.html\n?? a.html", "document-edit-symbolic", "quillory-git-sky");
    auto colour = harness.titleColour();
    EXPECT_NEAR(colour.red, 0.35, 0.005);
    EXPECT_NEAR(colour.green, 0.72, 0.005);
    EXPECT_NEAR(colour.blue, 1.0, 0.005);
    EXPECT_NEAR(colour.alpha, 1.0, 0.005);
}

TEST(GitStatusStrip, OutsideARepositoryIsNotAGitRepoInOrange)
{
    StripWindow harness;
    TemporaryDirectory plain;
    plain.write("index.html", "<h1>Home</h1>\n");
    harness.store.loadWorkspace(plain.path());
    harness.scheduler.runBackgroundWorkAndDeliver();

    harness.expectState("Not a Git repo", "The selected folder is not inside a Git repository.", "dialog-warning-symbolic", "quillory-git-orange");
    auto colour = harness.titleColour();
    EXPECT_GT(colour.red, colour.green);
    EXPECT_GT(colour.green, colour.blue);
}

TEST(GitStatusStrip, StatusFailureIsGitUnavailableWithGitsMessage)
{
    StripWindow harness;
    harness.openCommittedSite();
    // A damaged index: Git still knows the work tree but can't tell its status.
    std::filesystem::resize_file(harness.site.path() / ".git" / "index", 10);
    harness.store.startGitStatusRefresh(std::nullopt, GitRefreshDisplay::markLoading);
    harness.scheduler.runBackgroundWorkAndDeliver();

    EXPECT_NE(harness.detail().find("index"), std::string::npos) << harness.detail();
    harness.expectState("Git unavailable", harness.detail(), "dialog-warning-symbolic", "quillory-git-orange");
}

TEST(GitStatusStrip, LongErrorMessageStaysOnOneLine)
{
    StripWindow harness;
    harness.openCommittedSite();
    int stripHeight = gtk_widget_get_height(harness.strip.widget());
    std::string longName(200, 'x');
    harness.site.write(longName + ".html", "x");

    harness.store.createPage(longName + ".html", false);
    harness.window.waitForFrame();

    ASSERT_TRUE(gtk_widget_get_visible(harness.strip.errorRow()));
    EXPECT_EQ(gtk_label_get_text(harness.strip.errorLabel()), longName + ".html already exists.");
    EXPECT_TRUE(gtk_label_get_single_line_mode(harness.strip.errorLabel()));
    EXPECT_EQ(gtk_label_get_ellipsize(harness.strip.errorLabel()), PANGO_ELLIPSIZE_END);
    EXPECT_EQ(gtk_widget_get_height(harness.strip.widget()), stripHeight);
    EXPECT_LE(gtk_widget_get_width(harness.strip.widget()), 900);
}

TEST(GitDetailsSheet, WithNoPageSelectedShowsUnavailableAndBothButtonsOff)
{
    StripWindow harness;
    harness.site.write("css/site.css", "body {}\n");
    harness.repository.commitAll("Styles only");
    harness.store.loadWorkspace(harness.site.path());
    harness.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_FALSE(harness.store.selectedPageID().get());

    auto& sheet = harness.openSheet();
    auto texts = sheetTexts(sheet);
    EXPECT_TRUE(contains(texts, "Git Details"));
    EXPECT_TRUE(contains(texts, "No file selected"));
    EXPECT_EQ(std::string(gtk_label_get_text(sheet.statusWordLabel())), "Unavailable");
    EXPECT_TRUE(gtk_widget_has_css_class(GTK_WIDGET(sheet.statusWordLabel()), "quillory-git-red"));
    // The message of the unavailable state isn't shown.
    EXPECT_FALSE(contains(texts, "No page selected."));
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet.trackButton()));
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet.restoreButton()));
}

TEST(GitDetailsSheet, ShowsItsSectionsAtItsMinimumSize)
{
    StripWindow harness;
    harness.openCommittedSite();
    harness.site.write("index.html", "<h1>Second</h1>\n");
    harness.repository.commitAll("Second version");
    harness.site.write("notes.txt", "n");
    harness.site.write("about.html", "<h1>Changed</h1>\n");

    auto& sheet = harness.openSheet();
    EXPECT_TRUE(gtk_window_get_modal(sheet.window()));
    EXPECT_EQ(gtk_window_get_transient_for(sheet.window()), GTK_WINDOW(harness.window.window()));
    int width = 0;
    int height = 0;
    gtk_widget_get_size_request(adw_window_get_content(ADW_WINDOW(sheet.window())), &width, &height);
    EXPECT_GE(width, 620);
    EXPECT_GE(height, 520);
    auto texts = sheetTexts(sheet);
    for (const char* text : { "Current File", "Workspace path", "Git path", "Status", "Clean", "Other Repository Changes",
             " M about.html", "?? notes.txt", "Recent History", "Second version", "First pages", "Close" })
        EXPECT_TRUE(contains(texts, text)) << text;
    EXPECT_TRUE(gtk_widget_has_css_class(GTK_WIDGET(sheet.statusWordLabel()), "quillory-git-green"));
    EXPECT_STREQ(gtk_widget_get_tooltip_text(sheet.trackButton()), "Run git add for only the selected file");
    EXPECT_STREQ(gtk_widget_get_tooltip_text(sheet.restoreButton()), "Replace only the selected file with its latest committed contents");
    EXPECT_TRUE(gtk_widget_has_css_class(sheet.restoreButton(), "destructive-action"));
    // A clean file can't be restored and is already tracked.
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet.trackButton()));
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet.restoreButton()));

    g_signal_emit_by_name(sheet.closeButton(), "clicked");
    EXPECT_FALSE(harness.strip.isShowingGitDetails());
}

TEST(GitDetailsSheet, EmptyListsSayNothingIsThere)
{
    StripWindow harness;
    harness.site.write("index.html", "<h1>Home</h1>\n");
    harness.store.loadWorkspace(harness.site.path());
    harness.scheduler.runBackgroundWorkAndDeliver();

    auto& sheet = harness.openSheet();
    auto texts = sheetTexts(sheet);
    EXPECT_TRUE(contains(texts, "No other changed paths."));
    EXPECT_TRUE(contains(texts, "No commits found for this file."));
    EXPECT_TRUE(contains(texts, "?? index.html"));
}

TEST(GitDetailsSheet, UntrackedFileCanBeTrackedAndTheSheetStaysOpen)
{
    StripWindow harness;
    harness.openCommittedSite();
    harness.site.write("notes.html", "<h1>Notes</h1>\n");
    harness.store.loadWorkspace(harness.site.path());
    ASSERT_TRUE(harness.store.requestSelectDocument("notes.html"));
    harness.scheduler.runBackgroundWorkAndDeliver();

    auto& sheet = harness.openSheet();
    EXPECT_EQ(std::string(gtk_label_get_text(sheet.statusWordLabel())), "Untracked");
    EXPECT_TRUE(gtk_widget_has_css_class(GTK_WIDGET(sheet.statusWordLabel()), "quillory-git-red"));
    EXPECT_TRUE(gtk_widget_get_sensitive(sheet.trackButton()));
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet.restoreButton()));

    g_signal_emit_by_name(sheet.trackButton(), "clicked");
    EXPECT_TRUE(harness.repository.indexHolds("notes.html"));
    harness.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_TRUE(harness.strip.isShowingGitDetails());
    EXPECT_EQ(std::string(gtk_label_get_text(sheet.statusWordLabel())), "Added");
    EXPECT_TRUE(gtk_widget_has_css_class(GTK_WIDGET(sheet.statusWordLabel()), "quillory-git-orange"));
    // Added but never committed: neither action applies.
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet.trackButton()));
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet.restoreButton()));
}

TEST(GitDetailsSheet, ModifiedFileIsRestoredThroughTheConfirmation)
{
    StripWindow harness;
    harness.openCommittedSite();
    harness.type(u"<h1>Edited</h1>\n");
    ASSERT_TRUE(harness.store.autosaveCurrentPageIfNeeded());
    harness.scheduler.runBackgroundWorkAndDeliver();

    auto& sheet = harness.openSheet();
    EXPECT_EQ(std::string(gtk_label_get_text(sheet.statusWordLabel())), "Modified");
    EXPECT_TRUE(contains(sheetTexts(sheet), " M index.html"));
    EXPECT_TRUE(gtk_widget_get_sensitive(sheet.restoreButton()));
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet.trackButton()));

    g_signal_emit_by_name(sheet.restoreButton(), "clicked");
    ASSERT_TRUE(sheet.isConfirmingRestore());
    auto* dialog = sheet.restoreConfirmation();
    ASSERT_TRUE(dialog);
    EXPECT_STREQ(adw_message_dialog_get_heading(dialog), "Restore selected file from Git HEAD?");
    EXPECT_STREQ(adw_message_dialog_get_body(dialog),
                 "This replaces only index.html with its latest committed contents. Other changed files are left alone.");
    EXPECT_STREQ(adw_message_dialog_get_response_label(dialog, "restore"), "Restore Current File");
    EXPECT_STREQ(adw_message_dialog_get_response_label(dialog, "cancel"), "Cancel");
    EXPECT_EQ(adw_message_dialog_get_response_appearance(dialog, "restore"), ADW_RESPONSE_DESTRUCTIVE);
    EXPECT_STREQ(adw_message_dialog_get_close_response(dialog), "cancel");

    adw_message_dialog_response(dialog, "cancel");
    EXPECT_FALSE(sheet.isConfirmingRestore());
    EXPECT_EQ(harness.site.read("index.html"), "<h1>Edited</h1>\n");

    g_signal_emit_by_name(sheet.restoreButton(), "clicked");
    ASSERT_TRUE(sheet.restoreConfirmation());
    adw_message_dialog_response(sheet.restoreConfirmation(), "restore");
    EXPECT_EQ(harness.site.read("index.html"), "<h1>Home</h1>\n");
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Home</h1>\n");
    // The sheet stays open and turns to "Clean" once the refreshed snapshot arrives.
    ASSERT_TRUE(harness.strip.isShowingGitDetails());
    EXPECT_EQ(std::string(gtk_label_get_text(sheet.statusWordLabel())), "Modified");
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(std::string(gtk_label_get_text(sheet.statusWordLabel())), "Clean");
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet.restoreButton()));
    EXPECT_EQ(harness.title(), "Git clean");
}

TEST(GitToolbar, NewPageAndRefreshGitStatusNeedAnOpenSite)
{
    ViewHarness harness;
    TemporaryDirectory site;
    GitRepository repository(site.path());
    site.write("index.html", "<h1>Home</h1>\n");
    repository.commitAll("Home");
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());

    EXPECT_STREQ(gtk_widget_get_tooltip_text(content.newPageButton()), "New Page");
    EXPECT_STREQ(gtk_button_get_icon_name(GTK_BUTTON(content.newPageButton())), "document-new-symbolic");
    EXPECT_STREQ(gtk_widget_get_tooltip_text(content.refreshGitStatusButton()), "Refresh Git Status");
    EXPECT_STREQ(gtk_button_get_icon_name(GTK_BUTTON(content.refreshGitStatusButton())), "emblem-synchronizing-symbolic");
    EXPECT_FALSE(gtk_widget_get_sensitive(content.newPageButton()));
    EXPECT_FALSE(gtk_widget_get_sensitive(content.refreshGitStatusButton()));

    harness.store.loadWorkspace(site.path());
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_TRUE(gtk_widget_get_sensitive(content.newPageButton()));
    EXPECT_TRUE(gtk_widget_get_sensitive(content.refreshGitStatusButton()));
    ASSERT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::clean());

    site.write("index.html", "<h1>Changed outside</h1>\n");
    g_signal_emit_by_name(content.refreshGitStatusButton(), "clicked");
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::loading());
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::dirty({ " M index.html" }));
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->currentFileStatus.kind, FileGitSnapshot::FileState::Kind::modified);
}

TEST(NewPageSheetWindow, CreatesAPageEndToEnd)
{
    ViewHarness harness;
    TemporaryDirectory site;
    GitRepository repository(site.path());
    site.write("index.html", "<h1>Home</h1>\n");
    site.write("blog/post.html", "<h1>Post</h1>\n");
    repository.commitAll("First pages");
    site.write("drafts/old.html", "<h1>Old</h1>\n");
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());
    harness.store.loadWorkspace(site.path());
    ASSERT_TRUE(harness.store.requestSelectDocument("blog/post.html"));
    harness.scheduler.runBackgroundWorkAndDeliver();
    harness.store.createPage("index.html", false);
    ASSERT_TRUE(harness.store.errorMessage().get());

    g_signal_emit_by_name(content.newPageButton(), "clicked");
    auto* sheet = content.newPageSheet();
    ASSERT_TRUE(sheet);
    drainMainLoop();
    EXPECT_TRUE(gtk_window_get_modal(sheet->window()));
    auto texts = mappedLabelTexts(GTK_WIDGET(sheet->window()));
    for (const char* text : { "New Page", "Create an HTML file inside an existing Git-tracked folder.", "Relative path",
             "Examples: about.html, blog/new-post.html", "Add to Git tracking after creating", "Cancel", "Create" })
        EXPECT_TRUE(contains(texts, text)) << text;
    // On appearing: the old error is gone and the suggested path fills the focused field.
    EXPECT_FALSE(harness.store.errorMessage().get());
    EXPECT_FALSE(gtk_widget_get_visible(sheet->errorRow()));
    EXPECT_STREQ(gtk_editable_get_text(GTK_EDITABLE(sheet->pathEntry())), "blog/untitled.html");
    GtkWidget* focus = gtk_window_get_focus(sheet->window());
    GtkWidget* entry = GTK_WIDGET(sheet->pathEntry());
    EXPECT_TRUE(focus && (focus == entry || gtk_widget_is_ancestor(focus, entry)));
    EXPECT_FALSE(gtk_switch_get_active(sheet->addToGitTrackingSwitch()));
    EXPECT_EQ(gtk_window_get_default_widget(sheet->window()), sheet->createButton());

    gtk_editable_set_text(GTK_EDITABLE(sheet->pathEntry()), "  \n");
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet->createButton()));
    // Submitting a blank path does nothing.
    g_signal_emit_by_name(sheet->pathEntry(), "activate");
    EXPECT_FALSE(harness.store.errorMessage().get());
    gtk_editable_set_text(GTK_EDITABLE(sheet->pathEntry()), "drafts/new.html");
    EXPECT_TRUE(gtk_widget_get_sensitive(sheet->createButton()));
    g_signal_emit_by_name(sheet->createButton(), "clicked");
    // Refused: the sheet stays with the message.
    ASSERT_EQ(content.newPageSheet(), sheet);
    EXPECT_TRUE(gtk_widget_get_visible(sheet->errorRow()));
    EXPECT_STREQ(gtk_label_get_text(sheet->errorLabel()), "Cannot create drafts/new.html because drafts is not a Git-tracked folder.");

    gtk_editable_set_text(GTK_EDITABLE(sheet->pathEntry()), "blog/fresh-start");
    gtk_switch_set_active(sheet->addToGitTrackingSwitch(), TRUE);
    // Submitting the field does what "Create" does.
    g_signal_emit_by_name(sheet->pathEntry(), "activate");
    EXPECT_FALSE(content.newPageSheet());
    EXPECT_EQ(harness.store.selectedPageID().get(), "blog/fresh-start.html");
    EXPECT_TRUE(repository.indexHolds("blog/fresh-start.html"));
    drainMainLoop();
    auto rows = content.sidebar().displayedRows();
    EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [](const auto& row) { return row.documentID == "blog/fresh-start.html" && row.title == "Fresh Start"; }));
    EXPECT_EQ(content.sidebar().highlightedDocumentID(), "blog/fresh-start.html");
}

TEST(NewPageSheetWindow, CancelClosesWithoutCreating)
{
    ViewHarness harness;
    TemporaryDirectory site;
    GitRepository repository(site.path());
    site.write("index.html", "<h1>Home</h1>\n");
    repository.commitAll("Home");
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());
    harness.store.loadWorkspace(site.path());

    g_signal_emit_by_name(content.newPageButton(), "clicked");
    ASSERT_TRUE(content.newPageSheet());
    EXPECT_STREQ(gtk_editable_get_text(GTK_EDITABLE(content.newPageSheet()->pathEntry())), "untitled.html");
    g_signal_emit_by_name(content.newPageSheet()->cancelButton(), "clicked");
    EXPECT_FALSE(content.newPageSheet());
    EXPECT_FALSE(std::filesystem::exists(site.path() / "untitled.html"));
}

TEST(GitWindowOnScreen, StripAndGitDetailsPictures)
{
    ViewHarness harness;
    TemporaryDirectory site;
    GitRepository repository(site.path());
    site.write("index.html", "<!doctype html>\n<title>Harbour Notes</title>\n<h1>Harbour Notes</h1>\n<p>Tide tables and moorings.</p>\n");
    site.write("moorings.html", "<!doctype html>\n<title>Moorings</title>\n<h1>Moorings</h1>\n");
    repository.commitAll("First pages");
    site.write("index.html", "<!doctype html>\n<title>Harbour Notes</title>\n<h1>Harbour Notes</h1>\n<p>Tide tables, moorings and the ferry.</p>\n");
    repository.commitAll("Mention the ferry");
    site.write("index.html", "<!doctype html>\n<title>Harbour Notes</title>\n<h1>Harbour Notes</h1>\n<p>Draft: winter hours.</p>\n");
    site.write("ferry.html", "<h1>Ferry</h1>\n");
    site.write("css/site.css", "body { margin: 0; }\n");
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());
    harness.store.loadWorkspace(site.path());
    harness.scheduler.runBackgroundWorkAndDeliver();
    window.waitForFrame();
    ASSERT_EQ(harness.store.gitStatus()->title(), "3 Git changes");

    TemporaryDirectory captures;
    auto stripPicture = captures.path() / "git-status-strip.png";
    ASSERT_TRUE(saveScreenCapture(window.window(), stripPicture));

    auto& strip = content.editorPreview().statusStrip();
    g_signal_emit_by_name(strip.gitButton(), "clicked");
    harness.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_TRUE(strip.gitDetailsSheet());
    GtkWidget* sheet = GTK_WIDGET(strip.gitDetailsSheet()->window());
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_widget_get_mapped(sheet) && gtk_widget_get_width(sheet) >= 620; }));
    waitFor(std::chrono::milliseconds(300));
    auto sheetPicture = captures.path() / "git-details-sheet.png";
    ASSERT_TRUE(saveScreenCapture(sheet, sheetPicture));

    // scripts/snapshot-window.sh sets these to keep the pictures in docs/.
    if (const char* keep = std::getenv("QUILLORY_GIT_STRIP_SNAPSHOT"))
        std::filesystem::copy_file(stripPicture, keep, std::filesystem::copy_options::overwrite_existing);
    if (const char* keep = std::getenv("QUILLORY_GIT_DETAILS_SNAPSHOT"))
        std::filesystem::copy_file(sheetPicture, keep, std::filesystem::copy_options::overwrite_existing);
}
