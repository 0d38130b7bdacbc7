#include "QuilloryCore/Editing/PageEditSession.h"

#include <gtest/gtest.h>

using namespace Quillory;

namespace {

TEST(PageEditSession, OpeningSetsAllThreeTextsToTheFileText)
{
    PageEditSession session("docs/index.html", u"<h1>Home</h1>\n");
    EXPECT_EQ(session.pageID, "docs/index.html");
    EXPECT_EQ(session.openedBaselineText, u"<h1>Home</h1>\n");
    EXPECT_EQ(session.currentText, u"<h1>Home</h1>\n");
    EXPECT_EQ(session.lastAutosavedText, u"<h1>Home</h1>\n");
    EXPECT_FALSE(session.hasChangesFromOpenedBaseline());
    EXPECT_FALSE(session.hasUnsavedChanges());
}

TEST(PageEditSession, UpdatingTheTextMakesChangesThatAreNotYetSaved)
{
    PageEditSession session("index.html", u"one");
    session.updateCurrentText(u"two");
    EXPECT_EQ(session.currentText, u"two");
    EXPECT_TRUE(session.hasChangesFromOpenedBaseline());
    EXPECT_TRUE(session.hasUnsavedChanges());
    EXPECT_EQ(session.lastAutosavedText, u"one");
}

TEST(PageEditSession, MarkingAutosavedKeepsTheBaseline)
{
    PageEditSession session("index.html", u"one");
    session.updateCurrentText(u"two");
    session.markAutosaved();
    EXPECT_EQ(session.lastAutosavedText, u"two");
    EXPECT_FALSE(session.hasUnsavedChanges());
    EXPECT_TRUE(session.hasChangesFromOpenedBaseline());
    EXPECT_EQ(session.openedBaselineText, u"one");
}

TEST(PageEditSession, TypingBackTheBaselineTextHasNoChangesFromIt)
{
    PageEditSession session("index.html", u"one");
    session.updateCurrentText(u"two");
    session.markAutosaved();
    session.updateCurrentText(u"one");
    EXPECT_FALSE(session.hasChangesFromOpenedBaseline());
    EXPECT_TRUE(session.hasUnsavedChanges());
}

TEST(PageEditSession, RevertRestoresTheBaselineAndLeavesTheLastAutosavedText)
{
    PageEditSession session("index.html", u"one");
    session.updateCurrentText(u"two");
    session.markAutosaved();
    session.revertToOpenedBaseline();
    EXPECT_EQ(session.currentText, u"one");
    EXPECT_EQ(session.lastAutosavedText, u"two");
    EXPECT_FALSE(session.hasChangesFromOpenedBaseline());
    EXPECT_TRUE(session.hasUnsavedChanges());
    session.markAutosaved();
    EXPECT_EQ(session, PageEditSession("index.html", u"one"));
}

}
