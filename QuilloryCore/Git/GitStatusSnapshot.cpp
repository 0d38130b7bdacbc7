#include "QuilloryCore/Git/GitStatusSnapshot.h"

#include <algorithm>

namespace Quillory {

std::string GitStatusSnapshot::title() const
{
    switch (state) {
    case State::noWorkspace:
        return "No workspace";
    case State::loading:
        return "Checking Git";
    case State::notRepository:
        return "Not a Git repo";
    case State::clean:
        return "Git clean";
    case State::dirty:
        return std::to_string(statusLines.size()) + " Git change" + (statusLines.size() == 1 ? "" : "s");
    case State::unavailable:
        return "Git unavailable";
    }
    return {};
}

std::string GitStatusSnapshot::detail() const
{
    switch (state) {
    case State::noWorkspace:
        return "Open a local site folder.";
    case State::loading:
        return "Reading repository status.";
    case State::notRepository:
        return "The selected folder is not inside a Git repository.";
    case State::clean:
        return "No tracked or untracked changes.";
    case State::dirty: {
        std::string detail;
        auto shown = std::min<std::size_t>(statusLines.size(), 3);
        for (std::size_t index = 0; index < shown; ++index) {
            if (index > 0)
                detail.push_back('\n');
            detail += statusLines[index];
        }
        return detail;
    }
    case State::unavailable:
        return message;
    }
    return {};
}

}
