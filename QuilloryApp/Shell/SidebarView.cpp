#include "QuilloryApp/Shell/SidebarView.h"

#include "QuilloryApp/Workspace/AppSettingsStore.h"
#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Shell/SidebarRowObject.h"
#include "QuilloryApp/Shell/SiteIdentityHeader.h"
#include "QuilloryApp/Shell/VersionBadge.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Text/StringHelpers.h"

namespace Quillory {

namespace {

constexpr const char* listPageName = "list";
constexpr const char* emptyPageName = "empty";
constexpr const char* sectionHeaderClass = "quillory-sidebar-section";
constexpr const char* untitledRowClass = "quillory-sidebar-untitled";

SidebarRow documentRow(std::string title, std::string systemImageName, const std::string& documentID)
{
    return SidebarRow { SidebarRowKind::document, std::move(title), std::move(systemImageName), documentID, documentID, nullptr };
}

SidebarRow sectionHeaderRow(std::string title)
{
    return SidebarRow { SidebarRowKind::sectionHeader, std::move(title), {}, std::nullopt, {}, nullptr };
}

GListModel* makeRowModel(const std::vector<SidebarRow>& rows)
{
    GListStore* store = g_list_store_new(QUILLORY_TYPE_SIDEBAR_ROW_OBJECT);
    for (const auto& row : rows) {
        QuillorySidebarRowObject* object = SidebarRowObject::make(row);
        g_list_store_append(store, object);
        g_object_unref(object);
    }
    return G_LIST_MODEL(store);
}

// The children of a tree row, or null for a leaf, so the expander shows no arrow there.
GListModel* makeChildModel(gpointer item, gpointer)
{
    auto children = SidebarRowObject::row(QUILLORY_SIDEBAR_ROW_OBJECT(item)).outlineChildren();
    return children ? makeRowModel(*children) : nullptr;
}

SidebarRow rowAt(GtkTreeListRow* listRow)
{
    auto* object = QUILLORY_SIDEBAR_ROW_OBJECT(gtk_tree_list_row_get_item(listRow));
    SidebarRow row = SidebarRowObject::row(object);
    g_object_unref(object);
    return row;
}

void setUpListItem(GtkSignalListItemFactory*, GtkListItem* item)
{
    GtkWidget* expander = gtk_tree_expander_new();
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    GtkWidget* icon = gtk_image_new();
    GtkWidget* label = gtk_label_new(nullptr);
    gtk_label_set_xalign(GTK_LABEL(label), 0.0f);
    gtk_label_set_single_line_mode(GTK_LABEL(label), TRUE);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    gtk_widget_set_hexpand(label, TRUE);
    gtk_box_append(GTK_BOX(box), icon);
    gtk_box_append(GTK_BOX(box), label);
    gtk_tree_expander_set_child(GTK_TREE_EXPANDER(expander), box);
    gtk_list_item_set_child(item, expander);
}

void bindListItem(GtkSignalListItemFactory*, GtkListItem* item)
{
    GtkTreeListRow* listRow = GTK_TREE_LIST_ROW(gtk_list_item_get_item(item));
    GtkWidget* expander = gtk_list_item_get_child(item);
    gtk_tree_expander_set_list_row(GTK_TREE_EXPANDER(expander), listRow);
    GtkWidget* box = gtk_tree_expander_get_child(GTK_TREE_EXPANDER(expander));
    GtkWidget* icon = gtk_widget_get_first_child(box);
    GtkWidget* label = gtk_widget_get_next_sibling(icon);

    SidebarRow row = rowAt(listRow);
    bool isHeader = row.kind == SidebarRowKind::sectionHeader;
    // A page whose first heading holds only an image has an empty title; its path stands in.
    bool isUntitled = !isHeader && row.title.empty();
    gtk_label_set_text(GTK_LABEL(label), isUntitled ? row.relativePath.c_str() : row.title.c_str());
    if (isHeader)
        gtk_widget_add_css_class(box, sectionHeaderClass);
    else
        gtk_widget_remove_css_class(box, sectionHeaderClass);
    if (isUntitled)
        gtk_widget_add_css_class(label, untitledRowClass);
    else
        gtk_widget_remove_css_class(label, untitledRowClass);
    gtk_widget_set_visible(icon, !row.systemImageName.empty());
    if (!row.systemImageName.empty())
        gtk_image_set_from_icon_name(GTK_IMAGE(icon), IconNames::symbolic(row.systemImageName));
    gtk_widget_set_tooltip_text(box, row.relativePath.empty() ? nullptr : row.relativePath.c_str());
    // Folders without a page and section titles can't be chosen.
    gtk_list_item_set_selectable(item, row.isSelectable());
    gtk_list_item_set_activatable(item, row.isSelectable());
}

void unbindListItem(GtkSignalListItemFactory*, GtkListItem* item)
{
    gtk_tree_expander_set_list_row(GTK_TREE_EXPANDER(gtk_list_item_get_child(item)), nullptr);
}

}

SidebarView::SidebarView(WorkspaceStore& store, AppSettingsStore& settings)
    : m_store(store)
    , m_settings(settings)
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)))))
    , m_identityHeader(std::make_unique<SiteIdentityHeader>(store))
    , m_selection(GRef<GtkSingleSelection>::adopt(gtk_single_selection_new(nullptr)))
    , m_surfaceProvider(GRef<GtkCssProvider>::adopt(gtk_css_provider_new()))
{
    GtkWidget* root = m_root.get();
    gtk_widget_add_css_class(root, "quillory-sidebar");
    gtk_box_append(GTK_BOX(root), m_identityHeader->widget());
    gtk_box_append(GTK_BOX(root), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));

    m_contentStack = gtk_stack_new();
    gtk_widget_set_vexpand(m_contentStack, TRUE);
    gtk_box_append(GTK_BOX(root), m_contentStack);

    m_emptyState = adw_status_page_new();
    adw_status_page_set_title(ADW_STATUS_PAGE(m_emptyState), "No Site Open");
    adw_status_page_set_description(ADW_STATUS_PAGE(m_emptyState), "Open a local website folder to inspect its pages.");
    adw_status_page_set_icon_name(ADW_STATUS_PAGE(m_emptyState), IconNames::symbolic("folder"));
    gtk_widget_add_css_class(m_emptyState, "compact");
    gtk_stack_add_named(GTK_STACK(m_contentStack), m_emptyState, emptyPageName);

    gtk_single_selection_set_autoselect(m_selection.get(), FALSE);
    gtk_single_selection_set_can_unselect(m_selection.get(), FALSE);
    GtkListItemFactory* factory = gtk_signal_list_item_factory_new();
    g_signal_connect(factory, "setup", G_CALLBACK(setUpListItem), nullptr);
    g_signal_connect(factory, "bind", G_CALLBACK(bindListItem), nullptr);
    g_signal_connect(factory, "unbind", G_CALLBACK(unbindListItem), nullptr);
    m_listView = GTK_LIST_VIEW(gtk_list_view_new(GTK_SELECTION_MODEL(g_object_ref(m_selection.get())), factory));
    gtk_widget_add_css_class(GTK_WIDGET(m_listView), "navigation-sidebar");

    m_listSurface = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(m_listSurface), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(m_listSurface), GTK_WIDGET(m_listView));
    gtk_widget_add_css_class(m_listSurface, "quillory-sidebar-surface");
    gtk_style_context_add_provider(gtk_widget_get_style_context(m_listSurface), GTK_STYLE_PROVIDER(m_surfaceProvider.get()),
        GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    gtk_stack_add_named(GTK_STACK(m_contentStack), m_listSurface, listPageName);

    m_versionBadge = VersionBadge::make();
    gtk_widget_set_margin_start(m_versionBadge, 12);
    gtk_widget_set_margin_end(m_versionBadge, 12);
    gtk_widget_set_margin_top(m_versionBadge, 8);
    gtk_widget_set_margin_bottom(m_versionBadge, 12);
    gtk_box_append(GTK_BOX(root), m_versionBadge);

    rebuildList();
    applySurfaceOpacity();
    showVersionBadge();

    m_connections.observe(store.siteMap(), [this] { rebuildList(); });
    m_connections.observe(store.editableDocuments(), [this] { rebuildList(); });
    m_connections.observe(store.selectedPageID(), [this] { showStoreSelection(ExpandAncestors::yes); });
    m_connections.observe(settings.sidebarOpacity(), [this] { applySurfaceOpacity(); });
    m_connections.observe(settings.showVersionBadge(), [this] { showVersionBadge(); });
    m_connections.connectSwapped(m_selection.get(), "notify::selected", G_CALLBACK(+[](SidebarView* self) { self->selectionDidChange(); }), this);
    m_connections.connectSwapped(m_selection.get(), "items-changed", G_CALLBACK(+[](SidebarView* self) { self->listItemsDidChange(); }), this);
}

