#include "QuilloryApp/Shell/IconNames.h"
#include "app/support/ViewTestSupport.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

using namespace Quillory;
using namespace QuilloryTest;

TEST(IconNames, EveryMappedIconExistsInTheIconTheme)
{
    // The theme installs the bundled icons.
    ViewHarness harness;
    GtkIconTheme* theme = gtk_icon_theme_get_for_display(gdk_display_get_default());
    for (const auto& mapping : IconNames::table())
        EXPECT_TRUE(gtk_icon_theme_has_icon(theme, mapping.iconName)) << mapping.systemImageName << " -> " << mapping.iconName;
}

TEST(IconNames, EachSystemImageNameAppearsOnceAndMapsToASymbolicIcon)
{
    std::set<std::string_view> seen;
    for (const auto& mapping : IconNames::table()) {
        EXPECT_TRUE(seen.insert(mapping.systemImageName).second) << mapping.systemImageName;
        EXPECT_TRUE(std::string(mapping.iconName).ends_with("-symbolic")) << mapping.iconName;
    }
    EXPECT_STREQ(IconNames::symbolic("folder"), "folder-symbolic");
    EXPECT_STREQ(IconNames::symbolic("arrow.clockwise"), "view-refresh-symbolic");
    EXPECT_STREQ(IconNames::symbolic("no.such.symbol"), "image-missing-symbolic");
}

TEST(IconNames, PreviewPaneAndCandidateRailImagesAreMapped)
{
    // The header actions, the rail, the rows' side buttons and the pop-out window's empty state.
    for (const char* name : { "doc.viewfinder", "rectangle.dashed", "viewfinder", "rectangle.on.rectangle", "eye.slash", "eye", "viewfinder.circle" })
        EXPECT_STRNE(IconNames::symbolic(name), "image-missing-symbolic") << name;
    EXPECT_STREQ(IconNames::symbolic("eye.slash"), "view-conceal-symbolic");
    EXPECT_STREQ(IconNames::symbolic("eye"), "view-reveal-symbolic");
    // Meanings without an Adwaita icon are bundled.
    EXPECT_STREQ(IconNames::symbolic("tag"), "quillory-tag-symbolic");
    EXPECT_STREQ(IconNames::symbolic("number"), "quillory-number-symbolic");
    EXPECT_STREQ(IconNames::symbolic("square.dashed"), "quillory-square-dashed-symbolic");
}

TEST(IconNames, EditorPaneImagesAreMapped)
{
    // The header's jump, diff and undo actions and the undo menu's chevron; "Revert Page" shows the
    // restore image of the Git details, and the blank page the document image of the sidebar.
    EXPECT_STREQ(IconNames::symbolic("arrow.down.to.line.compact"), "go-bottom-symbolic");
    EXPECT_STREQ(IconNames::symbolic("doc.text.magnifyingglass"), "edit-find-symbolic");
    EXPECT_STREQ(IconNames::symbolic("arrow.uturn.backward"), "edit-undo-symbolic");
    EXPECT_STREQ(IconNames::symbolic("chevron.down"), "pan-down-symbolic");
    EXPECT_STREQ(IconNames::symbolic("arrow.counterclockwise"), "document-revert-symbolic");
    EXPECT_STREQ(IconNames::symbolic("doc.text"), "text-x-generic-symbolic");
}
