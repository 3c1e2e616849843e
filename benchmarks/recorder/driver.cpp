// A driver that keeps the packet callback that it has been given, for the benchmark to call.

#include "hardware/abstracthardwarewrapper.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

PacketCallback registered = nullptr;
void *registered_context = nullptr;

} // namespace

EXPORTED bool zorvicAttach()
{
    return true;
}

EXPORTED void zorvicDetach() { }

EXPORTED void zorvicSetCallback(int, PacketCallback callback, void *context)
{
    registered = callback;
    registered_context = context;
}

/// Not a function of the real driver.
EXPORTED void callbackOfBenchmark(PacketCallback *callback, void **context)
{
    *callback = registered;
    *context = registered_context;
}