SidebarView::~SidebarView()
{
    m_connections.disconnectAll();
}

void SidebarView::setSearchText(std::string searchText)
{
    if (searchText == m_searchText)
        return;
    m_searchText = std::move(searchText);
    rebuildList();
}

std::vector<EditableDocument> SidebarView::filteredDocuments(const std::vector<EditableDocument>& documents, std::string_view searchText)
{
    auto query = StringHelpers::trimmingWhitespaceAndNewlines(searchText);
    if (query.empty())
        return documents;
    std::vector<EditableDocument> found;
    for (const auto& document : documents) {
        if (StringHelpers::localizedCaseInsensitiveContains(document.title, query)
            || StringHelpers::localizedCaseInsensitiveContains(document.relativePath, query))
            found.push_back(document);
    }
    return found;
}

std::vector<SidebarRow> SidebarView::listRows(const SiteMap& siteMap, const std::vector<EditableDocument>& documents, std::string_view searchText)
{
    std::vector<SidebarRow> rows;
    if (!StringHelpers::trimmingWhitespaceAndNewlines(searchText).empty()) {
        // The flat list holds documents only, so folders without a page drop out.
        for (const auto& document : filteredDocuments(documents, searchText))
            rows.push_back(documentRow(document.title, document.kind == EditableDocumentKind::sourceFile ? "curlybraces" : "doc.text", document.id()));
        return rows;
    }
    rows.push_back(SidebarRow::treeRow(std::make_shared<const PageTreeNode>(siteMap.primaryTree)));
    if (!siteMap.unplacedPages.empty()) {
        rows.push_back(sectionHeaderRow("Unplaced"));
        for (const auto& page : siteMap.unplacedPages)
            rows.push_back(documentRow(page.title, "questionmark.folder", page.id));
    }
    bool hasSourceHeader = false;
    for (const auto& document : documents) {
        if (document.kind != EditableDocumentKind::sourceFile)
            continue;
        if (!hasSourceHeader) {
            rows.push_back(sectionHeaderRow("Source"));
            hasSourceHeader = true;
        }
        rows.push_back(documentRow(document.title, "curlybraces", document.id()));
    }
    return rows;
}

