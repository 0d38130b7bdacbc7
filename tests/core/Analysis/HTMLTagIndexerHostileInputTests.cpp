#include "QuilloryCore/Analysis/HTMLTagIndexer.h"
#include "support/HostilePages.h"

#include <gtest/gtest.h>

#include <string>

// Pages crafted to make the scanner slow or hungry. Each is just large enough to have taken over a
// second (or gigabytes) before the scanner shared ancestor lists, remembered failed tag reads and
// counted siblings by name; the tests check what comes out, and the timings live in the
// benchmark of the same pages.

using namespace Quillory;
using QuilloryTest::repeatedText;

namespace {

TEST(HTMLTagIndexerHostileInput, DeeplyNestedUnclosedElementsShareTheirAncestors)
{
    constexpr std::size_t depth = 12'500;
    auto html = repeatedText(u"<div>", depth);
    auto tags = HTMLTagIndexer::index(html);
    ASSERT_EQ(tags.size(), depth);
    // Flushed innermost first: the first record has every other div above it.
    EXPECT_EQ(tags.front().ancestorTags.size(), depth - 1);
    EXPECT_EQ(tags.front().fullRange, (Utf16Range { (depth - 1) * 5, 5 }));
    EXPECT_TRUE(tags.back().ancestorTags.empty());
    EXPECT_EQ(tags.back().fullRange, (Utf16Range { 0, depth * 5 }));
    std::size_t counted = 0;
    for (auto& name : tags[depth / 2].ancestorTags) {
        EXPECT_EQ(name, "div");
        ++counted;
    }
    EXPECT_EQ(counted, depth / 2 - 1 + (depth % 2));
    for (auto& tag : tags)
        EXPECT_EQ(tag.siblingIndex, 0);
}

TEST(HTMLTagIndexerHostileInput, UnclosedTagsRepeatedAreNoTags)
{
    // 197K code units of "<a " without any ">", behind one real element.
    auto html = u"<p class=lead>x</p>" + repeatedText(u"<a ", 65'600);
    auto tags = HTMLTagIndexer::index(html);
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].tagName, "p");
    EXPECT_EQ(tags[0].classes, (std::vector<std::string> { "lead" }));
}

TEST(HTMLTagIndexerHostileInput, UnclosedQuotesRepeatedMakeOneTag)
{
    // 197K code units of `<a x="`; with a ">" at the end, the first "<" opens a tag that runs to
    // it, its quotes pairing across the repetitions.
    constexpr std::size_t count = 32'800;
    auto html = repeatedText(u"<a x=\"", count) + u">";
    auto tags = HTMLTagIndexer::index(html);
    ASSERT_EQ(tags.size(), 1u);
    EXPECT_EQ(tags[0].tagName, "a");
    EXPECT_EQ(tags[0].fullRange, (Utf16Range { 0, html.size() }));
    EXPECT_EQ(tags[0].attributes.at("x").value, "<a x=");
    EXPECT_EQ(tags[0].attributes.at("x").valueRange, (Utf16Range { html.size() - 1 - 6, 5 }));
    EXPECT_EQ(tags[0].attributes.at("<a").value, "");

    // Without the ">" no read succeeds.
    EXPECT_TRUE(HTMLTagIndexer::index(repeatedText(u"<a x=\"", count)).empty());
    // With an odd count the first read fails on its last quote and the second succeeds.
    auto odd = repeatedText(u"<a x=\"", count + 1) + u">";
    auto oddTags = HTMLTagIndexer::index(odd);
    ASSERT_EQ(oddTags.size(), 1u);
    EXPECT_EQ(oddTags[0].fullRange, (Utf16Range { 6, odd.size() - 6 }));
}

TEST(HTMLTagIndexerHostileInput, ManyDistinctSiblingNamesAreCountedEach)
{
    // 1.2M code units of distinct empty elements, then the first name again.
    constexpr int count = 130'000;
    auto html = QuilloryTest::distinctSiblings(count) + u"<t0/><t7/>";
    auto tags = HTMLTagIndexer::index(html);
    ASSERT_EQ(tags.size(), static_cast<std::size_t>(count + 2));
    EXPECT_GT(html.size(), 1'000'000u);
    for (int index = 0; index < count; ++index)
        ASSERT_EQ(tags[static_cast<std::size_t>(index)].siblingIndex, 0) << index;
    EXPECT_EQ(tags[count].tagName, "t0");
    EXPECT_EQ(tags[count].siblingIndex, 1);
    EXPECT_EQ(tags[count + 1].siblingIndex, 1);
}

}
