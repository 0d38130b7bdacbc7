#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "app/support/WorkspaceHarness.h"
#include "support/FileSizeLimit.h"
#include "support/GitRepository.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using namespace Quillory;
using namespace QuilloryTest;
using Kind = FileGitSnapshot::FileState::Kind;

namespace {

// A committed site with a tracked "blog" folder and an untracked "drafts" folder, opened.
struct TrackedSite : WorkspaceHarness {
    TemporaryDirectory site;
    GitRepository repository { site.path() };

    TrackedSite()
    {
        site.write("index.html", "<h1>Home</h1>\n");
        site.write("blog/post.html", "<h1>Post</h1>\n");
        repository.commitAll("First pages");
        site.write("drafts/old.html", "<h1>Untracked</h1>\n");
        store.loadWorkspace(site.path());
        scheduler.runBackgroundWorkAndDeliver();
    }

    bool hasPage(const std::string& id) const
    {
        const auto& pages = store.siteMap().get()->pages;
        return std::any_of(pages.begin(), pages.end(), [&](const auto& page) { return page.id == id; });
    }
};

std::string starterPage(const std::string& title)
{
    return "<!doctype html>\n<html lang=\"en\">\n<head>\n    <meta charset=\"utf-8\">\n"
           "    <meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n    <title>"
        + title + "</title>\n</head>\n<body>\n    <main>\n        <h1>" + title + "</h1>\n    </main>\n</body>\n</html>";
}

}

TEST(CreatePage, WithoutAnOpenSiteIsRefused)
{
    WorkspaceHarness harness;
    EXPECT_FALSE(harness.store.createPage("about.html", false));
    EXPECT_EQ(harness.store.errorMessage().get(), "Open a local site before creating a page.");
}

TEST(CreatePage, RefusalsComeInOrderWithTheirText)
{
    TrackedSite harness;
    TemporaryDirectory outside;
    std::filesystem::create_directory_symlink(outside.path(), harness.site.path() / "elsewhere");
    struct Refusal {
        const char* input;
        const char* message;
    };
    const Refusal refusals[] = {
        { "/about.html", "Create pages inside the opened site; absolute paths are not allowed." },
        // An absolute path that is also unsafe and has the wrong extension is refused as absolute.
        { "  /../notes.txt", "Create pages inside the opened site; absolute paths are not allowed." },
        { "\\\\/", "Enter a relative page path, such as about.html." },
        { "   ", "Enter a relative page path, such as about.html." },
        { "notes.txt", "New pages must be .html or .htm files." },
        { "../notes.txt", "New pages must be .html or .htm files." },
        { "../outside.html", "Create pages inside the opened site; parent-directory paths are not allowed." },
        { "blog/./x.html", "Create pages inside the opened site; parent-directory paths are not allowed." },
        { "elsewhere/page.html", "Create pages inside the opened site; parent-directory paths are not allowed." },
        { "index.html", "index.html already exists." },
        { "blog/post", "blog/post.html already exists." },
        // An existing file is refused before the parent folder or Git are asked.
        { "drafts/old.html", "drafts/old.html already exists." },
        { "missing/page.html", "Create the parent folder first, then add the page inside a Git-tracked folder." },
        { "drafts/new.html", "Cannot create drafts/new.html because drafts is not a Git-tracked folder." },
    };
    for (const auto& refusal : refusals) {
        harness.store.clearErrorMessage();
        EXPECT_FALSE(harness.store.createPage(refusal.input, false)) << refusal.input;
        EXPECT_EQ(harness.store.errorMessage().get(), refusal.message) << refusal.input;
    }
    EXPECT_FALSE(std::filesystem::exists(outside.path() / "page.html"));
    EXPECT_FALSE(std::filesystem::exists(harness.site.path() / "drafts" / "new.html"));
    EXPECT_EQ(harness.store.selectedPageID().get(), "index.html");
}

TEST(CreatePage, ExistingFileIsRefusedEvenOutsideARepository)
{
    OpenSite harness;
    EXPECT_FALSE(harness.store.createPage("index.html", false));
    EXPECT_EQ(harness.store.errorMessage().get(), "index.html already exists.");
}

TEST(CreatePage, SiteOutsideARepositoryIsRefused)
{
    OpenSite harness;
    EXPECT_FALSE(harness.store.createPage("about.html", false));
    EXPECT_EQ(harness.store.errorMessage().get(), "Cannot create pages because the opened site is not inside a Git repository.");
    EXPECT_FALSE(std::filesystem::exists(harness.site.path() / "about.html"));
}

TEST(CreatePage, UntrackedSiteRootIsNamedSiteRoot)
{
    WorkspaceHarness harness;
    TemporaryDirectory folder;
    GitRepository repository(folder.path());
    folder.write("README.md", "readme");
    repository.commitAll("Readme only");
    folder.write("site/index.html", "<h1>Home</h1>\n");
    harness.store.loadWorkspace(folder.path() / "site");

    EXPECT_FALSE(harness.store.createPage("about.html", false));
    EXPECT_EQ(harness.store.errorMessage().get(), "Cannot create about.html because site root is not a Git-tracked folder.");
}

