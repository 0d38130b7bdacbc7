#pragma once

#include "QuilloryCore/Frontend/FrontendProject.h"
#include "QuilloryCore/Frontend/FrontendToolAvailability.h"
#include "QuilloryCore/Text/QuilloryErrors.h"

#include <filesystem>
#include <optional>

namespace Quillory {

// package.json is not the JSON the detector reads: not JSON at all, not an object at the top, or
// one of `scripts`, `dependencies`, `devDependencies`, `peerDependencies` not an object of strings.
// The message carries the JSON library's words.
class FrontendManifestDecodeError : public QuilloryError {
public:
    using QuilloryError::QuilloryError;
};

// Decides whether a folder is a Vite React project. Stamps its tool availability on every project.
class FrontendProjectDetector {
public:
    explicit FrontendProjectDetector(FrontendToolAvailability toolAvailability)
        : m_toolAvailability(std::move(toolAvailability))
    {
    }

    // Nothing for a folder that is plainly no Vite React project (no package.json, no `dev` script
    // containing "vite", one of vite, react, react-dom missing). Throws FileReadError when
    // package.json can't be read and FrontendManifestDecodeError when it can't be decoded.
    std::optional<FrontendProject> detect(const std::filesystem::path& rootURL) const;

    const FrontendToolAvailability& toolAvailability() const { return m_toolAvailability; }

private:
    FrontendToolAvailability m_toolAvailability;
};

}
