#pragma once

#include <time.h>

namespace QuilloryBench {

// The CPU time of the calling thread in milliseconds, system time included. On a shared machine
// the wall time of two runs swings with the load; the CPU time each one took does not, so ratios
// are read off both.
inline double threadCPUMilliseconds()
{
    timespec now {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1000.0 + static_cast<double>(now.tv_nsec) / 1.0e6;
}

}
