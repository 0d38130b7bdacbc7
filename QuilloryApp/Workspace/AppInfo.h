#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Quillory::AppInfo {

// The version given to the build, or "0.7.0-dev" when it is empty.
std::string shortVersion();
// The build number given to the build, when there is one.
std::optional<std::string> buildNumber();
// "v" + shortVersion, followed by " (build)" when the build number is present, not empty and
// differs from shortVersion.
std::string displayVersion();

// The same rules over given values, for the About page and tests.
std::string shortVersion(std::string_view configuredVersion);
std::optional<std::string> buildNumber(std::string_view configuredBuildNumber);
std::string displayVersion(std::string_view shortVersion, const std::optional<std::string>& buildNumber);

}
