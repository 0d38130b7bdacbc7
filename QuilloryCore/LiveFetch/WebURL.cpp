#include "QuilloryCore/LiveFetch/WebURL.h"

#include "QuilloryCore/Text/StringHelpers.h"

#include <cctype>

namespace Quillory {

namespace {

struct ReferenceParts {
    std::optional<std::string> scheme;
    std::optional<std::string> authority;
    std::string path;
    std::optional<std::string> query;
    std::optional<std::string> fragment;
};

bool isSchemeText(std::string_view text)
{
    if (text.empty() || !std::isalpha(static_cast<unsigned char>(text.front())))
        return false;
    for (char character : text) {
        if (!std::isalnum(static_cast<unsigned char>(character)) && character != '+' && character != '-' && character != '.')
            return false;
    }
    return true;
}

// Spaces, control characters and broken escapes make the text no URL at all.
bool isWellFormed(std::string_view text)
{
    for (std::size_t index = 0; index < text.size(); ++index) {
        auto byte = static_cast<unsigned char>(text[index]);
        if (byte <= 0x20 || byte == 0x7F)
            return false;
        if (byte == '%') {
            if (index + 2 >= text.size() || !std::isxdigit(static_cast<unsigned char>(text[index + 1]))
                || !std::isxdigit(static_cast<unsigned char>(text[index + 2])))
                return false;
        }
    }
    return true;
}

std::string encodingUnsafeCharacters(std::string_view text)
{
    static constexpr std::string_view unsafe = "\"<>\\^`{|}";
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string result;
    result.reserve(text.size());
    for (char character : text) {
        auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x80 || unsafe.find(character) != std::string_view::npos) {
            result.push_back('%');
            result.push_back(hex[byte >> 4]);
            result.push_back(hex[byte & 0xF]);
        } else {
            result.push_back(character);
        }
    }
    return result;
}

// RFC 3986 appendix B, with the scheme accepted only when it is made of scheme characters.
std::optional<ReferenceParts> splitReference(std::string_view text)
{
    if (!isWellFormed(text))
        return std::nullopt;
    ReferenceParts parts;
    auto schemeEnd = text.find_first_of(":/?#");
    if (schemeEnd != std::string_view::npos && text[schemeEnd] == ':' && isSchemeText(text.substr(0, schemeEnd))) {
        parts.scheme = std::string(text.substr(0, schemeEnd));
        text.remove_prefix(schemeEnd + 1);
    }
    if (auto hash = text.find('#'); hash != std::string_view::npos) {
        parts.fragment = encodingUnsafeCharacters(text.substr(hash + 1));
        text = text.substr(0, hash);
    }
    if (auto question = text.find('?'); question != std::string_view::npos) {
        parts.query = encodingUnsafeCharacters(text.substr(question + 1));
        text = text.substr(0, question);
    }
    if (text.substr(0, 2) == "//") {
        text.remove_prefix(2);
        auto slash = text.find('/');
        parts.authority = std::string(text.substr(0, slash));
        text = slash == std::string_view::npos ? std::string_view() : text.substr(slash);
    }
    parts.path = encodingUnsafeCharacters(text);
    return parts;
}

bool applyAuthority(std::string_view authority, WebURL& url)
{
    url.userInfo.reset();
    url.port.reset();
    if (auto at = authority.rfind('@'); at != std::string_view::npos) {
        url.userInfo = encodingUnsafeCharacters(authority.substr(0, at));
        authority.remove_prefix(at + 1);
    }
    std::string_view portText;
    bool hasPort = false;
    if (!authority.empty() && authority.front() == '[') {
        auto close = authority.find(']');
        if (close == std::string_view::npos)
            return false;
        auto rest = authority.substr(close + 1);
        if (!rest.empty()) {
            if (rest.front() != ':')
                return false;
            hasPort = true;
            portText = rest.substr(1);
        }
        authority = authority.substr(0, close + 1);
    } else if (auto colon = authority.rfind(':'); colon != std::string_view::npos) {
        hasPort = true;
        portText = authority.substr(colon + 1);
        authority = authority.substr(0, colon);
    }
    if (hasPort && !portText.empty()) {
        if (portText.size() > 5)
            return false;
        int port = 0;
        for (char digit : portText) {
            if (!std::isdigit(static_cast<unsigned char>(digit)))
                return false;
            port = port * 10 + (digit - '0');
        }
        if (port > 65535)
            return false;
        url.port = port;
    }
    url.host = encodingUnsafeCharacters(authority);
    return true;
}

// RFC 3986 section 5.2.4.
std::string removingDotSegments(std::string_view input)
{
    std::string output;
    while (!input.empty()) {
        if (input.substr(0, 3) == "../") {
            input.remove_prefix(3);
        } else if (input.substr(0, 2) == "./") {
            input.remove_prefix(2);
        } else if (input.substr(0, 3) == "/./") {
            input.remove_prefix(2);
        } else if (input == "/.") {
            input = "/";
        } else if (input.substr(0, 4) == "/../" || input == "/..") {
            input = input.size() == 3 ? std::string_view("/") : input.substr(3);
            auto slash = output.rfind('/');
            output.erase(slash == std::string::npos ? 0 : slash);
        } else if (input == "." || input == "..") {
            input = {};
        } else {
            auto next = input.find('/', input.front() == '/' ? 1 : 0);
            output.append(input.substr(0, next));
            input = next == std::string_view::npos ? std::string_view() : input.substr(next);
        }
    }
    return output;
}

}

