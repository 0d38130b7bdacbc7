#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace Quillory {

// How long a request may take before it is given up.
struct HTTPTimeouts {
    // Until the connection stands.
    std::chrono::milliseconds connect { std::chrono::seconds(15) };
    // A transfer that moves less than one byte a second for this long ends.
    std::chrono::seconds stall { 30 };
    // The whole request, redirects included.
    std::chrono::milliseconds total { std::chrono::minutes(5) };
};

// One GET over libcurl's easy interface. Only http and https are spoken, also after a redirect,
// so a server can't send the request on to a file or any other scheme. No header of our own is
// sent: no user agent, no accept header, no cookies.
struct HTTPTransfer {
    struct Response {
        // The status of the last response, after redirects.
        int statusCode { 0 };
        std::string body;
        // The body passed `maxBodyBytes`; the transfer stopped right there and `body` is empty.
        bool exceededLimit { false };
    };

    struct Outcome {
        std::optional<Response> response;
        // Set when no response arrived: the transport's description of what went wrong.
        std::string failure;
    };

    // Blocks until the transfer ends. The body is held in memory up to `maxBodyBytes` and no
    // further: the transfer is abandoned as soon as one more byte arrives.
    static Outcome get(const std::string& url, std::size_t maxBodyBytes, const HTTPTimeouts&);
};

}
