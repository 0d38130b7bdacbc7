#pragma once

namespace Quillory::ScriptMessageHandlerNames {

// The names under which page scripts post to the application through
// `window.webkit.messageHandlers.NAME.postMessage`. The page scripts spell them the same way.

// The scroll observer: "scroll" once scrolling has paused.
inline constexpr const char* previewScrolled = "quilloryPreviewScrolled";

}
