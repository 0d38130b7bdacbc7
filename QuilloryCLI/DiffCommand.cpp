#include "QuilloryCLI/CLICommand.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "QuilloryCore/Editing/UnifiedDiff.h"

#include <iostream>

namespace QuilloryCLI {

namespace {

// Prints the whole-file diff that the editor shows for a document against its opened text.
void runDiff(const std::vector<std::string>& arguments)
{
    auto parsed = parseArguments(arguments, { "--path" }, {});
    if (parsed.positional.size() != 2)
        throw UsageError("expected OLD_FILE and NEW_FILE");
    const auto& oldPath = parsed.positional[0];
    const auto& newPath = parsed.positional[1];
    auto oldText = Quillory::TextFile::readUTF8(oldPath);
    auto newText = Quillory::TextFile::readUTF8(newPath);
    auto shownPath = parsed.value("--path").value_or(newPath);
    auto diff = Quillory::UnifiedDiff::make(oldText, newText, shownPath, "opened", "current");
    std::cout << Quillory::UnicodeText::utf8FromUTF16(diff) << '\n';
}

const CommandRegistration registration({ "diff", "diff OLD_FILE NEW_FILE [--path SHOWN_PATH]", runDiff });

}

}
