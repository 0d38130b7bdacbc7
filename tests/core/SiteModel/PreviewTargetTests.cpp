#include "QuilloryCore/SiteModel/PreviewTarget.h"

#include <gtest/gtest.h>

#include <unordered_set>

using namespace Quillory;

namespace {

const PreviewTarget::StaticPage aboutPage { "about.html", "quillory-site://local/about.html" };
constexpr auto viteReact = FrontendProjectKind::viteReact;

TEST(PreviewTarget, RunningServerOfALoadedProjectWinsOverTheSelectedPage)
{
    EXPECT_EQ(PreviewTarget::choose("http://127.0.0.1:5173/", viteReact, aboutPage),
              PreviewTarget::frontendServer(viteReact, "http://127.0.0.1:5173/"));
}

TEST(PreviewTarget, RunningURLWithoutALoadedProjectFallsToTheSelectedPage)
{
    EXPECT_EQ(PreviewTarget::choose("http://127.0.0.1:5173/", std::nullopt, aboutPage),
              PreviewTarget::staticPage("about.html", "quillory-site://local/about.html"));
}

TEST(PreviewTarget, SelectedPageOfAProjectWhoseServerIsNotRunning)
{
    EXPECT_EQ(PreviewTarget::choose(std::nullopt, viteReact, aboutPage), PreviewTarget { aboutPage });
}

TEST(PreviewTarget, NothingSelectedInAStaticSiteAsksForAPage)
{
    EXPECT_EQ(PreviewTarget::choose(std::nullopt, std::nullopt, std::nullopt), PreviewTarget::unavailable("Select a page to preview."));
}

TEST(PreviewTarget, NothingSelectedInAFrontendProjectAsksToStartThePreview)
{
    EXPECT_EQ(PreviewTarget::choose(std::nullopt, viteReact, std::nullopt),
              PreviewTarget::unavailable("Start Vite Preview to render this frontend project."));
}

TEST(PreviewTarget, URLIsThePayloadURLAndNothingForUnavailable)
{
    EXPECT_EQ(PreviewTarget::staticPage("a.html", "quillory-site://local/a.html").url(), "quillory-site://local/a.html");
    EXPECT_EQ(PreviewTarget::frontendServer(viteReact, "http://127.0.0.1:5180/").url(), "http://127.0.0.1:5180/");
    EXPECT_EQ(PreviewTarget::unavailable("Select a page to preview.").url(), std::nullopt);
}

TEST(PreviewTarget, StaticPagesDifferWhenEitherPageIDOrURLDiffers)
{
    auto page = PreviewTarget::staticPage("a.html", "quillory-site://local/a.html");
    EXPECT_EQ(page, PreviewTarget::staticPage("a.html", "quillory-site://local/a.html"));
    EXPECT_NE(page, PreviewTarget::staticPage("b.html", "quillory-site://local/a.html"));
    EXPECT_NE(page, PreviewTarget::staticPage("a.html", "quillory-site://local/b.html"));
}

TEST(PreviewTarget, CasesWithTheSameTextDiffer)
{
    EXPECT_NE(PreviewTarget::frontendServer(viteReact, "x"), PreviewTarget::unavailable("x"));
    EXPECT_NE(PreviewTarget::staticPage("x", "x"), PreviewTarget::frontendServer(viteReact, "x"));
}

TEST(PreviewTarget, EqualTargetsHashAlikeAndLandInOneSetEntry)
{
    std::unordered_set<PreviewTarget> targets {
        PreviewTarget::staticPage("a.html", "quillory-site://local/a.html"),
        PreviewTarget::staticPage("a.html", "quillory-site://local/a.html"),
        PreviewTarget::unavailable("Select a page to preview."),
        PreviewTarget::frontendServer(viteReact, "http://127.0.0.1:5173/"),
    };
    EXPECT_EQ(targets.size(), 3u);
    EXPECT_EQ(std::hash<PreviewTarget>()(PreviewTarget::unavailable("t")), std::hash<PreviewTarget>()(PreviewTarget::unavailable("t")));
}

}
