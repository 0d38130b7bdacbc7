#include "QuilloryApp/Inspection/PageInspectionPanel.h"

#include <string>

namespace Quillory {

namespace {

// Each list scrolls past this height, so that a page with many links doesn't push the preview
// out of the window.
constexpr int listMaximumHeight = 120;

GtkLabel* makeLabel(const char* text, const char* cssClass = nullptr)
{
    auto* label = GTK_LABEL(gtk_label_new(text));
    gtk_label_set_xalign(label, 0);
    if (cssClass)
        gtk_widget_add_css_class(GTK_WIDGET(label), cssClass);
    return label;
}

std::string linksValue(const PageInspectionSnapshot& snapshot)
{
    return std::to_string(snapshot.localLinkCount()) + "L / " + std::to_string(snapshot.externalLinkCount()) + "E";
}

}

PageInspectionPanel::PageInspectionPanel()
    : m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, 8)))))
{
    GtkWidget* root = m_root.get();
    gtk_widget_set_margin_start(root, 14);
    gtk_widget_set_margin_end(root, 14);
    gtk_widget_set_margin_top(root, 10);
    gtk_widget_set_margin_bottom(root, 10);
    gtk_box_append(GTK_BOX(root), makeHeader());

    m_errorLabel = makeLabel(nullptr, "error");
    gtk_label_set_wrap(m_errorLabel, TRUE);
    gtk_box_append(GTK_BOX(root), GTK_WIDGET(m_errorLabel));

    m_loadingRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    m_spinner = GTK_SPINNER(gtk_spinner_new());
    gtk_box_append(GTK_BOX(m_loadingRow), GTK_WIDGET(m_spinner));
    gtk_box_append(GTK_BOX(m_loadingRow), GTK_WIDGET(makeLabel("Collecting snapshot...", "dim-label")));
    gtk_box_append(GTK_BOX(root), m_loadingRow);

    m_snapshotContent = gtk_box_new(GTK_ORIENTATION_VERTICAL, 10);
    auto* metrics = GTK_BOX(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 18));
    gtk_box_set_homogeneous(metrics, TRUE);
    m_headingsMetric = appendMetric(metrics, "Headings");
    m_linksMetric = appendMetric(metrics, "Links");
    m_missingAltMetric = appendMetric(metrics, "Missing Alt");
    m_cssRulesMetric = appendMetric(metrics, "CSS Rules");
    m_sheetsMetric = appendMetric(metrics, "Sheets");
    gtk_box_append(GTK_BOX(m_snapshotContent), GTK_WIDGET(metrics));

    auto* lists = GTK_BOX(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 18));
    gtk_box_set_homogeneous(lists, TRUE);
    m_headingsList = appendList(lists, "Headings");
    m_localLinksList = appendList(lists, "Local Links");
    m_missingAltList = appendList(lists, "Missing Alt");
    gtk_box_append(GTK_BOX(m_snapshotContent), GTK_WIDGET(lists));
    gtk_box_append(GTK_BOX(root), m_snapshotContent);

    update(std::nullopt, false, std::nullopt);
}

PageInspectionPanel::~PageInspectionPanel() = default;

void PageInspectionPanel::update(const std::optional<PageInspectionSnapshot>& snapshot, bool isLoading, const std::optional<std::string>& errorMessage)
{
    gtk_label_set_text(m_errorLabel, errorMessage ? errorMessage->c_str() : "");
    gtk_widget_set_visible(GTK_WIDGET(m_errorLabel), errorMessage.has_value());

    gtk_widget_set_visible(m_loadingRow, isLoading);
    // A hidden spinner that keeps spinning still asks for frames.
    gtk_spinner_set_spinning(m_spinner, isLoading);

    if (snapshot)
        showSnapshot(*snapshot);
    gtk_widget_set_visible(m_snapshotContent, snapshot.has_value());

    gtk_widget_set_visible(m_root.get(), isLoading || snapshot.has_value() || errorMessage.has_value());
}

