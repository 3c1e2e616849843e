#include "support/heap.h"

#include <malloc.h>
#ifdef __SANITIZE_ADDRESS__
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // its header is not in Debian's packages
#endif

std::size_t heap_in_use()
{
#ifdef __SANITIZE_ADDRESS__ // has its own heap, unknown to the C library
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
#endif
}
