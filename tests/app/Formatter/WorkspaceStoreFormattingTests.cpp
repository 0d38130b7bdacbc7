// Formatting the selected document through the workspace store, with the real dprint run on the
// manual scheduler's worker step, so each test decides when the result comes back.

#include "QuilloryApp/Formatter/DprintFormatterService.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "app/support/WorkspaceHarness.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

constexpr const char* messyPage = "<html><body><div><p>Hello</p>\n<span>x</span></div></body></html>";
constexpr const char* formattedPage = "<html>\n  <body>\n    <div>\n      <p>Hello</p>\n      <span>x</span>\n    </div>\n  </body>\n</html>\n";

// A site with a messy "index.html" and a second page, opened, with the bundled formatter.
struct FormattingSite : WorkspaceHarness {
    TemporaryDirectory site;
    TemporaryDirectory temporary;

    FormattingSite()
    {
        site.write("index.html", messyPage);
        site.write("about.html", "<h1>About</h1>\n");
        store.setFormatterService(DprintFormatterService(QUILLORY_DPRINT_ROOT, temporary.path()));
        store.loadWorkspace(site.path());
    }

    std::string editorText() const { return UnicodeText::utf8FromUTF16(store.editorText().get()); }
    bool isTemporaryFolderEmpty() const { return std::filesystem::is_empty(temporary.path()); }
};

// A stand-in for dprint: a shell script in the resource layout, beside five empty plug-in files.
DprintFormatterService scriptedService(const TemporaryDirectory& root, const TemporaryDirectory& temporary, std::string_view script)
{
    auto executable = DprintFormatterService::executableURL(root.path());
    root.write(std::filesystem::relative(executable, root.path()).string(), script);
    std::filesystem::permissions(executable, std::filesystem::perms::owner_all, std::filesystem::perm_options::add);
    for (const auto& plugin : DprintFormatterService::pluginURLs(root.path()))
        root.write(std::filesystem::relative(plugin, root.path()).string(), "");
    return DprintFormatterService(root.path(), temporary.path());
}

}

TEST(WorkspaceStoreFormatting, CanFormatNeedsASupportedSelectionAndTheBundledFormatter)
{
    FormattingSite site;
    EXPECT_TRUE(site.store.selectedDocumentCanFormat());

    site.store.setFormatterService(DprintFormatterService(std::nullopt, site.temporary.path()));
    EXPECT_FALSE(site.store.selectedDocumentCanFormat());

    WorkspaceHarness empty;
    empty.store.setFormatterService(DprintFormatterService(QUILLORY_DPRINT_ROOT, site.temporary.path()));
    EXPECT_FALSE(empty.store.selectedDocumentCanFormat());
}

TEST(WorkspaceStoreFormatting, FormattedTextBecomesOneEditThatAutosavesAndReloads)
{
    FormattingSite site;
    auto tokenBefore = site.store.previewReloadToken().get();
    site.store.requestPageInspectionSnapshot();
    ASSERT_TRUE(site.store.pageInspectionStore().isLoading().get());

    site.store.formatSelectedDocument();
    EXPECT_TRUE(site.store.isFormattingDocument().get());
    // Nothing changes until the worker's result reaches the main thread.
    EXPECT_EQ(site.editorText(), messyPage);
    site.scheduler.runBackgroundWorkAndDeliver();

    EXPECT_FALSE(site.store.isFormattingDocument().get());
    EXPECT_EQ(site.editorText(), formattedPage);
    EXPECT_EQ(site.store.errorMessage().get(), std::nullopt);
    EXPECT_NE(site.store.previewReloadToken().get(), tokenBefore);
    EXPECT_FALSE(site.store.pageInspectionStore().isLoading().get());
    auto history = site.store.selectedPageUndoHistory();
    ASSERT_EQ(history.size(), 1u);
    EXPECT_EQ(UnicodeText::utf8FromUTF16(history.front().previewText), messyPage);
    EXPECT_EQ(site.store.editStateDescription(), "Pending autosave");
    EXPECT_TRUE(site.isTemporaryFolderEmpty());

    // It reaches the file through the ordinary autosave.
    site.scheduler.advance(WorkspaceStore::autosaveDelay);
    site.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(site.site.read("index.html"), formattedPage);

    // And one undo takes it back.
    EXPECT_TRUE(site.store.undoSelectedPageChange());
    EXPECT_EQ(site.editorText(), messyPage);
}

TEST(WorkspaceStoreFormatting, AlreadyFormattedTextRegistersNoEditButClearsAnEarlierError)
{
    FormattingSite site;
    // An earlier run that failed leaves its message.
    site.type(u"<div");
    site.store.formatSelectedDocument();
    site.scheduler.runBackgroundWorkAndDeliver();
    ASSERT_EQ(site.store.errorMessage().get(), "dprint formatting failed.");

    site.type(UnicodeText::utf16(formattedPage));
    auto historyBefore = site.store.selectedPageUndoHistory().size();
    auto tokenBefore = site.store.previewReloadToken().get();
    site.store.formatSelectedDocument();
    site.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(site.editorText(), formattedPage);
    EXPECT_EQ(site.store.selectedPageUndoHistory().size(), historyBefore);
    EXPECT_EQ(site.store.previewReloadToken().get(), tokenBefore);
    EXPECT_EQ(site.store.errorMessage().get(), std::nullopt);
    EXPECT_FALSE(site.store.isFormattingDocument().get());
}

