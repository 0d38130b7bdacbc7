#include "QuilloryApp/Editor/SourceEditorView.h"

#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>

// The buffer's text as UTF-16, its line index and the places of its astral characters, kept in
// step edit by edit. Reading a 20,000-line buffer back and converting it costs tens of
// milliseconds, far more than a keystroke may take; an edit here costs its own length plus one
// pass over the line starts.
namespace Quillory {

namespace {

// The buffer character offsets of the astral characters of `text`, counted from `firstCharacter`.
std::vector<int> astralCharacters(std::u16string_view text, int firstCharacter)
{
    std::vector<int> found;
    int character = firstCharacter;
    for (std::size_t unit = 0; unit < text.size(); ++character) {
        if (UnicodeText::startsSurrogatePair(text, unit)) {
            found.push_back(character);
            unit += 2;
        } else {
            ++unit;
        }
    }
    return found;
}

}

void SourceEditorView::resetTextMirror(std::u16string text)
{
    m_currentText = std::move(text);
    m_astralCharacters = astralCharacters(m_currentText, 0);
    m_lineIndex = SourceLineIndex::build(m_currentText);
}

std::size_t SourceEditorView::utf16OffsetOfCharacter(int characterOffset) const
{
    auto characters = static_cast<int>(m_currentText.size() - m_astralCharacters.size());
    int character = std::clamp(characterOffset, 0, characters);
    // Each astral character before it takes a second unit.
    auto astralBefore = std::lower_bound(m_astralCharacters.begin(), m_astralCharacters.end(), character) - m_astralCharacters.begin();
    return static_cast<std::size_t>(character + astralBefore);
}

int SourceEditorView::characterOffsetOfUTF16(std::size_t offset) const
{
    offset = std::min(offset, m_currentText.size());
    // The k-th astral character starts at unit `character + k`; one that `offset` splits counts
    // as before it, so the offset lands after the whole character.
    std::size_t low = 0;
    std::size_t high = m_astralCharacters.size();
    while (low < high) {
        auto middle = (low + high) / 2;
        if (static_cast<std::size_t>(m_astralCharacters[middle]) + middle + 1 < offset)
            low = middle + 1;
        else
            high = middle;
    }
    return static_cast<int>(offset - low);
}

void SourceEditorView::mirrorInsertion(int characterOffset, std::string_view utf8)
{
    auto inserted = UnicodeText::utf16(utf8);
    auto unit = utf16OffsetOfCharacter(characterOffset);
    m_currentText.insert(unit, inserted);

    auto newAstral = astralCharacters(inserted, characterOffset);
    auto insertedCharacters = static_cast<int>(inserted.size() - newAstral.size());
    auto at = std::lower_bound(m_astralCharacters.begin(), m_astralCharacters.end(), characterOffset);
    std::for_each(at, m_astralCharacters.end(), [&](int& character) { character += insertedCharacters; });
    m_astralCharacters.insert(at, newAstral.begin(), newAstral.end());

    // Line starts after the insertion move by its length; each line feed in it starts a line.
    auto& starts = m_lineIndex.lineStarts;
    auto firstMoved = std::upper_bound(starts.begin(), starts.end(), unit);
    std::for_each(firstMoved, starts.end(), [&](std::size_t& start) { start += inserted.size(); });
    std::vector<std::size_t> newStarts;
    for (std::size_t index = 0; index < inserted.size(); ++index) {
        if (inserted[index] == u'\n')
            newStarts.push_back(unit + index + 1);
    }
    starts.insert(firstMoved, newStarts.begin(), newStarts.end());
    m_lineIndex.utf16Length = m_currentText.size();
}

void SourceEditorView::mirrorDeletion(int startCharacter, int endCharacter)
{
    auto start = utf16OffsetOfCharacter(startCharacter);
    auto end = utf16OffsetOfCharacter(endCharacter);
    m_currentText.erase(start, end - start);

    auto first = std::lower_bound(m_astralCharacters.begin(), m_astralCharacters.end(), startCharacter);
    auto last = std::lower_bound(first, m_astralCharacters.end(), endCharacter);
    std::for_each(last, m_astralCharacters.end(), [&](int& character) { character -= endCharacter - startCharacter; });
    m_astralCharacters.erase(first, last);

    // A line whose line feed was deleted joins the one before it.
    auto& starts = m_lineIndex.lineStarts;
    auto firstGone = std::upper_bound(starts.begin(), starts.end(), start);
    auto firstKept = std::upper_bound(firstGone, starts.end(), end);
    std::for_each(firstKept, starts.end(), [&](std::size_t& lineStart) { lineStart -= end - start; });
    starts.erase(firstGone, firstKept);
    m_lineIndex.utf16Length = m_currentText.size();
}

bool SourceEditorView::textMirrorMatchesBuffer() const
{
    auto characters = m_currentText.size() - m_astralCharacters.size();
    return static_cast<std::size_t>(gtk_text_buffer_get_char_count(GTK_TEXT_BUFFER(m_buffer.get()))) == characters;
}

}
