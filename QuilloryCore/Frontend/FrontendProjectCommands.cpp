#include "QuilloryCore/Frontend/FrontendProjectCommands.h"

#include "QuilloryCore/Text/FilePaths.h"

namespace Quillory::FrontendProjectCommands {

namespace {

// Without npm the commands fall back to /usr/bin/env with the same arguments; the preview states
// never allow a run without npm, so the fallback is not reached in use.
FrontendProcessCommand npmCommand(const FrontendProject& project, std::vector<std::string> arguments)
{
    return { project.toolAvailability.npmPath.value_or("/usr/bin/env"), std::move(arguments), FilePaths::standardized(project.rootURL),
             removingDuplicates(toolDirectoryPrefixes(project)) };
}

}

std::vector<std::string> toolDirectoryPrefixes(const FrontendProject& project)
{
    std::vector<std::string> prefixes;
    for (const auto& tool : { project.toolAvailability.nodePath, project.toolAvailability.npmPath }) {
        if (tool)
            prefixes.push_back(std::filesystem::path(*tool).parent_path().string());
    }
    return prefixes;
}

FrontendProcessCommand installCommand(const FrontendProject& project)
{
    return npmCommand(project, { "install" });
}

FrontendProcessCommand devCommand(const FrontendProject& project, std::uint16_t port)
{
    return npmCommand(project, { "run", "dev", "--", "--host", "127.0.0.1", "--port", std::to_string(port), "--strictPort" });
}

}
