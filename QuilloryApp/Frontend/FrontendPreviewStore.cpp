#include "QuilloryApp/Frontend/FrontendPreviewStore.h"

#include "QuilloryCore/Text/CharacterSegmentation.h"
#include "QuilloryCore/Text/UnicodeText.h"

namespace Quillory {

void FrontendPreviewStore::configure(const std::optional<FrontendProject>& project)
{
    if (!project) {
        configureUnsupported("No frontend project detected.");
        return;
    }
    m_state.setIfChanged(project->initialPreviewState());
    m_logText.setIfChanged({});
    m_isShowingInstallConfirmation.setIfChanged(false);
}

void FrontendPreviewStore::configureUnsupported(std::string message)
{
    m_state.setIfChanged(FrontendPreviewState::unsupported(std::move(message)));
    m_logText.setIfChanged({});
    m_isShowingInstallConfirmation.setIfChanged(false);
}

void FrontendPreviewStore::appendOutput(const std::string& text)
{
    auto log = m_logText.get() + text;
    // Only text that is valid UTF-8 reaches the log, so the conversion can't fail.
    auto utf16 = UnicodeText::utf16FromUTF8(log).value_or(std::u16string());
    auto characters = CharacterSegmentation::characterRanges(utf16);
    if (characters.size() > logCharacterLimit)
        log = UnicodeText::utf8FromUTF16(std::u16string_view(utf16).substr(characters[characters.size() - logCharacterLimit].location));
    m_logText.set(std::move(log));
}

}
