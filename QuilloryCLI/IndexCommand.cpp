#include "QuilloryCLI/CLICommand.h"
#include "QuilloryCore/Analysis/HTMLTagIndexer.h"
#include "QuilloryCore/Text/TextFile.h"

namespace QuilloryCLI {

namespace {

nlohmann::json tagJSON(const Quillory::IndexedTag& tag)
{
    auto attributes = nlohmann::json::object();
    for (const auto& [name, attribute] : tag.attributes)
        attributes[name] = { { "value", attribute.value }, { "valueRange", rangeJSON(attribute.valueRange) } };
    return { { "tagName", tag.tagName },
             { "fullRange", rangeJSON(tag.fullRange) },
             { "innerTextRange", rangeJSON(tag.innerTextRange) },
             { "innerText", tag.innerText ? nlohmann::json(*tag.innerText) : nlohmann::json(nullptr) },
             { "attributes", std::move(attributes) },
             { "classes", tag.classes },
             { "ancestorTags", tag.ancestorTags.names() },
             { "siblingIndex", tag.siblingIndex } };
}

// Prints the tag index of an HTML file in the indexer's own order, children before parents.
void runIndex(const std::vector<std::string>& arguments)
{
    auto parsed = parseArguments(arguments, {}, {});
    if (parsed.positional.size() != 1)
        throw UsageError("expected FILE");
    auto text = Quillory::TextFile::readUTF8(parsed.positional[0]);
    auto tags = nlohmann::json::array();
    for (const auto& tag : Quillory::HTMLTagIndexer::index(text))
        tags.push_back(tagJSON(tag));
    printJSON(tags);
}

const CommandRegistration registration({ "index", "index FILE", runIndex });

}

}
