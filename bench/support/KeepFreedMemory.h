#pragma once

#include <malloc.h>

namespace QuilloryBench {

// Benchmarks whose calls allocate and free megabytes: glibc would hand the freed memory back to the
// system after each call and fault it in again in the next, which measures page faults rather than
// the code, so freed memory stays with the process for the whole benchmark run.
inline void keepFreedMemory()
{
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
}

}
