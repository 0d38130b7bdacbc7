#include "TreeSitterLayer/LanguageLayer.h"

#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <iostream>

namespace Quillory {

namespace {

// Chunks of UTF-16 handed to the parser at a time.
constexpr std::size_t parseChunkUnits = 2048;

struct ParseInput {
    std::u16string_view text;
};

const char* readChunk(void* payload, std::uint32_t byteIndex, TSPoint, std::uint32_t* bytesRead)
{
    auto& input = *static_cast<ParseInput*>(payload);
    auto unit = byteIndex / 2;
    if (unit >= input.text.size()) {
        *bytesRead = 0;
        return "";
    }
    auto count = std::min(parseChunkUnits, input.text.size() - unit);
    *bytesRead = static_cast<std::uint32_t>(count * 2);
    return reinterpret_cast<const char*>(input.text.data() + unit);
}

Utf16Range utf16Range(TSNode node)
{
    auto start = ts_node_start_byte(node) / 2;
    return { start, ts_node_end_byte(node) / 2 - start };
}

TSRange tsRange(TSNode node)
{
    return { ts_node_start_point(node), ts_node_end_point(node), ts_node_start_byte(node), ts_node_end_byte(node) };
}

std::optional<std::u16string> captureText(const QueryCapture& capture, const TextProvider& provider)
{
    return provider(utf16Range(capture.node), ts_node_start_point(capture.node), ts_node_end_point(capture.node));
}

// An injection of one match: the range of its `injection.content` and the language named by its
// `injection.language` capture or by the `injection.language` directive.
std::optional<NamedRange> injection(const QueryMatch& match, const Query& query, const TextProvider& provider)
{
    auto content = std::find_if(match.captures.begin(), match.captures.end(),
                                [&](auto& capture) { return query.captureName(capture.index) == "injection.content"; });
    if (content == match.captures.end())
        return std::nullopt;
    std::optional<std::string> language;
    auto languageCapture = std::find_if(match.captures.begin(), match.captures.end(),
                                        [&](auto& capture) { return query.captureName(capture.index) == "injection.language"; });
    if (languageCapture != match.captures.end()) {
        if (auto text = captureText(*languageCapture, provider))
            language = UnicodeText::utf8FromUTF16(*text);
    }
    if (!language) {
        auto directive = match.metadata.find("injection.language");
        if (directive != match.metadata.end())
            language = directive->second;
    }
    if (!language)
        return std::nullopt;
    return NamedRange { { *language }, tsRange(content->node) };
}

}

TextProvider stringTextProvider(std::u16string_view text)
{
    return [text](Utf16Range range, TSPoint, TSPoint) -> std::optional<std::u16string> {
        if (range.end() > text.size())
            return std::nullopt;
        return std::u16string(text.substr(range.location, range.length));
    };
}

std::string NamedRange::name() const
{
    std::string joined;
    for (const auto& component : nameComponents) {
        if (!joined.empty())
            joined += '.';
        joined += component;
    }
    return joined;
}

LanguageLayerError::LanguageLayerError(Code errorCode, const std::string& detail)
    : std::runtime_error(detail)
    , code(errorCode)
{
}

LanguageLayer::LanguageLayer(LanguageConfiguration languageConfig, Configuration configuration, int depth)
    : m_languageConfig(std::move(languageConfig))
    , m_configuration(std::move(configuration))
    , m_depth(depth)
{
    m_parser.reset(ts_parser_new());
    if (!ts_parser_set_language(m_parser.get(), m_languageConfig.language))
        throw LanguageLayerError(LanguageLayerError::Code::noRootNode, "the parser refuses the " + m_languageConfig.name() + " grammar");
}

LanguageLayer::~LanguageLayer() = default;

void LanguageLayer::parse(std::u16string_view text)
{
    ParseInput input { text };
    TSInput tsInput { &input, readChunk, TSInputEncodingUTF16 };
    m_tree.reset(ts_parser_parse(m_parser.get(), nullptr, tsInput));
    if (!m_tree)
        throw LanguageLayerError(LanguageLayerError::Code::noRootNode, m_languageConfig.name() + " parse gave no tree");
}

void LanguageLayer::replaceContent(std::u16string_view text)
{
    parse(text);
    resolveSublayers(text, { 0, text.size() });
}

std::vector<QueryMatch> LanguageLayer::executeQuery(const Query& query, Utf16Range range, int depth) const
{
    std::vector<QueryMatch> matches;
    forEachMatch(query, range, depth, [&](QueryMatch& match) { matches.push_back(match); });
    return matches;
}

void LanguageLayer::forEachMatch(const Query& query, Utf16Range range, int depth, const std::function<void(QueryMatch&)>& visit) const
{
    QueryMatch match;
    std::unique_ptr<TSQueryCursor, decltype(&ts_query_cursor_delete)> cursor(ts_query_cursor_new(), ts_query_cursor_delete);
    ts_query_cursor_set_byte_range(cursor.get(), static_cast<std::uint32_t>(range.location * 2), static_cast<std::uint32_t>(range.end() * 2));
    ts_query_cursor_exec(cursor.get(), query.tsQuery(), ts_tree_root_node(m_tree.get()));
    TSQueryMatch tsMatch;
    while (ts_query_cursor_next_match(cursor.get(), &tsMatch)) {
        match.captures.clear();
        match.metadata.clear();
        match.id = tsMatch.id;
        match.patternIndex = tsMatch.pattern_index;
        match.predicates = &query.predicateList()[tsMatch.pattern_index];
        for (const auto& predicate : *match.predicates) {
            if (predicate.kind == Predicate::Kind::set && predicate.captureNames.empty())
                match.metadata[UnicodeText::utf8FromUTF16(predicate.strings[0])] = UnicodeText::utf8FromUTF16(predicate.strings[1]);
        }
        for (std::uint16_t index = 0; index < tsMatch.capture_count; ++index) {
            const auto& tsCapture = tsMatch.captures[index];
            QueryCapture capture { tsCapture.node, tsCapture.index, query.nameComponents(tsCapture.index), tsMatch.pattern_index, {}, depth };
            for (const auto& predicate : *match.predicates) {
                if (predicate.kind == Predicate::Kind::set && !predicate.captureNames.empty()
                    && predicate.captureNames.front() == query.captureName(tsCapture.index))
                    capture.metadata[UnicodeText::utf8FromUTF16(predicate.strings[0])] = UnicodeText::utf8FromUTF16(predicate.strings[1]);
            }
            match.captures.push_back(std::move(capture));
        }
        visit(match);
    }
}

void LanguageLayer::resolveSublayers(std::u16string_view text, Utf16Range range)
{
    auto injectionsQuery = m_languageConfig.query(QueryDefinition::injections());
    if (!injectionsQuery || m_configuration.maximumLanguageDepth < 1)
        return;
    auto provider = stringTextProvider(text);
    // Only `#set!` takes effect in an injections query: its text predicates restrict nothing.
    std::vector<std::pair<std::string, std::vector<TSRange>>> groups;
    for (const auto& match : executeQuery(*injectionsQuery, range, m_depth)) {
        auto found = injection(match, *injectionsQuery, provider);
        if (!found)
            continue;
        auto& name = found->nameComponents.front();
        auto group = std::find_if(groups.begin(), groups.end(), [&](auto& entry) { return entry.first == name; });
        if (group == groups.end())
            groups.push_back({ name, { found->tsRange } });
        else
            group->second.push_back(found->tsRange);
    }
    for (const auto& [name, ranges] : groups)
        addNewSublayer(name, ranges, text);
}

void LanguageLayer::addNewSublayer(const std::string& name, const std::vector<TSRange>& ranges, std::u16string_view text)
{
    auto configuration = m_configuration.languageProvider ? m_configuration.languageProvider(name) : std::nullopt;
    if (!configuration) {
        m_missingInjections[name] = ranges;
        return;
    }
    auto layer = std::make_unique<LanguageLayer>(
        std::move(*configuration),
        Configuration { std::max(m_configuration.maximumLanguageDepth - 1, 0), m_configuration.languageProvider }, m_depth + 1);
    layer->m_rangeRestricted = !ranges.empty();
    layer->m_includedRanges = ranges;
    ts_parser_set_included_ranges(layer->m_parser.get(), ranges.data(), static_cast<std::uint32_t>(ranges.size()));
    auto& stored = m_sublayers[name] = std::move(layer);
    m_missingInjections.erase(name);
    try {
        stored->replaceContent(text);
    } catch (const std::exception& error) {
        std::cout << "parsing sublayers for " << stored->m_languageConfig.name() << " failed: " << error.what() << std::endl;
    }
}

bool queryMatchAllowed(const QueryMatch& match, const Query& query, const TextProvider& provider)
{
    using Kind = Predicate::Kind;
    if (!match.predicates)
        return true;
    for (const auto& predicate : *match.predicates) {
        // Directives, unknown predicates and `#is-not?` (no group membership is ever known) pass.
        if (predicate.kind == Kind::set || predicate.kind == Kind::generic || predicate.kind == Kind::isNot)
            continue;
        for (const auto& capture : match.captures) {
            const auto& name = query.captureName(capture.index);
            if (std::find(predicate.captureNames.begin(), predicate.captureNames.end(), name) == predicate.captureNames.end())
                continue;
            auto text = captureText(capture, provider);
            if (!text)
                return false;
            bool holds = true;
            switch (predicate.kind) {
            case Kind::eq:
                holds = std::all_of(predicate.strings.begin(), predicate.strings.end(), [&](auto& value) { return value == *text; });
                break;
            case Kind::notEq:
                holds = std::none_of(predicate.strings.begin(), predicate.strings.end(), [&](auto& value) { return value == *text; });
                break;
            case Kind::match:
                holds = predicate.regularExpression->firstMatch(*text).has_value();
                break;
            case Kind::notMatch:
                holds = !predicate.regularExpression->firstMatch(*text).has_value();
                break;
            case Kind::anyOf:
                holds = predicate.values.contains(*text);
                break;
            case Kind::notAnyOf:
                holds = !predicate.values.contains(*text);
                break;
            default:
                break;
            }
            if (!holds)
                return false;
        }
    }
    return true;
}

std::vector<NamedRange> LanguageLayer::highlights(const std::vector<Utf16Range>& ranges, const TextProvider& provider) const
{
    struct Target {
        const LanguageLayer* layer;
        const Query* query;
    };
    std::vector<Target> targets;
    auto gather = [&](auto& self, const LanguageLayer* layer) -> void {
        auto query = layer->m_languageConfig.query(QueryDefinition::highlights());
        if (!query || !layer->m_tree)
            throw LanguageLayerError(LanguageLayerError::Code::queryUnavailable, layer->m_languageConfig.name() + " has no highlights query");
        targets.push_back({ layer, query });
        for (const auto& [name, sublayer] : layer->m_sublayers)
            self(self, sublayer.get());
    };
    gather(gather, this);

    std::vector<QueryCapture> captures;
    captures.reserve(1024);
    for (const auto& target : targets) {
        for (const auto& range : ranges) {
            target.layer->forEachMatch(*target.query, range, target.layer->m_depth, [&](QueryMatch& match) {
                if (queryMatchAllowed(match, *target.query, provider))
                    captures.insert(captures.end(), match.captures.begin(), match.captures.end());
            });
        }
    }
    // Sorted through small keys, each start read once, rather than by moving the captures around.
    struct Key {
        int depth;
        std::uint32_t start;
        std::size_t nameSize;
        std::uint32_t patternIndex;
        std::uint32_t capture;
    };
    std::vector<Key> keys;
    keys.reserve(captures.size());
    for (std::uint32_t index = 0; index < captures.size(); ++index) {
        const auto& capture = captures[index];
        if (!capture.nameComponents.empty())
            keys.push_back({ capture.depth, ts_node_start_byte(capture.node), capture.nameComponents.size(), capture.patternIndex, index });
    }
    std::stable_sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) {
        if (a.depth != b.depth)
            return a.depth < b.depth;
        if (a.start != b.start)
            return a.start < b.start;
        if (a.nameSize != b.nameSize)
            return a.nameSize < b.nameSize;
        return a.patternIndex < b.patternIndex;
    });
    std::vector<NamedRange> result;
    result.reserve(keys.size());
    for (const auto& key : keys) {
        const auto& capture = captures[key.capture];
        result.push_back({ std::vector<std::string>(capture.nameComponents.begin(), capture.nameComponents.end()), tsRange(capture.node) });
    }
    return result;
}

}