std::vector<SidebarRow> SidebarView::displayedRows() const
{
    std::vector<SidebarRow> rows;
    GListModel* model = G_LIST_MODEL(m_selection.get());
    for (guint position = 0; position < g_list_model_get_n_items(model); ++position) {
        auto* listRow = GTK_TREE_LIST_ROW(g_list_model_get_item(model, position));
        rows.push_back(rowAt(listRow));
        g_object_unref(listRow);
    }
    return rows;
}

std::optional<std::string> SidebarView::highlightedDocumentID() const
{
    auto* listRow = static_cast<GtkTreeListRow*>(gtk_single_selection_get_selected_item(m_selection.get()));
    if (!listRow)
        return std::nullopt;
    return rowAt(listRow).documentID;
}

void SidebarView::rebuildList()
{
    const auto& siteMap = m_store.siteMap().get();
    std::vector<SidebarRow> rows;
    if (siteMap)
        rows = listRows(*siteMap, m_store.editableDocuments().get(), m_searchText);

    m_isShowingStoreSelection = true;
    GtkTreeListModel* treeModel = gtk_tree_list_model_new(makeRowModel(rows), FALSE, TRUE, makeChildModel, nullptr, nullptr);
    gtk_single_selection_set_model(m_selection.get(), G_LIST_MODEL(treeModel));
    g_object_unref(treeModel);
    m_isShowingStoreSelection = false;

    gtk_stack_set_visible_child_name(GTK_STACK(m_contentStack), siteMap ? listPageName : emptyPageName);
    showStoreSelection(ExpandAncestors::yes);
}

