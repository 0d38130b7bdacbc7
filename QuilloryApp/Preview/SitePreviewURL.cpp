#include "QuilloryApp/Preview/SitePreviewURL.h"

#include <glib.h>

namespace Quillory::SitePreviewURL {

std::string url(const SitePage& page)
{
    // Escaping to the path's allowed set always yields a valid URL, so no fallback is needed.
    char* path = g_uri_escape_string(page.relativePath.c_str(), G_URI_RESERVED_CHARS_ALLOWED_IN_PATH, FALSE);
    std::string url = std::string("quillory-site://local/") + path;
    g_free(path);
    return url;
}

}
