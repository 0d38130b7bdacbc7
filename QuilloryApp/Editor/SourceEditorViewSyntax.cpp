#include "QuilloryApp/Editor/SourceEditorColors.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "TreeSitterLayer/SourceSyntaxAnalyzer.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <system_error>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

// Highlighting and folding. Analysis runs on a worker thread 120 ms after the last keystroke, or
// at once when the text is set from outside; a result is applied only if it is the latest
// request's and its text is still the buffer's. Colours are tags; what the buffer carries is
// mirrored per character, so an analysis re-tags only what changed.
namespace Quillory {

namespace {

constexpr guint syntaxRefreshDelayMilliseconds = 120;

// How far the analysis thread lowers its scheduling priority (a nice value).
constexpr int analysisNiceness = 10;

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

// A background analysis with the work of its application that needs no buffer done as well.
struct AnalysisResult {
    SourceSyntaxSnapshot snapshot;
    std::vector<std::uint8_t> characterKinds;
};

struct AnalysisWork {
    AnalysisRequest request;
    AnalysisResult result;
};

}

// The kind painted on each buffer character: later spans win where spans overlap, so they are
// painted in order, per UTF-16 unit, and an astral character takes the kind of its first unit.
std::vector<std::uint8_t> SourceEditorView::characterKinds(std::u16string_view text, const std::vector<HTMLSyntaxSpan>& spans)
{
    std::vector<std::uint8_t> unitKinds(text.size(), noKind);
    for (const auto& span : spans) {
        if (span.range.end() > unitKinds.size())
            continue;
        std::memset(unitKinds.data() + span.range.location, static_cast<int>(span.kind), span.range.length);
    }
    std::vector<std::uint8_t> kinds;
    kinds.reserve(unitKinds.size());
    for (std::size_t unit = 0; unit < unitKinds.size(); unit += UnicodeText::startsSurrogatePair(text, unit) ? 2 : 1)
        kinds.push_back(unitKinds[unit]);
    return kinds;
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
        self->noteInsertion(gtk_text_iter_get_offset(location), std::string_view(text, static_cast<std::size_t>(length)));
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
    cancelPendingTagRuns();
    // A running analysis finds the editor gone and drops its result.
    m_lifetime.reset();
}

void SourceEditorView::noteInsertion(int characterOffset, std::string_view utf8)
{
    // A text set from outside is mirrored whole once it is in.
    if (!m_isSynchronizing)
        mirrorInsertion(characterOffset, utf8);
    // The tag changes still waiting were worked out for offsets this edit moves.
    cancelPendingTagRuns();
    auto characterCount = static_cast<std::size_t>(g_utf8_strlen(utf8.data(), static_cast<gssize>(utf8.size())));
    auto at = std::min<std::size_t>(static_cast<std::size_t>(characterOffset), m_appliedKinds.size());
    m_appliedKinds.insert(m_appliedKinds.begin() + static_cast<std::ptrdiff_t>(at), characterCount, unknownKind);
}

void SourceEditorView::noteDeletion(int startCharacter, int endCharacter)
{
    if (!m_isSynchronizing)
        mirrorDeletion(std::min(startCharacter, endCharacter), std::max(startCharacter, endCharacter));
    cancelPendingTagRuns();
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
    auto* work = new AnalysisWork { { m_currentText, m_documentID.value_or(std::string()), m_syntaxGeneration, m_lifetime }, {} };
    auto deliver = +[](gpointer data) -> gboolean {
        std::unique_ptr<AnalysisWork> finished(static_cast<AnalysisWork*>(data));
        auto editor = finished->request.editor.lock();
        if (!editor || finished->request.generation != (*editor)->m_syntaxGeneration || finished->result.snapshot.text != (*editor)->m_currentText)
            return G_SOURCE_REMOVE;
        // While the user types, the colours of what is on screen come first and the rest in
        // slices between keystrokes.
        (*editor)->applyAnalysis(std::move(finished->result.snapshot.foldRegions), finished->result.characterKinds, false, TagApplication::visibleFirst);
        return G_SOURCE_REMOVE;
    };
    auto run = [deliver](AnalysisWork* running) {
        running->result.snapshot = analyse(running->request.text, running->request.documentPath);
        running->result.characterKinds = characterKinds(running->result.snapshot.text, running->result.snapshot.spans);
        g_idle_add_full(G_PRIORITY_DEFAULT, deliver, running, nullptr);
    };
    try {
        // A thread of its own rather than a shared pool's, for it lowers its own priority: on a
        // busy machine the main thread, which draws and takes keys, must win the processor.
        std::thread([run, work] {
            setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), analysisNiceness);
            run(work);
        }).detach();
    } catch (const std::system_error&) {
        // No thread to be had: the analysis runs here, and its result still comes in a later turn.
        run(work);
    }
}

void SourceEditorView::applySyntaxSnapshot(const SourceSyntaxSnapshot& snapshot, bool resetFoldState)
{
    if (snapshot.text != m_currentText)
        return;
    applyAnalysis(snapshot.foldRegions, characterKinds(snapshot.text, snapshot.spans), resetFoldState, TagApplication::whole);
}

void SourceEditorView::applyAnalysis(std::vector<HTMLFoldRegion> foldRegions, const std::vector<std::uint8_t>& kinds, bool resetFoldState, TagApplication application)
{
    if (resetFoldState)
        m_foldedRegionIDs.clear();
    m_foldRegions = std::move(foldRegions);
    m_foldRegionsByStartLine.clear();
    std::set<std::string> surviving;
    for (std::size_t index = 0; index < m_foldRegions.size(); ++index) {
        m_foldRegionsByStartLine.try_emplace(m_foldRegionsByStartLine.end(), m_foldRegions[index].startLine, index);
        if (m_foldedRegionIDs.contains(m_foldRegions[index].id))
            surviving.insert(m_foldRegions[index].id);
    }
    m_foldedRegionIDs = std::move(surviving);
    applyKinds(kinds, application);
    ++m_appliedAnalysisCount;
    applyFoldVisibility();
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
        for (const auto& region : m_foldRegions) {
            if (!m_foldedRegionIDs.contains(region.id) || region.hiddenRange.length < 1 || region.hiddenRange.end() > m_currentText.size())
                continue;
            GtkTextIter start;
            GtkTextIter end;
            gtk_text_buffer_get_iter_at_offset(buffer, &start, characterOffsetOfUTF16(region.hiddenRange.location));
            gtk_text_buffer_get_iter_at_offset(buffer, &end, characterOffsetOfUTF16(region.hiddenRange.end()));
            gtk_text_buffer_apply_tag(buffer, m_foldTag, &start, &end);
            m_hasHiddenTextApplied = true;
        }
    }
    if (m_foldMarkerRenderer)
        gtk_widget_queue_draw(GTK_WIDGET(m_foldMarkerRenderer));
    gtk_widget_queue_draw(GTK_WIDGET(m_sourceView));
}

bool SourceEditorView::isCharacterHidden(int characterOffset) const
{
    GtkTextIter at;
    gtk_text_buffer_get_iter_at_offset(GTK_TEXT_BUFFER(m_buffer.get()), &at, characterOffset);
    return gtk_text_iter_has_tag(&at, m_foldTag);
}

}
