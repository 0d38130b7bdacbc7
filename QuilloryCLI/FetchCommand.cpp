#include "QuilloryCLI/CLICommand.h"
#include "QuilloryCore/LiveFetch/LiveSiteFetcher.h"

#include <cstdio>

namespace QuilloryCLI {

namespace {

// "YYYY-MM-DDTHH:MM:SSZ", the form the manifest writes.
std::chrono::sys_seconds parseDate(const std::string& text)
{
    int year, month, day, hour, minute, second;
    char zone = 0;
    int consumed = 0;
    if (text.size() != 20
        || std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%c%n", &year, &month, &day, &hour, &minute, &second, &zone, &consumed) != 7
        || consumed != 20 || zone != 'Z')
        throw UsageError("--date must look like 2026-11-15T09:10:00Z");
    std::chrono::year_month_day date { std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                       std::chrono::day(static_cast<unsigned>(day)) };
    if (!date.ok() || hour > 23 || minute > 59 || second > 59)
        throw UsageError("--date is not a valid date and time");
    return std::chrono::sys_days(date) + std::chrono::hours(hour) + std::chrono::minutes(minute) + std::chrono::seconds(second);
}

// Copies one live page and its same-origin resources into a new snapshot folder under the
// parent, as the window's "Fetch Live Site" does.
void runFetch(const std::vector<std::string>& arguments)
{
    auto parsed = parseArguments(arguments, { "--into", "--date" }, {});
    if (parsed.positional.size() != 1)
        throw UsageError("expected one URL");
    auto parent = parsed.value("--into");
    if (!parent)
        throw UsageError("--into PARENT_DIR is required");
    auto date = parsed.value("--date") ? parseDate(*parsed.value("--date"))
                                       : std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());

    auto start = Quillory::LiveSiteFetcher::startURL(parsed.positional[0]);
    auto result = Quillory::LiveSiteFetcher().fetch(start, *parent, date);
    printJSON({ { "rootPath", result.rootURL.string() },
                { "manifest", nlohmann::json::parse(result.manifest.encodedJSON()) },
                { "summary", Quillory::liveFetchSummary(result) } });
}

const CommandRegistration registration({ "fetch", "fetch URL --into PARENT_DIR [--date YYYY-MM-DDTHH:MM:SSZ]", runFetch });

}

}
