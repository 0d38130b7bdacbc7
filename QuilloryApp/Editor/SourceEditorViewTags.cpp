#include "QuilloryApp/Editor/SourceEditorView.h"

#include <algorithm>

// The colour tags in the buffer. `m_appliedKinds` mirrors them per character, so an analysis
// changes only the runs whose kind differs. Each tag call finds its place in the buffer's tree
// and may split and merge toggles, so a change that reaches far (a comment opened near the top
// of a long page) is thousands of calls: after typing, the runs on screen are changed at once and
// the rest in idle slices of a few milliseconds, so that keys and frames go between them.
namespace Quillory {

namespace {

// How long one idle slice may change tags.
constexpr gint64 tagSliceMicroseconds = 3000;

}

void SourceEditorView::applyKinds(const std::vector<std::uint8_t>& kinds, TagApplication application)
{
    cancelPendingTagRuns();
    m_appliedKinds.resize(kinds.size(), unknownKind);
    std::vector<TagRun> runs;
    std::size_t count = kinds.size();
    std::size_t index = 0;
    while (index < count) {
        // Equal stretches, the bulk of a re-analysis after a keystroke, are skipped a block at a time.
        auto differs = std::mismatch(m_appliedKinds.begin() + static_cast<std::ptrdiff_t>(index), m_appliedKinds.end(), kinds.begin() + static_cast<std::ptrdiff_t>(index));
        index = static_cast<std::size_t>(differs.first - m_appliedKinds.begin());
        if (index >= count)
            break;
        auto old = m_appliedKinds[index];
        auto wanted = kinds[index];
        auto end = index + 1;
        while (end < count && m_appliedKinds[end] == old && kinds[end] == wanted)
            ++end;
        runs.push_back({ static_cast<int>(index), static_cast<int>(end), old, wanted });
        index = end;
    }
    if (application == TagApplication::whole) {
        for (const auto& run : runs)
            applyTagRun(run);
        return;
    }

    // On screen now; then below the screen, then above it going up, in slices.
    auto [visibleStart, visibleEnd] = visibleCharacterRange();
    auto firstOnScreen = std::partition_point(runs.begin(), runs.end(), [&](const TagRun& run) { return run.end <= visibleStart; });
    auto firstBelowScreen = std::partition_point(firstOnScreen, runs.end(), [&](const TagRun& run) { return run.start < visibleEnd; });
    std::for_each(firstOnScreen, firstBelowScreen, [this](const TagRun& run) { applyTagRun(run); });
    m_pendingTagRuns.assign(firstBelowScreen, runs.end());
    m_pendingTagRuns.insert(m_pendingTagRuns.end(), std::make_reverse_iterator(firstOnScreen), runs.rend());
    m_nextPendingTagRun = 0;
    if (m_pendingTagRuns.empty())
        return;
    m_tagSliceIdleID = g_idle_add_full(G_PRIORITY_DEFAULT_IDLE, +[](gpointer data) -> gboolean {
        auto* self = static_cast<SourceEditorView*>(data);
        auto deadline = g_get_monotonic_time() + tagSliceMicroseconds;
        while (self->m_nextPendingTagRun < self->m_pendingTagRuns.size() && g_get_monotonic_time() < deadline)
            self->applyTagRun(self->m_pendingTagRuns[self->m_nextPendingTagRun++]);
        if (self->m_nextPendingTagRun < self->m_pendingTagRuns.size())
            return G_SOURCE_CONTINUE;
        self->m_tagSliceIdleID = 0;
        self->m_pendingTagRuns = {};
        return G_SOURCE_REMOVE;
    }, this, nullptr);
}

void SourceEditorView::noteTextReplaced()
{
    // Emptying the buffer took every tag with it, and inserted text takes none of its own: the
    // first analysis of a new text then adds tags only, one call per span.
    cancelPendingTagRuns();
    m_appliedKinds.assign(static_cast<std::size_t>(gtk_text_buffer_get_char_count(GTK_TEXT_BUFFER(m_buffer.get()))), noKind);
    m_hasHiddenTextApplied = false;
}

void SourceEditorView::applyTagRun(const TagRun& run)
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_iter_at_offset(buffer, &start, run.start);
    gtk_text_buffer_get_iter_at_offset(buffer, &end, run.end);
    if (run.old == unknownKind) {
        // Inserted text may have taken any neighbour's tag.
        for (auto* tag : m_kindTags)
            gtk_text_buffer_remove_tag(buffer, tag, &start, &end);
    } else if (run.old != noKind) {
        gtk_text_buffer_remove_tag(buffer, m_kindTags[run.old], &start, &end);
    }
    if (run.wanted != noKind)
        gtk_text_buffer_apply_tag(buffer, m_kindTags[run.wanted], &start, &end);
    std::fill(m_appliedKinds.begin() + run.start, m_appliedKinds.begin() + run.end, run.wanted);
}

void SourceEditorView::cancelPendingTagRuns()
{
    // What was applied is in the mirror; the rest keeps its old tags, and the mirror says so.
    if (m_tagSliceIdleID)
        g_source_remove(std::exchange(m_tagSliceIdleID, 0));
    m_pendingTagRuns = {};
    m_nextPendingTagRun = 0;
}

std::pair<int, int> SourceEditorView::visibleCharacterRange() const
{
    GtkTextView* view = GTK_TEXT_VIEW(m_sourceView);
    if (!gtk_widget_get_mapped(GTK_WIDGET(view)))
        return { 0, 0 };
    GdkRectangle visible;
    gtk_text_view_get_visible_rect(view, &visible);
    GtkTextIter top;
    GtkTextIter bottom;
    gtk_text_view_get_line_at_y(view, &top, visible.y, nullptr);
    gtk_text_view_get_line_at_y(view, &bottom, visible.y + visible.height, nullptr);
    gtk_text_iter_forward_to_line_end(&bottom);
    return { gtk_text_iter_get_offset(&top), gtk_text_iter_get_offset(&bottom) + 1 };
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

}
