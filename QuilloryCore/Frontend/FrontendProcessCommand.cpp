#include "QuilloryCore/Frontend/FrontendProcessCommand.h"

#include <algorithm>

namespace Quillory {

std::vector<std::string> removingDuplicates(const std::vector<std::string>& strings)
{
    std::vector<std::string> unique;
    for (const auto& string : strings) {
        if (!string.empty() && std::find(unique.begin(), unique.end(), string) == unique.end())
            unique.push_back(string);
    }
    return unique;
}

std::map<std::string, std::string> FrontendProcessCommand::processEnvironment(std::map<std::string, std::string> environment) const
{
    environment.insert_or_assign("CI", std::string("1"));
    std::vector<std::string> pieces = pathPrefixes;
    if (auto path = environment.find("PATH"); path != environment.end()) {
        std::string_view rest = path->second;
        while (!rest.empty()) {
            auto colon = rest.find(':');
            pieces.emplace_back(rest.substr(0, colon));
            rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
        }
    }
    std::string joined;
    for (const auto& piece : removingDuplicates(pieces))
        joined += (joined.empty() ? "" : ":") + piece;
    if (!joined.empty())
        environment.insert_or_assign("PATH", std::move(joined));
    return environment;
}

}
