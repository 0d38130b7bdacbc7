#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ObservableProperty.h"

#include <glib-object.h>
#include <sigc++/connection.h>

#include <functional>
#include <utility>
#include <vector>

namespace Quillory {

// What a view has connected: observers of store properties and GObject signal handlers whose data
// is the view. All are disconnected when the holder goes away, so that neither a store change
// nor a widget signal reaches a view that has been destroyed while its widgets live on. Declare
// it as the view's last member, so that it goes first.
class ViewConnections {
public:
    ViewConnections() = default;
    ViewConnections(const ViewConnections&) = delete;
    ViewConnections& operator=(const ViewConnections&) = delete;
    ~ViewConnections() { disconnectAll(); }

    template<class T>
    void observe(const ObservableProperty<T>& property, std::function<void()> handler)
    {
        m_observers.push_back(property.changed.connect(std::move(handler)));
    }

    // g_signal_connect_swapped on `instance`, which is kept alive until the handler is removed.
    void connectSwapped(gpointer instance, const char* signal, GCallback callback, gpointer data)
    {
        gulong handlerID = g_signal_connect_swapped(instance, signal, callback, data);
        m_handlers.emplace_back(GRef<GObject>::retain(G_OBJECT(instance)), handlerID);
    }

    void disconnectAll()
    {
        for (auto& observer : m_observers)
            observer.disconnect();
        m_observers.clear();
        for (auto& [instance, handlerID] : m_handlers) {
            if (g_signal_handler_is_connected(instance.get(), handlerID))
                g_signal_handler_disconnect(instance.get(), handlerID);
        }
        m_handlers.clear();
    }

private:
    std::vector<sigc::connection> m_observers;
    std::vector<std::pair<GRef<GObject>, gulong>> m_handlers;
};

}
