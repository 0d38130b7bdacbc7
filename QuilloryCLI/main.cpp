#include "QuilloryCLI/CLICommand.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <exception>
#include <iostream>

namespace QuilloryCLI {

std::vector<Command>& registeredCommands()
{
    static std::vector<Command> commands;
    return commands;
}

bool ParsedArguments::hasFlag(const std::string& name) const
{
    return std::any_of(options.begin(), options.end(), [&](auto& option) { return option.first == name; });
}

std::optional<std::string> ParsedArguments::value(const std::string& name) const
{
    for (auto& option : options) {
        if (option.first == name)
            return option.second;
    }
    return std::nullopt;
}

ParsedArguments parseArguments(const std::vector<std::string>& arguments, const std::vector<std::string>& valueOptions,
                               const std::vector<std::string>& flagOptions)
{
    ParsedArguments parsed;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const auto& argument = arguments[index];
        if (argument.rfind("--", 0) != 0) {
            parsed.positional.push_back(argument);
            continue;
        }
        if (std::find(flagOptions.begin(), flagOptions.end(), argument) != flagOptions.end()) {
            parsed.options.emplace_back(argument, std::nullopt);
            continue;
        }
        if (std::find(valueOptions.begin(), valueOptions.end(), argument) == valueOptions.end())
            throw UsageError("unknown option " + argument);
        if (index + 1 >= arguments.size())
            throw UsageError("option " + argument + " needs a value");
        parsed.options.emplace_back(argument, arguments[++index]);
    }
    return parsed;
}

nlohmann::json rangeJSON(const std::optional<Quillory::Utf16Range>& range)
{
    if (!range)
        return nullptr;
    return nlohmann::json::array({ range->location, range->length });
}

void printJSON(const nlohmann::json& document)
{
    // File names and references may hold bytes that are not UTF-8; they print as U+FFFD.
    std::cout << document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

}

namespace {

void printUsage(std::ostream& stream)
{
    auto commands = QuilloryCLI::registeredCommands();
    std::sort(commands.begin(), commands.end(), [](auto& a, auto& b) { return a.name < b.name; });
    stream << "usage:\n";
    for (auto& command : commands)
        stream << "  quillory-cli " << command.usage << '\n';
}

}

int main(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.empty() || arguments[0] == "--help" || arguments[0] == "-h") {
        printUsage(arguments.empty() ? std::cerr : std::cout);
        return arguments.empty() ? 1 : 0;
    }
    auto& commands = QuilloryCLI::registeredCommands();
    auto command = std::find_if(commands.begin(), commands.end(), [&](auto& candidate) { return candidate.name == arguments[0]; });
    if (command == commands.end()) {
        std::cerr << "quillory-cli: unknown command \u201C" << arguments[0] << "\u201D\n";
        printUsage(std::cerr);
        return 1;
    }
    try {
        command->run(std::vector<std::string>(arguments.begin() + 1, arguments.end()));
    } catch (const QuilloryCLI::ExitStatus& status) {
        return status.code;
    } catch (const QuilloryCLI::UsageError& error) {
        std::cerr << "quillory-cli " << command->name << ": " << error.what() << "\nusage: quillory-cli " << command->usage << '\n';
        return command->failureStatus;
    } catch (const std::exception& error) {
        std::cerr << Quillory::UnicodeText::replacingInvalidUTF8(error.what()) << '\n';
        return command->failureStatus;
    }
    return 0;
}
