#pragma once

#include <string>
#include <string_view>

namespace Quillory {

// The state of a frontend project's preview. `running` carries the dev server's URL, `unsupported`
// and `failed` a message; the other cases carry nothing (their payload stays empty).
struct FrontendPreviewState {
    enum class Case {
        unsupported,
        running,
        failed,
        needsInstall,
        ready,
        installing,
        stopped,
    };

    static FrontendPreviewState unsupported(std::string message) { return { Case::unsupported, std::move(message) }; }
    static FrontendPreviewState running(std::string url) { return { Case::running, std::move(url) }; }
    static FrontendPreviewState failed(std::string message) { return { Case::failed, std::move(message) }; }
    static FrontendPreviewState needsInstall() { return { Case::needsInstall, {} }; }
    static FrontendPreviewState ready() { return { Case::ready, {} }; }
    static FrontendPreviewState installing() { return { Case::installing, {} }; }
    static FrontendPreviewState stopped() { return { Case::stopped, {} }; }

    // The URL while running, otherwise null.
    const std::string* runningURL() const { return kind == Case::running ? &payload : nullptr; }
    // What the status line shows.
    std::string displayText() const;
    // The case's name, as the command-line companion prints it: "needsInstall", "running", ...
    std::string_view caseName() const;

    Case kind { Case::unsupported };
    std::string payload;

    friend bool operator==(const FrontendPreviewState&, const FrontendPreviewState&) = default;
};

}
