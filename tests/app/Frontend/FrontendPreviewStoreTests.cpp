#include "QuilloryApp/Frontend/FrontendPreviewStore.h"
#include "QuilloryCore/Text/CharacterSegmentation.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <gtest/gtest.h>

using namespace Quillory;

namespace {

std::size_t characters(const std::string& utf8)
{
    return CharacterSegmentation::characterCount(*UnicodeText::utf16FromUTF8(utf8));
}

TEST(FrontendPreviewStore, StartsUnsupportedWithoutAProject)
{
    FrontendPreviewStore store;
    EXPECT_EQ(store.state().get(), FrontendPreviewState::unsupported("No frontend project detected."));
    EXPECT_EQ(store.logText().get(), "");
    EXPECT_FALSE(store.isShowingInstallConfirmation().get());
}

TEST(FrontendPreviewStore, ConfigureTakesTheProjectsFirstStateAndClearsLogAndDialog)
{
    FrontendPreviewStore store;
    store.appendOutput("old output\n");
    store.setShowingInstallConfirmation(true);
    store.configure(FrontendProject { FrontendProjectKind::viteReact, "/site", "vite", false, { "/usr/bin/node", "/usr/bin/npm" } });
    EXPECT_EQ(store.state().get(), FrontendPreviewState::needsInstall());
    EXPECT_EQ(store.logText().get(), "");
    EXPECT_FALSE(store.isShowingInstallConfirmation().get());

    store.appendOutput("more\n");
    store.configure(std::nullopt);
    EXPECT_EQ(store.state().get(), FrontendPreviewState::unsupported("No frontend project detected."));
    EXPECT_EQ(store.logText().get(), "");
}

TEST(FrontendPreviewStore, ConfigureUnsupportedKeepsTheMessage)
{
    FrontendPreviewStore store;
    store.appendOutput("x");
    store.setShowingInstallConfirmation(true);
    store.configureUnsupported("No Vite React project detected.");
    EXPECT_EQ(store.state().get(), FrontendPreviewState::unsupported("No Vite React project detected."));
    EXPECT_EQ(store.logText().get(), "");
    EXPECT_FALSE(store.isShowingInstallConfirmation().get());
}

TEST(FrontendPreviewStore, LogOf3999CharactersAndAChunkOf10KeepsTheLast4000)
{
    FrontendPreviewStore store;
    store.appendOutput(std::string(3999, 'a'));
    EXPECT_EQ(store.logText()->size(), 3999u);
    store.appendOutput("0123456789");
    EXPECT_EQ(store.logText().get(), std::string(3990, 'a') + "0123456789");
}

TEST(FrontendPreviewStore, CapCountsUserPerceivedCharactersNotCodeUnits)
{
    FrontendPreviewStore store;
    // CR LF is one character, and so is a family emoji of several code points.
    std::string family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";
    std::string log;
    for (int index = 0; index < 2000; ++index)
        log += "\r\n" + family;
    store.appendOutput(log);
    EXPECT_EQ(store.logText().get(), log);
    store.appendOutput("z");
    EXPECT_EQ(characters(store.logText().get()), 4000u);
    EXPECT_EQ(store.logText().get(), log.substr(2) + "z");
}

}
