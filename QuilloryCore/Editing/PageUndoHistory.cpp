#include "QuilloryCore/Editing/PageUndoHistory.h"

#include <algorithm>

namespace Quillory::PageUndoHistory {

namespace {

void keepNewestEntries(std::vector<PageUndoSnapshot>& history)
{
    if (history.size() > maximumEntryCount)
        history.resize(maximumEntryCount);
}

}

bool record(std::vector<PageUndoSnapshot>& history, std::u16string_view text, std::chrono::system_clock::time_point now)
{
    if (!history.empty() && history.front().previewText == text)
        return false;
    history.insert(history.begin(), PageUndoSnapshot { UUID::random(), std::u16string(text), now });
    keepNewestEntries(history);
    return true;
}

std::optional<UndoResult> undo(const std::vector<PageUndoSnapshot>& history, const std::optional<UUID>& snapshotID,
                               std::u16string_view currentText, std::chrono::system_clock::time_point now)
{
    if (history.empty())
        return std::nullopt;
    auto entry = history.begin();
    if (snapshotID) {
        entry = std::find_if(history.begin(), history.end(), [&](const PageUndoSnapshot& snapshot) { return snapshot.id == *snapshotID; });
        if (entry == history.end())
            return std::nullopt;
    }

    UndoResult result { entry->previewText, {} };
    result.history.reserve(history.size() + 1);
    if (currentText != entry->previewText)
        result.history.push_back(PageUndoSnapshot { UUID::random(), std::u16string(currentText), now });
    for (auto other = history.begin(); other != history.end(); ++other) {
        if (other != entry)
            result.history.push_back(*other);
    }
    keepNewestEntries(result.history);
    return result;
}

}
