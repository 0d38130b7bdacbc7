#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// Formats a document's text with the bundled dprint executable and its five plug-ins. Each run
// writes its own configuration into a fresh temporary folder and forbids dprint to look for
// another, so the user's dprint settings play no part and every style option is the plug-in's
// default. A plain value: copies may run side by side, since every run has its own folder.
class DprintFormatterService {
public:
    static constexpr std::string_view dprintVersion = "0.54.0";
    // Lower case. dprint itself picks the plug-in by the extension of the path it is told.
    static constexpr std::array<std::string_view, 12> supportedExtensions {
        "html", "htm", "css", "js", "jsx", "mjs", "cjs", "ts", "tsx", "json", "md", "markdown",
    };

    // Resources in "ThirdParty/dprint" beside the application (see ApplicationResources); none
    // when no such folder exists. Temporary folders go to the system's temporary directory.
    DprintFormatterService();
    DprintFormatterService(std::optional<std::filesystem::path> resourceRootURL, std::filesystem::path temporaryDirectory);

    const std::optional<std::filesystem::path>& resourceRootURL() const { return m_resourceRootURL; }
    const std::filesystem::path& temporaryDirectory() const { return m_temporaryDirectory; }

    // Whether the extension of `documentPath`, lowered, is one of supportedExtensions.
    static bool supportsDocumentPath(std::string_view documentPath);
    // "<root>/0.54.0/bin/<this host's triple>/dprint".
    static std::filesystem::path executableURL(const std::filesystem::path& resourceRootURL);
    // TypeScript, JSON, Markdown, CSS (malva) and HTML (markup_fmt), in the order dprint gets them.
    static std::vector<std::filesystem::path> pluginURLs(const std::filesystem::path& resourceRootURL);
    // Writes the private configuration: the plug-ins' absolute paths and an empty options object
    // per plug-in, pretty-printed with sorted keys. Throws FileWriteError.
    static void writeConfig(const std::vector<std::filesystem::path>& pluginURLs, const std::filesystem::path& to);

    // A root is set, the executable can be run and every plug-in can be read.
    bool isAvailableForCurrentHost() const;

    // Runs dprint over `text` as the file `documentPath` (UTF-16 code units in and out) and waits
    // for it, so call it on a worker thread. Throws DprintFormatterError, or another QuilloryError
    // or std::exception for a file or process failure. The temporary folder is removed whatever
    // the outcome.
    std::u16string format(const std::u16string& text, const std::string& documentPath) const;

private:
    std::optional<std::filesystem::path> m_resourceRootURL;
    std::filesystem::path m_temporaryDirectory;
};

}
