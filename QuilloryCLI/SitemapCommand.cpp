#include "QuilloryCLI/CLICommand.h"
#include "QuilloryCore/SiteModel/EditableDocument.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"

namespace QuilloryCLI {

namespace {

nlohmann::json optionalJSON(const std::optional<std::string>& value)
{
    return value ? nlohmann::json(*value) : nlohmann::json(nullptr);
}

nlohmann::json treeJSON(const Quillory::PageTreeNode& node)
{
    auto children = nlohmann::json::array();
    for (auto& child : node.children)
        children.push_back(treeJSON(child));
    return { { "id", node.id }, { "title", node.title }, { "pageID", optionalJSON(node.pageID) }, { "children", std::move(children) } };
}

// Prints what opening the folder as a workspace finds: pages, sidebar tree, links and documents.
void runSitemap(const std::vector<std::string>& arguments)
{
    auto parsed = parseArguments(arguments, {}, { "--include-source" });
    if (parsed.positional.size() != 1)
        throw UsageError("expected DIR");
    auto map = Quillory::SiteGraphBuilder().build(parsed.positional[0]);
    auto includeFrontendSource = parsed.hasFlag("--include-source") ? Quillory::IncludeFrontendSource::yes : Quillory::IncludeFrontendSource::no;
    auto documents = Quillory::EditableDocumentBuilder::build(map.rootURL, map, includeFrontendSource);

    auto pages = nlohmann::json::array();
    for (auto& page : map.pages)
        pages.push_back({ { "id", page.id }, { "relativePath", page.relativePath }, { "title", page.title } });
    auto unplacedPages = nlohmann::json::array();
    for (auto& page : map.unplacedPages)
        unplacedPages.push_back(page.id);
    auto linksByPageID = nlohmann::json::object();
    for (auto& [pageID, targets] : map.linksByPageID)
        linksByPageID[pageID] = targets;
    auto documentList = nlohmann::json::array();
    for (auto& document : documents) {
        documentList.push_back({ { "relativePath", document.relativePath },
                                 { "title", document.title },
                                 { "kind", Quillory::toString(document.kind) },
                                 { "pageID", optionalJSON(document.pageID) } });
    }

    printJSON({ { "rootPath", map.rootURL.string() },
                { "pages", std::move(pages) },
                { "primaryTree", treeJSON(map.primaryTree) },
                { "unplacedPages", std::move(unplacedPages) },
                { "linksByPageID", std::move(linksByPageID) },
                { "documents", std::move(documentList) } });
}

const CommandRegistration registration({ "sitemap", "sitemap DIR [--include-source]", runSitemap });

}

}