TEST(CreatePage, FailedAutosaveStopsItWithTheWriteError)
{
    TrackedSite harness;
    ASSERT_TRUE(harness.store.requestSelectDocument("blog/post.html"));
    harness.type(u"<h1>Unsaved</h1>\n");
    std::optional<FileSizeLimit> limit(std::in_place, 4);

    EXPECT_FALSE(harness.store.createPage("about.html", false));
    limit.reset();
    ASSERT_TRUE(harness.store.errorMessage().get());
    EXPECT_NE(harness.store.errorMessage()->value_or("").find("post.html"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(harness.site.path() / "about.html"));
    EXPECT_EQ(harness.store.selectedPageID().get(), "blog/post.html");
}

TEST(CreatePage, AboutCreatesAboutHtmlAndSelectsItWithAFreshSession)
{
    TrackedSite harness;
    harness.type(u"<h1>Home, edited</h1>\n");
    auto token = harness.store.previewReloadToken().get();

    EXPECT_TRUE(harness.store.createPage("about", false));

    EXPECT_FALSE(harness.store.errorMessage().get());
    EXPECT_EQ(harness.site.read("about.html"), starterPage("About"));
    // The pending text was written first.
    EXPECT_EQ(harness.site.read("index.html"), "<h1>Home, edited</h1>\n");
    EXPECT_EQ(harness.store.selectedPageID().get(), "about.html");
    EXPECT_TRUE(harness.hasPage("about.html"));
    EXPECT_EQ(harness.store.editorText().get(), UnicodeText::utf16(starterPage("About")));
    EXPECT_EQ(harness.store.editStateDescription(), "At opened baseline");
    EXPECT_TRUE(harness.store.selectedPageUndoHistory().empty());
    EXPECT_NE(harness.store.previewReloadToken().get(), token);
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::loading());
    EXPECT_FALSE(harness.repository.indexHolds("about.html"));

    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->workspaceRelativePath, "about.html");
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->currentFileStatus.kind, Kind::untracked);
    EXPECT_EQ(harness.store.gitStatus()->state, GitStatusSnapshot::State::dirty);

    // Other documents keep their sessions through the rebuild.
    ASSERT_TRUE(harness.store.requestSelectDocument("index.html"));
    EXPECT_EQ(harness.store.selectedEditSession()->openedBaselineText, u"<h1>Home</h1>\n");
}

TEST(CreatePage, BackslashPathCreatesThePageInTheFolder)
{
    TrackedSite harness;
    EXPECT_TRUE(harness.store.createPage("blog\\new-post", false));
    EXPECT_EQ(harness.store.selectedPageID().get(), "blog/new-post.html");
    EXPECT_EQ(harness.site.read("blog/new-post.html"), starterPage("New Post"));
}

TEST(CreatePage, LeadingBackslashIsAccepted)
{
    TrackedSite harness;
    EXPECT_TRUE(harness.store.createPage("\\about.html", false));
    EXPECT_TRUE(std::filesystem::exists(harness.site.path() / "about.html"));
}

TEST(CreatePage, UppercaseExtensionIsAcceptedAndKeepsItsCase)
{
    TrackedSite harness;
    EXPECT_TRUE(harness.store.createPage("Intro.HTML", false));
    EXPECT_EQ(harness.store.selectedPageID().get(), "Intro.HTML");
    EXPECT_TRUE(std::filesystem::exists(harness.site.path() / "Intro.HTML"));
}

TEST(CreatePage, TitleComesFromTheFileName)
{
    TrackedSite harness;
    EXPECT_TRUE(harness.store.createPage("my-first_page.html", false));
    auto page = harness.site.read("my-first_page.html");
    EXPECT_NE(page.find("<title>My First Page</title>"), std::string::npos);
    EXPECT_NE(page.find("<h1>My First Page</h1>"), std::string::npos);
}

TEST(CreatePage, WithGitTrackingTheFileIsInTheIndex)
{
    TrackedSite harness;
    EXPECT_TRUE(harness.store.createPage("blog/second.html", true));
    EXPECT_FALSE(harness.store.errorMessage().get());
    EXPECT_TRUE(harness.repository.indexHolds("blog/second.html"));
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(harness.store.selectedPageGitSnapshot()->currentFileStatus.kind, Kind::added);
    EXPECT_EQ(harness.store.gitStatus().get(), GitStatusSnapshot::dirty({ "A  blog/second.html", "?? drafts/" }));
}

TEST(CreatePage, ResetsTheFenceAndThePageSnapshot)
{
    TrackedSite harness;
    harness.store.brightloopStore().setPendingFence(BrightloopRect { 1, 1, 20, 20 });
    PageInspectionSnapshot snapshot;
    snapshot.title = "Shown";
    harness.store.pageInspectionStore().setSnapshot(snapshot);

    EXPECT_TRUE(harness.store.createPage("about.html", false));
    EXPECT_FALSE(harness.store.brightloopStore().pendingFence().get());
    EXPECT_FALSE(harness.store.pageInspectionStore().snapshot().get());
}

TEST(CreatePage, SuggestedPathFollowsTheSelectedDocumentsFolder)
{
    TrackedSite harness;
    EXPECT_EQ(harness.store.suggestedNewPagePath(), "untitled.html");
    ASSERT_TRUE(harness.store.requestSelectDocument("blog/post.html"));
    EXPECT_EQ(harness.store.suggestedNewPagePath(), "blog/untitled.html");
    WorkspaceHarness empty;
    EXPECT_EQ(empty.store.suggestedNewPagePath(), "untitled.html");
}
