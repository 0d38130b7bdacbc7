#include "QuilloryApp/Preview/SitePreviewURL.h"

#include "QuilloryCore/SiteModel/SiteRouteResolver.h"

#include <gtest/gtest.h>

using namespace Quillory;

namespace {

SitePage page(std::string relativePath)
{
    return SitePage(relativePath, std::filesystem::path("/site") / relativePath, "Title");
}

TEST(SitePreviewURL, PlainPathFollowsTheSchemeAndHost)
{
    EXPECT_EQ(SitePreviewURL::url(page("index.html")), "quillory-site://local/index.html");
    EXPECT_EQ(SitePreviewURL::url(page("blog/2024/post.html")), "quillory-site://local/blog/2024/post.html");
}

TEST(SitePreviewURL, WhatAPathCannotHoldIsPercentEncoded)
{
    EXPECT_EQ(SitePreviewURL::url(page("about us.html")), "quillory-site://local/about%20us.html");
    EXPECT_EQ(SitePreviewURL::url(page("caf\xC3\xA9/menu.html")), "quillory-site://local/caf%C3%A9/menu.html");
    EXPECT_EQ(SitePreviewURL::url(page("100%/a#b?c.html")), "quillory-site://local/100%25/a%23b%3Fc.html");
}

TEST(SitePreviewURL, SubDelimitersColonAndAtStayAsTheyAre)
{
    EXPECT_EQ(SitePreviewURL::url(page("a!$&'()*+,;=:@~-_.html")), "quillory-site://local/a!$&'()*+,;=:@~-_.html");
}

TEST(SitePreviewURL, TheURLResolvesBackToItsPage)
{
    std::vector<SitePage> pages { page("about us.html"), page("caf\xC3\xA9/menu.html"), page("100%/x.html") };
    SiteRouteResolver resolver("/site", pages);
    for (auto& each : pages) {
        SCOPED_TRACE(each.relativePath);
        EXPECT_EQ(resolver.resolveURL(SitePreviewURL::url(each)).kind, ResolvedSiteResource::Kind::localPage(each.id));
    }
}

}
