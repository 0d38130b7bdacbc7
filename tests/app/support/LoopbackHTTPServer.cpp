#include "app/support/LoopbackHTTPServer.h"

#include <gtest/gtest.h>
#include <libsoup/soup.h>

namespace QuilloryTest {

LoopbackHTTPServer::LoopbackHTTPServer()
    : m_server(soup_server_new(nullptr, nullptr))
{
    soup_server_add_handler(
        m_server, nullptr,
        +[](SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer data) {
            auto* self = static_cast<LoopbackHTTPServer*>(data);
            ++self->m_requestCounts[path];
            auto found = self->m_resources.find(path);
            if (found == self->m_resources.end()) {
                static constexpr const char notFound[] = "Not found";
                soup_server_message_set_status(message, 404, nullptr);
                soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_STATIC, notFound, sizeof notFound - 1);
                return;
            }
            soup_server_message_set_status(message, 200, nullptr);
            soup_server_message_set_response(message, found->second.contentType.c_str(), SOUP_MEMORY_COPY, found->second.body.data(),
                                             found->second.body.size());
        },
        this, nullptr);
    GError* error = nullptr;
    bool listening = soup_server_listen_local(m_server, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, &error);
    EXPECT_TRUE(listening) << (error ? error->message : "");
    g_clear_error(&error);
    GSList* uris = soup_server_get_uris(m_server);
    if (uris) {
        char* text = g_uri_to_string(static_cast<GUri*>(uris->data));
        m_baseURL = text;
        g_free(text);
    }
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
}

LoopbackHTTPServer::~LoopbackHTTPServer()
{
    soup_server_disconnect(m_server);
    g_object_unref(m_server);
}

void LoopbackHTTPServer::serve(const std::string& path, const std::string& contentType, const std::string& body)
{
    m_resources[path] = { contentType, body };
}

std::string LoopbackHTTPServer::url(const std::string& path) const
{
    return m_baseURL + (path.starts_with("/") ? path.substr(1) : path);
}

int LoopbackHTTPServer::requestCount(const std::string& path) const
{
    auto found = m_requestCounts.find(path);
    return found == m_requestCounts.end() ? 0 : found->second;
}

}
