#pragma once

#include <malloc.h>

namespace QuilloryBench {

// For benchmarks that free a large result between iterations: glibc would hand the freed memory
// back to the system and fault it in again in the next iteration, which measures page faults
// rather than the work. Freed memory stays with the process instead: every block comes from the
// heap, which is never trimmed, rather than from a mapping of its own that a free would undo
// (blocks past 32 MiB, the largest threshold glibc accepts, would otherwise always get one).
inline void keepFreedMemory()
{
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_MMAP_MAX, 0);
}

}