void SidebarView::showStoreSelection(ExpandAncestors expandAncestors)
{
    const auto& wanted = m_store.selectedPageID().get();
    GListModel* model = G_LIST_MODEL(m_selection.get());
    guint found = GTK_INVALID_LIST_POSITION;
    m_isShowingStoreSelection = true;
    if (wanted) {
        // Expanding a row inserts its children right behind it, so the walk reaches them next.
        for (guint position = 0; position < g_list_model_get_n_items(model); ++position) {
            auto* listRow = GTK_TREE_LIST_ROW(g_list_model_get_item(model, position));
            SidebarRow row = rowAt(listRow);
            if (row.documentID == wanted) {
                found = position;
                g_object_unref(listRow);
                break;
            }
            if (expandAncestors == ExpandAncestors::yes && gtk_tree_list_row_is_expandable(listRow) && !gtk_tree_list_row_get_expanded(listRow)
                && row.leadsTo(*wanted))
                gtk_tree_list_row_set_expanded(listRow, TRUE);
            g_object_unref(listRow);
        }
    }
    gtk_single_selection_set_selected(m_selection.get(), found);
    m_isShowingStoreSelection = false;
    if (found != GTK_INVALID_LIST_POSITION)
        gtk_widget_activate_action(GTK_WIDGET(m_listView), "list.scroll-to-item", "u", found);
}

void SidebarView::selectionDidChange()
{
    if (m_isShowingStoreSelection)
        return;
    auto* listRow = static_cast<GtkTreeListRow*>(gtk_single_selection_get_selected_item(m_selection.get()));
    // Nothing highlighted: a collapsed folder took the selected row out of the list. That is no
    // choice of the user's, and the folder stays collapsed.
    if (!listRow)
        return;
    auto chosen = rowAt(listRow).documentID;
    if (!chosen) {
        showStoreSelection(ExpandAncestors::no);
        return;
    }
    if (chosen == m_store.selectedPageID().get())
        return;
    // The store may refuse (the current page could not be written); the highlight then goes back.
    if (!m_store.requestSelectDocument(chosen))
        showStoreSelection(ExpandAncestors::yes);
}

void SidebarView::listItemsDidChange()
{
    if (m_isShowingStoreSelection)
        return;
    // A folder opened again shows its selected row highlighted again.
    if (gtk_single_selection_get_selected(m_selection.get()) == GTK_INVALID_LIST_POSITION && m_store.selectedPageID().get())
        showStoreSelection(ExpandAncestors::no);
}

void SidebarView::applySurfaceOpacity()
{
    m_appliedSurfaceOpacity = m_settings.sidebarOpacity().get();
    char opacity[G_ASCII_DTOSTR_BUF_SIZE];
    // Formatted without the locale, which might write a decimal comma into the CSS.
    g_ascii_formatd(opacity, sizeof opacity, "%.3f", m_appliedSurfaceOpacity);
    auto css = std::string(".quillory-sidebar-surface { background-color: alpha(@view_bg_color, ") + opacity + "); }";
    gtk_css_provider_load_from_data(m_surfaceProvider.get(), css.c_str(), static_cast<gssize>(css.size()));
}

void SidebarView::showVersionBadge()
{
    gtk_widget_set_visible(m_versionBadge, m_settings.showVersionBadge().get());
}

}
