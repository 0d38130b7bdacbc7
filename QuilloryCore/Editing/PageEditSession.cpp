#include "QuilloryCore/Editing/PageEditSession.h"

#include <utility>

namespace Quillory {

PageEditSession::PageEditSession(std::string documentID, std::u16string text)
    : pageID(std::move(documentID))
    , openedBaselineText(std::move(text))
    , currentText(openedBaselineText)
    , lastAutosavedText(openedBaselineText)
{
}

bool PageEditSession::hasChangesFromOpenedBaseline() const
{
    return currentText != openedBaselineText;
}

bool PageEditSession::hasUnsavedChanges() const
{
    return currentText != lastAutosavedText;
}

void PageEditSession::updateCurrentText(std::u16string text)
{
    currentText = std::move(text);
}

void PageEditSession::markAutosaved()
{
    lastAutosavedText = currentText;
}

void PageEditSession::revertToOpenedBaseline()
{
    currentText = openedBaselineText;
}

}
