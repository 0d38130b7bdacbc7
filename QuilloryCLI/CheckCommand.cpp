#include "QuilloryCLI/CLICommand.h"
#include "QuilloryCore/SiteModel/SiteLinkCheck.h"

#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <system_error>

namespace QuilloryCLI {

namespace {

// A compiler-like line per finding, so that editors and CI logs can jump to it.
void printText(const Quillory::SiteLinkCheckReport& report)
{
    for (auto& missing : report.missingRoutes) {
        std::cout << missing.pageID << ':' << missing.line << ':' << missing.column << ": missing local route "
                  << nlohmann::json(missing.reference).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
    }
    for (auto& pageID : report.unplacedPageIDs)
        std::cout << pageID << ": page not placed in the page tree\n";
}

void printJSONReport(const Quillory::SiteLinkCheckReport& report)
{
    auto missing = nlohmann::json::array();
    for (auto& route : report.missingRoutes)
        missing.push_back({ { "page", route.pageID }, { "reference", route.reference }, { "line", route.line }, { "column", route.column } });
    printJSON({ { "rootPath", report.rootURL.string() },
                { "pageCount", report.pageCount },
                { "missingLocalRoutes", std::move(missing) },
                { "unplacedPages", report.unplacedPageIDs } });
}

// Checks every local link of the site; exit status 1 when any leads nowhere, 2 when the site
// can't be read or the call is wrong.
void runCheck(const std::vector<std::string>& arguments)
{
    auto parsed = parseArguments(arguments, { "--format" }, {});
    if (parsed.positional.size() != 1)
        throw UsageError("expected DIR");
    auto format = parsed.value("--format").value_or("text");
    if (format != "text" && format != "json")
        throw UsageError("--format is json or text");
    std::error_code error;
    if (!std::filesystem::is_directory(parsed.positional[0], error))
        throw std::runtime_error("quillory-cli check: " + parsed.positional[0] + " is not a folder");
    auto report = Quillory::SiteLinkCheck::check(parsed.positional[0]);
    if (format == "json")
        printJSONReport(report);
    else
        printText(report);
    if (!report.missingRoutes.empty())
        throw ExitStatus { 1 };
}

const CommandRegistration registration({ "check", "check DIR [--format json|text]", runCheck, 2 });

}

}
