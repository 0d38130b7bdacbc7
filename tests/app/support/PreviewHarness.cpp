#include "app/support/PreviewHarness.h"

#include "QuilloryApp/Preview/SitePreviewURL.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "app/support/MainLoopWaiting.h"

#include <gtest/gtest.h>
#include <webkit/webkit.h>

using namespace Quillory;

namespace QuilloryTest {

PreviewHarness::PreviewHarness()
{
    gtk_window_set_default_size(GTK_WINDOW(window), 900, 700);
    gtk_window_set_child(GTK_WINDOW(window), view.widget());
    gtk_window_present(GTK_WINDOW(window));
    g_signal_connect_swapped(view.webView(), "load-changed", G_CALLBACK(+[](PreviewHarness* self, WebKitLoadEvent event) {
                                 if (event == WEBKIT_LOAD_STARTED)
                                     ++self->loadsStarted;
                                 if (event == WEBKIT_LOAD_FINISHED)
                                     ++self->loadsFinished;
                             }),
                             this);
    inputs.reloadToken = UUID::random();
    inputs.onNavigateToPage = [this](const std::string& pageID) {
        askedPages.push_back(pageID);
        if (whileAsked)
            whileAsked(pageID);
        return storeAgrees;
    };
    inputs.onPreviewScrolled = [this] { ++scrollReports; };
    inputs.onBrightloopRecords = [this](std::vector<BrightloopDOMRecord> records, BrightloopRect rect) {
        fences.push_back({ std::move(records), rect });
    };
    inputs.onPageInspectionSnapshot = [this](PageInspectionSnapshot snapshot) { snapshots.push_back(std::move(snapshot)); };
    inputs.onPageInspectionError = [this](std::string message) { snapshotErrors.push_back(std::move(message)); };
}

PreviewHarness::~PreviewHarness()
{
    g_signal_handlers_disconnect_by_data(view.webView(), this);
    gtk_window_destroy(GTK_WINDOW(window));
}

void PreviewHarness::scan()
{
    siteMap = SiteGraphBuilder().build(site.path());
    inputs.siteMap = siteMap;
}

void PreviewHarness::select(const std::string& pageID)
{
    auto page = siteMap->page(pageID);
    ASSERT_TRUE(page.has_value()) << pageID;
    inputs.previewTarget = PreviewTarget::staticPage(page->id, SitePreviewURL::url(*page));
    inputs.currentDocumentID = page->id;
}

bool PreviewHarness::waitForFinishedLoads(int count)
{
    return waitUntil([&] { return loadsFinished >= count; });
}

bool PreviewHarness::waitForLayout()
{
    return waitUntil([&] { return gtk_widget_get_mapped(view.widget()) && gtk_widget_get_width(GTK_WIDGET(view.webView())) > 0; });
}

std::string PreviewHarness::uri() const
{
    const char* text = webkit_web_view_get_uri(view.webView());
    return text ? text : "";
}

std::string PreviewHarness::evaluate(const std::string& body)
{
    std::string error;
    auto result = evaluateInPage(view.webView(), body, &error);
    EXPECT_TRUE(result.has_value()) << body << ": " << error;
    return result.value_or("");
}

void PreviewHarness::markDocument()
{
    evaluate("window.__testMark = 'kept'; return 'ok';");
}

std::string PreviewHarness::documentMark()
{
    return evaluate("return String(window.__testMark);");
}

void PreviewHarness::click(const std::string& elementID)
{
    evaluate("document.getElementById('" + elementID + "').click(); return 'clicked';");
}

}
