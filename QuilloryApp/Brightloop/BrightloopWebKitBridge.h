#pragma once

#include "QuilloryCore/Brightloop/BrightloopModels.h"

#include <functional>
#include <string>
#include <variant>
#include <vector>

typedef struct _WebKitWebView WebKitWebView;

namespace Quillory::BrightloopWebKitBridge {

// Why records could not be collected; `message` is the evaluation error's text or the decode
// error's what().
struct BridgeError {
    enum class Kind {
        evaluationFailed,
        decode,
    };
    Kind kind;
    std::string message;
};

using CollectResult = std::variant<std::vector<BrightloopDOMRecord>, BridgeError>;

// Runs the collection script for the selection's fence in the page and decodes its answer. The
// completion runs later on the main thread, exactly once; the call holds the web view until then.
void collectDOMRecords(WebKitWebView*, const BrightloopSelection&, std::function<void(CollectResult)> completion);

}
