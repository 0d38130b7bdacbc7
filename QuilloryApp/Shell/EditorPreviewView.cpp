#include "QuilloryApp/Shell/EditorPreviewView.h"

#include "QuilloryApp/Brightloop/BrightloopStore.h"
#include "QuilloryApp/Editor/EditorPane.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Inspection/PageInspectionStore.h"
#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Shell/ProtectedHSplitView.h"
#include "QuilloryApp/Shell/StatusStripView.h"
#include "QuilloryApp/Shell/WorkspacePlaceholderView.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Editing/SourceEditorCommandRequest.h"

namespace Quillory {

namespace {

constexpr const char* documentPageName = "document";
constexpr const char* placeholderPageName = "placeholder";

}

EditorPreviewView::EditorPreviewView(WorkspaceStore& store)
    : m_store(store)
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_stack_new()))))
    , m_placeholder(std::make_unique<WorkspacePlaceholderView>(store))
    , m_editorPane(std::make_unique<EditorPane>(store))
    , m_statusStrip(std::make_unique<StatusStripView>(store))
    , m_previewPane(std::make_unique<PreviewPane>(store.brightloopStore()))
{
    GtkWidget* root = m_root.get();
    gtk_widget_set_hexpand(root, TRUE);
    gtk_widget_set_vexpand(root, TRUE);

    m_documentContent = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_append(GTK_BOX(m_documentContent), makeDiskChangeBar());
    // The editor leads and the rendering trails; neither can be dragged below its minimum.
    m_split = std::make_unique<ProtectedHSplitView>(560, 660, 520, m_editorPane->widget(), m_previewPane->widget());
    gtk_widget_set_vexpand(m_split->widget(), TRUE);
    gtk_box_append(GTK_BOX(m_documentContent), m_split->widget());
    gtk_box_append(GTK_BOX(m_documentContent), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));
    gtk_box_append(GTK_BOX(m_documentContent), m_statusStrip->widget());
    gtk_stack_add_named(GTK_STACK(root), m_documentContent, documentPageName);
    gtk_stack_add_named(GTK_STACK(root), m_placeholder->widget(), placeholderPageName);

    showSelection();
    updatePreview();
    showDiskConflict();
    m_connections.observe(store.diskConflict(), [this] { showDiskConflict(); });
    m_connections.observe(store.selectedPageID(), [this] {
        showSelection();
        updatePreview();
    });
    m_connections.observe(store.editableDocuments(), [this] { showSelection(); });
    m_connections.observe(store.siteMap(), [this] { updatePreview(); });
    m_connections.observe(store.editorText(), [this] {
        // Typing changes nothing the preview shows until it autosaves; only the empty state follows it.
        if (m_store.editorText()->empty() != m_previewShowsEmptyPage)
            updatePreview();
    });
    m_connections.observe(store.previewReloadToken(), [this] { updatePreview(); });

    const BrightloopStore& brightloop = store.brightloopStore();
    m_connections.observe(brightloop.modeEnabled(), [this] { updatePreview(); });
    m_connections.observe(brightloop.result(), [this] { updatePreview(); });
    m_connections.observe(brightloop.visibleAreaToken(), [this] { updatePreview(); });
    m_connections.observe(brightloop.previewDirective(), [this] { updatePreview(); });
    m_connections.observe(store.frontendProject(), [this] { updatePreview(); });
    m_connections.observe(store.frontendPreviewStore().state(), [this] { updatePreview(); });
    const PageInspectionStore& inspection = store.pageInspectionStore();
    m_connections.observe(inspection.snapshot(), [this] { updatePreview(); });
    m_connections.observe(inspection.isLoading(), [this] { updatePreview(); });
    m_connections.observe(inspection.errorMessage(), [this] { updatePreview(); });
    m_connections.observe(inspection.requestToken(), [this] { updatePreview(); });
}

EditorPreviewView::~EditorPreviewView()
{
    m_connections.disconnectAll();
}

SourceEditorView& EditorPreviewView::sourceEditor() const
{
    return m_editorPane->sourceEditor();
}

GtkLabel* EditorPreviewView::editStateLabel() const
{
    return m_editorPane->editStateLabel();
}

FormatDocumentButton& EditorPreviewView::formatDocumentButton() const
{
    return m_editorPane->formatDocumentButton();
}

GtkLabel* EditorPreviewView::caretStatusLabel() const
{
    return m_editorPane->caretStatusLabel();
}

GtkWidget* EditorPreviewView::makeDiskChangeBar()
{
    m_diskChangeBar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    gtk_widget_add_css_class(m_diskChangeBar, "quillory-disk-change-bar");
    gtk_box_append(GTK_BOX(m_diskChangeBar), gtk_image_new_from_icon_name(IconNames::symbolic("exclamationmark.triangle")));
    m_diskChangeLabel = GTK_LABEL(gtk_label_new(nullptr));
    gtk_label_set_xalign(m_diskChangeLabel, 0.0f);
    gtk_label_set_single_line_mode(m_diskChangeLabel, TRUE);
    gtk_label_set_ellipsize(m_diskChangeLabel, PANGO_ELLIPSIZE_END);
    gtk_widget_set_hexpand(GTK_WIDGET(m_diskChangeLabel), TRUE);
    gtk_box_append(GTK_BOX(m_diskChangeBar), GTK_WIDGET(m_diskChangeLabel));
    m_reloadFromDiskButton = GTK_BUTTON(gtk_button_new_with_label("Reload from Disk"));
    m_keepMyVersionButton = GTK_BUTTON(gtk_button_new_with_label("Keep My Version"));
    gtk_box_append(GTK_BOX(m_diskChangeBar), GTK_WIDGET(m_reloadFromDiskButton));
    gtk_box_append(GTK_BOX(m_diskChangeBar), GTK_WIDGET(m_keepMyVersionButton));
    m_connections.connectSwapped(m_reloadFromDiskButton, "clicked", G_CALLBACK(+[](EditorPreviewView* self) { self->m_store.reloadSelectedPageFromDisk(); }), this);
    m_connections.connectSwapped(m_keepMyVersionButton, "clicked", G_CALLBACK(+[](EditorPreviewView* self) { self->m_store.keepSelectedPageVersion(); }), this);
    return m_diskChangeBar;
}

