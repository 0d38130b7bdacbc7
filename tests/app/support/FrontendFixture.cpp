#include "app/support/FrontendFixture.h"

#include "app/support/MainLoopWaiting.h"

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

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

namespace {

// Field 22 of /proc/PID/stat: when the process started, in clock ticks since boot.
std::optional<unsigned long long> processStartTime(pid_t process)
{
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    if (!std::getline(stat, line))
        return std::nullopt;
    // The command name in parentheses may hold spaces; the fields after it are plain.
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string field;
    for (int index = 3; index < 22 && fields >> field; ++index) { }
    unsigned long long startTime = 0;
    if (!(fields >> startTime))
        return std::nullopt;
    return startTime;
}

}

LaunchedProcessGroup launchedProcessGroup(pid_t group)
{
    return { group, processStartTime(group) };
}

bool processGroupExists(const LaunchedProcessGroup& group)
{
    if (kill(-group.id, 0) != 0 && errno != EPERM)
        return false;
    // The kernel hands out a number again only when no process has it as its id or group, so a
    // process that now holds the leader's number but is not that leader means the group is gone.
    auto holder = processStartTime(group.id);
    return !holder || holder == group.leaderStartTime;
}

bool waitUntilProcessGroupIsGone(const LaunchedProcessGroup& group)
{
    if (waitUntil([&] { return !processGroupExists(group); }))
        return true;
    // What is left, for the failure's report.
    auto listing = "ps -eo pid,ppid,pgid,sid,stat,lstart,args | awk 'NR == 1 || $3 == " + std::to_string(group.id) + "' >&2";
    std::fprintf(stderr, "Process group %d is still there (its leader started at tick %llu):\n", group.id, group.leaderStartTime.value_or(0));
    std::fflush(stderr);
    [[maybe_unused]] int listed = std::system(listing.c_str());
    return false;
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
