#pragma once

#include "QuilloryCore/Brightloop/BrightloopPreviewDirective.h"

#include <string>

namespace Quillory::BrightloopPreviewEffectScript {

// The whole script that applies a directive to the rendered page: it undoes the previous run, then
// hides each hidden candidate and outlines the highlighted one, so the empty directive restores
// the page. The directive travels as JSON: {"candidates":[{"id", "mode", "record"}]}, the hidden
// candidates in order with mode "hidden", then the highlighted one with "highlighted". A
// directive that JSON can't carry (text that isn't UTF-8, a coordinate that isn't finite) becomes
// the empty payload.
std::string script(const BrightloopPreviewDirective&);

// The JSON that script() places into the page.
std::string payloadJSON(const BrightloopPreviewDirective&);

}
