#include "hardware/callbackguard.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

/// One context. It is never deleted, since a late visit may look at it, but serves another guard later.
struct CallbackGuard::Entry
{
    std::atomic<void *> context = nullptr; ///< null: nothing is let in
    std::atomic<int> inside = 0;           ///< visits, and attempts at one
    bool owned = true;                     ///< by a guard; guarded by the lobby's mutex
    Entry *next = nullptr;
};

/// What all guards share.
struct CallbackGuard::Lobby
{
    std::atomic<Entry *> first = nullptr; ///< entries are added in front of it
    std::mutex mutex;                     ///< guards the owners of entries, and nothing else but the wait
    std::condition_variable left;
};

namespace {

thread_local const CallbackGuard::Visit *innermost = nullptr; ///< of this thread

} // namespace

CallbackGuard::Lobby &CallbackGuard::lobby()
{
    // Deliberate: never destroyed, because the driver may still call while the process ends.
    static Lobby &only = *new Lobby;
    return only;
}

CallbackGuard::CallbackGuard(void *context) : m_entry(newEntry())
{
    m_entry->context = context;
}

CallbackGuard::~CallbackGuard()
{
    close();
    const std::lock_guard lock(lobby().mutex);
    m_entry->owned = false;
}

void CallbackGuard::close()
{
    m_entry->context = nullptr;
    std::unique_lock lock(lobby().mutex);
    lobby().left.wait(lock, [this] { return isLeft(); });
}

bool CallbackGuard::close(std::chrono::milliseconds patience)
{
    m_entry->context = nullptr;
    std::unique_lock lock(lobby().mutex);
    return lobby().left.wait_for(lock, patience, [this] { return isLeft(); });
}

CallbackGuard::Entry *CallbackGuard::newEntry()
{
    const std::lock_guard lock(lobby().mutex);
    Entry *entry = lobby().first;
    while (entry && entry->owned)
        entry = entry->next;
    if (!entry) {
        entry = new Entry;
        entry->next = lobby().first;
        lobby().first = entry;
    }
    entry->owned = true;
    return entry;
}

/// Returns whether no visit of another thread is inside.
bool CallbackGuard::isLeft() const
{
    int own = 0;
    for (const Visit *visit = innermost; visit; visit = visit->m_outer)
        own += visit->m_entry == m_entry;
    return m_entry->inside <= own;
}

CallbackGuard::Visit::Visit(void *context) : m_entry(enter(context)), m_outer(innermost)
{
    innermost = this;
}

CallbackGuard::Visit::~Visit()
{
    innermost = m_outer;
    if (m_entry)
        leave(*m_entry);
}

/// Returns the entry of @p context, in which the visit is counted, or null.
CallbackGuard::Entry *CallbackGuard::enter(void *context)
{
    if (!context)
        return nullptr;
    for (Entry *entry = lobby().first; entry; entry = entry->next) {
        if (entry->context != context)
            continue;
        ++entry->inside;
        // Looked at again: whoever closes the entry clears its context first, and counts then.
        if (entry->context == context)
            return entry;
        leave(*entry);
    }
    return nullptr;
}

void CallbackGuard::leave(Entry &entry)
{
    --entry.inside;
    if (entry.context)
        return;
    const std::lock_guard lock(lobby().mutex); // not between a look at the count and the wait
    lobby().left.notify_all();
}
