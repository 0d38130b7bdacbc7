#include "QuilloryCore/Editing/SourceLineIndex.h"

#include <algorithm>
#include <cstdio>

namespace Quillory {

SourceLineIndex SourceLineIndex::build(std::u16string_view text)
{
    SourceLineIndex index;
    index.utf16Length = text.size();
    for (std::size_t unit = 0; unit < text.size(); ++unit) {
        if (text[unit] == u'\n')
            index.lineStarts.push_back(unit + 1);
    }
    return index;
}

std::size_t SourceLineIndex::lineIndex(std::size_t offset) const
{
    if (lineStarts.empty())
        return 0;
    auto after = std::upper_bound(lineStarts.begin(), lineStarts.end(), offset);
    return after == lineStarts.begin() ? 0 : static_cast<std::size_t>(after - lineStarts.begin()) - 1;
}

std::string_view SourceEditorStatus::format(char* buffer, std::size_t size) const
{
    auto written = std::snprintf(buffer, size, "Ln %d, Col %d", line, column);
    return { buffer, static_cast<std::size_t>(std::clamp<int>(written, 0, static_cast<int>(size) - 1)) };
}

SourceEditorStatus SourceEditorStatus::at(const SourceLineIndex& index, std::size_t offset)
{
    offset = std::min(offset, index.utf16Length);
    auto line = index.lineIndex(offset);
    auto lineStart = line < index.lineStarts.size() ? index.lineStarts[line] : 0;
    return { static_cast<int>(line) + 1, static_cast<int>(offset - lineStart) + 1 };
}

}
