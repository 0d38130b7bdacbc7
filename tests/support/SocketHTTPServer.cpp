#include "support/SocketHTTPServer.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace QuilloryTest {

namespace {

std::string reasonPhrase(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 301:
        return "Moved Permanently";
    case 302:
        return "Found";
    case 404:
        return "Not Found";
    case 500:
        return "Internal Server Error";
    default:
        return "Status";
    }
}

std::string lowercased(std::string text)
{
    for (auto& character : text)
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    return text;
}

bool sendAll(int connection, std::string_view bytes)
{
    while (!bytes.empty()) {
        auto sent = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

}

SocketHTTPServer::SocketHTTPServer()
{
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t length = sizeof address;
    if (m_listener < 0 || ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0
        || ::listen(m_listener, 64) != 0 || ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("the loopback server could not listen");
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { acceptLoop(); });
}

SocketHTTPServer::~SocketHTTPServer()
{
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_stopped.notify_all();
    ::shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    ::close(m_listener);
    std::vector<std::thread> connections;
    {
        std::lock_guard lock(m_mutex);
        connections.swap(m_connections);
    }
    for (auto& connection : connections)
        connection.join();
}

void SocketHTTPServer::route(const std::string& target, Route route)
{
    std::lock_guard lock(m_mutex);
    m_routes[target] = std::move(route);
}

void SocketHTTPServer::serve(const std::string& target, const std::string& contentType, const std::string& body, int status)
{
    route(target, [contentType, body, status](const HTTPRequest&) {
        return HTTPReply { status, { { "Content-Type", contentType } }, body };
    });
}

void SocketHTTPServer::redirect(const std::string& target, const std::string& location, int status)
{
    route(target, [location, status](const HTTPRequest&) { return HTTPReply { status, { { "Location", location } }, {} }; });
}

std::string SocketHTTPServer::origin() const
{
    return "http://127.0.0.1:" + std::to_string(m_port);
}

std::string SocketHTTPServer::url(const std::string& target) const
{
    return origin() + target;
}

std::vector<HTTPRequest> SocketHTTPServer::requests() const
{
    std::lock_guard lock(m_mutex);
    return m_requests;
}

int SocketHTTPServer::requestCount(const std::string& target) const
{
    std::lock_guard lock(m_mutex);
    int count = 0;
    for (auto& request : m_requests)
        count += request.target == target;
    return count;
}

bool SocketHTTPServer::waitUntilStopped(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    return m_stopped.wait_for(lock, timeout, [this] { return m_stopping; });
}

void SocketHTTPServer::acceptLoop()
{
    while (true) {
        int connection = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        std::lock_guard lock(m_mutex);
        if (m_stopping) {
            if (connection >= 0)
                ::close(connection);
            return;
        }
        if (connection < 0)
            continue;
        m_connections.emplace_back([this, connection] { handle(connection); });
    }
}

void SocketHTTPServer::handle(int connection)
{
    // Reads the request head, waking now and then to notice that the server stops.
    std::string head;
    char buffer[8192];
    while (head.find("\r\n\r\n") == std::string::npos) {
        pollfd descriptor { connection, POLLIN, 0 };
        int ready = ::poll(&descriptor, 1, 100);
        if (waitUntilStopped(std::chrono::milliseconds(0)) || ready < 0) {
            ::close(connection);
            return;
        }
        if (ready == 0)
            continue;
        auto count = ::recv(connection, buffer, sizeof buffer, 0);
        if (count <= 0) {
            ::close(connection);
            return;
        }
        head.append(buffer, static_cast<std::size_t>(count));
    }

    HTTPRequest request;
    auto lineEnd = head.find("\r\n");
    auto requestLine = head.substr(0, lineEnd);
    auto firstSpace = requestLine.find(' ');
    auto secondSpace = requestLine.find(' ', firstSpace + 1);
    request.method = requestLine.substr(0, firstSpace);
    request.target = requestLine.substr(firstSpace + 1, secondSpace - firstSpace - 1);
    for (auto start = lineEnd + 2; start < head.size();) {
        auto end = head.find("\r\n", start);
        auto line = head.substr(start, end - start);
        start = end + 2;
        if (line.empty())
            break;
        auto colon = line.find(':');
        auto value = line.substr(colon + 1);
        value.erase(0, value.find_first_not_of(' '));
        request.headers[lowercased(line.substr(0, colon))] = value;
    }

    Route route;
    {
        std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
        if (auto found = m_routes.find(request.target); found != m_routes.end())
            route = found->second;
    }
    HTTPReply reply = route ? route(request) : HTTPReply { 404, { { "Content-Type", "text/plain" } }, "Not Found" };
    if (reply.neverAnswer) {
        while (!waitUntilStopped(std::chrono::seconds(1))) { }
        ::close(connection);
        return;
    }

    auto length = reply.streamedBodyBytes ? reply.streamedBodyBytes : reply.body.size();
    std::string response = "HTTP/1.1 " + std::to_string(reply.status) + " " + reasonPhrase(reply.status) + "\r\n";
    for (auto& [name, value] : reply.headers)
        response += name + ": " + value + "\r\n";
    response += "Content-Length: " + std::to_string(length) + "\r\nConnection: close\r\n\r\n";
    bool open = sendAll(connection, response);
    if (reply.streamedBodyBytes) {
        std::string chunk(64 * 1024, 'x');
        for (std::size_t left = length; open && left > 0;) {
            auto size = std::min(left, chunk.size());
            open = sendAll(connection, std::string_view(chunk).substr(0, size));
            left -= size;
        }
    } else if (open) {
        sendAll(connection, reply.body);
    }
    ::shutdown(connection, SHUT_WR);
    ::close(connection);
}

}
