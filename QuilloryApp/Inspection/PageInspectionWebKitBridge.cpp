#include "QuilloryApp/Inspection/PageInspectionWebKitBridge.h"

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Inspection/PageInspectionJS.h"

#include <webkit/webkit.h>

#include <any>
#include <memory>
#include <utility>

namespace Quillory::PageInspectionWebKitBridge {

namespace {

// What one evaluation carries to its completion. The reference keeps the web view alive until
// the answer is in, whatever happens to its window meanwhile.
struct PendingSnapshot {
    GRef<WebKitWebView> webView;
    std::function<void(SnapshotResult)> completion;
};

// A JavaScript string as UTF-8; nothing for any other value, which decoding reports as not a
// string.
std::any evaluationValue(JSCValue* value)
{
    if (!value || !jsc_value_is_string(value))
        return {};
    char* text = jsc_value_to_string(value);
    std::string result = text ? text : "";
    g_free(text);
    return result;
}

SnapshotResult snapshotResult(JSCValue* value, GError* error)
{
    if (!value)
        return BridgeError { BridgeError::Kind::evaluationFailed, error ? error->message : "" };
    try {
        return PageInspectionJS::decode(evaluationValue(value));
    } catch (const PageInspectionJS::DecodeError& decodeError) {
        return BridgeError { BridgeError::Kind::decode, decodeError.what() };
    }
}

}

void collectSnapshot(WebKitWebView* webView, std::function<void(SnapshotResult)> completion)
{
    auto* pending = new PendingSnapshot { GRef<WebKitWebView>::retain(webView), std::move(completion) };
    static const std::string script = PageInspectionJS::script();
    webkit_web_view_evaluate_javascript(
        webView, script.data(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr,
        +[](GObject* source, GAsyncResult* result, gpointer data) {
            std::unique_ptr<PendingSnapshot> request(static_cast<PendingSnapshot*>(data));
            GError* error = nullptr;
            auto value = GRef<JSCValue>::adopt(webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error));
            auto snapshot = snapshotResult(value.get(), error);
            g_clear_error(&error);
            request->completion(std::move(snapshot));
        },
        pending);
}

}
