#include "QuilloryCore/SiteModel/PreviewTarget.h"

namespace Quillory {

PreviewTarget PreviewTarget::choose(const std::optional<std::string>& runningFrontendServerURL,
                                    std::optional<FrontendProjectKind> loadedFrontendProjectKind,
                                    const std::optional<StaticPage>& selectedPage)
{
    if (runningFrontendServerURL && loadedFrontendProjectKind)
        return frontendServer(*loadedFrontendProjectKind, *runningFrontendServerURL);
    if (selectedPage)
        return { *selectedPage };
    if (!loadedFrontendProjectKind)
        return unavailable("Select a page to preview.");
    return unavailable("Start Vite Preview to render this frontend project.");
}

std::optional<std::string> PreviewTarget::url() const
{
    if (auto* page = std::get_if<StaticPage>(&value))
        return page->url;
    if (auto* server = std::get_if<FrontendServer>(&value))
        return server->url;
    return std::nullopt;
}

}
