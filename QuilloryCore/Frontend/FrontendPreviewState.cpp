#include "QuilloryCore/Frontend/FrontendPreviewState.h"

namespace Quillory {

std::string FrontendPreviewState::displayText() const
{
    switch (kind) {
    case Case::unsupported:
    case Case::failed:
        return payload;
    case Case::running:
        return "Running at " + payload;
    case Case::needsInstall:
        return "Dependencies not installed";
    case Case::ready:
        return "Ready to start";
    case Case::installing:
        return "Installing dependencies...";
    case Case::stopped:
        return "Preview stopped";
    }
    return payload;
}

std::string_view FrontendPreviewState::caseName() const
{
    switch (kind) {
    case Case::unsupported:
        return "unsupported";
    case Case::running:
        return "running";
    case Case::failed:
        return "failed";
    case Case::needsInstall:
        return "needsInstall";
    case Case::ready:
        return "ready";
    case Case::installing:
        return "installing";
    case Case::stopped:
        return "stopped";
    }
    return "unsupported";
}

}
