#pragma once

#include "QuilloryApp/Editor/SourceEditorView.h"

namespace QuilloryTest {

// What a keystroke does: an interactive insertion at the cursor, inside a user action.
void typeAtCursor(Quillory::SourceEditorView&, const char* utf8);

// Whether the caret's line lies wholly inside the part of the text that is scrolled into view, at
// least `margin` pixels away from its top and bottom edges.
bool caretIsVisible(const Quillory::SourceEditorView&, int margin = 0);

}
