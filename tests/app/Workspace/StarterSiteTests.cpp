#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "app/support/WorkspaceHarness.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

const std::string untitledSitePage = "<!doctype html>\n"
                                     "<html lang=\"en\">\n"
                                     "<head>\n"
                                     "    <meta charset=\"utf-8\">\n"
                                     "    <meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                                     "    <title>Untitled Site</title>\n"
                                     "</head>\n"
                                     "<body>\n"
                                     "    <main>\n"
                                     "        <h1>Untitled Site</h1>\n"
                                     "    </main>\n"
                                     "</body>\n"
                                     "</html>";

}

TEST(StarterSite, CreateNewSiteIntoNewFolderWritesExactStarterPageAndOpensIt)
{
    WorkspaceHarness harness;
    TemporaryDirectory parent;
    auto folder = parent.path() / "Untitled Site";

    harness.store.createStarterWorkspace(folder);

    EXPECT_FALSE(harness.store.errorMessage().get());
    EXPECT_EQ(parent.read("Untitled Site/index.html"), untitledSitePage);
    EXPECT_EQ(harness.store.rootURL().get(), folder);
    ASSERT_TRUE(harness.store.siteMap().get());
    ASSERT_EQ(harness.store.siteMap().get()->pages.size(), 1u);
    EXPECT_EQ(harness.store.siteMap().get()->pages.front().title, "Untitled Site");
    EXPECT_EQ(harness.store.selectedPageID().get(), "index.html");
    EXPECT_EQ(harness.store.editorText().get(), UnicodeText::utf16(untitledSitePage));
    EXPECT_EQ(harness.store.editStateDescription(), "At opened baseline");
    // No repository is made: the folder holds the page and nothing else.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()), 1);
    ASSERT_FALSE(harness.store.recentProjects()->empty());
    EXPECT_EQ(harness.store.recentProjects()->front().path, folder.string());
}

TEST(StarterSite, NewSiteIsCreatedWithIntermediateFoldersAndStandardizedPath)
{
    WorkspaceHarness harness;
    TemporaryDirectory parent;

    harness.store.createStarterWorkspace(parent.path() / "a" / "b" / ".." / "my-first_site");

    auto folder = parent.path() / "a" / "my-first_site";
    EXPECT_EQ(harness.store.rootURL().get(), folder);
    auto page = parent.read("a/my-first_site/index.html");
    EXPECT_NE(page.find("<title>My First Site</title>"), std::string::npos);
    EXPECT_NE(page.find("<h1>My First Site</h1>"), std::string::npos);
}

TEST(StarterSite, FolderThatExistsIsRefusedAndLeftAlone)
{
    WorkspaceHarness harness;
    TemporaryDirectory parent;
    parent.write("Existing/keep.txt", "keep");

    harness.store.createStarterWorkspace(parent.path() / "Existing");

    EXPECT_EQ(harness.store.errorMessage().get(), "Existing already exists.");
    EXPECT_FALSE(std::filesystem::exists(parent.path() / "Existing" / "index.html"));
    EXPECT_EQ(parent.read("Existing/keep.txt"), "keep");
    EXPECT_FALSE(harness.store.rootURL().get());
}

TEST(StarterSite, FileInThePlaceOfTheFolderIsRefused)
{
    WorkspaceHarness harness;
    TemporaryDirectory parent;
    parent.write("Taken", "a file");

    harness.store.createStarterWorkspace(parent.path() / "Taken");

    EXPECT_EQ(harness.store.errorMessage().get(), "Taken already exists.");
    EXPECT_EQ(parent.read("Taken"), "a file");
}

TEST(StarterSite, CreatingWhileCurrentPageCantBeWrittenStopsBeforeMakingTheFolder)
{
    WorkspaceHarness harness;
    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>\n");
    harness.store.loadWorkspace(site.path());
    harness.type(u"<h1>Typed</h1>\n");
    std::filesystem::remove(site.path() / "index.html");
    std::filesystem::create_directory(site.path() / "index.html");
    TemporaryDirectory parent;

    harness.store.createStarterWorkspace(parent.path() / "New Site");

    EXPECT_TRUE(harness.store.errorMessage().get());
    EXPECT_FALSE(std::filesystem::exists(parent.path() / "New Site"));
    EXPECT_EQ(harness.store.rootURL().get(), site.path());
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Typed</h1>\n");
}

TEST(StarterSite, FolderThatCantBeCreatedShowsWhy)
{
    WorkspaceHarness harness;
    TemporaryDirectory parent;
    parent.write("file", "not a folder");

    harness.store.createStarterWorkspace(parent.path() / "file" / "Site");

    ASSERT_TRUE(harness.store.errorMessage().get());
    EXPECT_NE(harness.store.errorMessage()->value_or("").find("couldn\u2019t be created"), std::string::npos) << *harness.store.errorMessage().get();
    EXPECT_EQ(parent.read("file"), "not a folder");
    EXPECT_FALSE(harness.store.rootURL().get());
}

TEST(StarterSite, StarterPageTakesTitleFromFileNameInTitleAndHeading)
{
    auto page = UnicodeText::utf8FromUTF16(WorkspaceStore::starterPageText(WorkspaceStore::pageTitle("my-first_page.html")));
    EXPECT_NE(page.find("    <title>My First Page</title>\n"), std::string::npos);
    EXPECT_NE(page.find("        <h1>My First Page</h1>\n"), std::string::npos);
}

TEST(StarterSite, StarterPageInsertsTitleWithoutEscaping)
{
    auto page = UnicodeText::utf8FromUTF16(WorkspaceStore::starterPageText("A & B <i>"));
    EXPECT_NE(page.find("<title>A & B <i></title>"), std::string::npos);
    EXPECT_NE(page.find("<h1>A & B <i></h1>"), std::string::npos);
    EXPECT_TRUE(page.ends_with("</html>"));
}

TEST(StarterSite, PageTitleTable)
{
    struct Case {
        const char* path;
        const char* title;
    };
    const Case cases[] = {
        { "my-first_page.html", "My First Page" },
        { "Untitled Site", "Untitled Site" },
        { "blog/index.html", "Blog" },
        { "docs/guides/index.htm", "Guides" },
        { "blog/my-post.htm", "My Post" },
        { "my.site", "My" },
        { "release-notes.v2", "Release Notes" },
        { "FAQ", "Faq" },
        { "  spaced--out__name .html", "Spaced Out Name" },
        { "index.html", "Index" },
        { "---", "New Page" },
        { "", "New Page" },
        { "about/", "About" },
        { "café-menu.html", "Café Menu" },
    };
    for (const auto& testCase : cases)
        EXPECT_EQ(WorkspaceStore::pageTitle(testCase.path), testCase.title) << testCase.path;
}
