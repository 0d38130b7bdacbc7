#include "QuilloryApp/PreviewPane.h"

#include "app/support/MainLoopWaiting.h"

#include <adwaita.h>
#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <string>

using namespace Quillory;
using QuilloryTest::waitUntil;

namespace {

// Every label text below a widget, depth first.
void collectLabels(GtkWidget* widget, std::vector<std::string>& texts)
{
    if (GTK_IS_LABEL(widget))
        texts.emplace_back(gtk_label_get_text(GTK_LABEL(widget)));
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child; child = gtk_widget_get_next_sibling(child))
        collectLabels(child, texts);
}

GtkWidget* findStatusPage(GtkWidget* widget)
{
    if (ADW_IS_STATUS_PAGE(widget))
        return widget;
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child; child = gtk_widget_get_next_sibling(child)) {
        if (GtkWidget* found = findStatusPage(child))
            return found;
    }
    return nullptr;
}

struct PaneInWindow {
    PreviewPane pane;
    GtkWidget* window { gtk_window_new() };
    PaneInWindow()
    {
        gtk_window_set_default_size(GTK_WINDOW(window), 700, 600);
        gtk_window_set_child(GTK_WINDOW(window), pane.widget());
        gtk_window_present(GTK_WINDOW(window));
    }
    ~PaneInWindow() { gtk_window_destroy(GTK_WINDOW(window)); }
};

TEST(PreviewPane, HeaderSaysWebKitPreviewAboveTheWebView)
{
    PaneInWindow window;
    std::vector<std::string> labels;
    collectLabels(window.pane.widget(), labels);
    ASSERT_FALSE(labels.empty());
    EXPECT_EQ(labels.front(), "WebKit Preview");
    EXPECT_TRUE(gtk_widget_is_ancestor(GTK_WIDGET(window.pane.webPreviewView().webView()), window.pane.widget()));
}

TEST(PreviewPane, EmptyPreviewStateCoversThePreviewOnlyWhileThePageIsEmpty)
{
    PaneInWindow window;
    GtkWidget* emptyState = findStatusPage(window.pane.widget());
    ASSERT_NE(emptyState, nullptr);
    EXPECT_STREQ(adw_status_page_get_title(ADW_STATUS_PAGE(emptyState)), "Waiting for markup");
    EXPECT_STREQ(adw_status_page_get_description(ADW_STATUS_PAGE(emptyState)), "Add HTML on the left to bring this page to life in WebKit.");

    PreviewPane::Inputs inputs;
    inputs.preview.previewTarget = PreviewTarget::unavailable("Select a page to preview.");
    inputs.preview.reloadToken = UUID::random();
    inputs.isPageEmpty = true;
    window.pane.update(inputs);
    EXPECT_TRUE(gtk_widget_get_visible(emptyState));

    inputs.isPageEmpty = false;
    window.pane.update(inputs);
    EXPECT_FALSE(gtk_widget_get_visible(emptyState));
    // The preview behind it was handed the target all the same.
    EXPECT_TRUE(waitUntil([&] { return !webkit_web_view_is_loading(window.pane.webPreviewView().webView()) && webkit_web_view_get_uri(window.pane.webPreviewView().webView()); }));
}

}
