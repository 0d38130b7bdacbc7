#include "QuilloryApp/Workspace/AppInfo.h"

namespace Quillory::AppInfo {

std::string shortVersion(std::string_view configuredVersion)
{
    if (configuredVersion.empty())
        return "0.7.0-dev";
    return std::string(configuredVersion);
}

std::optional<std::string> buildNumber(std::string_view configuredBuildNumber)
{
    // The build defines an empty text when no build number was given.
    if (configuredBuildNumber.empty())
        return std::nullopt;
    return std::string(configuredBuildNumber);
}

std::string displayVersion(std::string_view shortVersion, const std::optional<std::string>& buildNumber)
{
    std::string text = "v" + std::string(shortVersion);
    if (buildNumber && !buildNumber->empty() && *buildNumber != shortVersion)
        text += " (" + *buildNumber + ")";
    return text;
}

std::string shortVersion()
{
    return shortVersion(QUILLORY_VERSION);
}

std::optional<std::string> buildNumber()
{
    return buildNumber(QUILLORY_BUILD_NUMBER);
}

std::string displayVersion()
{
    return displayVersion(shortVersion(), buildNumber());
}

}
