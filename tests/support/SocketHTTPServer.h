#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace QuilloryTest {

// One request as it arrived: the target exactly as sent (path and query, not decoded) and the
// header names in lower case.
struct HTTPRequest {
    std::string method;
    std::string target;
    std::map<std::string, std::string> headers;
};

// What a route answers. A `streamedBodyBytes` above zero sends that many bytes, generated in
// small chunks as they are written, instead of `body`; `neverAnswer` accepts the request and
// stays silent until the server stops.
struct HTTPReply {
    int status { 200 };
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    std::size_t streamedBodyBytes { 0 };
    bool neverAnswer { false };

    static HTTPReply silent()
    {
        HTTPReply reply;
        reply.neverAnswer = true;
        return reply;
    }
    static HTTPReply streamed(std::size_t bytes)
    {
        HTTPReply reply;
        reply.streamedBodyBytes = bytes;
        return reply;
    }
};

// A real HTTP/1.1 server on 127.0.0.1 at a port the system picks, on plain sockets and threads,
// so that core and command-line tests need no main loop. One thread per connection, each
// answered with "Connection: close". Routes match the request target exactly; anything else
// answers 404. Each server is its own origin, so two of them stand for two sites.
class SocketHTTPServer {
public:
    using Route = std::function<HTTPReply(const HTTPRequest&)>;

    SocketHTTPServer();
    // Ends silent answers and waits for every connection's thread.
    ~SocketHTTPServer();
    SocketHTTPServer(const SocketHTTPServer&) = delete;
    SocketHTTPServer& operator=(const SocketHTTPServer&) = delete;

    void route(const std::string& target, Route);
    void serve(const std::string& target, const std::string& contentType, const std::string& body, int status = 200);
    void redirect(const std::string& target, const std::string& location, int status = 302);

    int port() const { return m_port; }
    // "http://127.0.0.1:<port>"
    std::string origin() const;
    // The origin followed by `target`, which starts with "/".
    std::string url(const std::string& target) const;
    // Every request so far, in order of arrival.
    std::vector<HTTPRequest> requests() const;
    int requestCount(const std::string& target) const;

private:
    void acceptLoop();
    void handle(int connection);
    bool waitUntilStopped(std::chrono::milliseconds);

    int m_listener { -1 };
    int m_port { 0 };
    mutable std::mutex m_mutex;
    std::condition_variable m_stopped;
    bool m_stopping { false };
    std::map<std::string, Route> m_routes;
    std::vector<HTTPRequest> m_requests;
    std::vector<std::thread> m_connections;
    std::thread m_acceptor;
};

}
