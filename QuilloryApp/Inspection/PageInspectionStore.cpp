#include "QuilloryApp/Inspection/PageInspectionStore.h"

#include <utility>

namespace Quillory {

void PageInspectionStore::setSnapshot(std::optional<PageInspectionSnapshot> snapshot)
{
    m_snapshot.setIfChanged(std::move(snapshot));
}

void PageInspectionStore::setIsLoading(bool isLoading)
{
    m_isLoading.setIfChanged(isLoading);
}

void PageInspectionStore::setErrorMessage(std::optional<std::string> errorMessage)
{
    m_errorMessage.setIfChanged(std::move(errorMessage));
}

void PageInspectionStore::setRequestToken(std::optional<UUID> requestToken)
{
    m_requestToken.setIfChanged(std::move(requestToken));
}

void PageInspectionStore::clear()
{
    setSnapshot(std::nullopt);
    setIsLoading(false);
    setErrorMessage(std::nullopt);
    setRequestToken(std::nullopt);
}

}
