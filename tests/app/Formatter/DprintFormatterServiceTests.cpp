// The formatter service over the real dprint executable and plug-ins that the build copies beside
// the application. A few tests put a small shell script in dprint's place, each saying why: the
// real dprint can't be made to misbehave in those ways.

#include "QuilloryApp/Formatter/DprintFormatterError.h"
#include "QuilloryApp/Formatter/DprintFormatterService.h"
#include "QuilloryApp/Support/ApplicationResources.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

const std::filesystem::path bundledRoot { QUILLORY_DPRINT_ROOT };

bool isEmptyFolder(const std::filesystem::path& folder)
{
    return std::filesystem::is_directory(folder) && std::filesystem::is_empty(folder);
}

// The bundled formatter, with its temporary folders in a folder of the test's own.
struct BundledFormatter {
    TemporaryDirectory temporary;
    DprintFormatterService service { bundledRoot, temporary.path() };

    std::string format(std::string_view text, const std::string& path) const
    {
        return UnicodeText::utf8FromUTF16(service.format(UnicodeText::utf16(text), path));
    }
};

// A resource folder whose "dprint" is a shell script, beside five empty plug-in files.
struct ScriptedFormatter {
    TemporaryDirectory root;
    TemporaryDirectory temporary;
    DprintFormatterService service { root.path(), temporary.path() };

    explicit ScriptedFormatter(std::string_view script)
    {
        auto executable = DprintFormatterService::executableURL(root.path());
        auto relative = std::filesystem::relative(executable, root.path()).string();
        root.write(relative, script);
        std::filesystem::permissions(executable, std::filesystem::perms::owner_all, std::filesystem::perm_options::add);
        for (const auto& plugin : DprintFormatterService::pluginURLs(root.path()))
            root.write(std::filesystem::relative(plugin, root.path()).string(), "");
    }
};

template<class Call>
DprintFormatterError formatterError(Call call)
{
    try {
        call();
    } catch (const DprintFormatterError& error) {
        return error;
    }
    ADD_FAILURE() << "no DprintFormatterError was thrown";
    return DprintFormatterError::outputDecodingFailed();
}

}

// Also the test that runs first of all application tests: dprint compiles every plug-in into its
// cache on first use, which can take a minute.
TEST(DprintPluginCache, FormatsOneFileOfEveryKind)
{
    BundledFormatter formatter;
    ASSERT_TRUE(formatter.service.isAvailableForCurrentHost());

    EXPECT_EQ(formatter.format("<html><body><div><p>Hello</p>\n<span>x</span></div></body></html>", "page.html"),
        "<html>\n  <body>\n    <div>\n      <p>Hello</p>\n      <span>x</span>\n    </div>\n  </body>\n</html>\n");
    EXPECT_EQ(formatter.format("a{color:red;margin:0 auto}", "styles/site.css"), "a {\n  color: red;\n  margin: 0 auto;\n}\n");
    EXPECT_EQ(formatter.format("function f(a,b){return a+b}", "app.js"), "function f(a, b) {\n  return a + b;\n}\n");
    EXPECT_EQ(formatter.format("interface A{x:number;y?:string}", "src/types.ts"), "interface A {\n  x: number;\n  y?: string;\n}\n");
    EXPECT_EQ(formatter.format("{\"a\":1,\"b\":[1,2,3]}", "data.json"), "{ \"a\": 1, \"b\": [1, 2, 3] }\n");
    EXPECT_EQ(formatter.format("# Title\nSome   text\n* one\n* two", "notes.md"), "# Title\n\nSome text\n\n- one\n- two\n");
    EXPECT_TRUE(isEmptyFolder(formatter.temporary.path()));
}

TEST(DprintFormatterService, SupportsTwelveExtensionsInAnyCase)
{
    for (const char* path : { "index.HTML", "a.htm", "b.css", "c.js", "d.jsx", "e.mjs", "f.cjs", "g.ts", "h.tsx", "i.json", "j.md",
             "k.markdown", "blog/Post.Md" })
        EXPECT_TRUE(DprintFormatterService::supportsDocumentPath(path)) << path;
    for (const char* path : { "theme.scss", "config.yaml", "README", "Makefile", "archive.html.bak", "folder.html/notes" })
        EXPECT_FALSE(DprintFormatterService::supportsDocumentPath(path)) << path;
}

TEST(DprintFormatterService, UpperCaseExtensionIsFormatted)
{
    BundledFormatter formatter;
    EXPECT_EQ(formatter.format("<p>x</p>", "LEGACY.HTML"), "<p>x</p>\n");
}

