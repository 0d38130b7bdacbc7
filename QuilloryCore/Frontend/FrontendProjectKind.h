#pragma once

#include <string_view>

namespace Quillory {

// The kinds of frontend project that can be detected and run. Only Vite with React exists.
enum class FrontendProjectKind {
    viteReact,
};

// The raw value: "viteReact".
std::string_view toString(FrontendProjectKind);
// What the preview header shows: "Vite React".
std::string_view displayName(FrontendProjectKind);

}
