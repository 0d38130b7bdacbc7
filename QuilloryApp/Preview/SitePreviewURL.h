#pragma once

#include "QuilloryCore/SiteModel/SiteGraphModels.h"

#include <string>

namespace Quillory::SitePreviewURL {

// The preview URL of a page: "quillory-site://local/" followed by its relativePath, with what a
// URL path can't hold percent-encoded ("about us.html" gives "quillory-site://local/about%20us.html").
std::string url(const SitePage&);

}
