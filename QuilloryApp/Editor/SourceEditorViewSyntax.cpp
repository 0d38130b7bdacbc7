#include "QuilloryApp/Editor/SourceEditorColors.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "TreeSitterLayer/SourceSyntaxAnalyzer.h"

#include <algorithm>
#include <cstring>

// Highlighting and folding. Analysis runs on a worker thread 120 ms after the last keystroke, or
// at once when the text is set from outside; a result is applied only if it is the latest
// request's and its text is still the buffer's. Colours are tags; what the buffer carries is
// mirrored per character, so an analysis re-tags only what changed.
namespace Quillory {

namespace {

constexpr guint syntaxRefreshDelayMilliseconds = 120;
// No kind; and a character whose tags are unknown (inserted text may inherit a neighbour's tag).
constexpr std::uint8_t noKind = 0xFF;
constexpr std::uint8_t unknownKind = 0xFE;

bool startsSurrogatePair(std::u16string_view text, std::size_t unit)
{
    return unit + 1 < text.size() && text[unit] >= 0xD800 && text[unit] <= 0xDBFF && text[unit + 1] >= 0xDC00 && text[unit + 1] <= 0xDFFF;
}

// Buffer character offsets of UTF-16 offsets, for sorted lookups over one text.
std::vector<int> characterOffsets(std::u16string_view text)
{
    std::vector<int> offsets(text.size() + 1);
    int character = 0;
    for (std::size_t unit = 0; unit < text.size(); ++character) {
        offsets[unit] = character;
        if (startsSurrogatePair(text, unit)) {
            offsets[unit + 1] = character + 1;
            unit += 2;
        } else {
            ++unit;
        }
    }
    offsets[text.size()] = character;
    return offsets;
}

struct AnalysisRequest {
    std::u16string text;
    std::string documentPath;
    std::uint64_t generation { 0 };
    std::weak_ptr<SourceEditorView*> editor;
};

SourceSyntaxSnapshot analyse(std::u16string text, std::string_view documentPath)
{
    SourceSyntaxAnalyzer analyzer;
    auto spans = analyzer.spans(text, documentPath);
    auto regions = analyzer.foldRegions(text, documentPath);
    return { std::move(text), std::move(spans), std::move(regions) };
}

}

void SourceEditorView::setUpSyntax()
{
    m_lifetime = std::make_shared<SourceEditorView*>(this);
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    for (int kind = 0; kind < htmlSyntaxKindCount; ++kind) {
        auto color = SourceEditorColors::color(static_cast<HTMLSyntaxKind>(kind));
        m_kindTags[static_cast<std::size_t>(kind)] = gtk_text_buffer_create_tag(buffer, nullptr, "foreground-rgba", &color, nullptr);
    }
    m_foldTag = gtk_text_buffer_create_tag(buffer, nullptr, "invisible", TRUE, nullptr);

    // Bookkeeping of what the buffer's tags cover, before the buffer changes.
    m_connections.connectSwapped(buffer, "insert-text", G_CALLBACK(+[](SourceEditorView* self, GtkTextIter* location, const char* text, int length) {
        self->noteInsertion(gtk_text_iter_get_offset(location), static_cast<int>(g_utf8_strlen(text, length)));
    }), this);
    m_connections.connectSwapped(buffer, "delete-range", G_CALLBACK(+[](SourceEditorView* self, GtkTextIter* start, GtkTextIter* end) {
        self->noteDeletion(gtk_text_iter_get_offset(start), gtk_text_iter_get_offset(end));
    }), this);

    // The fold marker column, left of the line numbers.
    m_foldMarkerRenderer = gtk_source_gutter_renderer_text_new();
    gtk_widget_set_size_request(GTK_WIDGET(m_foldMarkerRenderer), 16, -1);
    gtk_source_gutter_renderer_set_xpad(m_foldMarkerRenderer, 4);
    gtk_widget_add_css_class(GTK_WIDGET(m_foldMarkerRenderer), "quillory-fold-marker");
    GtkSourceGutter* gutter = gtk_source_view_get_gutter(m_sourceView, GTK_TEXT_WINDOW_LEFT);
    gtk_source_gutter_insert(gutter, m_foldMarkerRenderer, -40);
    m_connections.connectSwapped(m_foldMarkerRenderer, "query-data", G_CALLBACK(+[](SourceEditorView* self, GObject*, guint line) {
        auto* region = self->foldRegionStartingOnLine(static_cast<int>(line) + 1);
        const char* marker = !region ? "" : self->m_foldedRegionIDs.contains(region->id) ? ">" : "v";
        gtk_source_gutter_renderer_text_set_text(GTK_SOURCE_GUTTER_RENDERER_TEXT(self->m_foldMarkerRenderer), marker, -1);
    }), this);
    m_connections.connectSwapped(m_foldMarkerRenderer, "query-activatable", G_CALLBACK(+[](SourceEditorView* self, GtkTextIter* iter, GdkRectangle*) -> gboolean {
        return self->foldRegionStartingOnLine(gtk_text_iter_get_line(iter) + 1) != nullptr;
    }), this);
    m_connections.connectSwapped(m_foldMarkerRenderer, "activate", G_CALLBACK(+[](SourceEditorView* self, GtkTextIter* iter, GdkRectangle*, guint, GdkModifierType, int) {
        if (auto* region = self->foldRegionStartingOnLine(gtk_text_iter_get_line(iter) + 1))
            self->toggleFold(std::string(region->id));
    }), this);
}

void SourceEditorView::tearDownSyntax()
{
    if (m_syntaxRefreshTimerID)
        g_source_remove(std::exchange(m_syntaxRefreshTimerID, 0));
    // A running analysis finds the editor gone and drops its result.
    m_lifetime.reset();
}

void SourceEditorView::noteInsertion(int characterOffset, int characterCount)
{
    auto at = std::min<std::size_t>(static_cast<std::size_t>(characterOffset), m_appliedKinds.size());
    m_appliedKinds.insert(m_appliedKinds.begin() + static_cast<std::ptrdiff_t>(at), static_cast<std::size_t>(characterCount), unknownKind);
}

void SourceEditorView::noteDeletion(int startCharacter, int endCharacter)
{
    auto start = std::min<std::size_t>(static_cast<std::size_t>(std::min(startCharacter, endCharacter)), m_appliedKinds.size());
    auto end = std::min<std::size_t>(static_cast<std::size_t>(std::max(startCharacter, endCharacter)), m_appliedKinds.size());
    m_appliedKinds.erase(m_appliedKinds.begin() + static_cast<std::ptrdiff_t>(start), m_appliedKinds.begin() + static_cast<std::ptrdiff_t>(end));
}

void SourceEditorView::refreshSyntaxAndFolds(bool resetFoldState)
{
    if (m_syntaxRefreshTimerID)
        g_source_remove(std::exchange(m_syntaxRefreshTimerID, 0));
    ++m_syntaxGeneration;
    if (resetFoldState)
        m_foldedRegionIDs.clear();
    auto documentPath = m_documentID.value_or(std::string());
    applySyntaxSnapshot(analyse(m_currentText, documentPath), resetFoldState);
}

void SourceEditorView::scheduleSyntaxAndFoldRefresh()
{
    if (m_syntaxRefreshTimerID)
        g_source_remove(m_syntaxRefreshTimerID);
    // A result still on its way belongs to an older text: it will be dropped.
    ++m_syntaxGeneration;
    m_syntaxRefreshTimerID = g_timeout_add(syntaxRefreshDelayMilliseconds, +[](gpointer data) -> gboolean {
        auto* self = static_cast<SourceEditorView*>(data);
        self->m_syntaxRefreshTimerID = 0;
        self->startBackgroundAnalysis();
        return G_SOURCE_REMOVE;
    }, this);
}

void SourceEditorView::startBackgroundAnalysis()
{
    auto* request = new AnalysisRequest { m_currentText, m_documentID.value_or(std::string()), m_syntaxGeneration, m_lifetime };
    GTask* task = g_task_new(nullptr, nullptr, +[](GObject*, GAsyncResult* result, gpointer) {
        auto* snapshot = static_cast<SourceSyntaxSnapshot*>(g_task_propagate_pointer(G_TASK(result), nullptr));
        auto* finished = static_cast<AnalysisRequest*>(g_task_get_task_data(G_TASK(result)));
        if (auto editor = finished->editor.lock(); editor && snapshot && finished->generation == (*editor)->m_syntaxGeneration)
            (*editor)->applySyntaxSnapshot(*snapshot, false);
        delete snapshot;
    }, nullptr);
    g_task_set_task_data(task, request, +[](gpointer data) { delete static_cast<AnalysisRequest*>(data); });
    g_task_set_priority(task, G_PRIORITY_LOW);
    g_task_run_in_thread(task, +[](GTask* running, gpointer, gpointer data, GCancellable*) {
        auto* work = static_cast<AnalysisRequest*>(data);
        auto* snapshot = new SourceSyntaxSnapshot(analyse(work->text, work->documentPath));
        g_task_return_pointer(running, snapshot, +[](gpointer pointer) { delete static_cast<SourceSyntaxSnapshot*>(pointer); });
    });
    g_object_unref(task);
}

void SourceEditorView::applySyntaxSnapshot(const SourceSyntaxSnapshot& snapshot, bool resetFoldState)
{
    if (snapshot.text != m_currentText)
        return;
    if (resetFoldState)
        m_foldedRegionIDs.clear();
    m_lineIndex = SourceLineIndex::build(m_currentText);
    m_foldRegions = snapshot.foldRegions;
    m_foldRegionsByStartLine.clear();
    std::set<std::string> surviving;
    for (std::size_t index = 0; index < m_foldRegions.size(); ++index) {
        m_foldRegionsByStartLine.try_emplace(m_foldRegions[index].startLine, index);
        if (m_foldedRegionIDs.contains(m_foldRegions[index].id))
            surviving.insert(m_foldRegions[index].id);
    }
    m_foldedRegionIDs = std::move(surviving);

    // Later spans win where spans overlap: paint them in order, per UTF-16 unit.
    std::vector<std::uint8_t> unitKinds(m_currentText.size(), noKind);
    for (const auto& span : snapshot.spans) {
        if (span.range.end() > unitKinds.size())
            continue;
        std::memset(unitKinds.data() + span.range.location, static_cast<int>(span.kind), span.range.length);
    }
    std::vector<std::uint8_t> characterKinds;
    characterKinds.reserve(unitKinds.size());
    for (std::size_t unit = 0; unit < unitKinds.size(); unit += startsSurrogatePair(m_currentText, unit) ? 2 : 1)
        characterKinds.push_back(unitKinds[unit]);
    applyKinds(characterKinds);
    ++m_appliedAnalysisCount;
    applyFoldVisibility();
}

void SourceEditorView::applyKinds(const std::vector<std::uint8_t>& characterKinds)
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    m_appliedKinds.resize(characterKinds.size(), unknownKind);
    std::size_t count = characterKinds.size();
    std::size_t index = 0;
    while (index < count) {
        auto old = m_appliedKinds[index];
        auto wanted = characterKinds[index];
        if (old == wanted) {
            ++index;
            continue;
        }
        auto end = index + 1;
        while (end < count && m_appliedKinds[end] == old && characterKinds[end] == wanted)
            ++end;
        GtkTextIter start;
        GtkTextIter stop;
        gtk_text_buffer_get_iter_at_offset(buffer, &start, static_cast<int>(index));
        gtk_text_buffer_get_iter_at_offset(buffer, &stop, static_cast<int>(end));
        if (old == unknownKind) {
            for (auto* tag : m_kindTags)
                gtk_text_buffer_remove_tag(buffer, tag, &start, &stop);
        } else if (old != noKind) {
            gtk_text_buffer_remove_tag(buffer, m_kindTags[old], &start, &stop);
        }
        if (wanted != noKind)
            gtk_text_buffer_apply_tag(buffer, m_kindTags[wanted], &start, &stop);
        std::fill(m_appliedKinds.begin() + static_cast<std::ptrdiff_t>(index), m_appliedKinds.begin() + static_cast<std::ptrdiff_t>(end), wanted);
        index = end;
    }
}

