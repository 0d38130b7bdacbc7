#pragma once

#include "QuilloryCore/Text/UUID.h"

#include <chrono>
#include <string>

namespace Quillory {

// One earlier text of a document in its undo list. Holds the whole text, so a list of five
// costs at most five copies of the document.
struct PageUndoSnapshot {
    UUID id;
    std::u16string previewText;
    std::chrono::system_clock::time_point createdAt;

    // The label in the undo menu (UTF-8): the first line that has characters other than line
    // ends, trimmed of white space; "Blank page" when that is empty; shortened to its first 45
    // user-perceived characters and "..." when it has 49 or more.
    std::string menuTitle() const;

    friend bool operator==(const PageUndoSnapshot&, const PageUndoSnapshot&) = default;
};

}
