#pragma once

#include "QuilloryCore/SiteModel/SiteGraphModels.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace Quillory {

// A link written in a page that is local in form but that nothing in the site answers to.
struct MissingLocalRoute {
    std::string pageID;
    // The reference as written, trimmed of white space, as UTF-8.
    std::string reference;
    // Where the reference's value starts: a 1-based line, and a 1-based column in UTF-16 code
    // units from the start of that line. CR LF, LF and a lone CR each end a line.
    std::size_t line { 0 };
    std::size_t column { 0 };

    friend bool operator==(const MissingLocalRoute&, const MissingLocalRoute&) = default;
};

struct SiteLinkCheckReport {
    std::filesystem::path rootURL;
    std::size_t pageCount { 0 };
    // In page order, then in text order within a page.
    std::vector<MissingLocalRoute> missingRoutes;
    // The pages the sidebar tree could not place, in page order.
    std::vector<std::string> unplacedPageIDs;
};

// Finds the broken local links of a site, for a site's own CI: every link of every page (as the
// site scan reads links) that the route resolver finds to be a missingLocalRoute. Reads each page
// once; throws the site scan's errors.
namespace SiteLinkCheck {
SiteLinkCheckReport check(const std::filesystem::path& rootURL);
}

}
