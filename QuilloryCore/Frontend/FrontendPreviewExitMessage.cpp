#include "QuilloryCore/Frontend/FrontendPreviewExitMessage.h"

namespace Quillory::FrontendPreviewExitMessage {

std::string message(std::int32_t status)
{
    switch (status) {
    case 15:
        return "Vite preview stopped.";
    case 127:
        return "Vite preview could not find a required command. Check that Node.js and npm are available to Quillory.";
    default:
        return "Vite preview exited unexpectedly. Check the preview log for details.";
    }
}

}
