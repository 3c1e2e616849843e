// A program that uses the board driver as little as one can: it takes the reports of board 1 until it has had
// as many as its argument says, detaches and ends. Without an argument it goes on until it is killed.

#include "hardware/abstracthardwarewrapper.h"

#include <cstdlib>

#include <dlfcn.h>
#include <semaphore.h>

namespace {

sem_t reports;

void take(int, const unsigned char *, unsigned int, void *)
{
    sem_post(&reports);
}

template <typename Signature> Signature *function(void *driver, const char *name)
{
    return reinterpret_cast<Signature *>(dlsym(driver, name));
}

} // namespace

int main(int argc, char *argv[])
{
    sem_init(&reports, 0, 0);
    void *const driver = dlopen("libzorvicboardex.so.1", RTLD_NOW);
    if (!driver)
        return EXIT_FAILURE;
    function<bool()>(driver, "zorvicAttach")();
    function<void(int, PacketCallback, void *)>(driver, "zorvicSetCallback")(1, take, nullptr);
    const long wanted = argc > 1 ? std::atol(argv[1]) : -1;
    for (long taken = 0; taken != wanted;) {
        if (sem_wait(&reports) == 0) // a signal may wake it
            ++taken;
    }
    function<void()>(driver, "zorvicDetach")();
    return EXIT_SUCCESS;
}
