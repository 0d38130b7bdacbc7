#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <gtk/gtk.h>

#include <memory>

namespace Quillory {

struct BrightloopCandidate;
class EditorPane;
class FormatDocumentButton;
class PreviewPane;
class ProtectedHSplitView;
class SourceEditorView;
class StatusStripView;
class WorkspacePlaceholderView;
class WorkspaceStore;

// The working surface for the selected document: the split content above the status strip, or
// the placeholder while nothing is selected. The split's leading side is the editor pane, the
// source editor bound to the store's editorText under its header; its trailing side is the
// preview pane. The view holds no logic: it shows the store and its feature stores and
// fires their operations.
class EditorPreviewView {
public:
    explicit EditorPreviewView(WorkspaceStore&);
    ~EditorPreviewView();
    EditorPreviewView(const EditorPreviewView&) = delete;
    EditorPreviewView& operator=(const EditorPreviewView&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    EditorPane& editorPane() const { return *m_editorPane; }
    SourceEditorView& sourceEditor() const;
    StatusStripView& statusStrip() const { return *m_statusStrip; }
    WorkspacePlaceholderView& placeholder() const { return *m_placeholder; }
    PreviewPane& previewPane() const { return *m_previewPane; }
    // The editor pane's header as it is shown now.
    GtkLabel* editStateLabel() const;
    // The one line over the split while the selected file changed on disk under unsaved text:
    // "index.html changed on disk." with "Reload from Disk" and "Keep My Version".
    GtkWidget* diskChangeBar() const { return m_diskChangeBar; }
    GtkLabel* diskChangeLabel() const { return m_diskChangeLabel; }
    GtkButton* reloadFromDiskButton() const { return m_reloadFromDiskButton; }
    GtkButton* keepMyVersionButton() const { return m_keepMyVersionButton; }
    FormatDocumentButton& formatDocumentButton() const;
    GtkLabel* caretStatusLabel() const;
    // True while a document is selected and the editor, not the placeholder, is shown.
    bool isShowingDocument() const;

private:
    GtkWidget* makeDiskChangeBar();
    void showDiskConflict();
    void showSelection();
    void updatePreview();
    // Selects a candidate's source range in the editor; a candidate without one does nothing.
    void selectCandidate(const BrightloopCandidate&);

    WorkspaceStore& m_store;
    GRef<GtkWidget> m_root;
    std::unique_ptr<WorkspacePlaceholderView> m_placeholder;
    std::unique_ptr<EditorPane> m_editorPane;
    std::unique_ptr<StatusStripView> m_statusStrip;
    std::unique_ptr<PreviewPane> m_previewPane;
    std::unique_ptr<ProtectedHSplitView> m_split;
    bool m_previewShowsEmptyPage { false };
    GtkWidget* m_documentContent { nullptr };
    GtkWidget* m_diskChangeBar { nullptr };
    GtkLabel* m_diskChangeLabel { nullptr };
    GtkButton* m_reloadFromDiskButton { nullptr };
    GtkButton* m_keepMyVersionButton { nullptr };
    ViewConnections m_connections;
};

}
