#include "QuilloryCore/Analysis/TagNameTable.h"

#include <gtest/gtest.h>
#include <string>

using namespace Quillory;

namespace {

TEST(TagNameTable, IdsCountUpInOrderOfFirstSight)
{
    TagNameTable names;
    EXPECT_EQ(names.intern("div"), 0u);
    EXPECT_EQ(names.intern("p"), 1u);
    EXPECT_EQ(names.intern("div"), 0u);
    EXPECT_EQ(names.intern("span"), 2u);
    EXPECT_EQ(names.size(), 3u);
    EXPECT_EQ(names.find("p"), 1u);
    EXPECT_EQ(names.find("em"), std::nullopt);
}

TEST(TagNameTable, NamesAreComparedByEveryByte)
{
    TagNameTable names;
    auto empty = names.intern("");
    auto withNul = names.intern(std::string_view("a\0b", 3));
    auto cut = names.intern("a");
    auto nonASCII = names.intern("\xc3\xa9l\xc3\xa9ment");
    EXPECT_EQ(names.size(), 4u);
    EXPECT_EQ(names.find(""), empty);
    EXPECT_EQ(names.find(std::string_view("a\0b", 3)), withNul);
    EXPECT_EQ(names.find("a"), cut);
    EXPECT_EQ(names.find("\xc3\xa9l\xc3\xa9ment"), nonASCII);
    EXPECT_EQ(names.find("A"), std::nullopt);
}

TEST(TagNameTable, KeepsEveryNameWhileItGrows)
{
    TagNameTable names(4);
    constexpr std::uint32_t count = 50'000;
    for (std::uint32_t index = 0; index < count; ++index)
        ASSERT_EQ(names.intern("t" + std::to_string(index)), index);
    EXPECT_EQ(names.size(), count);
    for (std::uint32_t index = 0; index < count; ++index)
        ASSERT_EQ(names.find("t" + std::to_string(index)), index);
    EXPECT_EQ(names.find("t" + std::to_string(count)), std::nullopt);
}

}
