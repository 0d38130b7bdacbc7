#pragma once

#include "QuilloryApp/Preview/WebPreviewView.h"
#include "support/TemporaryDirectory.h"

#include <gtk/gtk.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace QuilloryTest {

// A real WebPreviewView in a real window, serving a real site folder through the real scheme.
// The callbacks stand where the workspace store will: they record what they are asked and answer
// as the test says.
struct PreviewHarness {
    struct Fence {
        std::vector<Quillory::BrightloopDOMRecord> records;
        Quillory::BrightloopRect rect;
    };

    TemporaryDirectory site;
    std::optional<Quillory::SiteMap> siteMap;
    Quillory::WebPreviewView view;
    GtkWidget* window { gtk_window_new() };
    Quillory::WebPreviewView::Inputs inputs;

    int loadsStarted { 0 };
    int loadsFinished { 0 };
    std::vector<std::string> askedPages;
    bool storeAgrees { true };
    // Run inside onNavigateToPage before it answers, as a window that updates from the store would.
    std::function<void(const std::string&)> whileAsked;
    int scrollReports { 0 };
    std::vector<Fence> fences;
    std::vector<Quillory::PageInspectionSnapshot> snapshots;
    std::vector<std::string> snapshotErrors;

    PreviewHarness();
    ~PreviewHarness();
    PreviewHarness(const PreviewHarness&) = delete;
    PreviewHarness& operator=(const PreviewHarness&) = delete;

    void write(std::string_view relativePath, std::string_view bytes) { site.write(relativePath, bytes); }
    void scan();
    // Points the inputs at a page of the scanned site, as the store's target would.
    void select(const std::string& pageID);
    void update() { view.update(inputs); }

    bool waitForFinishedLoads(int count);
    // Waits until the web view has its size in the window, as a drag needs.
    bool waitForLayout();
    std::string uri() const;

    // Runs `body` as an async function in the page; its string result, or "" after a failure.
    std::string evaluate(const std::string& body);
    // Leaves a mark in the current document: a reload or a navigation wipes it.
    void markDocument();
    std::string documentMark();
    void click(const std::string& elementID);
};

}
