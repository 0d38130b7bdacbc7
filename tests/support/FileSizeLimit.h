#pragma once

#include <sys/resource.h>

#include <csignal>

namespace QuilloryTest {

// While it lives, the process can't write a regular file past `bytes`: write() fails with EFBIG.
// Tests run as root, where permission bits stop no write, and a file removed or replaced by a
// folder is an outside change rather than a failed write; a size limit is a real write failure
// that leaves the file as it was.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_previous);
        // The limit would otherwise end the process with SIGXFSZ instead of failing the write.
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit { bytes, m_previous.rlim_max };
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_previous {};
    void (*m_previousHandler)(int) { nullptr };
};

}
