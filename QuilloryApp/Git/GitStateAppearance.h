#pragma once

#include "QuilloryCore/Git/FileGitSnapshot.h"
#include "QuilloryCore/Git/GitStatusSnapshot.h"

#include <gtk/gtk.h>

namespace Quillory::GitStateAppearance {

// The colours a Git state is drawn in, each a style class of the application's stylesheet.
enum class Colour {
    secondary,
    green,
    orange,
    red,
    sky,
};

const char* styleClass(Colour);
// Gives the widget this colour's style class in place of any other Git colour.
void applyColour(GtkWidget*, Colour);
// The strip's symbol (a system image name) and colour for the working tree's state.
const char* symbol(GitStatusSnapshot::State);
Colour colour(GitStatusSnapshot::State);
// The Git details' word and colour for a file's state.
const char* word(FileGitSnapshot::FileState::Kind);
Colour colour(FileGitSnapshot::FileState::Kind);

}
