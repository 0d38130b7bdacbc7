#include "support/ChildProcess.h"

#include <poll.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace QuilloryTest {

ChildProcessResult runChildProcess(const std::vector<std::string>& arguments)
{
    int outputPipe[2];
    int errorPipe[2];
    if (::pipe(outputPipe) != 0 || ::pipe(errorPipe) != 0)
        throw std::runtime_error("pipe failed");
    pid_t child = ::fork();
    if (child < 0)
        throw std::runtime_error("fork failed");
    if (child == 0) {
        ::dup2(outputPipe[1], STDOUT_FILENO);
        ::dup2(errorPipe[1], STDERR_FILENO);
        ::close(outputPipe[0]);
        ::close(errorPipe[0]);
        std::vector<char*> argv;
        for (auto& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(outputPipe[1]);
    ::close(errorPipe[1]);

    ChildProcessResult result;
    pollfd descriptors[2] = { { outputPipe[0], POLLIN, 0 }, { errorPipe[0], POLLIN, 0 } };
    std::string* sinks[2] = { &result.standardOutput, &result.standardError };
    int open = 2;
    char buffer[65536];
    while (open > 0) {
        if (::poll(descriptors, 2, -1) < 0)
            continue;
        for (int index = 0; index < 2; ++index) {
            if (descriptors[index].fd < 0 || !(descriptors[index].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            ssize_t count = ::read(descriptors[index].fd, buffer, sizeof buffer);
            if (count > 0) {
                sinks[index]->append(buffer, static_cast<std::size_t>(count));
            } else {
                ::close(descriptors[index].fd);
                descriptors[index].fd = -1;
                --open;
            }
        }
    }
    int status = 0;
    rusage usage {};
    ::wait4(child, &status, 0, &usage);
    result.maxResidentKilobytes = usage.ru_maxrss;
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

}
