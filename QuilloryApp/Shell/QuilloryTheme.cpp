#include "QuilloryApp/Shell/QuilloryTheme.h"

#include "QuilloryApp/Shell/IconNames.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

// Defined by the compiled resource bundle. Calling it also keeps the bundle's object file, and
// with it the constructor that registers the resources, in the link of the static library.
extern "C" GResource* quillory_get_resource(void);

namespace Quillory {

namespace {

constexpr const char* stylesheetResourcePath = "/app/quillory/style.css";

std::string hexColor(double red, double green, double blue)
{
    auto channel = [](double value) { return static_cast<unsigned>(std::lround(std::clamp(value, 0.0, 1.0) * 255.0)); };
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", channel(red), channel(green), channel(blue));
    return text;
}

double relativeLuminance(const AccentColor& color)
{
    auto linear = [](double value) { return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

// The stylesheet and icons are installed once per process on the default display.
void installResources()
{
    static bool installed = false;
    if (installed)
        return;
    GdkDisplay* display = gdk_display_get_default();
    if (!display || !quillory_get_resource())
        return;
    installed = true;
    gtk_icon_theme_add_resource_path(gtk_icon_theme_get_for_display(display), IconNames::bundledIconsResourcePath);
    GtkCssProvider* stylesheet = gtk_css_provider_new();
    gtk_css_provider_load_from_resource(stylesheet, stylesheetResourcePath);
    gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(stylesheet), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    // The display holds its own reference for the life of the process.
    g_object_unref(stylesheet);
}

}

QuilloryTheme::QuilloryTheme(AppSettingsStore& settings)
    : m_settings(settings)
    , m_accentProvider(GRef<GtkCssProvider>::adopt(gtk_css_provider_new()))
{
    installResources();
    if (GdkDisplay* display = gdk_display_get_default()) {
        // One step above the application stylesheet, so the accent wins over any colour it names.
        gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(m_accentProvider.get()), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION + 1);
    }
    applyAppearance();
    m_connections.observe(settings.appearance(), [this] { applyAppearance(); });
    m_connections.observe(settings.accent(), [this] { applyAccent(); });
    // Accent text is shaded differently on dark backgrounds, and "system" may turn dark at any time.
    m_connections.connectSwapped(adw_style_manager_get_default(), "notify::dark", G_CALLBACK(+[](QuilloryTheme* self) { self->applyAccent(); }), this);
}

QuilloryTheme::~QuilloryTheme()
{
    m_connections.disconnectAll();
    if (GdkDisplay* display = gdk_display_get_default())
        gtk_style_context_remove_provider_for_display(display, GTK_STYLE_PROVIDER(m_accentProvider.get()));
}

AdwColorScheme QuilloryTheme::colorScheme(AppearancePreference appearance)
{
    switch (appearance) {
    case AppearancePreference::system:
        return ADW_COLOR_SCHEME_DEFAULT;
    case AppearancePreference::light:
        return ADW_COLOR_SCHEME_FORCE_LIGHT;
    case AppearancePreference::dark:
        return ADW_COLOR_SCHEME_FORCE_DARK;
    }
    return ADW_COLOR_SCHEME_DEFAULT;
}

std::string QuilloryTheme::accentCSS(AccentChoice accent, bool isDark)
{
    auto background = color(accent);
    // On light backgrounds the pure accent is too pale for text; a darker shade of it is used.
    double textScale = isDark ? 1.0 : 0.72;
    auto text = hexColor(background.red * textScale, background.green * textScale, background.blue * textScale);
    const char* foreground = relativeLuminance(background) > 0.3 ? "rgba(0, 0, 0, 0.8)" : "#ffffff";
    return "@define-color accent_bg_color " + hexColor(background.red, background.green, background.blue) + ";\n"
        + "@define-color accent_color " + text + ";\n"
        + "@define-color accent_fg_color " + foreground + ";\n";
}

std::string QuilloryTheme::appliedAccentCSS() const
{
    return m_accentCSS;
}

void QuilloryTheme::applyAppearance()
{
    adw_style_manager_set_color_scheme(adw_style_manager_get_default(), colorScheme(m_settings.appearance().get()));
    applyAccent();
}

void QuilloryTheme::applyAccent()
{
    auto css = accentCSS(m_settings.accent().get(), adw_style_manager_get_dark(adw_style_manager_get_default()));
    if (css == m_accentCSS)
        return;
    m_accentCSS = std::move(css);
    gtk_css_provider_load_from_data(m_accentProvider.get(), m_accentCSS.c_str(), static_cast<gssize>(m_accentCSS.size()));
}

}
