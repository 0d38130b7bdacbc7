#pragma once

#include "QuilloryCore/Text/TextFileFingerprint.h"

#include <optional>
#include <string>

namespace Quillory {

// The edit state of one open document, in memory only. All three texts start equal to the
// file's text when the document was first opened in this workspace.
struct PageEditSession {
    std::string pageID; // The document id (its path relative to the site root).
    std::u16string openedBaselineText; // Never changes, also across autosaves.
    std::u16string currentText; // What the editor holds.
    std::u16string lastAutosavedText; // What this session last wrote to disk.
    // What the file held when this session last read or wrote it; nothing when not known. Every
    // write first compares it with the file, so that another program's change is never overwritten.
    std::optional<TextFileFingerprint> diskFingerprint;

    PageEditSession(std::string pageID, std::u16string openedBaselineText);

    bool hasChangesFromOpenedBaseline() const;
    bool hasUnsavedChanges() const;

    void updateCurrentText(std::u16string text);
    void markAutosaved();
    // Leaves `lastAutosavedText` alone: the caller writes the baseline and then marks it autosaved.
    void revertToOpenedBaseline();

    friend bool operator==(const PageEditSession&, const PageEditSession&) = default;
};

}
