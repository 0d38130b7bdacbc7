#include "QuilloryApp/Preview/SitePreviewURL.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"

#include <benchmark/benchmark.h>
#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>

using namespace Quillory;

namespace {

constexpr int imageCount = 500;
constexpr int stylesheetCount = 50;

void writeFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// A valid 32 x 32 PNG of one colour; every image of the page differs in its colour.
std::string solidPNG(int index)
{
    GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, 32, 32);
    gdk_pixbuf_fill(pixbuf, (static_cast<guint32>(index) * 2654435761u) | 0xFF);
    gchar* buffer = nullptr;
    gsize size = 0;
    gdk_pixbuf_save_to_buffer(pixbuf, &buffer, &size, "png", nullptr, nullptr);
    std::string png(buffer, size);
    g_free(buffer);
    g_object_unref(pixbuf);
    return png;
}

// One page with 500 images and 50 stylesheets, written once into a temporary folder that goes
// away at exit.
struct GeneratedPage {
    std::filesystem::path root;

    GeneratedPage()
    {
        char* folder = g_dir_make_tmp("quillory-bench-XXXXXX", nullptr);
        root = folder;
        g_free(folder);
        std::string html = "<!doctype html>\n<html><head><meta charset=\"utf-8\"><title>Assets</title>\n";
        for (int sheet = 0; sheet < stylesheetCount; ++sheet) {
            std::string name = "css/sheet-" + std::to_string(sheet) + ".css";
            html += "<link rel=\"stylesheet\" href=\"" + name + "\">\n";
            std::string css;
            for (int rule = 0; rule < 40; ++rule)
                css += ".s" + std::to_string(sheet) + "-r" + std::to_string(rule) + " { margin: " + std::to_string(rule % 7) + "px; color: #"
                    + std::to_string(100000 + sheet * 40 + rule) + "; }\n";
            writeFile(root / name, css);
        }
        html += "</head><body>\n";
        for (int image = 0; image < imageCount; ++image) {
            std::string name = "images/image-" + std::to_string(image) + ".png";
            html += "<img src=\"" + name + "\" width=\"32\" height=\"32\" alt=\"\">\n";
            writeFile(root / name, solidPNG(image));
        }
        html += "</body></html>\n";
        writeFile(root / "index.html", html);
    }
    ~GeneratedPage() { std::filesystem::remove_all(root); }
};

void runMainLoopUntil(const std::function<bool()>& condition)
{
    while (!condition())
        g_main_context_iteration(nullptr, TRUE);
}

std::string evaluate(WebKitWebView* webView, const char* script)
{
    std::optional<std::string> result;
    webkit_web_view_evaluate_javascript(
        webView, script, -1, nullptr, nullptr, nullptr,
        +[](GObject* source, GAsyncResult* asyncResult, gpointer data) {
            auto* text = static_cast<std::optional<std::string>*>(data);
            GError* error = nullptr;
            JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), asyncResult, &error);
            if (value) {
                char* string = jsc_value_to_string(value);
                *text = string;
                g_free(string);
                g_object_unref(value);
            } else {
                *text = std::string("error: ") + error->message;
                g_error_free(error);
            }
        },
        &result);
    runMainLoopUntil([&] { return result.has_value(); });
    return *result;
}

// The page through the private scheme (a new reload token each time, as a saved edit gives),
// against the same page from file:// in the same web view, one after the other in each iteration.
void PreviewPageLoadSchemeAgainstFile(benchmark::State& state)
{
    static GeneratedPage page;
    // Nothing is kept between loads, so every load reads every file again on both roads.
    webkit_web_context_set_cache_model(webkit_web_context_get_default(), WEBKIT_CACHE_MODEL_DOCUMENT_VIEWER);

    WebPreviewView view;
    GtkWidget* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 1200, 900);
    gtk_window_set_child(GTK_WINDOW(window), view.widget());
    gtk_window_present(GTK_WINDOW(window));
    int finishedLoads = 0;
    g_signal_connect_swapped(view.webView(), "load-changed", G_CALLBACK(+[](int* count, WebKitLoadEvent event) {
                                 if (event == WEBKIT_LOAD_FINISHED)
                                     ++*count;
                             }),
                             &finishedLoads);

    auto siteMap = SiteGraphBuilder().build(page.root);
    WebPreviewView::Inputs inputs;
    inputs.siteMap = siteMap;
    inputs.currentDocumentID = "index.html";
    inputs.previewTarget = PreviewTarget::staticPage("index.html", SitePreviewURL::url(*siteMap.page("index.html")));
    std::string fileURL = "file://" + (page.root / "index.html").string();

    auto loadThroughScheme = [&] {
        int before = finishedLoads;
        auto start = std::chrono::steady_clock::now();
        inputs.reloadToken = UUID::random();
        view.update(inputs);
        runMainLoopUntil([&] { return finishedLoads > before; });
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    };
    auto loadFromFile = [&] {
        int before = finishedLoads;
        auto start = std::chrono::steady_clock::now();
        webkit_web_view_load_uri(view.webView(), fileURL.c_str());
        runMainLoopUntil([&] { return finishedLoads > before; });
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    };
    constexpr const char* loadedImages = "String([...document.images].filter((image) => image.naturalWidth === 32).length"
                                         " + '/' + document.styleSheets.length)";
    std::string expected = std::to_string(imageCount) + "/" + std::to_string(stylesheetCount);

    // The first loads start the web process; both roads are checked to render everything.
    loadThroughScheme();
    auto schemeCheck = evaluate(view.webView(), loadedImages);
    loadFromFile();
    auto fileCheck = evaluate(view.webView(), loadedImages);
    if (schemeCheck != expected || fileCheck != expected)
        state.SkipWithError(("incomplete page: scheme " + schemeCheck + ", file " + fileCheck).c_str());

    double schemeTotal = 0;
    double fileTotal = 0;
    bool schemeFirst = true;
    for (auto _ : state) {
        // The order alternates so that neither road always follows the other.
        if (schemeFirst) {
            schemeTotal += loadThroughScheme();
            fileTotal += loadFromFile();
        } else {
            fileTotal += loadFromFile();
            schemeTotal += loadThroughScheme();
        }
        schemeFirst = !schemeFirst;
    }
    auto iterations = static_cast<double>(state.iterations());
    state.counters["scheme_ms"] = schemeTotal / iterations;
    state.counters["file_ms"] = fileTotal / iterations;
    state.counters["scheme_per_file"] = schemeTotal / fileTotal;

    g_signal_handlers_disconnect_by_data(view.webView(), &finishedLoads);
    gtk_window_destroy(GTK_WINDOW(window));
}

BENCHMARK(PreviewPageLoadSchemeAgainstFile)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);

}

int main(int argc, char** argv)
{
    gtk_init();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
