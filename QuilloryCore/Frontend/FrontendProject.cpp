#include "QuilloryCore/Frontend/FrontendProject.h"

namespace Quillory {

FrontendPreviewState FrontendProject::initialPreviewState() const
{
    if (!toolAvailability.nodePath)
        return FrontendPreviewState::failed("Node.js was not found. Install Node.js before starting the Vite preview.");
    if (!toolAvailability.npmPath)
        return FrontendPreviewState::failed("npm was not found. Install npm before starting the Vite preview.");
    if (hasNodeModules)
        return FrontendPreviewState::ready();
    return FrontendPreviewState::needsInstall();
}

}
