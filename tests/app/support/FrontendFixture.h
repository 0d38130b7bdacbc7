#pragma once

#include "support/TemporaryDirectory.h"

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace QuilloryTest {

// The Vite React fixture project, with its node_modules installed by scripts/install-deps.sh.
std::filesystem::path installedFrontendFixture();

enum class FixtureNodeModules {
    // A link to the installed fixture's node_modules: every copy shares one install.
    linked,
    absent,
};

// Copies the fixture's own files (package.json, lockfile, config, index.html, src/) to
// `destination`/vite-react and returns that folder.
std::filesystem::path copyFrontendFixture(const TemporaryDirectory& destination, FixtureNodeModules);

// A folder holding the real `node` (a link) and a fake `npm` shell script with this body. The
// fake stands in where real npm can't be made to fail in the way a test needs.
std::filesystem::path makeFakeNpmFolder(const TemporaryDirectory& destination, const std::string& scriptBody);

// A launch's process group, told apart from a later group that gets the same number. Build and test
// jobs start many groups, so a number can come round again within seconds on a busy machine.
struct LaunchedProcessGroup {
    pid_t id { 0 };
    // When the group's leader started, if it was still there when the group was noted.
    std::optional<unsigned long long> leaderStartTime;
};
// Notes the group now, while its leader may still run.
LaunchedProcessGroup launchedProcessGroup(pid_t group);

// Whether any process of the group is left (zombies included).
bool processGroupExists(const LaunchedProcessGroup&);
// Runs the main loop until the group is gone; false after 30 seconds.
bool waitUntilProcessGroupIsGone(const LaunchedProcessGroup&);
// Whether an IPv4 socket can bind 127.0.0.1 on the port now.
bool loopbackPortIsFree(std::uint16_t port);

// Listening sockets on 127.0.0.1, closed when the object goes.
class HeldPorts {
public:
    HeldPorts(std::uint16_t first, std::uint16_t count);
    ~HeldPorts();
    HeldPorts(const HeldPorts&) = delete;
    HeldPorts& operator=(const HeldPorts&) = delete;
    bool holdsAll() const { return m_holdsAll; }

private:
    std::vector<int> m_sockets;
    bool m_holdsAll { true };
};

}
