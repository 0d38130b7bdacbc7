#pragma once

#include "QuilloryCore/Frontend/FrontendPreviewState.h"
#include "QuilloryCore/Frontend/FrontendProjectKind.h"
#include "QuilloryCore/Frontend/FrontendToolAvailability.h"

#include <filesystem>
#include <string>

namespace Quillory {

// A detected frontend project the preview can run.
struct FrontendProject {
    FrontendProjectKind kind { FrontendProjectKind::viteReact };
    // The project's root folder, standardized.
    std::filesystem::path rootURL;
    // The text of the `dev` script in package.json.
    std::string devScript;
    // `node_modules` exists in the root and is a folder (a link to a folder counts, a file does not).
    bool hasNodeModules { false };
    // The tools as found when the project was detected.
    FrontendToolAvailability toolAvailability;

    // The state a freshly detected project's preview starts in: `failed` when a tool is missing,
    // `ready` with node_modules, `needsInstall` without.
    FrontendPreviewState initialPreviewState() const;

    friend bool operator==(const FrontendProject&, const FrontendProject&) = default;
};

}

template<>
struct std::hash<Quillory::FrontendProject> {
    std::size_t operator()(const Quillory::FrontendProject& project) const noexcept
    {
        std::size_t value = std::hash<std::string>()(project.rootURL.string());
        value = value * 31 + std::hash<std::string>()(project.devScript);
        value = value * 31 + (project.hasNodeModules ? 1 : 0);
        value = value * 31 + std::hash<Quillory::FrontendToolAvailability>()(project.toolAvailability);
        return value * 31 + static_cast<std::size_t>(project.kind);
    }
};