GtkWidget* PageInspectionPanel::makeHeader()
{
    GtkWidget* header = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    gtk_box_append(GTK_BOX(header), GTK_WIDGET(makeLabel("Native Page Snapshot", "heading")));
    GtkLabel* caption = makeLabel("WebKit + CSSOM", "caption");
    gtk_widget_add_css_class(GTK_WIDGET(caption), "dim-label");
    gtk_widget_set_valign(GTK_WIDGET(caption), GTK_ALIGN_BASELINE);
    gtk_box_append(GTK_BOX(header), GTK_WIDGET(caption));
    return header;
}

PageInspectionPanel::SnapshotMetric PageInspectionPanel::appendMetric(GtkBox* row, const char* label)
{
    GtkWidget* metric = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_box_append(GTK_BOX(metric), GTK_WIDGET(makeLabel(label, "caption")));
    GtkLabel* value = makeLabel(nullptr, "title-4");
    gtk_box_append(GTK_BOX(metric), GTK_WIDGET(value));
    gtk_box_append(row, metric);
    return { value };
}

PageInspectionPanel::SnapshotList PageInspectionPanel::appendList(GtkBox* row, const char* title)
{
    GtkWidget* list = gtk_box_new(GTK_ORIENTATION_VERTICAL, 4);
    gtk_box_append(GTK_BOX(list), GTK_WIDGET(makeLabel(title, "caption-heading")));
    GtkWidget* scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_propagate_natural_height(GTK_SCROLLED_WINDOW(scroller), TRUE);
    gtk_scrolled_window_set_max_content_height(GTK_SCROLLED_WINDOW(scroller), listMaximumHeight);
    GtkWidget* values = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), values);
    gtk_box_append(GTK_BOX(list), scroller);
    gtk_box_append(row, list);
    return { GTK_BOX(values) };
}

void PageInspectionPanel::showValues(const SnapshotList& list, const std::vector<std::string>& values)
{
    while (GtkWidget* child = gtk_widget_get_first_child(GTK_WIDGET(list.values)))
        gtk_box_remove(list.values, child);
    if (values.empty()) {
        gtk_box_append(list.values, GTK_WIDGET(makeLabel("None", "dim-label")));
        return;
    }
    for (auto& value : values) {
        GtkLabel* line = makeLabel(value.c_str(), "caption");
        gtk_label_set_single_line_mode(line, TRUE);
        gtk_label_set_ellipsize(line, PANGO_ELLIPSIZE_END);
        gtk_widget_set_tooltip_text(GTK_WIDGET(line), value.c_str());
        gtk_box_append(list.values, GTK_WIDGET(line));
    }
}

void PageInspectionPanel::showSnapshot(const PageInspectionSnapshot& snapshot)
{
    gtk_label_set_text(m_headingsMetric.value, std::to_string(snapshot.headingCount()).c_str());
    gtk_label_set_text(m_linksMetric.value, linksValue(snapshot).c_str());
    gtk_label_set_text(m_missingAltMetric.value, std::to_string(snapshot.missingAltImageCount()).c_str());
    gtk_label_set_text(m_cssRulesMetric.value, std::to_string(snapshot.cssRuleCount()).c_str());
    gtk_label_set_text(m_sheetsMetric.value, std::to_string(snapshot.stylesheetCount()).c_str());

    // A heading line is its text, a link line its href as written (what the user searches the
    // source for), an image line its src: the text an element is found by.
    std::vector<std::string> headings;
    for (auto& heading : snapshot.headings)
        headings.push_back(heading.text);
    std::vector<std::string> localLinks;
    for (auto& link : snapshot.links) {
        if (link.isLocal)
            localLinks.push_back(link.href);
    }
    std::vector<std::string> missingAlt;
    for (auto& image : snapshot.images) {
        if (image.isMissingAlt)
            missingAlt.push_back(image.src);
    }
    showValues(m_headingsList, headings);
    showValues(m_localLinksList, localLinks);
    showValues(m_missingAltList, missingAlt);
}

}
