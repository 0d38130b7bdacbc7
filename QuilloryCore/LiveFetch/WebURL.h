#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Quillory {

// An absolute URL split into its parts, as the live fetcher reads references: parsing, resolving
// a reference against a base (RFC 3986, dot segments removed), the origin and the decoded path.
// Parts are kept as written, except that characters a request line can't carry (bytes above
// 0x7F and `"<>\^`{|}`) are percent-encoded.
struct WebURL {
    std::string scheme;
    // Present when the URL has an authority ("//..."); the host may then be empty.
    std::optional<std::string> userInfo;
    std::optional<std::string> host;
    std::optional<int> port;
    std::string path;
    std::optional<std::string> query;
    std::optional<std::string> fragment;

    // Nothing when the text has no scheme or does not parse: a space or control character, a
    // broken percent escape, a port that is not a number from 0 to 65535.
    static std::optional<WebURL> parse(std::string_view absolute);
    // The reference (absolute, network-path, absolute-path, relative-path, query or fragment
    // only) resolved against `base`; nothing when it does not parse.
    static std::optional<WebURL> resolve(std::string_view reference, const WebURL& base);

    std::string absoluteString() const;
    // The absolute string without its fragment, which never travels in a request.
    std::string requestString() const;
    // The explicit port, else 80 for http and 443 for https.
    std::optional<int> effectivePort() const;
    // The percent-decoded path; the path as written when it does not decode to UTF-8.
    std::string decodedPath() const;
    // Same scheme and host (both compared in lower case) and the same effective port.
    bool isSameOrigin(const WebURL& other) const;
    bool isHTTP() const;

    bool operator==(const WebURL&) const = default;
};

}
