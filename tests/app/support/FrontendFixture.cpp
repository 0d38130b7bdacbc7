#include "app/support/FrontendFixture.h"

#include "app/support/MainLoopWaiting.h"

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

namespace QuilloryTest {

std::filesystem::path installedFrontendFixture()
{
    return std::filesystem::path(QUILLORY_TEST_FIXTURES) / "frontend" / "vite-react";
}

std::filesystem::path copyFrontendFixture(const TemporaryDirectory& destination, FixtureNodeModules nodeModules)
{
    auto fixture = installedFrontendFixture();
    auto copy = destination.path() / "vite-react";
    std::filesystem::create_directories(copy);
    for (const char* file : { "package.json", "package-lock.json", "vite.config.js", "index.html" })
        std::filesystem::copy_file(fixture / file, copy / file);
    std::filesystem::copy(fixture / "src", copy / "src", std::filesystem::copy_options::recursive);
    if (nodeModules == FixtureNodeModules::linked)
        std::filesystem::create_directory_symlink(fixture / "node_modules", copy / "node_modules");
    return copy;
}

std::filesystem::path makeFakeNpmFolder(const TemporaryDirectory& destination, const std::string& scriptBody)
{
    auto folder = destination.path() / "fake-tools";
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink("/usr/bin/node", folder / "node");
    std::ofstream(folder / "npm") << "#!/bin/sh\n" << scriptBody << "\n";
    std::filesystem::permissions(folder / "npm", std::filesystem::perms::owner_all);
    return folder;
}

bool processGroupExists(pid_t group)
{
    return kill(-group, 0) == 0 || errno == EPERM;
}

bool waitUntilProcessGroupIsGone(pid_t group)
{
    return waitUntil([&] { return !processGroupExists(group); });
}

bool loopbackPortIsFree(std::uint16_t port)
{
    int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    int reuse = 1;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bool bound = bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    close(descriptor);
    return bound;
}

HeldPorts::HeldPorts(std::uint16_t first, std::uint16_t count)
{
    for (std::uint16_t port = first; port < first + count; ++port) {
        int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        // A port the previous test's server just closed lingers in TIME_WAIT; the dev server
        // would take it again, so the test must too.
        int reuse = 1;
        if (descriptor >= 0)
            setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (descriptor < 0 || bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 || listen(descriptor, 4) != 0) {
            m_holdsAll = false;
            if (descriptor >= 0)
                close(descriptor);
            continue;
        }
        m_sockets.push_back(descriptor);
    }
}

HeldPorts::~HeldPorts()
{
    for (int descriptor : m_sockets)
        close(descriptor);
}

}
