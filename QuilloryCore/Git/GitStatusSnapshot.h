#pragma once

#include <string>
#include <vector>

namespace Quillory {

// The state of the opened site's working tree, as the status strip shows it.
struct GitStatusSnapshot {
    enum class State {
        noWorkspace,
        loading,
        notRepository,
        clean,
        // `statusLines` holds the lines of `git status --short`, unchanged.
        dirty,
        // `message` says why Git could not answer.
        unavailable,
    };

    State state { State::noWorkspace };
    std::vector<std::string> statusLines;
    std::string message;

    static GitStatusSnapshot noWorkspace() { return {}; }
    static GitStatusSnapshot loading() { return { State::loading, {}, {} }; }
    static GitStatusSnapshot notRepository() { return { State::notRepository, {}, {} }; }
    static GitStatusSnapshot clean() { return { State::clean, {}, {} }; }
    static GitStatusSnapshot dirty(std::vector<std::string> lines) { return { State::dirty, std::move(lines), {} }; }
    static GitStatusSnapshot unavailable(std::string message) { return { State::unavailable, {}, std::move(message) }; }

    // "Git clean", "3 Git changes", "Not a Git repo", ...
    std::string title() const;
    // One sentence, or for `dirty` the first three status lines joined by line feeds.
    std::string detail() const;

    bool operator==(const GitStatusSnapshot&) const = default;
};

}
