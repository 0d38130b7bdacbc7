#include "QuilloryApp/Shell/QuilloryApplication.h"

#include "QuilloryApp/Editor/FindCommands.h"
#include "QuilloryApp/Workspace/AppSettingsStore.h"
#include "QuilloryApp/Settings/SettingsView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/MainMenu.h"
#include "QuilloryApp/Support/GLibScheduler.h"
#include "QuilloryApp/Shell/QuilloryTheme.h"
#include "QuilloryApp/Shell/WindowActions.h"
#include "QuilloryApp/Workspace/WorkspaceRecentProjectsStore.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include <glib-unix.h>

#include <csignal>

namespace Quillory {

QuilloryApplication::QuilloryApplication()
    : m_application(adw_application_new(applicationID, G_APPLICATION_DEFAULT_FLAGS))
{
    g_signal_connect_swapped(m_application, "activate", G_CALLBACK(+[](QuilloryApplication* self) { self->activate(); }), this);
    // Shortcuts can be set once the application has started up.
    g_signal_connect_swapped(m_application, "startup", G_CALLBACK(+[](QuilloryApplication* self) {
        MainMenu::installActions(GTK_APPLICATION(self->m_application), [self] { self->showPreferences(); });
    }),
        this);
    // Ended from outside, the application still quits through its destructors, so that the store
    // ends a running dev server with its process group.
    for (int signal : { SIGTERM, SIGINT, SIGHUP })
        m_signalSources.push_back(g_unix_signal_add(signal, +[](gpointer application) -> gboolean {
            g_application_quit(G_APPLICATION(application));
            return G_SOURCE_CONTINUE;
        }, m_application));
}

QuilloryApplication::~QuilloryApplication()
{
    g_signal_handlers_disconnect_by_data(m_application, this);
    m_windowActions.reset();
    m_settingsView.reset();
    for (guint source : m_signalSources)
        g_source_remove(source);
    m_contentView.reset();
    m_store.reset();
    m_scheduler.reset();
    m_theme.reset();
    g_object_unref(m_application);
}

int QuilloryApplication::run(int argc, char** argv)
{
    return g_application_run(G_APPLICATION(m_application), argc, argv);
}

GtkWidget* QuilloryApplication::makeMainWindow(GtkApplication* application)
{
    GtkWidget* window = adw_application_window_new(application);
    gtk_window_set_title(GTK_WINDOW(window), "Quillory");
    gtk_window_set_icon_name(GTK_WINDOW(window), applicationID);
    gtk_window_set_default_size(GTK_WINDOW(window), defaultWidth, defaultHeight);
    gtk_widget_set_size_request(window, minimumWidth, minimumHeight);
    return window;
}

void QuilloryApplication::activate()
{
    // One window: a second activation brings the existing one forward.
    if (GtkWindow* existing = gtk_application_get_active_window(GTK_APPLICATION(m_application))) {
        gtk_window_present(existing);
        return;
    }
    auto& settings = AppSettingsStore::shared();
    if (!m_theme)
        m_theme = std::make_unique<QuilloryTheme>(settings);
    // A window closed and made anew gets a fresh store; the old views go before the old store.
    m_windowActions.reset();
    m_contentView.reset();
    m_store.reset();
    m_scheduler = std::make_unique<GLibScheduler>();
    m_store = std::make_unique<WorkspaceStore>(WorkspaceRecentProjectsStore::shared(), *m_scheduler);
    m_contentView = std::make_unique<ContentView>(*m_store, settings);

    GtkWidget* window = makeMainWindow(GTK_APPLICATION(m_application));
    adw_application_window_set_content(ADW_APPLICATION_WINDOW(window), m_contentView->widget());
    m_windowActions = std::make_unique<WindowActions>(GTK_APPLICATION(m_application), GTK_WINDOW(window), *m_contentView, *m_store);
    FindCommands::install(GTK_WINDOW(window));
    g_signal_connect_swapped(window, "close-request", G_CALLBACK(+[](QuilloryApplication* self) -> gboolean {
        // TRUE keeps the window open.
        return !self->windowShouldClose();
    }), this);
    gtk_window_present(GTK_WINDOW(window));
}

void QuilloryApplication::showPreferences()
{
    if (!m_settingsView)
        m_settingsView = std::make_unique<SettingsView>(AppSettingsStore::shared());
    m_settingsView->present(gtk_application_get_active_window(GTK_APPLICATION(m_application)));
}

bool QuilloryApplication::windowShouldClose()
{
    return !m_contentView || m_contentView->shouldClose();
}

}
