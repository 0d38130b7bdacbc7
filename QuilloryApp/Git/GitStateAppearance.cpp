#include "QuilloryApp/Git/GitStateAppearance.h"

namespace Quillory::GitStateAppearance {

const char* styleClass(Colour colour)
{
    switch (colour) {
    case Colour::secondary:
        return "quillory-git-secondary";
    case Colour::green:
        return "quillory-git-green";
    case Colour::orange:
        return "quillory-git-orange";
    case Colour::red:
        return "quillory-git-red";
    case Colour::sky:
        return "quillory-git-sky";
    }
    return "quillory-git-secondary";
}

void applyColour(GtkWidget* widget, Colour colour)
{
    for (auto each : { Colour::secondary, Colour::green, Colour::orange, Colour::red, Colour::sky })
        gtk_widget_remove_css_class(widget, styleClass(each));
    gtk_widget_add_css_class(widget, styleClass(colour));
}

const char* symbol(GitStatusSnapshot::State state)
{
    switch (state) {
    case GitStatusSnapshot::State::noWorkspace:
        return "folder";
    case GitStatusSnapshot::State::loading:
        return "hourglass";
    case GitStatusSnapshot::State::clean:
        return "checkmark.circle";
    case GitStatusSnapshot::State::dirty:
        return "square.and.pencil";
    case GitStatusSnapshot::State::notRepository:
    case GitStatusSnapshot::State::unavailable:
        return "exclamationmark.triangle";
    }
    return "folder";
}

Colour colour(GitStatusSnapshot::State state)
{
    switch (state) {
    case GitStatusSnapshot::State::noWorkspace:
    case GitStatusSnapshot::State::loading:
        return Colour::secondary;
    case GitStatusSnapshot::State::clean:
        return Colour::green;
    case GitStatusSnapshot::State::dirty:
        return Colour::sky;
    case GitStatusSnapshot::State::notRepository:
    case GitStatusSnapshot::State::unavailable:
        return Colour::orange;
    }
    return Colour::secondary;
}

const char* word(FileGitSnapshot::FileState::Kind kind)
{
    using Kind = FileGitSnapshot::FileState::Kind;
    switch (kind) {
    case Kind::clean:
        return "Clean";
    case Kind::modified:
        return "Modified";
    case Kind::added:
        return "Added";
    case Kind::deleted:
        return "Deleted";
    case Kind::untracked:
        return "Untracked";
    case Kind::conflicted:
        return "Conflicted";
    case Kind::unavailable:
        return "Unavailable";
    }
    return "Unavailable";
}

Colour colour(FileGitSnapshot::FileState::Kind kind)
{
    using Kind = FileGitSnapshot::FileState::Kind;
    switch (kind) {
    case Kind::clean:
        return Colour::green;
    case Kind::modified:
    case Kind::added:
    case Kind::deleted:
        return Colour::orange;
    case Kind::untracked:
    case Kind::conflicted:
    case Kind::unavailable:
        return Colour::red;
    }
    return Colour::red;
}

}
