#pragma once

#include "QuilloryCore/Text/QuilloryErrors.h"

#include <string>

namespace Quillory {

// Why a live fetch ended before it wrote a snapshot. The text is what the window shows.
class LiveSiteFetchError : public QuilloryError {
public:
    enum class Case {
        badStatus,
        unsupportedURL,
        invalidResponse,
        emptyHTML,
        noHost,
    };

    static LiveSiteFetchError badStatus(int status) { return LiveSiteFetchError(Case::badStatus, status); }
    static LiveSiteFetchError unsupportedURL() { return LiveSiteFetchError(Case::unsupportedURL); }
    static LiveSiteFetchError invalidResponse() { return LiveSiteFetchError(Case::invalidResponse); }
    static LiveSiteFetchError emptyHTML() { return LiveSiteFetchError(Case::emptyHTML); }
    static LiveSiteFetchError noHost() { return LiveSiteFetchError(Case::noHost); }

    Case errorCase() const { return m_case; }
    // The HTTP status of badStatus, 0 otherwise.
    int status() const { return m_status; }

    bool operator==(const LiveSiteFetchError& other) const { return m_case == other.m_case && m_status == other.m_status; }

private:
    explicit LiveSiteFetchError(Case errorCase, int status = 0)
        : QuilloryError(text(errorCase, status))
        , m_case(errorCase)
        , m_status(status)
    {
    }

    static std::string text(Case errorCase, int status)
    {
        switch (errorCase) {
        case Case::badStatus:
            return "The live site returned HTTP " + std::to_string(status) + ".";
        case Case::unsupportedURL:
            return "Enter an http or https URL.";
        case Case::invalidResponse:
            return "The live site did not return a valid HTTP response.";
        case Case::emptyHTML:
            return "The fetched page was empty.";
        case Case::noHost:
            return "The live site URL does not include a host.";
        }
        return {};
    }

    Case m_case;
    int m_status;
};

}
