#include "QuilloryApp/Shell/ProtectedHSplitView.h"

#include "app/support/MainLoopWaiting.h"

#include <gtest/gtest.h>

using namespace Quillory;
using namespace std::chrono_literals;
using QuilloryTest::waitFor;
using QuilloryTest::waitUntil;

namespace {

constexpr int leadingMinimum = 560;
constexpr int leadingIdeal = 660;
constexpr int trailingMinimum = 520;

// The split of the working surface in a real window of a given width.
struct SplitInWindow {
    GtkWidget* window { gtk_window_new() };
    GtkWidget* leading { gtk_label_new("Editor") };
    GtkWidget* trailing { gtk_label_new("Preview") };
    ProtectedHSplitView split { leadingMinimum, leadingIdeal, trailingMinimum, leading, trailing };

    explicit SplitInWindow(int width)
    {
        gtk_window_set_default_size(GTK_WINDOW(window), width, 600);
        gtk_window_set_child(GTK_WINDOW(window), split.widget());
        gtk_window_present(GTK_WINDOW(window));
        EXPECT_TRUE(settledAtWidth(width));
    }
    ~SplitInWindow() { gtk_window_destroy(GTK_WINDOW(window)); }

    bool settledAtWidth(int width)
    {
        bool reached = waitUntil([&] { return gtk_widget_get_width(split.widget()) == width && gtk_widget_get_width(leading) > 0; }, 10s);
        waitFor(100ms);
        return reached;
    }
    GtkPaned* paned() const { return GTK_PANED(split.widget()); }
    int dividerThickness() const { return gtk_widget_get_width(split.widget()) - gtk_widget_get_width(leading) - gtk_widget_get_width(trailing); }
};

TEST(ProtectedHSplitView, IdealLeadingWidthIsAppliedOnceTheSplitHasAWidth)
{
    SplitInWindow window(1400);
    EXPECT_EQ(gtk_paned_get_position(window.paned()), leadingIdeal);
    EXPECT_EQ(gtk_widget_get_width(window.leading), leadingIdeal);
}

TEST(ProtectedHSplitView, DraggingToTheFarRightStopsAtTheTrailingMinimum)
{
    SplitInWindow window(1400);
    // A drag of the divider ends in gtk_paned_set_position with the pointer's position, which is
    // what this does; the X server here has no input extension to move a real pointer.
    gtk_paned_set_position(window.paned(), 1390);
    waitFor(200ms);
    int thickness = window.dividerThickness();
    EXPECT_GE(thickness, 0);
    EXPECT_EQ(gtk_paned_get_position(window.paned()), 1400 - trailingMinimum - thickness);
    EXPECT_EQ(gtk_widget_get_width(window.trailing), trailingMinimum);
}

TEST(ProtectedHSplitView, DraggingToTheFarLeftStopsAtTheLeadingMinimum)
{
    SplitInWindow window(1400);
    gtk_paned_set_position(window.paned(), 10);
    waitFor(200ms);
    EXPECT_EQ(gtk_paned_get_position(window.paned()), leadingMinimum);
    EXPECT_EQ(gtk_widget_get_width(window.leading), leadingMinimum);
}

TEST(ProtectedHSplitView, TooNarrowWindowKeepsTheLeadingMinimum)
{
    SplitInWindow window(900);
    EXPECT_EQ(gtk_paned_get_position(window.paned()), leadingMinimum);
    EXPECT_EQ(gtk_widget_get_width(window.leading), leadingMinimum);
    EXPECT_LT(gtk_widget_get_width(window.trailing), trailingMinimum);
}

TEST(ProtectedHSplitView, ShrinkingTheWindowTakesTheRoomFromTheLeadingPane)
{
    SplitInWindow window(1600);
    gtk_paned_set_position(window.paned(), 1000);
    waitFor(200ms);
    ASSERT_EQ(gtk_paned_get_position(window.paned()), 1000);

    gtk_window_set_default_size(GTK_WINDOW(window.window), 1300, 600);
    ASSERT_TRUE(window.settledAtWidth(1300));
    EXPECT_EQ(gtk_widget_get_width(window.trailing), trailingMinimum);
    EXPECT_EQ(gtk_paned_get_position(window.paned()), 1300 - trailingMinimum - window.dividerThickness());
}

TEST(ProtectedHSplitView, MaximumPositionNeverFallsBelowTheLeadingMinimum)
{
    GtkWidget* leading = gtk_label_new("a");
    GtkWidget* trailing = gtk_label_new("b");
    ProtectedHSplitView split(leadingMinimum, leadingIdeal, trailingMinimum, leading, trailing);
    EXPECT_EQ(split.maximumPosition(1399), 879);
    EXPECT_EQ(split.maximumPosition(900), leadingMinimum);
    EXPECT_EQ(split.clampedPosition(5000, 1399), 879);
    EXPECT_EQ(split.clampedPosition(100, 1399), leadingMinimum);
    EXPECT_EQ(split.clampedPosition(700, 1399), 700);
}

}
