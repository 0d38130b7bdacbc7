#include "app/support/MainLoopWaiting.h"

#include <webkit/webkit.h>

namespace QuilloryTest {

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout)
{
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        if (!g_main_context_iteration(nullptr, FALSE))
            g_usleep(1000);
    }
    return true;
}

void waitFor(std::chrono::milliseconds duration)
{
    auto deadline = std::chrono::steady_clock::now() + duration;
    waitUntil([&] { return std::chrono::steady_clock::now() > deadline; }, duration + std::chrono::seconds(1));
}

std::optional<std::string> evaluateInPage(WebKitWebView* webView, const std::string& body, std::string* error)
{
    struct Evaluation {
        bool done { false };
        std::optional<std::string> result;
        std::string error;
    } evaluation;
    webkit_web_view_call_async_javascript_function(
        webView, body.c_str(), static_cast<gssize>(body.size()), nullptr, nullptr, nullptr, nullptr,
        +[](GObject* source, GAsyncResult* result, gpointer data) {
            auto* pending = static_cast<Evaluation*>(data);
            GError* failure = nullptr;
            JSCValue* value = webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(source), result, &failure);
            if (value) {
                char* text = jsc_value_to_string(value);
                pending->result = text;
                g_free(text);
                g_object_unref(value);
            } else {
                pending->error = failure ? failure->message : "unknown failure";
                g_clear_error(&failure);
            }
            pending->done = true;
        },
        &evaluation);
    if (!waitUntil([&] { return evaluation.done; })) {
        // The callback still refers to `evaluation`; wait for it rather than leave it dangling.
        waitUntil([&] { return evaluation.done; }, std::chrono::minutes(5));
        if (error)
            *error = "timed out";
        return std::nullopt;
    }
    if (error)
        *error = evaluation.error;
    return evaluation.result;
}

}
