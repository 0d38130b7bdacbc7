#include "QuilloryCore/SiteModel/EditableDocument.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/SiteModel/SiteFolderWalk.h"
#include "QuilloryCore/Text/StringHelpers.h"

#include <algorithm>
#include <system_error>

namespace Quillory {

std::string_view toString(EditableDocumentKind kind)
{
    switch (kind) {
    case EditableDocumentKind::htmlPage:
        return "htmlPage";
    case EditableDocumentKind::sourceFile:
        return "sourceFile";
    }
    return "sourceFile";
}

std::vector<EditableDocument> EditableDocumentBuilder::build(const std::filesystem::path& rootURL, const SiteMap& siteMap,
                                                             IncludeFrontendSource includeFrontendSource)
{
    std::vector<EditableDocument> documents;
    documents.reserve(siteMap.pages.size());
    for (auto& page : siteMap.pages)
        documents.push_back({ page.relativePath, page.url, page.title, EditableDocumentKind::htmlPage, page.id });

    if (includeFrontendSource == IncludeFrontendSource::yes) {
        std::unordered_set<std::string> existingPaths;
        for (auto& document : documents)
            existingPaths.insert(document.relativePath);
        auto sources = sourceDocuments(rootURL, existingPaths);
        documents.insert(documents.end(), std::make_move_iterator(sources.begin()), std::make_move_iterator(sources.end()));
    }

    // Pages and sources mix in one file-browser order; the kind plays no part.
    StringHelpers::stableSortLocalizedStandard(documents, [](const EditableDocument& document) -> std::string_view { return document.relativePath; });
    return documents;
}

bool EditableDocumentBuilder::isEditableSourceExtension(std::string_view path)
{
    auto extension = StringHelpers::asciiLowercased(FilePaths::pathExtension(path));
    return extension == "js" || extension == "jsx" || extension == "ts" || extension == "tsx" || extension == "css";
}

std::vector<EditableDocument> EditableDocumentBuilder::sourceDocuments(const std::filesystem::path& root,
                                                                       const std::unordered_set<std::string>& existingPaths)
{
    auto standardizedRoot = FilePaths::standardized(root);
    // Only "src" is looked at: the root's own scripts and stylesheets are build tooling.
    auto sourceFolder = standardizedRoot / "src";
    std::error_code error;
    if (!std::filesystem::is_directory(sourceFolder, error))
        return {};

    std::vector<EditableDocument> documents;
    for (auto& entry : SiteFolderWalk::regularFiles(sourceFolder, standardizedRoot, { "node_modules", "dist", "build", "coverage" })) {
        if (existingPaths.contains(entry.relativePath) || !isEditableSourceExtension(entry.relativePath))
            continue;
        auto title = entry.relativePath;
        documents.push_back({ entry.relativePath, std::move(entry.url), std::move(title), EditableDocumentKind::sourceFile, std::nullopt });
    }
    return documents;
}

}
