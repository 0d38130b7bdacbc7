#pragma once

#include "QuilloryCore/Frontend/FrontendProcessCommand.h"
#include "QuilloryCore/Frontend/FrontendProject.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Quillory::FrontendProjectCommands {

// The folders of `node` and then `npm`, where found; absent tools are skipped.
std::vector<std::string> toolDirectoryPrefixes(const FrontendProject&);
// `npm install` in the project's root.
FrontendProcessCommand installCommand(const FrontendProject&);
// `npm run dev -- --host 127.0.0.1 --port PORT --strictPort` in the project's root: bound to the
// loopback address on exactly that port, failing rather than moving if it is taken.
FrontendProcessCommand devCommand(const FrontendProject&, std::uint16_t port);

}
