#include "QuilloryCore/LiveFetch/HTTPTransfer.h"

#include <curl/curl.h>

#include <memory>
#include <mutex>

namespace Quillory {

namespace {

struct BodySink {
    std::string body;
    std::size_t limit;
    bool exceeded { false };
};

std::size_t appendToBody(char* data, std::size_t size, std::size_t count, void* context)
{
    auto& sink = *static_cast<BodySink*>(context);
    auto length = size * count;
    if (length > sink.limit - sink.body.size()) {
        // Returning less than given makes curl stop the transfer at once.
        sink.exceeded = true;
        sink.body.clear();
        sink.body.shrink_to_fit();
        return 0;
    }
    sink.body.append(data, length);
    return length;
}

struct CurlHeaderList {
    curl_slist* list { nullptr };
    ~CurlHeaderList() { curl_slist_free_all(list); }
};

}

HTTPTransfer::Outcome HTTPTransfer::get(const std::string& url, std::size_t maxBodyBytes, const HTTPTimeouts& timeouts)
{
    static std::once_flag globalInitialization;
    std::call_once(globalInitialization, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });

    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(curl_easy_init(), curl_easy_cleanup);
    if (!handle)
        return { std::nullopt, "The network library could not start a request." };
    CURL* curl = handle.get();

    BodySink sink { {}, maxBodyBytes };
    char errorText[CURL_ERROR_SIZE] = {};
    // curl sends "Accept: */*" unless told to leave it out.
    CurlHeaderList headers;
    headers.list = curl_slist_append(nullptr, "Accept:");

    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 16L);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.list);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(timeouts.connect.count()));
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, static_cast<long>(timeouts.stall.count()));
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(timeouts.total.count()));
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendToBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &sink);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorText);

    CURLcode code = curl_easy_perform(curl);
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    if (code == CURLE_OK || (code == CURLE_WRITE_ERROR && sink.exceeded))
        return { Response { static_cast<int>(status), std::move(sink.body), sink.exceeded }, {} };
    std::string failure = errorText[0] ? errorText : curl_easy_strerror(code);
    return { std::nullopt, std::move(failure) };
}

}
