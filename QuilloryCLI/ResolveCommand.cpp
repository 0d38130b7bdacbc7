#include "QuilloryCLI/CLICommand.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "QuilloryCore/SiteModel/SiteRouteResolver.h"

namespace QuilloryCLI {

namespace {

// Prints what a reference written in the site means, as the preview and the link graph see it.
void runResolve(const std::vector<std::string>& arguments)
{
    auto parsed = parseArguments(arguments, { "--from" }, {});
    if (parsed.positional.size() != 2)
        throw UsageError("expected DIR and REFERENCE");
    auto map = Quillory::SiteGraphBuilder().build(parsed.positional[0]);
    auto resolved = map.routeResolver().resolve(parsed.positional[1], parsed.value("--from"));

    auto optionalJSON = [](const auto& value) { return value ? nlohmann::json(*value) : nlohmann::json(nullptr); };
    nlohmann::json filePath = nullptr;
    if (resolved.fileURL)
        filePath = resolved.fileURL->string();
    printJSON({ { "kind", resolved.kindName() },
                { "pageID", optionalJSON(resolved.kind.pageID()) },
                { "requestPath", resolved.requestPath },
                { "relativePath", optionalJSON(resolved.relativePath) },
                { "filePath", std::move(filePath) } });
}

const CommandRegistration registration({ "resolve", "resolve DIR REFERENCE [--from PAGE_PATH]", runResolve });

}

}