void EditorPreviewView::showDiskConflict()
{
    const auto& conflict = m_store.diskConflict().get();
    gtk_label_set_text(m_diskChangeLabel, conflict ? conflict->message().c_str() : "");
    gtk_widget_set_visible(m_diskChangeBar, conflict.has_value());
}

bool EditorPreviewView::isShowingDocument() const
{
    return gtk_stack_get_visible_child(GTK_STACK(m_root.get())) == m_documentContent;
}

void EditorPreviewView::showSelection()
{
    bool hasDocument = m_store.selectedDocument().has_value();
    gtk_stack_set_visible_child_name(GTK_STACK(m_root.get()), hasDocument ? documentPageName : placeholderPageName);
}

void EditorPreviewView::updatePreview()
{
    m_previewShowsEmptyPage = m_store.editorText()->empty();
    PreviewPane::Inputs inputs;
    inputs.preview.previewTarget = m_store.previewTarget();
    inputs.preview.siteMap = m_store.siteMap().get();
    inputs.preview.currentDocumentID = m_store.selectedPageID().get();
    inputs.preview.reloadToken = m_store.previewReloadToken().get();
    inputs.preview.onNavigateToPage = [this](const std::string& pageID) { return m_store.requestSelectDocument(pageID); };
    inputs.preview.onPreviewScrolled = [this] { m_store.brightloopStore().previewDidScroll(); };

    const BrightloopStore& brightloop = m_store.brightloopStore();
    inputs.preview.brightloopEnabled = brightloop.modeEnabled().get();
    inputs.preview.brightloopVisibleAreaToken = brightloop.visibleAreaToken().get();
    inputs.preview.brightloopPreviewDirective = brightloop.previewDirective().get();
    inputs.preview.onBrightloopRecords = [this](std::vector<BrightloopDOMRecord> records, BrightloopRect fence) {
        m_store.applyBrightloopRecords(records, fence);
    };
    inputs.brightloopResult = brightloop.result().get();
    inputs.onToggleBrightloop = [this] { m_store.brightloopStore().toggleMode(); };
    inputs.onRequestVisibleAreaFence = [this] { m_store.brightloopStore().requestVisibleAreaFence(); };
    inputs.onSelectCandidate = [this](const BrightloopCandidate& candidate) { selectCandidate(candidate); };
    inputs.onToggleCandidateHidden = [this](const BrightloopCandidate& candidate) { m_store.brightloopStore().toggleCandidateHidden(candidate); };
    inputs.onHighlightCandidate = [this](const BrightloopCandidate& candidate) { m_store.brightloopStore().highlightCandidate(candidate); };

    const PageInspectionStore& inspection = m_store.pageInspectionStore();
    inputs.preview.pageInspectionRequestToken = inspection.requestToken().get();
    inputs.preview.onPageInspectionSnapshot = [this](PageInspectionSnapshot snapshot) { m_store.applyPageInspectionSnapshot(std::move(snapshot)); };
    inputs.preview.onPageInspectionError = [this](std::string message) { m_store.failPageInspectionSnapshot(std::move(message)); };
    inputs.pageInspectionSnapshot = inspection.snapshot().get();
    inputs.pageInspectionIsLoading = inspection.isLoading().get();
    inputs.pageInspectionErrorMessage = inspection.errorMessage().get();
    inputs.onRequestPageInspectionSnapshot = [this] { m_store.requestPageInspectionSnapshot(); };

    if (const auto& project = m_store.frontendProject().get())
        inputs.frontendProjectKind = project->kind;
    inputs.frontendPreviewState = m_store.frontendPreviewStore().state().get();
    inputs.frontendActions = {
        [this] { m_store.startFrontendPreview(); },
        [this] { m_store.stopFrontendPreview(); },
        // Restart is a stop followed by a start.
        [this] {
            m_store.stopFrontendPreview();
            m_store.startFrontendPreview();
        },
        [this] { m_store.requestFrontendDependencyInstall(); },
    };

    inputs.isPageEmpty = m_previewShowsEmptyPage;
    m_previewPane->update(inputs);
}

void EditorPreviewView::selectCandidate(const BrightloopCandidate& candidate)
{
    if (!candidate.sourceRange)
        return;
    auto document = m_store.selectedDocument();
    if (!document)
        return;
    // The range goes to the selected document as it stands; the candidate's own path isn't compared.
    const auto& range = *candidate.sourceRange;
    sourceEditor().requestCommand(SourceEditorCommandRequest {
        UUID::random(),
        document->relativePath,
        SourceEditorCommand::selectUTF16Range(static_cast<std::int64_t>(range.utf16Start), static_cast<std::int64_t>(range.utf16Length)),
    });
}

}
