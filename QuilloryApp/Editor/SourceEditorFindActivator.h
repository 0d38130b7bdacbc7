#pragma once

#include "QuilloryApp/Editor/SourceEditorView.h"

namespace Quillory::SourceEditorFindActivator {

// The editor the find commands act on: the one made last that still exists. Main thread only.
SourceEditorView* activeEditor();
void setActiveEditor(SourceEditorView*);
// Clears the active editor if it is this one.
void editorWillGoAway(SourceEditorView*);

// Brings the find bar to the active editor when its window is the active one. The keyboard
// focus moves into the editor if it was elsewhere, and then the bar flashes for the find and
// replace interfaces, so the eye finds it. Without an active editor nothing happens.
void perform(FindAction);
// Scrolls the active editor's selection to the middle of its view.
void jumpToSelection();

}
