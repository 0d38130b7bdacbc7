#pragma once

#include "support/TemporaryDirectory.h"

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
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

// Whether any process of the group is left (zombies included).
bool processGroupExists(pid_t group);
// Runs the main loop until the group is gone; false after 30 seconds.
bool waitUntilProcessGroupIsGone(pid_t group);
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
