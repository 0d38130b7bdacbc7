#pragma once

#include "TreeSitterLayer/Query.h"

#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include <tree_sitter/api.h>

namespace Quillory {

struct LanguageData {
    std::string name;
    std::map<QueryDefinition, std::shared_ptr<const Query>> queries;
};

class LanguageConfigurationError : public std::runtime_error {
public:
    enum class Code { queryDirectoryNotReadable, queryDirectoryNotFound };
    LanguageConfigurationError(Code, const std::filesystem::path&);
    Code code;
};

// A grammar with its compiled queries. Cheap to copy: the queries are shared and immutable.
struct LanguageConfiguration {
    // Loads the query files of `queriesFolder` against `language`; throws
    // LanguageConfigurationError for a folder that is missing or unreadable, and the query errors
    // of Query::queries.
    LanguageConfiguration(const TSLanguage* language, std::string name, const std::filesystem::path& queriesFolder);

    const TSLanguage* language { nullptr };
    LanguageData data;

    const std::string& name() const { return data.name; }
    const std::map<QueryDefinition, std::shared_ptr<const Query>>& queries() const { return data.queries; }
    // The query of that definition, or null.
    const Query* query(const QueryDefinition&) const;
};

}
