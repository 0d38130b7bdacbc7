#pragma once

#include "QuilloryApp/Support/ObservableProperty.h"
#include "QuilloryCore/Frontend/FrontendPreviewState.h"
#include "QuilloryCore/Frontend/FrontendProject.h"

#include <cstddef>
#include <optional>
#include <string>

namespace Quillory {

// The observable state of a frontend project's preview: its state, the tail of what the processes
// printed (with the store's own command lines), and whether the install confirmation is up.
// Main thread only.
class FrontendPreviewStore {
public:
    // The log keeps at most this many user-perceived characters, the newest.
    static constexpr std::size_t logCharacterLimit = 4000;

    const ObservableProperty<FrontendPreviewState>& state() const { return m_state; }
    // UTF-8.
    const ObservableProperty<std::string>& logText() const { return m_logText; }
    const ObservableProperty<bool>& isShowingInstallConfirmation() const { return m_isShowingInstallConfirmation; }

    // The project's first state, or unsupported with "No frontend project detected." without one;
    // the log empties and the confirmation goes down.
    void configure(const std::optional<FrontendProject>&);
    void configureUnsupported(std::string message);
    // Appends to the log and keeps only its last logCharacterLimit characters.
    void appendOutput(const std::string& text);

    void setState(FrontendPreviewState state) { m_state.setIfChanged(std::move(state)); }
    void setShowingInstallConfirmation(bool showing) { m_isShowingInstallConfirmation.setIfChanged(showing); }

private:
    ObservableProperty<FrontendPreviewState> m_state { FrontendPreviewState::unsupported("No frontend project detected.") };
    ObservableProperty<std::string> m_logText;
    ObservableProperty<bool> m_isShowingInstallConfirmation { false };
};

}
