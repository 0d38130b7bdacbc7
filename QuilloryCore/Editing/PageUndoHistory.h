#pragma once

#include "QuilloryCore/Editing/PageUndoSnapshot.h"
#include "QuilloryCore/Text/UUID.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory::PageUndoHistory {

// A document's undo list is a std::vector<PageUndoSnapshot>, newest first, never longer than this.
inline constexpr std::size_t maximumEntryCount = 5;

// Records `text` (the document's text before a change) at the front of `history` with a fresh
// id and `now`, then keeps the newest five. Does nothing and returns false when the newest entry
// already holds this text.
bool record(std::vector<PageUndoSnapshot>& history, std::u16string_view text, std::chrono::system_clock::time_point now);

// What an undo jump gives the store: the text to put back, and the history to keep.
struct UndoResult {
    std::u16string restoredText;
    std::vector<PageUndoSnapshot> history;
};

// Jumps back to one entry: the newest when `snapshotID` is absent, else the first with that id.
// The entry leaves the list, newer entries stay (a jump, not a stack), and unless it equals the
// entry's text, `currentText` is recorded at the front with a fresh id and `now`, so the undo can
// itself be undone; the list is then cut to five. Nothing when `history` is empty or holds no
// entry with the id. The caller checks that a session is selected.
std::optional<UndoResult> undo(const std::vector<PageUndoSnapshot>& history, const std::optional<UUID>& snapshotID,
                               std::u16string_view currentText, std::chrono::system_clock::time_point now);

}
