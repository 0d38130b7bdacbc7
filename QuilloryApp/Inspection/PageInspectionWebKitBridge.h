#pragma once

#include "QuilloryCore/Inspection/PageInspectionSnapshot.h"

#include <functional>
#include <string>
#include <variant>

typedef struct _WebKitWebView WebKitWebView;

namespace Quillory::PageInspectionWebKitBridge {

// Why a snapshot could not be taken; `message` is the evaluation error's text or the decode
// error's what() ("not a string", "not utf8" or the JSON library's message).
struct BridgeError {
    enum class Kind {
        evaluationFailed,
        decode,
    };
    Kind kind;
    std::string message;
};

using SnapshotResult = std::variant<PageInspectionSnapshot, BridgeError>;

// Runs the inspection script in the page and decodes its answer. The completion runs later on the
// main thread, exactly once; the call holds the web view until then.
void collectSnapshot(WebKitWebView*, std::function<void(SnapshotResult)> completion);

}
