#include "support/heap.h"

#include <fstream>

#include <malloc.h>

/// Null without a sanitizer. A sanitizer has its own heap, unknown to the C library.
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();

std::size_t heap_in_use()
{
    if (__sanitizer_get_current_allocated_bytes)
        return __sanitizer_get_current_allocated_bytes();
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

std::size_t quarantine()
{
    return __sanitizer_get_current_allocated_bytes ? std::size_t(256) << 20 : 0;
}

long long address_space()
{
    std::ifstream statm("/proc/self/statm");
    long long pages = 0;
    statm >> pages;
    return pages;
}
