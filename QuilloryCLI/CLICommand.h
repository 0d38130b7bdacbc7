#pragma once

#include "QuilloryCore/Text/Utf16Range.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace QuilloryCLI {

// A wrong invocation; main prints the text and the usage line to stderr and exits 1.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Thrown by a command that has printed its whole result and must still end with another exit
// status than 0 (`check` when it found missing routes).
struct ExitStatus {
    int code;
};

// One subcommand. `run` writes its result to stdout (one JSON document, or text for `diff`)
// and throws on failure; main turns any exception into stderr text and exit status
// `failureStatus`.
struct Command {
    std::string name;
    std::string usage; // e.g. "sitemap DIR [--include-source]"
    std::function<void(const std::vector<std::string>& arguments)> run;
    int failureStatus { 1 };
};

// Commands register themselves from their own source files with a static CommandRegistration.
std::vector<Command>& registeredCommands();
struct CommandRegistration {
    explicit CommandRegistration(Command command) { registeredCommands().push_back(std::move(command)); }
};

// Parsed arguments: positional values and "--name value" / "--flag" options.
struct ParsedArguments {
    std::vector<std::string> positional;
    std::vector<std::pair<std::string, std::optional<std::string>>> options;

    bool hasFlag(const std::string& name) const;
    std::optional<std::string> value(const std::string& name) const;
};
// `valueOptions` take the next argument as their value; `flagOptions` take none. Anything else
// starting with "--" is a usage error.
ParsedArguments parseArguments(const std::vector<std::string>& arguments, const std::vector<std::string>& valueOptions,
                               const std::vector<std::string>& flagOptions);

// `[location, length]`, the CLI's form of a UTF-16 range; null for nothing.
nlohmann::json rangeJSON(const std::optional<Quillory::Utf16Range>&);

// Prints one JSON document (two-space indent) and a line feed to stdout.
void printJSON(const nlohmann::json&);

}
