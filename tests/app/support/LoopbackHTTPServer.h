#pragma once

#include <map>
#include <string>

typedef struct _SoupServer SoupServer;

namespace QuilloryTest {

// A real HTTP server on 127.0.0.1 at a port the system picks, serving fixed bodies by path from
// the main loop of the default context. A path without a body answers 404. Each server is its
// own origin, so two of them stand for two sites.
class LoopbackHTTPServer {
public:
    LoopbackHTTPServer();
    ~LoopbackHTTPServer();
    LoopbackHTTPServer(const LoopbackHTTPServer&) = delete;
    LoopbackHTTPServer& operator=(const LoopbackHTTPServer&) = delete;

    // Serves `body` at `path` (starting with "/") with this Content-Type, from now on.
    void serve(const std::string& path, const std::string& contentType, const std::string& body);

    // "http://127.0.0.1:<port>/", or "" when listening failed.
    const std::string& baseURL() const { return m_baseURL; }
    // The base URL followed by `path` without its leading "/".
    std::string url(const std::string& path) const;
    // How many requests arrived for `path`.
    int requestCount(const std::string& path) const;

private:
    struct Resource {
        std::string contentType;
        std::string body;
    };

    SoupServer* m_server;
    std::string m_baseURL;
    std::map<std::string, Resource> m_resources;
    std::map<std::string, int> m_requestCounts;
};

}
