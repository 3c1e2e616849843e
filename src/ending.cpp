#include "ending.h"

#include "lxwindow.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr int ending_signals[] = {SIGTERM, SIGINT, SIGHUP};

int alarm_bell = -1;                                 ///< an eventfd: a signal has come
volatile std::sig_atomic_t first_signal = 0;         ///< 0: none yet
std::atomic<LanternixDialog *> open_window{nullptr}; ///< to be detached before the process exits
std::atomic<void *> reserve{nullptr};                ///< for detaching when no other memory is left
std::atomic<pid_t> ending_thread{0};                 ///< the first that found no memory; 0: none yet

constexpr unsigned int longest_end = 2;         // seconds, for detaching without memory
constexpr std::size_t reserve_size = 1 << 20;   // bytes
constexpr std::size_t enough_memory = 64 << 20; // bytes: more than Qt allocates at once
constexpr std::string_view no_memory = "lanternix: out of memory\n";

/// Called when a signal interrupts any thread: may only do what signal-safety(7) allows.
void ring(int signal)
{
    const int error = errno;
    if (first_signal == 0)
        first_signal = signal;
    const std::uint64_t once = 1;
    [[maybe_unused]] const ssize_t written = write(alarm_bell, &once, sizeof once);
    errno = error;
}

void handle(int signal)
{
    struct sigaction former = {};
    sigaction(signal, nullptr, &former);
    if (former.sa_handler == SIG_IGN)
        return;
    struct sigaction action = {};
    action.sa_handler = ring;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND); // the second one ends the process
    sigaction(signal, &action, nullptr);
}

void detach_before_exit()
{
    if (LanternixDialog *const window = open_window.exchange(nullptr))
        window->detach();
}

void exit_at_once(int)
{
    _exit(EXIT_FAILURE);
}

/// To be called by a thread that found no memory; returns in the first one only, which is to end the process.
/// May only do what signal-safety(7) allows.
void tell_that_memory_is_gone()
{
    const pid_t self = gettid();
    pid_t first = 0;
    if (!ending_thread.compare_exchange_strong(first, self)) {
        if (first == self) // to end well takes memory, too
            exit_at_once(0);
        for (;;)
            pause();
    }
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, no_memory.data(), no_memory.size());
}

/// Called on the thread that found no memory, once nothing has caught that: nothing may be allocated before
/// the reserve is free.
[[noreturn]] void end_without_memory()
{
    tell_that_memory_is_gone();
    // Without memory the driver or a library may abort, and the driver may wait for a thread that waits here.
    std::signal(SIGABRT, exit_at_once);
    std::signal(SIGALRM, exit_at_once);
    alarm(longest_end);
    std::free(reserve.exchange(nullptr));
    detach_before_exit();
    std::_Exit(EXIT_FAILURE); // other threads still run: no destructors
}

/// Qt's painting does not ask whether it has got the memory that it writes to. Called instead of a crash on
/// any thread: may only do what signal-safety(7) allows, so the driver is not detached. If there is memory,
/// the process crashes as it would have.
void end_if_memory_is_gone(int signal)
{
    const int rights = PROT_READ | PROT_WRITE;
    const int kind = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
    if (mmap(nullptr, enough_memory, rights, kind, -1, 0) == MAP_FAILED) {
        tell_that_memory_is_gone();
        exit_at_once(signal);
    }
    std::signal(signal, SIG_DFL);
    raise(signal); // comes when this function returns
}

/// Leaves the handler of a sanitizer in place.
void handle_crashes()
{
    struct sigaction former = {};
    sigaction(SIGSEGV, nullptr, &former);
    if (former.sa_handler != SIG_DFL)
        return;
    struct sigaction action = {};
    action.sa_handler = end_if_memory_is_gone;
    sigaction(SIGSEGV, &action, nullptr);
}

int new_bell()
{
    return alarm_bell = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

} // namespace

Ending::Ending() : m_signals(new_bell(), QSocketNotifier::Read)
{
    for (const int signal : ending_signals)
        handle(signal);
    handle_crashes();
    // Nothing throws in this program but an allocation that fails.
    reserve = std::malloc(reserve_size);
    m_former = std::set_terminate(end_without_memory);
}

Ending::~Ending()
{
    std::set_terminate(m_former);
    std::free(reserve.exchange(nullptr));
    for (const int signal : ending_signals)
        std::signal(signal, SIG_DFL);
    m_signals.setEnabled(false);
    close(alarm_bell);
}

int Ending::run(LanternixDialog &dialog)
{
    connect(&m_signals, &QSocketNotifier::activated, &dialog, [this, &dialog] {
        m_signals.setEnabled(false);
        dialog.close();
    });
    // After the driver has been loaded: exit() runs what is registered last first, and must not destroy the
    // driver's own objects before it is detached.
    open_window = &dialog;
    std::atexit(detach_before_exit);
    const int result = dialog.exec();
    open_window = nullptr;
    return first_signal == 0 ? result : 128 + first_signal;
}
