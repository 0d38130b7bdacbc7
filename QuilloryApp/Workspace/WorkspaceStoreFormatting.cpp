#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include "QuilloryApp/Formatter/DprintFormatterError.h"

#include <variant>

namespace Quillory {

bool WorkspaceStore::selectedDocumentCanFormat() const
{
    auto document = selectedDocument();
    return document && DprintFormatterService::supportsDocumentPath(document->relativePath)
        && m_formatterService.isAvailableForCurrentHost();
}

void WorkspaceStore::setFormatterService(DprintFormatterService service)
{
    m_formatterService = std::move(service);
}

void WorkspaceStore::formatSelectedDocument()
{
    if (m_isFormattingDocument.get())
        return;
    auto document = selectedDocument();
    if (!document) {
        m_errorMessage.set("Select a document before formatting.");
        return;
    }
    if (!DprintFormatterService::supportsDocumentPath(document->relativePath)) {
        m_errorMessage.set(DprintFormatterError::unsupportedExtension(document->relativePath).what());
        return;
    }
    m_isFormattingDocument.set(true);

    // The worker gets copies; the main thread stays free while dprint runs.
    using Outcome = std::variant<std::u16string, std::string>;
    auto format = [service = m_formatterService, text = m_editorText.get(), path = document->relativePath]() -> Outcome {
        try {
            return service.format(text, path);
        } catch (const std::exception& error) {
            return std::string(error.what());
        }
    };
    auto apply = [this, lifetime = std::weak_ptr<int>(m_lifetime), rootURL = m_rootURL.get(), pageID = document->id()](Outcome outcome) {
        if (!lifetime.lock())
            return;
        m_isFormattingDocument.setIfChanged(false);
        // A result for a document that is no longer the selected one, or a workspace that has
        // been replaced, must not land in another text.
        if (m_rootURL.get() != rootURL || m_selectedPageID.get() != pageID)
            return;
        if (auto* failure = std::get_if<std::string>(&outcome)) {
            m_errorMessage.set(*failure);
            return;
        }
        // The result replaces the text as it stands now, what was typed during the run included.
        auto& formatted = std::get<std::u16string>(outcome);
        if (formatted != m_editorText.get()) {
            setEditorText(std::move(formatted));
            editorTextDidChange();
            m_previewReloadToken.set(UUID::random());
            m_pageInspectionStore.clear();
        }
        m_errorMessage.set(std::nullopt);
    };
    m_scheduler.runInBackground(std::move(format), std::move(apply));
}

}
