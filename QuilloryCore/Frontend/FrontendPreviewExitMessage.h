#pragma once

#include <cstdint>
#include <string>

namespace Quillory::FrontendPreviewExitMessage {

// What a dev server's exit status means to the user. 15 is the termination signal, with which
// the preview itself stops the server; 127 is a command that could not be found.
std::string message(std::int32_t status);

}
