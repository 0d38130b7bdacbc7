#include "QuilloryCore/Frontend/FrontendProjectKind.h"

namespace Quillory {

std::string_view toString(FrontendProjectKind kind)
{
    switch (kind) {
    case FrontendProjectKind::viteReact:
        return "viteReact";
    }
    return "viteReact";
}

std::string_view displayName(FrontendProjectKind kind)
{
    switch (kind) {
    case FrontendProjectKind::viteReact:
        return "Vite React";
    }
    return "Vite React";
}

}
