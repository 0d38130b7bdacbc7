#pragma once

#include "QuilloryCore/SiteModel/SiteGraphModels.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace Quillory {

enum class EditableDocumentKind {
    htmlPage,
    sourceFile,
};

// The raw value: "htmlPage" or "sourceFile".
std::string_view toString(EditableDocumentKind);

// Something the editor can open: every page, and in a frontend project the source files below "src".
struct EditableDocument {
    // "/"-separated, from the workspace root; also the document's id.
    std::string relativePath;
    std::filesystem::path url;
    // The page's title for a page, the relative path for a source file.
    std::string title;
    EditableDocumentKind kind;
    // The page's id for htmlPage, nothing for sourceFile.
    std::optional<std::string> pageID;

    const std::string& id() const { return relativePath; }

    friend bool operator==(const EditableDocument&, const EditableDocument&) = default;
};

enum class IncludeFrontendSource {
    no,
    yes,
};

class EditableDocumentBuilder {
public:
    // The site's pages, and with IncludeFrontendSource::yes the editable sources below
    // "<root>/src", in file-browser order of relativePath. Opens no file. Throws FileScanError when
    // an entry's type can't be read.
    static std::vector<EditableDocument> build(const std::filesystem::path& rootURL, const SiteMap& siteMap,
                                               IncludeFrontendSource includeFrontendSource);

    // True for the extensions js, jsx, ts, tsx and css, in any case.
    static bool isEditableSourceExtension(std::string_view path);

private:
    static std::vector<EditableDocument> sourceDocuments(const std::filesystem::path& root,
                                                         const std::unordered_set<std::string>& existingPaths);
};

}
