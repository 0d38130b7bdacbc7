#pragma once

#include "QuilloryCore/Text/UnicodeText.h"

#include <string>

namespace QuilloryBench {

// A page of 20,000 lines with 100 style and 100 script elements spread through it.
inline const std::u16string& generatedHTMLPage()
{
    static const std::u16string page = [] {
        std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head><title>Generated</title></head>\n<body>\n";
        int line = 4;
        int block = 0;
        while (line < 19990) {
            if (block % 10 == 0) {
                auto injection = block / 10;
                if (injection % 2 == 0) {
                    html += "<style>\n  .b" + std::to_string(block) + " { color: #334455; margin: 0 4px; }\n  .b" + std::to_string(block)
                        + " p { font-size: 1.2em; }\n</style>\n";
                } else {
                    html += "<script>\n  const b" + std::to_string(block) + " = document.querySelector('.b" + std::to_string(block)
                        + "');\n  if (b" + std::to_string(block) + ") { b" + std::to_string(block) + ".hidden = false; }\n</script>\n";
                }
                line += 4;
            }
            html += "<section class=\"b" + std::to_string(block) + "\" id=\"s" + std::to_string(block) + "\">\n";
            html += "  <h2>Section " + std::to_string(block) + " &amp; more</h2>\n";
            html += "  <p>Some <a href=\"/p/" + std::to_string(block) + "\">linked</a> text in a paragraph.</p>\n";
            html += "  <!-- note " + std::to_string(block) + " -->\n";
            html += "  <ul><li>One</li><li>Two</li></ul>\n";
            html += "</section>\n";
            line += 6;
            ++block;
        }
        html += "</body>\n</html>\n";
        return Quillory::UnicodeText::utf16(html);
    }();
    return page;
}

}
