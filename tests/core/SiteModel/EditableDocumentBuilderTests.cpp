#include "QuilloryCore/SiteModel/EditableDocument.h"

#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;

namespace {

std::vector<EditableDocument> documents(const TemporaryDirectory& folder, IncludeFrontendSource includeFrontendSource)
{
    auto map = SiteGraphBuilder().build(folder.path());
    return EditableDocumentBuilder::build(folder.path(), map, includeFrontendSource);
}

std::vector<std::string> paths(const std::vector<EditableDocument>& documents)
{
    std::vector<std::string> result;
    for (auto& document : documents)
        result.push_back(document.relativePath);
    return result;
}

TEST(EditableDocumentBuilder, StaticSiteDocumentsAreThePagesInFileBrowserOrder)
{
    TemporaryDirectory folder;
    folder.write("page2.html", "<h1>Two</h1>");
    folder.write("page10.html", "<h1>Ten</h1>");
    folder.write("src/main.js", "console.log(1)");
    auto map = SiteGraphBuilder().build(folder.path());
    ASSERT_EQ(map.pages.size(), 2u);
    EXPECT_EQ(map.pages[0].relativePath, "page10.html");
    EXPECT_EQ(map.pages[1].relativePath, "page2.html");

    auto built = EditableDocumentBuilder::build(folder.path(), map, IncludeFrontendSource::no);
    ASSERT_EQ(built.size(), 2u);
    EXPECT_EQ(built[0], (EditableDocument { "page2.html", folder.path() / "page2.html", "Two", EditableDocumentKind::htmlPage, "page2.html" }));
    EXPECT_EQ(built[1], (EditableDocument { "page10.html", folder.path() / "page10.html", "Ten", EditableDocumentKind::htmlPage, "page10.html" }));
    EXPECT_EQ(built[0].id(), "page2.html");
}

TEST(EditableDocumentBuilder, FrontendProjectWithoutPagesListsOnlySourceFilesTitledWithTheirPaths)
{
    TemporaryDirectory folder;
    folder.write("package.json", "{}");
    folder.write("src/main.tsx", "export {}");
    folder.write("src/styles/app.css", "body {}");
    auto built = documents(folder, IncludeFrontendSource::yes);
    ASSERT_EQ(built.size(), 2u);
    EXPECT_EQ(built[0], (EditableDocument { "src/main.tsx", folder.path() / "src" / "main.tsx", "src/main.tsx", EditableDocumentKind::sourceFile, std::nullopt }));
    EXPECT_EQ(built[1], (EditableDocument { "src/styles/app.css", folder.path() / "src" / "styles" / "app.css", "src/styles/app.css", EditableDocumentKind::sourceFile, std::nullopt }));
}

TEST(EditableDocumentBuilder, ScriptInsideABuildFolderIsNotListedAtAnyDepthBelowSrc)
{
    TemporaryDirectory folder;
    folder.write("src/build/generated.js", "x");
    folder.write("src/features/build/deep.js", "x");
    folder.write("src/features/builder.js", "x");
    EXPECT_EQ(paths(documents(folder, IncludeFrontendSource::yes)), std::vector<std::string> { "src/features/builder.js" });
}

TEST(EditableDocumentBuilder, DependencyAndOutputFoldersBelowSrcAreSkipped)
{
    TemporaryDirectory folder;
    folder.write("src/node_modules/lib/index.js", "x");
    folder.write("src/dist/bundle.js", "x");
    folder.write("src/coverage/report.css", "x");
    folder.write("src/app.js", "x");
    EXPECT_EQ(paths(documents(folder, IncludeFrontendSource::yes)), std::vector<std::string> { "src/app.js" });
}

TEST(EditableDocumentBuilder, ExtensionTestIgnoresCase)
{
    TemporaryDirectory folder;
    folder.write("src/App.TSX", "export {}");
    folder.write("src/Legacy.Js", "x");
    EXPECT_EQ(paths(documents(folder, IncludeFrontendSource::yes)), (std::vector<std::string> { "src/App.TSX", "src/Legacy.Js" }));
}

TEST(EditableDocumentBuilder, PageBelowSrcStaysAnHTMLPageAndIsNotListedTwice)
{
    TemporaryDirectory folder;
    folder.write("src/index.html", "<h1>Entry</h1>");
    folder.write("src/main.jsx", "x");
    auto built = documents(folder, IncludeFrontendSource::yes);
    ASSERT_EQ(built.size(), 2u);
    EXPECT_EQ(built[0].relativePath, "src/index.html");
    EXPECT_EQ(built[0].kind, EditableDocumentKind::htmlPage);
    EXPECT_EQ(built[0].pageID, "src/index.html");
    EXPECT_EQ(built[0].title, "Entry");
    EXPECT_EQ(built[1].relativePath, "src/main.jsx");
    EXPECT_EQ(built[1].kind, EditableDocumentKind::sourceFile);
}

TEST(EditableDocumentBuilder, HiddenScriptInSrcIsNotListed)
{
    TemporaryDirectory folder;
    folder.write("src/.eslintrc.js", "x");
    folder.write("src/.cache/chunk.js", "x");
    folder.write("src/visible.ts", "x");
    EXPECT_EQ(paths(documents(folder, IncludeFrontendSource::yes)), std::vector<std::string> { "src/visible.ts" });
}

TEST(EditableDocumentBuilder, OnlyScriptsAndStylesheetsAreEditableSources)
{
    TemporaryDirectory folder;
    folder.write("src/data.json", "{}");
    folder.write("src/README.md", "# Read me");
    folder.write("src/logo.svg", "<svg/>");
    folder.write("src/types.d.ts", "x");
    folder.write("src/theme.scss", "x");
    EXPECT_EQ(paths(documents(folder, IncludeFrontendSource::yes)), std::vector<std::string> { "src/types.d.ts" });
}

TEST(EditableDocumentBuilder, RootScriptsAndStylesheetsAreNoDocuments)
{
    TemporaryDirectory folder;
    folder.write("vite.config.ts", "x");
    folder.write("style.css", "x");
    folder.write("lib/util.js", "x");
    EXPECT_TRUE(documents(folder, IncludeFrontendSource::yes).empty());
}

TEST(EditableDocumentBuilder, SrcThatIsAFileGivesNoSources)
{
    TemporaryDirectory folder;
    folder.write("src", "not a folder");
    folder.write("index.html", "<h1>Home</h1>");
    EXPECT_EQ(paths(documents(folder, IncludeFrontendSource::yes)), std::vector<std::string> { "index.html" });
}

TEST(EditableDocumentBuilder, SourcesAreLeftOutWithoutTheFlag)
{
    TemporaryDirectory folder;
    folder.write("index.html", "<h1>Home</h1>");
    folder.write("src/main.ts", "x");
    EXPECT_EQ(paths(documents(folder, IncludeFrontendSource::no)), std::vector<std::string> { "index.html" });
}

TEST(EditableDocumentBuilder, PagesAndSourcesMixInOneOrder)
{
    TemporaryDirectory folder;
    folder.write("about.html", "<h1>About</h1>");
    folder.write("Zebra.html", "<h1>Zebra</h1>");
    folder.write("src/App.tsx", "x");
    folder.write("src/app10.css", "x");
    folder.write("src/app9.css", "x");
    folder.write("src/pages/page.html", "<h1>Inner</h1>");
    EXPECT_EQ(paths(documents(folder, IncludeFrontendSource::yes)),
              (std::vector<std::string> { "about.html", "src/App.tsx", "src/app9.css", "src/app10.css", "src/pages/page.html", "Zebra.html" }));
}

TEST(EditableDocumentBuilder, SourceFilesAreNotOpened)
{
    TemporaryDirectory folder;
    folder.write("src/binary.js", std::string("\xFF\xFE\x00 not UTF-8", 14));
    EXPECT_EQ(paths(documents(folder, IncludeFrontendSource::yes)), std::vector<std::string> { "src/binary.js" });
}

TEST(EditableDocumentKind, RawValuesAreTheCaseNames)
{
    EXPECT_EQ(toString(EditableDocumentKind::htmlPage), "htmlPage");
    EXPECT_EQ(toString(EditableDocumentKind::sourceFile), "sourceFile");
}

TEST(EditableDocumentBuilder, IsEditableSourceExtensionTable)
{
    for (auto path : { "a.js", "a.jsx", "a.ts", "a.tsx", "a.css", "dir/B.CSS" })
        EXPECT_TRUE(EditableDocumentBuilder::isEditableSourceExtension(path)) << path;
    for (auto path : { "a.json", "a.md", "a.mjs", "a.html", "js", ".ts", "a.ts.bak" })
        EXPECT_FALSE(EditableDocumentBuilder::isEditableSourceExtension(path)) << path;
}

}