void SourceEditorView::toggleFold(const std::string& regionID)
{
    if (!m_foldedRegionIDs.erase(regionID))
        m_foldedRegionIDs.insert(regionID);
    applyFoldVisibility();
}

const HTMLFoldRegion* SourceEditorView::foldRegionStartingOnLine(int line) const
{
    auto found = m_foldRegionsByStartLine.find(line);
    return found == m_foldRegionsByStartLine.end() ? nullptr : &m_foldRegions[found->second];
}

void SourceEditorView::applyFoldVisibility()
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    if (!m_foldedRegionIDs.empty() || m_hasHiddenTextApplied) {
        GtkTextIter start;
        GtkTextIter end;
        gtk_text_buffer_get_bounds(buffer, &start, &end);
        gtk_text_buffer_remove_tag(buffer, m_foldTag, &start, &end);
        m_hasHiddenTextApplied = false;
    }
    // A document with no folds pays nothing more.
    if (!m_foldedRegionIDs.empty()) {
        auto offsets = characterOffsets(m_currentText);
        for (const auto& region : m_foldRegions) {
            if (!m_foldedRegionIDs.contains(region.id) || region.hiddenRange.length < 1 || region.hiddenRange.end() > m_currentText.size())
                continue;
            GtkTextIter start;
            GtkTextIter end;
            gtk_text_buffer_get_iter_at_offset(buffer, &start, offsets[region.hiddenRange.location]);
            gtk_text_buffer_get_iter_at_offset(buffer, &end, offsets[region.hiddenRange.end()]);
            gtk_text_buffer_apply_tag(buffer, m_foldTag, &start, &end);
            m_hasHiddenTextApplied = true;
        }
    }
    if (m_foldMarkerRenderer)
        gtk_widget_queue_draw(GTK_WIDGET(m_foldMarkerRenderer));
    gtk_widget_queue_draw(GTK_WIDGET(m_sourceView));
}

std::optional<HTMLSyntaxKind> SourceEditorView::kindAtCharacter(int characterOffset) const
{
    GtkTextIter at;
    gtk_text_buffer_get_iter_at_offset(GTK_TEXT_BUFFER(m_buffer.get()), &at, characterOffset);
    for (int kind = 0; kind < htmlSyntaxKindCount; ++kind) {
        if (gtk_text_iter_has_tag(&at, m_kindTags[static_cast<std::size_t>(kind)]))
            return static_cast<HTMLSyntaxKind>(kind);
    }
    return std::nullopt;
}

bool SourceEditorView::isCharacterHidden(int characterOffset) const
{
    GtkTextIter at;
    gtk_text_buffer_get_iter_at_offset(GTK_TEXT_BUFFER(m_buffer.get()), &at, characterOffset);
    return gtk_text_iter_has_tag(&at, m_foldTag);
}

}
