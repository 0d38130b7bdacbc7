#include "QuilloryCLI/CLICommand.h"
#include "QuilloryCore/Frontend/FrontendProjectDetector.h"

namespace QuilloryCLI {

namespace {

// Prints whether a folder is a Vite React project, with the tools found on this machine, and the
// state its preview would start in. A package.json that can't be read or decoded is an error.
void runDetect(const std::vector<std::string>& arguments)
{
    auto parsed = parseArguments(arguments, {}, {});
    if (parsed.positional.size() != 1)
        throw UsageError("expected DIR");
    auto project = Quillory::FrontendProjectDetector(Quillory::FrontendToolAvailability::current()).detect(parsed.positional[0]);

    auto optionalJSON = [](const auto& value) { return value ? nlohmann::json(*value) : nlohmann::json(nullptr); };
    nlohmann::json projectJSON = nullptr;
    // A loaded folder without a project leaves the preview unsupported with this text.
    auto state = Quillory::FrontendPreviewState::unsupported("No Vite React project detected.");
    if (project) {
        projectJSON = { { "kind", Quillory::toString(project->kind) },
                        { "rootPath", project->rootURL.string() },
                        { "devScript", project->devScript },
                        { "hasNodeModules", project->hasNodeModules },
                        { "nodePath", optionalJSON(project->toolAvailability.nodePath) },
                        { "npmPath", optionalJSON(project->toolAvailability.npmPath) } };
        state = project->initialPreviewState();
    }
    printJSON({ { "frontendProject", std::move(projectJSON) }, { "initialPreviewState", state.caseName() }, { "message", state.displayText() } });
}

const CommandRegistration registration({ "detect", "detect DIR", runDetect });

}

}
