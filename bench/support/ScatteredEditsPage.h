#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <utility>

namespace QuilloryBench {

// A page of mostly distinct lines; the edited copy has a line rewritten, inserted or removed
// about every 100 lines.
inline std::pair<std::string, std::string> scatteredEdits(std::size_t lineCount)
{
    std::mt19937 random(5);
    std::uniform_int_distribution<int> edit(0, 299);
    std::string opened;
    std::string current;
    for (std::size_t line = 0; line < lineCount; ++line) {
        std::string content = "    <p class=\"row\">Paragraph " + std::to_string(line) + " of the page</p>\n";
        opened += content;
        switch (edit(random)) {
        case 0:
            current += "    <p class=\"row edited\">Rewritten paragraph " + std::to_string(line) + "</p>\n";
            break;
        case 1:
            current += content + "    <p>Inserted after " + std::to_string(line) + "</p>\n";
            break;
        case 2:
            break;
        default:
            current += content;
        }
    }
    return { opened, current };
}

}
