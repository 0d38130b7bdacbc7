#pragma once

#include "QuilloryCore/Analysis/HTMLSyntaxSpan.h"

#include <gdk/gdk.h>

namespace Quillory::SourceEditorColors {

// The editor's own dark palette, all at full opacity.
inline constexpr GdkRGBA grey(float value) { return { value, value, value, 1 }; }
inline constexpr GdkRGBA background = grey(0.105f);
inline constexpr GdkRGBA text = grey(0.88f);
inline constexpr GdkRGBA gutterBackground = grey(0.085f);
inline constexpr GdkRGBA gutterSeparator = grey(0.18f);

// Each kind is drawn in the colour of its own name.
GdkRGBA color(HTMLSyntaxKind);

}
