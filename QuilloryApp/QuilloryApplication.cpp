#include "QuilloryApp/QuilloryApplication.h"

namespace Quillory {

QuilloryApplication::QuilloryApplication()
    : m_application(adw_application_new(applicationID, G_APPLICATION_DEFAULT_FLAGS))
{
    g_signal_connect_swapped(m_application, "activate", G_CALLBACK(+[](QuilloryApplication* self) { self->activate(); }), this);
}

QuilloryApplication::~QuilloryApplication()
{
    g_signal_handlers_disconnect_by_data(m_application, this);
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
    GtkWidget* window = makeMainWindow(GTK_APPLICATION(m_application));
    gtk_window_present(GTK_WINDOW(window));
}

}
