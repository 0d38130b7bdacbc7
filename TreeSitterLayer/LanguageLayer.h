#pragma once

#include "QuilloryCore/Text/Utf16Range.h"
#include "TreeSitterLayer/LanguageConfiguration.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include <tree_sitter/api.h>

namespace Quillory {

// The text of a range of the document (UTF-16 units, with the C library's points), or nothing
// when the range does not lie in it.
using TextProvider = std::function<std::optional<std::u16string>(Utf16Range, TSPoint start, TSPoint end)>;

// The provider over a string, which must outlive it.
TextProvider stringTextProvider(std::u16string_view text);

struct QueryCapture {
    TSNode node {};
    std::uint32_t index { 0 };
    // A view of the query's own components: captures are many, and they live no longer than the
    // layer whose configuration holds the query.
    std::span<const std::string> nameComponents;
    std::uint32_t patternIndex { 0 };
    // `#set!` directives that name this capture.
    std::map<std::string, std::string> metadata;
    int depth { 0 };
};

struct QueryMatch {
    std::uint32_t id { 0 };
    std::uint32_t patternIndex { 0 };
    std::vector<QueryCapture> captures;
    const std::vector<Predicate>* predicates { nullptr };
    // `#set!` directives without a capture.
    std::map<std::string, std::string> metadata;
};

// A named range of the text; byte offsets are twice the UTF-16 offsets.
struct NamedRange {
    std::vector<std::string> nameComponents;
    TSRange tsRange {};

    std::string name() const;
};

class LanguageLayerError : public std::runtime_error {
public:
    enum class Code { queryUnavailable, noRootNode };
    LanguageLayerError(Code, const std::string& detail);
    Code code;
};

// One language over the whole text or over some ranges of it, with the layers of the languages
// injected into it. Built for one analysis and thrown away: nothing here is incremental. Belongs
// to the thread that made it.
class LanguageLayer {
public:
    struct Configuration {
        // How many more levels may nest under this layer.
        int maximumLanguageDepth { 0 };
        std::function<std::optional<LanguageConfiguration>(const std::string& languageName)> languageProvider;
    };

    // Throws LanguageLayerError when the parser refuses the grammar.
    LanguageLayer(LanguageConfiguration, Configuration, int depth = 0);
    ~LanguageLayer();
    LanguageLayer(const LanguageLayer&) = delete;
    LanguageLayer& operator=(const LanguageLayer&) = delete;

    // Parses `text` (UTF-16) and resolves its injections into sublayers. Throws
    // LanguageLayerError(noRootNode) when the parse gives no tree.
    void replaceContent(std::u16string_view text);

    // The highlight captures of this layer and every sublayer over `ranges` (UTF-16 units), in
    // capture order: by depth, start, number of name components, pattern. Throws
    // LanguageLayerError(queryUnavailable) when any of the layers' languages has no highlights query.
    std::vector<NamedRange> highlights(const std::vector<Utf16Range>& ranges, const TextProvider&) const;

    const LanguageConfiguration& languageConfig() const { return m_languageConfig; }
    int depth() const { return m_depth; }
    bool rangeRestricted() const { return m_rangeRestricted; }
    const TSTree* tree() const { return m_tree.get(); }
    // The ranges a range-restricted layer parses.
    const std::vector<TSRange>& includedRanges() const { return m_includedRanges; }
    const std::map<std::string, std::unique_ptr<LanguageLayer>>& sublayers() const { return m_sublayers; }
    const std::map<std::string, std::vector<TSRange>>& missingInjections() const { return m_missingInjections; }

private:
    void parse(std::u16string_view text);
    void resolveSublayers(std::u16string_view text, Utf16Range range);
    void addNewSublayer(const std::string& name, const std::vector<TSRange>& ranges, std::u16string_view text);
    std::vector<QueryMatch> executeQuery(const Query&, Utf16Range range, int depth) const;
    // The same matches one at a time, in one reused record, for callers that keep little of them.
    void forEachMatch(const Query&, Utf16Range range, int depth, const std::function<void(QueryMatch&)>&) const;

    LanguageConfiguration m_languageConfig;
    Configuration m_configuration;
    int m_depth { 0 };
    std::unique_ptr<TSParser, decltype(&ts_parser_delete)> m_parser { nullptr, ts_parser_delete };
    std::unique_ptr<TSTree, decltype(&ts_tree_delete)> m_tree { nullptr, ts_tree_delete };
    std::vector<TSRange> m_includedRanges;
    std::map<std::string, std::unique_ptr<LanguageLayer>> m_sublayers;
    std::map<std::string, std::vector<TSRange>> m_missingInjections;
    bool m_rangeRestricted { false };
};

// Whether a match passes its text predicates (`#eq?`, `#match?`, `#any-of?` and their negations).
// Directives and unknown predicates pass; a capture whose text is unavailable refuses the match.
bool queryMatchAllowed(const QueryMatch&, const Query&, const TextProvider&);

}
