#include "QuilloryCore/SiteModel/SiteLinkCheck.h"

#include "QuilloryCore/SiteModel/HTMLLinkExtractor.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "QuilloryCore/SiteModel/SiteRouteResolver.h"

#include <algorithm>
#include <utility>

namespace Quillory {

namespace {

// A link of a page with its position, kept until every page is known and links can be resolved.
struct PlacedLink {
    std::string pageID;
    std::string href;
    std::size_t line;
    std::size_t column;
};

// Appends the links of one page with their lines and columns, walking the text once.
void appendPlacedLinks(const SitePage& page, std::u16string_view text, std::vector<PlacedLink>& into)
{
    auto links = HTMLLinkExtractor().links(text);
    std::size_t line = 1;
    std::size_t lineStart = 0;
    std::size_t position = 0;
    for (auto& link : links) {
        for (; position < link.valueRange.location; ++position) {
            auto unit = text[position];
            bool endsLine = unit == u'\n' || (unit == u'\r' && (position + 1 >= text.size() || text[position + 1] != u'\n'));
            if (endsLine) {
                ++line;
                lineStart = position + 1;
            }
        }
        into.push_back({ page.id, link.href, line, link.valueRange.location - lineStart + 1 });
    }
}

}

SiteLinkCheckReport SiteLinkCheck::check(const std::filesystem::path& rootURL)
{
    std::vector<PlacedLink> placedLinks;
    auto map = SiteGraphBuilder().build(rootURL, [&](const SitePage& page, std::u16string_view text) {
        appendPlacedLinks(page, text, placedLinks);
    });

    SiteLinkCheckReport report;
    report.rootURL = map.rootURL;
    report.pageCount = map.pages.size();
    SiteRouteResolver resolver(map.rootURL, map.pages);
    for (auto& link : placedLinks) {
        auto resolved = resolver.resolve(link.href, link.pageID);
        if (resolved.kind.tag() == ResolvedSiteResource::Kind::Tag::missingLocalRoute)
            report.missingRoutes.push_back({ std::move(link.pageID), std::move(link.href), link.line, link.column });
    }
    for (auto& page : map.unplacedPages)
        report.unplacedPageIDs.push_back(page.id);
    return report;
}

}