TEST(DprintFormatterService, EmptyTextIsSentAsItIs)
{
    // dprint decides what an empty document becomes; the service neither refuses nor pads it.
    BundledFormatter formatter;
    EXPECT_EQ(formatter.format("", "empty.html"), "\n");
    EXPECT_EQ(formatter.format("", "empty.css"), "\n");
}

TEST(DprintFormatterService, UnsupportedPathsFailBeforeAnythingRuns)
{
    BundledFormatter formatter;
    auto noExtension = formatterError([&] { formatter.format("text", "README"); });
    EXPECT_EQ(noExtension.kind(), DprintFormatterError::Kind::unsupportedExtension);
    EXPECT_STREQ(noExtension.what(), "dprint does not support formatting README.");
    auto scss = formatterError([&] { formatter.format("a{}", "styles/theme.scss"); });
    EXPECT_STREQ(scss.what(), "dprint does not support formatting styles/theme.scss.");
    auto yaml = formatterError([&] { formatter.format("a: 1", "config.yaml"); });
    EXPECT_EQ(yaml.kind(), DprintFormatterError::Kind::unsupportedExtension);
    EXPECT_TRUE(isEmptyFolder(formatter.temporary.path()));
}

TEST(DprintFormatterService, UnparsableTextEndsInTheGenericFailure)
{
    // Silenced, dprint reports a parse error through its exit status alone.
    BundledFormatter formatter;
    auto error = formatterError([&] { formatter.format("const x = {a:1,", "broken.ts"); });
    EXPECT_EQ(error.kind(), DprintFormatterError::Kind::processFailed);
    EXPECT_EQ(error.status(), 1);
    EXPECT_STREQ(error.what(), "dprint formatting failed.");
    EXPECT_TRUE(isEmptyFolder(formatter.temporary.path()));
}

TEST(DprintFormatterService, LargeTextPassesThroughWithoutBlocking)
{
    // Far more than a pipe holds in either direction.
    BundledFormatter formatter;
    std::string input = "[";
    for (int index = 0; index < 40000; ++index)
        input += (index ? "," : "") + std::string("{\"name\":\"item\",\"value\":") + std::to_string(index) + "}";
    input += "]";
    auto output = formatter.format(input, "large.json");
    EXPECT_GT(output.size(), input.size());
    EXPECT_EQ(nlohmann::json::parse(output), nlohmann::json::parse(input));
}

TEST(DprintFormatterService, NonASCIITextKeepsEveryCharacter)
{
    BundledFormatter formatter;
    EXPECT_EQ(formatter.format("<p>Grüße 😀</p>", "unicode.html"), "<p>Grüße 😀</p>\n");
}

TEST(DprintFormatterService, MissingResourcesAreNamed)
{
    TemporaryDirectory temporary;
    DprintFormatterService withoutRoot(std::nullopt, temporary.path());
    EXPECT_FALSE(withoutRoot.isAvailableForCurrentHost());
    auto noRoot = formatterError([&] { withoutRoot.format(u"x", "a.html"); });
    EXPECT_EQ(noRoot.kind(), DprintFormatterError::Kind::missingResource);
    EXPECT_STREQ(noRoot.what(), "Bundled dprint resource is missing: ThirdParty/dprint.");

    TemporaryDirectory emptyRoot;
    DprintFormatterService withoutExecutable(emptyRoot.path(), temporary.path());
    EXPECT_FALSE(withoutExecutable.isAvailableForCurrentHost());
    auto noExecutable = formatterError([&] { withoutExecutable.format(u"x", "a.html"); });
    EXPECT_EQ(std::string(noExecutable.what()),
        "Bundled dprint resource is missing: " + DprintFormatterService::executableURL(emptyRoot.path()).string() + ".");

    ScriptedFormatter scripted("#!/bin/sh\ncat\n");
    EXPECT_TRUE(scripted.service.isAvailableForCurrentHost());
    auto markdownPlugin = DprintFormatterService::pluginURLs(scripted.root.path())[2];
    std::filesystem::remove(markdownPlugin);
    EXPECT_FALSE(scripted.service.isAvailableForCurrentHost());
    auto noPlugin = formatterError([&] { scripted.service.format(u"x", "a.html"); });
    EXPECT_EQ(std::string(noPlugin.what()), "Bundled dprint resource is missing: " + markdownPlugin.string() + ".");
    EXPECT_TRUE(isEmptyFolder(temporary.path()));
}

TEST(DprintFormatterService, PluginsComeInTheirFixedOrder)
{
    std::vector<std::string> names;
    for (const auto& url : DprintFormatterService::pluginURLs("/resources"))
        names.push_back(url.string());
    EXPECT_EQ(names, (std::vector<std::string> { "/resources/0.54.0/plugins/typescript-0.96.1.wasm", "/resources/0.54.0/plugins/json-0.21.3.wasm",
                         "/resources/0.54.0/plugins/markdown-0.22.0.wasm", "/resources/0.54.0/plugins/malva-v0.15.3.wasm",
                         "/resources/0.54.0/plugins/markup_fmt-v0.27.3.wasm" }));
}

