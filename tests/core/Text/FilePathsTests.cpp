#include "QuilloryCore/Text/FilePaths.h"

#include <gtest/gtest.h>

using namespace Quillory;

using Views = std::vector<std::string_view>;

TEST(FilePaths, ComponentsKeepTheEmptyPiecesOfLeadingTrailingAndDoubledSlashes)
{
    EXPECT_EQ(FilePaths::components("blog/post.html"), (Views { "blog", "post.html" }));
    EXPECT_EQ(FilePaths::components("/a//b/"), (Views { "", "a", "", "b", "" }));
    EXPECT_EQ(FilePaths::components(""), (Views { "" }));
}

TEST(FilePaths, NonEmptyComponentsDropThem)
{
    EXPECT_EQ(FilePaths::nonEmptyComponents("/a//b/"), (Views { "a", "b" }));
    EXPECT_EQ(FilePaths::nonEmptyComponents("//"), Views {});
}

TEST(FilePaths, JoinedComponentsTakesTheFirstCount)
{
    Views parts { "docs", "guide", "index.html" };
    EXPECT_EQ(FilePaths::joinedComponents(parts, 3), "docs/guide/index.html");
    EXPECT_EQ(FilePaths::joinedComponents(parts, 2), "docs/guide");
    EXPECT_EQ(FilePaths::joinedComponents(parts, 0), "");
}
