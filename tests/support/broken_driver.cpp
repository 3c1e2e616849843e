// A board driver that is at fault in the way that the variable BROKEN_DRIVER names.

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <unistd.h>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

bool is(std::string_view fault)
{
    const char *const wanted = std::getenv("BROKEN_DRIVER");
    return wanted && fault == wanted;
}

/// Runs as the library is opened.
struct Loading
{
    Loading()
    {
        if (is("crashes-when-opened"))
            std::abort();
    }
} loading;

} // namespace

#ifdef NEEDS_LIBRARY
void absent();
EXPORT void (*needed)();
void (*needed)() = absent;
#endif

EXPORT bool zorvicAttach()
{
    if (is("crashes"))
        std::abort();
    if (is("exits"))
        std::_Exit(3);
    while (is("hangs"))
        pause();
    if (is("prints"))
        std::puts("the driver prints this");
    std::fflush(stdout);
    return false;
}

EXPORT int zorvicGetDeviceCount()
{
    return 0;
}