TEST(WorkspaceStoreFormatting, SecondCallWhileOneRunsDoesNothing)
{
    FormattingSite site;
    // The load's Git refreshes are background work of their own.
    auto loadWork = site.scheduler.pendingWorkCount();
    site.store.formatSelectedDocument();
    site.store.formatSelectedDocument();
    EXPECT_EQ(site.scheduler.pendingWorkCount(), loadWork + 1);
    site.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(site.store.selectedPageUndoHistory().size(), 1u);
    EXPECT_EQ(site.scheduler.dispatchedWorkCount(), loadWork + 1);
}

TEST(WorkspaceStoreFormatting, UnparsableTextReportsTheFailureAndLeavesTheText)
{
    FormattingSite site;
    site.type(u"<div");
    auto historyBefore = site.store.selectedPageUndoHistory().size();
    site.store.formatSelectedDocument();
    site.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_FALSE(site.store.isFormattingDocument().get());
    EXPECT_EQ(site.store.errorMessage().get(), "dprint formatting failed.");
    EXPECT_EQ(site.editorText(), "<div");
    EXPECT_EQ(site.store.selectedPageUndoHistory().size(), historyBefore);
    EXPECT_TRUE(site.isTemporaryFolderEmpty());
}

TEST(WorkspaceStoreFormatting, OutputThatIsNotUTF8LeavesTheEditorAsItIs)
{
    // Only a stand-in for dprint can write broken UTF-8.
    FormattingSite site;
    TemporaryDirectory root;
    site.store.setFormatterService(scriptedService(root, site.temporary, "#!/bin/sh\ncat > /dev/null\nprintf '\\377'\n"));
    auto tokenBefore = site.store.previewReloadToken().get();
    site.store.formatSelectedDocument();
    site.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(site.store.errorMessage().get(), "dprint returned output that could not be decoded as UTF-8.");
    EXPECT_EQ(site.editorText(), messyPage);
    EXPECT_EQ(site.store.previewReloadToken().get(), tokenBefore);
    EXPECT_TRUE(site.store.selectedPageUndoHistory().empty());
    EXPECT_TRUE(site.isTemporaryFolderEmpty());
}

TEST(WorkspaceStoreFormatting, VanishedFormatterReportsTheMissingResource)
{
    FormattingSite site;
    TemporaryDirectory root;
    auto service = scriptedService(root, site.temporary, "#!/bin/sh\ncat\n");
    site.store.setFormatterService(service);
    ASSERT_TRUE(site.store.selectedDocumentCanFormat());
    std::filesystem::remove(DprintFormatterService::executableURL(root.path()));
    site.store.formatSelectedDocument();
    site.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(site.store.errorMessage().get(),
        "Bundled dprint resource is missing: " + DprintFormatterService::executableURL(root.path()).string() + ".");
    EXPECT_EQ(site.editorText(), messyPage);
}

TEST(WorkspaceStoreFormatting, WithoutASelectionAskForOne)
{
    WorkspaceHarness harness;
    harness.store.formatSelectedDocument();
    EXPECT_EQ(harness.store.errorMessage().get(), "Select a document before formatting.");
    EXPECT_FALSE(harness.store.isFormattingDocument().get());
    EXPECT_EQ(harness.scheduler.dispatchedWorkCount(), 0u);
}

TEST(WorkspaceStoreFormatting, TextTypedDuringTheRunIsReplacedByTheResult)
{
    FormattingSite site;
    site.store.formatSelectedDocument();
    site.type(UnicodeText::utf16(std::string(messyPage) + "<!-- typed meanwhile -->"));
    site.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(site.editorText(), formattedPage);
    // The typing and the formatting are one undo step each.
    EXPECT_EQ(site.store.selectedPageUndoHistory().size(), 2u);
}

TEST(WorkspaceStoreFormatting, ResultForADocumentNoLongerSelectedIsDropped)
{
    FormattingSite site;
    site.store.formatSelectedDocument();
    ASSERT_TRUE(site.store.requestSelectDocument("about.html"));
    site.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_FALSE(site.store.isFormattingDocument().get());
    EXPECT_EQ(site.editorText(), "<h1>About</h1>\n");
    EXPECT_TRUE(site.store.selectedPageUndoHistory().empty());
    ASSERT_TRUE(site.store.requestSelectDocument("index.html"));
    EXPECT_EQ(site.editorText(), messyPage);
    EXPECT_EQ(site.site.read("index.html"), messyPage);
}
