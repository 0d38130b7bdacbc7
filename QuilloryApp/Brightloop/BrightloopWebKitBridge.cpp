#include "QuilloryApp/Brightloop/BrightloopWebKitBridge.h"

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Brightloop/BrightloopJS.h"

#include <webkit/webkit.h>

#include <any>
#include <memory>

namespace Quillory::BrightloopWebKitBridge {

namespace {

struct PendingCollection {
    // Keeps the web view alive until the page has answered.
    GRef<WebKitWebView> webView;
    std::function<void(CollectResult)> completion;
};

CollectResult collectResult(WebKitWebView* webView, GAsyncResult* result)
{
    GError* error = nullptr;
    auto value = GRef<JSCValue>::adopt(webkit_web_view_evaluate_javascript_finish(webView, result, &error));
    if (!value) {
        BridgeError failure { BridgeError::Kind::evaluationFailed, error ? error->message : "The script could not be evaluated." };
        g_clear_error(&error);
        return failure;
    }
    // Anything but a JavaScript string reaches the decoder as "nothing", which it calls not a string.
    std::any answer;
    if (jsc_value_is_string(value.get())) {
        char* text = jsc_value_to_string(value.get());
        answer = std::string(text);
        g_free(text);
    }
    try {
        return BrightloopJS::decode(answer);
    } catch (const BrightloopJS::DecodeError& decodeError) {
        return BridgeError { BridgeError::Kind::decode, decodeError.what() };
    }
}

}

void collectDOMRecords(WebKitWebView* webView, const BrightloopSelection& selection, std::function<void(CollectResult)> completion)
{
    auto script = BrightloopJS::script(selection.fence);
    auto* pending = new PendingCollection { GRef<WebKitWebView>::retain(webView), std::move(completion) };
    webkit_web_view_evaluate_javascript(
        webView, script.data(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr,
        +[](GObject* source, GAsyncResult* result, gpointer data) {
            std::unique_ptr<PendingCollection> collection(static_cast<PendingCollection*>(data));
            auto answer = collectResult(WEBKIT_WEB_VIEW(source), result);
            if (collection->completion)
                collection->completion(std::move(answer));
        },
        pending);
}

}
