#pragma once

#include "QuilloryCore/Frontend/FrontendProjectKind.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>

namespace Quillory {

// What the preview should show. Equality compares the case and every payload field, and the web
// view relies on it to decide whether to load anew.
struct PreviewTarget {
    // A page of the local site, served through the private scheme.
    struct StaticPage {
        // The SitePage id.
        std::string pageID;
        // The page's preview URL, as SitePreviewURL makes it.
        std::string url;
        friend bool operator==(const StaticPage&, const StaticPage&) = default;
    };
    // A running frontend dev server.
    struct FrontendServer {
        FrontendProjectKind kind;
        std::string url;
        friend bool operator==(const FrontendServer&, const FrontendServer&) = default;
    };
    // Nothing to render; the text says why.
    struct Unavailable {
        std::string text;
        friend bool operator==(const Unavailable&, const Unavailable&) = default;
    };

    static PreviewTarget staticPage(std::string pageID, std::string url) { return { StaticPage { std::move(pageID), std::move(url) } }; }
    static PreviewTarget frontendServer(FrontendProjectKind kind, std::string url) { return { FrontendServer { kind, std::move(url) } }; }
    static PreviewTarget unavailable(std::string text) { return { Unavailable { std::move(text) } }; }

    // Chooses the target of the workspace's preview. A running dev server of a loaded frontend
    // project wins over any selected page; then the selected page (`selectedPage` holds its id
    // and preview URL; nothing when no page is selected, or a source file is); then a text that
    // says what is missing.
    static PreviewTarget choose(const std::optional<std::string>& runningFrontendServerURL,
                                std::optional<FrontendProjectKind> loadedFrontendProjectKind,
                                const std::optional<StaticPage>& selectedPage);

    // The payload URL of staticPage and frontendServer; nothing for unavailable.
    std::optional<std::string> url() const;

    std::variant<StaticPage, FrontendServer, Unavailable> value;

    friend bool operator==(const PreviewTarget&, const PreviewTarget&) = default;
};

}

template<>
struct std::hash<Quillory::PreviewTarget> {
    std::size_t operator()(const Quillory::PreviewTarget& target) const noexcept
    {
        std::hash<std::string> hashString;
        std::size_t payload = std::visit(
            [&](const auto& value) -> std::size_t {
                using Case = std::decay_t<decltype(value)>;
                if constexpr (std::is_same_v<Case, Quillory::PreviewTarget::StaticPage>)
                    return hashString(value.pageID) * 31 + hashString(value.url);
                else if constexpr (std::is_same_v<Case, Quillory::PreviewTarget::FrontendServer>)
                    return static_cast<std::size_t>(value.kind) * 31 + hashString(value.url);
                else
                    return hashString(value.text);
            },
            target.value);
        return payload * 3 + target.value.index();
    }
};