TEST(DprintFormatterService, ConfigurationListsThePluginsAndEmptyOptionsWithSortedKeys)
{
    TemporaryDirectory folder;
    auto config = folder.path() / "dprint.json";
    DprintFormatterService::writeConfig(DprintFormatterService::pluginURLs("/r"), config);
    EXPECT_EQ(readBytes(config),
        "{\n"
        "  \"json\": {},\n"
        "  \"malva\": {},\n"
        "  \"markdown\": {},\n"
        "  \"markup\": {},\n"
        "  \"plugins\": [\n"
        "    \"/r/0.54.0/plugins/typescript-0.96.1.wasm\",\n"
        "    \"/r/0.54.0/plugins/json-0.21.3.wasm\",\n"
        "    \"/r/0.54.0/plugins/markdown-0.22.0.wasm\",\n"
        "    \"/r/0.54.0/plugins/malva-v0.15.3.wasm\",\n"
        "    \"/r/0.54.0/plugins/markup_fmt-v0.27.3.wasm\"\n"
        "  ],\n"
        "  \"typescript\": {}\n"
        "}\n");
}

TEST(DprintFormatterService, RunsWithThePrivateConfigurationNoColourAndItsOwnProcessGroup)
{
    // The script reports what it was given instead of formatting: the real dprint can't show its
    // arguments, environment or process group.
    ScriptedFormatter scripted(
        "#!/bin/sh\n"
        "printf '%s\\n' \"$@\"\n"
        "printf 'NO_COLOR=%s\\n' \"$NO_COLOR\"\n"
        "printf 'own group=%s\\n' \"$(test \"$(ps -o pgid= -p $$ | tr -d ' ')\" = \"$$\" && echo yes || echo no)\"\n"
        "printf 'config=%s\\n' \"$(tr -d ' \\n' < \"$5\" | head -c 20)\"\n"
        "printf 'stdin=%s\\n' \"$(cat)\"\n");
    const char* previous = std::getenv("NO_COLOR");
    std::optional<std::string> saved = previous ? std::optional<std::string>(previous) : std::nullopt;
    setenv("NO_COLOR", "0", 1);
    auto output = UnicodeText::utf8FromUTF16(scripted.service.format(u"<p>héllo</p>", "blog/post.html"));
    if (saved)
        setenv("NO_COLOR", saved->c_str(), 1);
    else
        unsetenv("NO_COLOR");

    auto configPrefix = scripted.temporary.path().string() + "/quillory-dprint-";
    auto configAt = output.find(configPrefix);
    ASSERT_NE(configAt, std::string::npos) << output;
    auto configEnd = output.find('\n', configAt);
    auto configPath = output.substr(configAt, configEnd - configAt);
    EXPECT_TRUE(configPath.ends_with("/dprint.json")) << configPath;
    EXPECT_EQ(configPath.size(), configPrefix.size() + 36 + std::string("/dprint.json").size()) << configPath;
    EXPECT_EQ(output,
        "fmt\n--stdin\nblog/post.html\n--config\n" + configPath + "\n--config-discovery=false\n--log-level\nsilent\n"
        "NO_COLOR=1\n"
        "own group=yes\n"
        "config={\"json\":{},\"malva\":{\n"
        "stdin=<p>héllo</p>\n");
    EXPECT_TRUE(isEmptyFolder(scripted.temporary.path()));
}

TEST(DprintFormatterService, StatusOneWithNothingOnStandardErrorGivesTheGenericMessage)
{
    ScriptedFormatter scripted("#!/bin/sh\ncat > /dev/null\nexit 1\n");
    auto error = formatterError([&] { scripted.service.format(u"x", "a.html"); });
    EXPECT_EQ(error.kind(), DprintFormatterError::Kind::processFailed);
    EXPECT_EQ(error.status(), 1);
    EXPECT_STREQ(error.what(), "dprint formatting failed.");
    EXPECT_TRUE(isEmptyFolder(scripted.temporary.path()));
}

TEST(DprintFormatterService, FailureMessageIsStandardErrorTrimmed)
{
    // The bundled dprint runs silenced and writes no message; a script stands in to write one.
    ScriptedFormatter scripted("#!/bin/sh\ncat > /dev/null\nprintf '\\n  Unexpected token at 1:4\\n\\n' >&2\nexit 3\n");
    auto error = formatterError([&] { scripted.service.format(u"x", "a.css"); });
    EXPECT_EQ(error.status(), 3);
    EXPECT_STREQ(error.what(), "Unexpected token at 1:4");
}

