#include "QuilloryCore/Creation/NewPagePaths.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using namespace Quillory;
using QuilloryTest::TemporaryDirectory;

TEST(NewPagePaths, NormalizedPathAddsHtmlAndCleansSeparators)
{
    EXPECT_EQ(NewPagePaths::normalizedNewPagePath("about"), "about.html");
    EXPECT_EQ(NewPagePaths::normalizedNewPagePath("  blog\\post \n"), "blog/post.html");
    EXPECT_EQ(NewPagePaths::normalizedNewPagePath("\\blog//post.htm"), "blog/post.htm");
    EXPECT_EQ(NewPagePaths::normalizedNewPagePath("///a/b/"), "a/b.html");
    EXPECT_EQ(NewPagePaths::normalizedNewPagePath("Page.HTML"), "Page.HTML");
    EXPECT_EQ(NewPagePaths::normalizedNewPagePath("notes.txt"), "notes.txt");
    EXPECT_EQ(NewPagePaths::normalizedNewPagePath(" /\\/ "), "");
    // A blank between separators is a component of its own.
    EXPECT_EQ(NewPagePaths::normalizedNewPagePath("/ /"), " .html");
    EXPECT_EQ(NewPagePaths::normalizedNewPagePath(""), "");
}

TEST(NewPagePaths, UnsafeComponentsAreDotAndDotDotOnly)
{
    EXPECT_TRUE(NewPagePaths::containsUnsafePathComponent("../x.html"));
    EXPECT_TRUE(NewPagePaths::containsUnsafePathComponent("a/./x.html"));
    EXPECT_TRUE(NewPagePaths::containsUnsafePathComponent("a/.."));
    EXPECT_FALSE(NewPagePaths::containsUnsafePathComponent("a..b/x..html"));
    EXPECT_FALSE(NewPagePaths::containsUnsafePathComponent("blog/post.html"));
}

TEST(NewPagePaths, ParentPath)
{
    EXPECT_EQ(NewPagePaths::parentPath("index.html"), "");
    EXPECT_EQ(NewPagePaths::parentPath(""), "");
    EXPECT_EQ(NewPagePaths::parentPath("blog/post.html"), "blog");
    EXPECT_EQ(NewPagePaths::parentPath("/docs//guide/setup.html"), "docs/guide");
}

TEST(NewPagePaths, DescendantIsInsideOrEqual)
{
    TemporaryDirectory site;
    site.write("blog/post.html", "x");
    EXPECT_TRUE(NewPagePaths::isDescendant(site.path() / "blog" / "new.html", site.path()));
    EXPECT_TRUE(NewPagePaths::isDescendant(site.path(), site.path()));
    EXPECT_FALSE(NewPagePaths::isDescendant(site.path().parent_path(), site.path()));
    EXPECT_FALSE(NewPagePaths::isDescendant(site.path().string() + "-sibling/x.html", site.path()));
}

TEST(NewPagePaths, SymbolicLinkLeavingTheFolderIsNotADescendant)
{
    TemporaryDirectory site;
    TemporaryDirectory outside;
    std::filesystem::create_directory_symlink(outside.path(), site.path() / "elsewhere");
    EXPECT_FALSE(NewPagePaths::isDescendant(site.path() / "elsewhere" / "page.html", site.path()));
}

TEST(NewPagePaths, SymbolicLinkToTheFolderItselfCountsAsInside)
{
    TemporaryDirectory parent;
    parent.write("site/index.html", "x");
    std::filesystem::create_directory_symlink(parent.path() / "site", parent.path() / "alias");
    EXPECT_TRUE(NewPagePaths::isDescendant(parent.path() / "site" / "new.html", parent.path() / "alias"));
}