std::optional<WebURL> WebURL::parse(std::string_view absolute)
{
    auto parts = splitReference(absolute);
    if (!parts || !parts->scheme)
        return std::nullopt;
    WebURL url;
    url.scheme = *parts->scheme;
    if (parts->authority && !applyAuthority(*parts->authority, url))
        return std::nullopt;
    url.path = parts->path;
    url.query = parts->query;
    url.fragment = parts->fragment;
    return url;
}

std::optional<WebURL> WebURL::resolve(std::string_view reference, const WebURL& base)
{
    auto parts = splitReference(reference);
    if (!parts)
        return std::nullopt;
    if (parts->scheme)
        return parse(reference);

    WebURL url = base;
    url.fragment = parts->fragment;
    if (parts->authority) {
        if (!applyAuthority(*parts->authority, url))
            return std::nullopt;
        url.path = removingDotSegments(parts->path);
        url.query = parts->query;
        return url;
    }
    if (parts->path.empty()) {
        if (parts->query)
            url.query = parts->query;
        return url;
    }
    if (parts->path.front() == '/') {
        url.path = removingDotSegments(parts->path);
    } else {
        std::string merged;
        if (base.host && base.path.empty()) {
            merged = "/" + parts->path;
        } else {
            auto slash = base.path.rfind('/');
            merged = (slash == std::string::npos ? std::string() : base.path.substr(0, slash + 1)) + parts->path;
        }
        url.path = removingDotSegments(merged);
    }
    url.query = parts->query;
    return url;
}

std::string WebURL::requestString() const
{
    std::string text = scheme + ":";
    if (host) {
        text += "//";
        if (userInfo)
            text += *userInfo + "@";
        text += *host;
        if (port)
            text += ":" + std::to_string(*port);
    }
    text += path;
    if (query)
        text += "?" + *query;
    return text;
}

std::string WebURL::absoluteString() const
{
    return fragment ? requestString() + "#" + *fragment : requestString();
}

std::optional<int> WebURL::effectivePort() const
{
    if (port)
        return port;
    auto lowered = StringHelpers::asciiLowercased(scheme);
    if (lowered == "http")
        return 80;
    if (lowered == "https")
        return 443;
    return std::nullopt;
}

std::string WebURL::decodedPath() const
{
    return StringHelpers::removingPercentEncoding(path).value_or(path);
}

bool WebURL::isSameOrigin(const WebURL& other) const
{
    auto loweredHost = [](const std::optional<std::string>& value) {
        return value ? std::optional(StringHelpers::asciiLowercased(*value)) : std::nullopt;
    };
    return StringHelpers::asciiLowercased(scheme) == StringHelpers::asciiLowercased(other.scheme)
        && loweredHost(host) == loweredHost(other.host) && effectivePort() == other.effectivePort();
}

bool WebURL::isHTTP() const
{
    auto lowered = StringHelpers::asciiLowercased(scheme);
    return lowered == "http" || lowered == "https";
}

}
