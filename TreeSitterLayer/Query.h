#pragma once

#include "QuilloryCore/Text/RegularExpression.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <tree_sitter/api.h>

namespace Quillory {

// Names a query file of a language: "injections.scm", "highlights.scm", "locals.scm" or a custom one.
class QueryDefinition {
public:
    static QueryDefinition injections() { return QueryDefinition("injections"); }
    static QueryDefinition highlights() { return QueryDefinition("highlights"); }
    static QueryDefinition locals() { return QueryDefinition("locals"); }
    static QueryDefinition custom(std::string name) { return QueryDefinition(std::move(name)); }

    const std::string& name() const { return m_name; }
    std::string filename() const { return m_name + ".scm"; }
    friend auto operator<=>(const QueryDefinition&, const QueryDefinition&) = default;

private:
    explicit QueryDefinition(std::string name)
        : m_name(std::move(name))
    {
    }
    std::string m_name;
};

// One text predicate or directive of a query pattern. Strings are UTF-16 so they compare with
// the document's text directly.
struct Predicate {
    enum class Kind { eq, notEq, match, notMatch, isNot, anyOf, notAnyOf, set, generic };
    Kind kind { Kind::generic };
    // The predicate's name for `generic` ("offset!"); empty otherwise.
    std::string name;
    // eq/notEq/generic: the string arguments; isNot: its one string; set: key and value.
    std::vector<std::u16string> strings;
    // eq/notEq/match/notMatch/generic: the captures named; anyOf/notAnyOf: the one capture;
    // set: none or one.
    std::vector<std::string> captureNames;
    // match/notMatch.
    std::shared_ptr<const RegularExpression> regularExpression;
    // anyOf/notAnyOf.
    std::set<std::u16string> values;
};

// What the C library lists for a predicate.
struct QueryPredicateStep {
    enum class Type { capture, string, done };
    Type type { Type::done };
    std::string value;
};

// Failures of reading a predicate's steps.
class PredicateParserError : public std::runtime_error {
public:
    enum class Code { stepNameExpected, doneExpected, argumentsContainDone, unsupportedIsNotArguments };
    explicit PredicateParserError(Code);
    Code code;
};

// The C library's query errors, with the byte offset where it applies.
class QueryError : public std::runtime_error {
public:
    enum class Code { none, syntax, nodeType, field, capture, structure, unknown };
    QueryError(Code, std::uint32_t offset, const std::string& detail);
    Code code;
    std::uint32_t offset;
};

// A compiled query and, for each of its patterns, the predicates of that pattern. Immutable once
// made, so it may be shared between threads.
class Query {
public:
    // Compiles `source` (the query file's bytes) against `language`. Throws QueryError,
    // PredicateParserError, or QueryError(syntax) for a `#match?` whose expression fails to compile.
    Query(const TSLanguage*, std::string_view source);

    const TSQuery* tsQuery() const { return m_query.get(); }
    const std::vector<std::vector<Predicate>>& predicateList() const { return m_predicateList; }
    // The capture's name, split at ".".
    const std::vector<std::string>& nameComponents(std::uint32_t captureIndex) const { return m_captureNameComponents[captureIndex]; }
    const std::string& captureName(std::uint32_t captureIndex) const { return m_captureNames[captureIndex]; }

    // Reads and compiles the query files of a folder in the order injections, highlights, locals.
    // A missing file is left out; a file that cannot be read or compiled fails the whole set.
    static std::map<QueryDefinition, std::shared_ptr<const Query>> queries(const TSLanguage*, const std::filesystem::path& folder);

    // Turns the steps of one pattern into predicates.
    static std::vector<Predicate> parsePredicates(const std::vector<QueryPredicateStep>& steps);

private:
    std::unique_ptr<TSQuery, decltype(&ts_query_delete)> m_query { nullptr, ts_query_delete };
    std::vector<std::vector<Predicate>> m_predicateList;
    std::vector<std::string> m_captureNames;
    std::vector<std::vector<std::string>> m_captureNameComponents;
};

}
