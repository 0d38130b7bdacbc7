#include "QuilloryApp/Shell/SiteIdentityHeader.h"

#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "QuilloryCore/Text/FilePaths.h"

namespace Quillory {

namespace {

// An icon and a caption label side by side; returns the box and hands out the label.
GtkWidget* makeCount(const char* systemImageName, GtkLabel** label)
{
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 4);
    GtkWidget* icon = gtk_image_new_from_icon_name(IconNames::symbolic(systemImageName));
    gtk_image_set_pixel_size(GTK_IMAGE(icon), 12);
    gtk_box_append(GTK_BOX(box), icon);
    *label = GTK_LABEL(gtk_label_new(nullptr));
    gtk_box_append(GTK_BOX(box), GTK_WIDGET(*label));
    return box;
}

}

SiteIdentityHeader::SiteIdentityHeader(WorkspaceStore& store)
    : m_store(store)
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10)))))
{
    GtkWidget* root = m_root.get();
    gtk_widget_add_css_class(root, "quillory-site-identity");
    gtk_widget_set_margin_start(root, 14);
    gtk_widget_set_margin_end(root, 14);
    gtk_widget_set_margin_top(root, 12);
    gtk_widget_set_margin_bottom(root, 12);

    GtkWidget* folder = gtk_image_new_from_icon_name(IconNames::symbolic("folder"));
    gtk_image_set_pixel_size(GTK_IMAGE(folder), 24);
    gtk_widget_add_css_class(folder, "accent");
    gtk_widget_set_valign(folder, GTK_ALIGN_CENTER);
    gtk_box_append(GTK_BOX(root), folder);

    GtkWidget* text = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_widget_set_hexpand(text, TRUE);
    gtk_box_append(GTK_BOX(root), text);

    m_nameLabel = GTK_LABEL(gtk_label_new(nullptr));
    gtk_label_set_xalign(m_nameLabel, 0.0f);
    gtk_label_set_single_line_mode(m_nameLabel, TRUE);
    gtk_label_set_ellipsize(m_nameLabel, PANGO_ELLIPSIZE_END);
    gtk_widget_add_css_class(GTK_WIDGET(m_nameLabel), "heading");
    gtk_box_append(GTK_BOX(text), GTK_WIDGET(m_nameLabel));

    GtkWidget* counts = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    gtk_widget_add_css_class(counts, "caption");
    gtk_widget_add_css_class(counts, "dim-label");
    gtk_box_append(GTK_BOX(counts), makeCount("doc.text", &m_pageCountLabel));
    m_sourceCount = makeCount("curlybraces", &m_sourceCountLabel);
    gtk_box_append(GTK_BOX(counts), m_sourceCount);
    gtk_box_append(GTK_BOX(text), counts);

    showIdentity();
    m_connections.observe(store.rootURL(), [this] { showIdentity(); });
    m_connections.observe(store.siteMap(), [this] { showIdentity(); });
    m_connections.observe(store.editableDocuments(), [this] { showIdentity(); });
}

SiteIdentityHeader::~SiteIdentityHeader()
{
    m_connections.disconnectAll();
}

std::string SiteIdentityHeader::siteName(const std::optional<std::filesystem::path>& rootURL)
{
    if (!rootURL)
        return "No Site";
    // The root is published as given, so "site/" and "site/." must still name "site".
    auto standardized = FilePaths::standardized(*rootURL);
    auto name = standardized.filename().string();
    return name.empty() ? standardized.string() : name;
}

std::string SiteIdentityHeader::pageCountText(std::size_t pageCount)
{
    return std::to_string(pageCount) + (pageCount == 1 ? " page" : " pages");
}

std::string SiteIdentityHeader::sourceCountText(std::size_t sourceCount)
{
    return std::to_string(sourceCount) + " source";
}

void SiteIdentityHeader::showIdentity()
{
    auto name = siteName(m_store.rootURL().get());
    gtk_label_set_text(m_nameLabel, name.c_str());
    if (const auto& root = m_store.rootURL().get())
        gtk_widget_set_tooltip_text(GTK_WIDGET(m_nameLabel), root->c_str());
    else
        gtk_widget_set_tooltip_text(GTK_WIDGET(m_nameLabel), nullptr);

    const auto& siteMap = m_store.siteMap().get();
    gtk_label_set_text(m_pageCountLabel, pageCountText(siteMap ? siteMap->pages.size() : 0).c_str());
    auto sourceCount = m_store.sourceDocumentCount();
    gtk_label_set_text(m_sourceCountLabel, sourceCountText(sourceCount).c_str());
    gtk_widget_set_visible(m_sourceCount, sourceCount >= 1);
}

}
