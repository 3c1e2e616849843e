// A program that uses the board driver as little as one can: it takes the reports of board 1 until it has had
// as many as its argument says, detaches and ends. Without an argument it goes on until it is killed. With a
// second argument it goes on taking reports while it ends, behind the destructors of libraries, until it has
// had as many again.

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

/// Goes on for ever if @p wanted is below 0.
void take_reports(long wanted)
{
    for (long taken = 0; taken != wanted;) {
        if (sem_wait(&reports) == 0) // a signal may wake it
            ++taken;
    }
}

long wanted_at_the_end = 0;

template <typename Signature> Signature *function(void *driver, const char *name)
{
    return reinterpret_cast<Signature *>(dlsym(driver, name));
}

} // namespace

int main(int argc, char *argv[])
{
    sem_init(&reports, 0, 0);
    if (argc > 2)
        wanted_at_the_end = std::atol(argv[2]);
    std::atexit([] { take_reports(wanted_at_the_end); }); // before the library's own destructors
    void *const driver = dlopen("libzorvicboardex.so.1", RTLD_NOW);
    if (!driver)
        return EXIT_FAILURE;
    function<bool()>(driver, "zorvicAttach")();
    function<void(int, PacketCallback, void *)>(driver, "zorvicSetCallback")(1, take, nullptr);
    const long wanted = argc > 1 ? std::atol(argv[1]) : -1;
    take_reports(wanted);
    function<void()>(driver, "zorvicDetach")();
    return EXIT_SUCCESS;
}
