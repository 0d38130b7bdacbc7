#pragma once

#include "QuilloryApp/Support/ObservableProperty.h"
#include "QuilloryCore/Inspection/PageInspectionSnapshot.h"
#include "QuilloryCore/Text/UUID.h"

#include <optional>
#include <string>

namespace Quillory {

// The page snapshot's observed state. Each setter notifies only when the value changes, so that a
// repeated state doesn't redraw the panel. Main thread only; owned by the workspace store, which
// drives it.
class PageInspectionStore {
public:
    PageInspectionStore() = default;
    PageInspectionStore(const PageInspectionStore&) = delete;
    PageInspectionStore& operator=(const PageInspectionStore&) = delete;

    // The last good result.
    const ObservableProperty<std::optional<PageInspectionSnapshot>>& snapshot() const { return m_snapshot; }
    const ObservableProperty<bool>& isLoading() const { return m_isLoading; }
    // The last failure.
    const ObservableProperty<std::optional<std::string>>& errorMessage() const { return m_errorMessage; }
    // A new value asks the web view for a new run.
    const ObservableProperty<std::optional<UUID>>& requestToken() const { return m_requestToken; }

    void setSnapshot(std::optional<PageInspectionSnapshot>);
    void setIsLoading(bool);
    void setErrorMessage(std::optional<std::string>);
    void setRequestToken(std::optional<UUID>);

    // Back to idle and empty: the snapshot could have gone stale.
    void clear();

private:
    ObservableProperty<std::optional<PageInspectionSnapshot>> m_snapshot;
    ObservableProperty<bool> m_isLoading { false };
    ObservableProperty<std::optional<std::string>> m_errorMessage;
    ObservableProperty<std::optional<UUID>> m_requestToken;
};

}
