#include "TreeSitterLayer/Query.h"

#include "QuilloryCore/Text/UnicodeText.h"

#include <fstream>
#include <sstream>
#include <unistd.h>

namespace Quillory {

namespace {

const char* predicateParserErrorText(PredicateParserError::Code code)
{
    switch (code) {
    case PredicateParserError::Code::stepNameExpected:
        return "a predicate must begin with its name";
    case PredicateParserError::Code::doneExpected:
        return "a predicate is not terminated";
    case PredicateParserError::Code::argumentsContainDone:
        return "a predicate's arguments contain its end";
    case PredicateParserError::Code::unsupportedIsNotArguments:
        return "unsupported arguments of is-not?";
    }
    return "invalid predicate";
}

std::vector<std::string> splitAtDots(const std::string& name)
{
    std::vector<std::string> components;
    std::size_t start = 0;
    while (start <= name.size()) {
        auto dot = name.find('.', start);
        auto end = dot == std::string::npos ? name.size() : dot;
        if (end > start)
            components.push_back(name.substr(start, end - start));
        start = end + 1;
    }
    return components;
}

Predicate textPredicate(Predicate::Kind kind, std::vector<std::u16string> strings, std::vector<std::string> captureNames)
{
    Predicate predicate;
    predicate.kind = kind;
    predicate.strings = std::move(strings);
    predicate.captureNames = std::move(captureNames);
    return predicate;
}

}

PredicateParserError::PredicateParserError(Code errorCode)
    : std::runtime_error(predicateParserErrorText(errorCode))
    , code(errorCode)
{
}

QueryError::QueryError(Code errorCode, std::uint32_t errorOffset, const std::string& detail)
    : std::runtime_error(detail + " at byte " + std::to_string(errorOffset))
    , code(errorCode)
    , offset(errorOffset)
{
}

std::vector<Predicate> Query::parsePredicates(const std::vector<QueryPredicateStep>& steps)
{
    using Type = QueryPredicateStep::Type;
    using Kind = Predicate::Kind;
    std::vector<Predicate> predicates;
    std::size_t index = 0;
    while (index < steps.size()) {
        if (steps[index].type != Type::string)
            throw PredicateParserError(PredicateParserError::Code::stepNameExpected);
        auto name = steps[index].value;
        std::vector<std::u16string> strings;
        std::vector<std::string> captureNames;
        ++index;
        while (index < steps.size() && steps[index].type != Type::done) {
            if (steps[index].type == Type::string)
                strings.push_back(UnicodeText::utf16(steps[index].value));
            else
                captureNames.push_back(steps[index].value);
            ++index;
        }
        if (index >= steps.size())
            throw PredicateParserError(PredicateParserError::Code::doneExpected);
        ++index;

        Predicate predicate;
        if (name == "eq?") {
            predicate = textPredicate(Kind::eq, std::move(strings), std::move(captureNames));
        } else if (name == "not-eq?") {
            predicate = textPredicate(Kind::notEq, std::move(strings), std::move(captureNames));
        } else if ((name == "match?" || name == "not-match?") && !strings.empty()) {
            auto expression = RegularExpression::make(strings.front());
            if (!expression)
                throw QueryError(QueryError::Code::syntax, 0, "invalid regular expression in " + name);
            predicate = textPredicate(name == "match?" ? Kind::match : Kind::notMatch, {}, std::move(captureNames));
            predicate.regularExpression = std::make_shared<const RegularExpression>(std::move(*expression));
        } else if ((name == "any-of?" || name == "not-any-of?") && !captureNames.empty()) {
            predicate = textPredicate(name == "any-of?" ? Kind::anyOf : Kind::notAnyOf, {}, { captureNames.front() });
            predicate.values = std::set<std::u16string>(strings.begin(), strings.end());
        } else if (name == "is-not?" && strings.size() == 1) {
            predicate = textPredicate(Kind::isNot, std::move(strings), {});
        } else if (name == "set!" && strings.size() == 2 && captureNames.size() <= 1) {
            predicate = textPredicate(Kind::set, std::move(strings), std::move(captureNames));
        } else {
            predicate = textPredicate(Kind::generic, std::move(strings), std::move(captureNames));
            predicate.name = name;
        }
        predicates.push_back(std::move(predicate));
    }
    return predicates;
}

Query::Query(const TSLanguage* language, std::string_view source)
{
    std::uint32_t errorOffset = 0;
    TSQueryError errorType = TSQueryErrorNone;
    m_query.reset(ts_query_new(language, source.data(), static_cast<std::uint32_t>(source.size()), &errorOffset, &errorType));
    if (!m_query) {
        switch (errorType) {
        case TSQueryErrorSyntax:
            throw QueryError(QueryError::Code::syntax, errorOffset, "query syntax error");
        case TSQueryErrorNodeType:
            throw QueryError(QueryError::Code::nodeType, errorOffset, "unknown node type in query");
        case TSQueryErrorField:
            throw QueryError(QueryError::Code::field, errorOffset, "unknown field in query");
        case TSQueryErrorCapture:
            throw QueryError(QueryError::Code::capture, errorOffset, "unknown capture in query");
        case TSQueryErrorStructure:
            throw QueryError(QueryError::Code::structure, errorOffset, "impossible pattern in query");
        case TSQueryErrorNone:
            throw QueryError(QueryError::Code::none, errorOffset, "query failed");
        default:
            throw QueryError(QueryError::Code::unknown, errorOffset, "query failed");
        }
    }
    auto captureCount = ts_query_capture_count(m_query.get());
    for (std::uint32_t index = 0; index < captureCount; ++index) {
        std::uint32_t length = 0;
        auto name = ts_query_capture_name_for_id(m_query.get(), index, &length);
        m_captureNames.emplace_back(name, length);
        m_captureNameComponents.push_back(splitAtDots(m_captureNames.back()));
    }
    auto patternCount = ts_query_pattern_count(m_query.get());
    for (std::uint32_t pattern = 0; pattern < patternCount; ++pattern) {
        std::uint32_t stepCount = 0;
        auto rawSteps = ts_query_predicates_for_pattern(m_query.get(), pattern, &stepCount);
        std::vector<QueryPredicateStep> steps;
        for (std::uint32_t index = 0; index < stepCount; ++index) {
            std::uint32_t length = 0;
            switch (rawSteps[index].type) {
            case TSQueryPredicateStepTypeCapture:
                steps.push_back({ QueryPredicateStep::Type::capture, m_captureNames[rawSteps[index].value_id] });
                break;
            case TSQueryPredicateStepTypeString: {
                auto value = ts_query_string_value_for_id(m_query.get(), rawSteps[index].value_id, &length);
                steps.push_back({ QueryPredicateStep::Type::string, std::string(value, length) });
                break;
            }
            case TSQueryPredicateStepTypeDone:
                steps.push_back({ QueryPredicateStep::Type::done, {} });
                break;
            }
        }
        m_predicateList.push_back(parsePredicates(steps));
    }
}

std::map<QueryDefinition, std::shared_ptr<const Query>> Query::queries(const TSLanguage* language, const std::filesystem::path& folder)
{
    std::map<QueryDefinition, std::shared_ptr<const Query>> result;
    for (const auto& definition : { QueryDefinition::injections(), QueryDefinition::highlights(), QueryDefinition::locals() }) {
        auto path = folder / definition.filename();
        if (::access(path.c_str(), R_OK) != 0)
            continue;
        std::ifstream file(path, std::ios::binary);
        std::ostringstream bytes;
        bytes << file.rdbuf();
        if (!file.good() && !file.eof())
            throw std::runtime_error("cannot read " + path.string());
        result.emplace(definition, std::make_shared<const Query>(language, bytes.str()));
    }
    return result;
}

}
