#include "app/support/PrivateXServer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace QuilloryTest {

namespace {

constexpr int startTimeoutMilliseconds = 20000;

}

bool PrivateXServer::start()
{
    int displayPipe[2];
    if (pipe2(displayPipe, O_CLOEXEC) != 0)
        return false;
    pid_t parent = getpid();
    pid_t process = fork();
    if (process < 0) {
        close(displayPipe[0]);
        close(displayPipe[1]);
        return false;
    }
    if (process == 0) {
        // Its own process group, and gone with the test process even when that one is killed.
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(127);
        dup2(displayPipe[1], 3);
        int quiet = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(quiet, STDIN_FILENO);
        dup2(quiet, STDOUT_FILENO);
        dup2(quiet, STDERR_FILENO);
        // -displayfd picks a free display number and writes it once the server accepts connections.
        execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", "1920x1200x24", "-nolisten", "tcp", static_cast<char*>(nullptr));
        _exit(127);
    }
    setpgid(process, process);
    close(displayPipe[1]);

    std::string number;
    char byte = 0;
    pollfd ready { displayPipe[0], POLLIN, 0 };
    while (poll(&ready, 1, startTimeoutMilliseconds) > 0) {
        ssize_t got = read(displayPipe[0], &byte, 1);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0 || byte == '\n')
            break;
        number.push_back(byte);
    }
    close(displayPipe[0]);
    if (number.empty() || byte != '\n') {
        kill(-process, SIGKILL);
        waitpid(process, nullptr, 0);
        std::fprintf(stderr, "Could not start a private Xvfb; the tests use the display they were given.\n");
        return false;
    }
    setenv("DISPLAY", (":" + number).c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
    return true;
}

}
