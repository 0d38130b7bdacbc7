#pragma once

#include <unistd.h>

namespace Quillory {

// An open POSIX file descriptor, closed with the holder unless released. Negative means none.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    ~FileDescriptor()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return m_descriptor; }
    // Closes the one held and holds `descriptor` instead.
    void reset(int descriptor)
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        m_descriptor = descriptor;
    }
    // Hands the descriptor to the caller, who closes it.
    int release()
    {
        int descriptor = m_descriptor;
        m_descriptor = -1;
        return descriptor;
    }

private:
    int m_descriptor;
};

}
