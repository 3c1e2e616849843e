#include "recorder/keepsignal.h"

#include <atomic>
#include <csignal>

namespace recorder {

namespace {

std::atomic<bool> hasCome = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a handler may set it");

void note(int)
{
    hasCome = true;
}

/// What happens to SIGUSR1.
struct sigaction current()
{
    struct sigaction action = {};
    sigaction(SIGUSR1, nullptr, &action);
    return action;
}

} // namespace

KeepSignal::KeepSignal()
{
    const struct sigaction former = current();
    if ((former.sa_flags & SA_SIGINFO) != 0 || former.sa_handler != SIG_DFL)
        return;
    struct sigaction ours = {};
    ours.sa_handler = note;
    ours.sa_flags = SA_RESTART;
    m_isInstalled = sigaction(SIGUSR1, &ours, nullptr) == 0;
}

KeepSignal::~KeepSignal()
{
    const struct sigaction action = current();
    if (m_isInstalled && (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == note)
        std::signal(SIGUSR1, SIG_DFL);
}

bool KeepSignal::take()
{
    return hasCome.exchange(false);
}

} // namespace recorder
