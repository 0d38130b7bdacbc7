#include "TreeSitterLayer/LanguageConfiguration.h"

#include <system_error>
#include <unistd.h>

namespace Quillory {

LanguageConfigurationError::LanguageConfigurationError(Code errorCode, const std::filesystem::path& folder)
    : std::runtime_error((errorCode == Code::queryDirectoryNotFound ? "query folder not found: " : "query folder not readable: ")
                         + folder.string())
    , code(errorCode)
{
}

LanguageConfiguration::LanguageConfiguration(const TSLanguage* grammar, std::string name, const std::filesystem::path& queriesFolder)
    : language(grammar)
{
    std::error_code error;
    if (!std::filesystem::is_directory(queriesFolder, error))
        throw LanguageConfigurationError(LanguageConfigurationError::Code::queryDirectoryNotFound, queriesFolder);
    if (::access(queriesFolder.c_str(), R_OK | X_OK) != 0)
        throw LanguageConfigurationError(LanguageConfigurationError::Code::queryDirectoryNotReadable, queriesFolder);
    data.name = std::move(name);
    data.queries = Query::queries(grammar, queriesFolder);
}

const Query* LanguageConfiguration::query(const QueryDefinition& definition) const
{
    auto found = data.queries.find(definition);
    return found == data.queries.end() ? nullptr : found->second.get();
}

}
