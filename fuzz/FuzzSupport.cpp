#include "FuzzSupport.h"

#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

namespace QuilloryFuzz {

void check(bool holds, std::string_view message, std::string_view input)
{
    if (holds)
        return;
    std::fprintf(stderr, "check failed: %.*s\ninput (%zu bytes): ", static_cast<int>(message.size()), message.data(), input.size());
    for (unsigned char byte : input.substr(0, 400))
        std::fprintf(stderr, byte >= 0x20 && byte < 0x7F ? "%c" : "\\x%02x", byte);
    std::fputc('\n', stderr);
    std::abort();
}

std::u16string codeUnits(std::string_view bytes)
{
    std::u16string units(bytes.size() / 2, u'\0');
    for (std::size_t index = 0; index < units.size(); ++index)
        units[index] = static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * index]) | static_cast<unsigned char>(bytes[2 * index + 1]) << 8);
    return units;
}

namespace {

void write(const std::filesystem::path& path, std::string_view bytes)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

HostileSite makeHostileSite()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "quillory-fuzz-XXXXXX").string();
    if (!mkdtemp(pattern.data())) {
        std::perror("mkdtemp");
        std::abort();
    }
    std::filesystem::path base = pattern;
    // Kept in a plain buffer, which outlives every static object, for the removal at exit.
    static char removedAtExit[4096];
    std::snprintf(removedAtExit, sizeof removedAtExit, "%s", pattern.c_str());
    std::atexit([] {
        std::error_code error;
        std::filesystem::remove_all(removedAtExit, error);
    });

    auto home = base / "home";
    auto secret = std::string(secretMarker);
    write(home / "secret.txt", secret);
    write(home / "page.html", "<h1>" + secret + "</h1>");
    write(home / "notes" / "index.html", secret);
    write(base / "beside.html", secret);

    auto root = base / "site";
    write(root / "index.html", "<h1>Home</h1><a href=\"blog/post.html\">Post</a>");
    write(root / "about.html", "<h1>About</h1>");
    write(root / "a b.html", "<h1>Blank</h1>");
    write(root / "blog" / "post.html", "<h1>Post</h1><a href=\"../about\">About</a>");
    write(root / "blog" / "index.htm", "<h1>Blog</h1>");
    write(root / "blog" / "logo.png", "png");
    write(root / "assets" / "app.js", "app()");
    write(root / "src" / "main.js", "main()");
    namespace fs = std::filesystem;
    fs::create_directory_symlink(home, root / "homelink");
    fs::create_directory_symlink("/etc", root / "etclink");
    fs::create_directory_symlink("..", root / "up");
    fs::create_directory_symlink(".", root / "self");
    fs::create_directory_symlink("blog", root / "current");
    fs::create_directory_symlink("../../home", root / "blog" / "deep");
    fs::create_symlink(home / "secret.txt", root / "secret.txt");
    fs::create_symlink(home / "page.html", root / "linked.html");
    fs::create_symlink("blog/logo.png", root / "alias.png");
    fs::create_directory_symlink(home, root / "src" / "lib");

    auto map = Quillory::SiteGraphBuilder().build(root);
    return { root, fs::canonical(root), std::move(map) };
}

}

const HostileSite& hostileSite()
{
    static const HostileSite site = makeHostileSite();
    return site;
}

bool isInsideRealRoot(const std::filesystem::path& path)
{
    std::error_code error;
    auto real = std::filesystem::canonical(path, error);
    if (error)
        return false;
    const auto& root = hostileSite().realRoot.native();
    return real.native().compare(0, root.size(), root) == 0 && (real.native().size() == root.size() || real.native()[root.size()] == '/');
}

}