TEST(DprintFormatterService, ProcessEndedBySignalReportsTheSignal)
{
    ScriptedFormatter scripted("#!/bin/sh\ncat > /dev/null\nkill -TERM $$\n");
    auto error = formatterError([&] { scripted.service.format(u"x", "a.js"); });
    EXPECT_EQ(error.kind(), DprintFormatterError::Kind::processFailed);
    EXPECT_EQ(error.status(), 15);
}

TEST(DprintFormatterService, OutputThatIsNotUTF8FailsToDecode)
{
    // dprint writes what its plug-ins give; only a stand-in can write broken UTF-8.
    ScriptedFormatter scripted("#!/bin/sh\ncat > /dev/null\nprintf 'ok \\377\\376 broken'\n");
    auto error = formatterError([&] { scripted.service.format(u"x", "a.md"); });
    EXPECT_EQ(error.kind(), DprintFormatterError::Kind::outputDecodingFailed);
    EXPECT_STREQ(error.what(), "dprint returned output that could not be decoded as UTF-8.");
    EXPECT_TRUE(isEmptyFolder(scripted.temporary.path()));
}

TEST(DprintFormatterService, FormatterThatQuitsWithoutReadingStillReportsItsStatus)
{
    // A process that never reads its input breaks the pipe under a large text; that must neither
    // end the test process nor hide the exit status.
    ScriptedFormatter scripted("#!/bin/sh\nexit 2\n");
    std::u16string large(4 * 1024 * 1024, u'a');
    auto error = formatterError([&] { scripted.service.format(large, "a.ts"); });
    EXPECT_EQ(error.status(), 2);
    EXPECT_TRUE(isEmptyFolder(scripted.temporary.path()));
}

TEST(DprintFormatterService, FailedLaunchLeavesNoTemporaryFolder)
{
    // Executable by its permissions, but its interpreter does not exist, so the launch itself fails.
    ScriptedFormatter scripted("#!/nonexistent/interpreter\n");
    EXPECT_THROW(scripted.service.format(u"x", "a.html"), std::exception);
    try {
        scripted.service.format(u"x", "a.html");
    } catch (const DprintFormatterError&) {
        ADD_FAILURE() << "a launch failure is the system's error, not a formatter error";
    } catch (const std::exception& error) {
        EXPECT_NE(std::string(error.what()).find("No such file or directory"), std::string::npos) << error.what();
    }
    EXPECT_TRUE(isEmptyFolder(scripted.temporary.path()));
}

TEST(DprintFormatterService, UnwritableTemporaryDirectoryFailsToTheCaller)
{
    // A file where the temporary directory should be: creating the run's folder fails.
    TemporaryDirectory holder;
    auto notAFolder = holder.write("not-a-folder", "");
    DprintFormatterService service(bundledRoot, notAFolder);
    EXPECT_THROW(service.format(u"<p>x</p>", "a.html"), std::exception);
}

TEST(ApplicationResources, BuildFolderComesBeforeTheInstalledShareFolder)
{
    EXPECT_EQ(ApplicationResources::searchFolders("/opt/quillory/bin/quillory"),
        (std::vector<std::filesystem::path> { "/opt/quillory/bin", "/opt/quillory/share/quillory" }));

    TemporaryDirectory prefix;
    auto folders = ApplicationResources::searchFolders(prefix.path() / "bin" / "quillory");
    EXPECT_EQ(ApplicationResources::url("ThirdParty/dprint", folders), std::nullopt);
    prefix.write("share/quillory/ThirdParty/dprint/0.54.0/plugins/json-0.21.3.wasm", "");
    EXPECT_EQ(ApplicationResources::url("ThirdParty/dprint", folders), prefix.path() / "share/quillory/ThirdParty/dprint");
    prefix.write("bin/ThirdParty/dprint/0.54.0/plugins/json-0.21.3.wasm", "");
    EXPECT_EQ(ApplicationResources::url("ThirdParty/dprint", folders), prefix.path() / "bin/ThirdParty/dprint");
}

TEST(DprintFormatterService, BuildPutsTheResourcesBesideTheApplication)
{
    // The build's own layout, found from the application's path as the application finds it.
    auto root = ApplicationResources::url("ThirdParty/dprint", ApplicationResources::searchFolders(QUILLORY_APP_PATH));
    ASSERT_TRUE(root.has_value());
    EXPECT_EQ(std::filesystem::weakly_canonical(*root), std::filesystem::weakly_canonical(bundledRoot));
    TemporaryDirectory temporary;
    EXPECT_TRUE(DprintFormatterService(root, temporary.path()).isAvailableForCurrentHost());
}
