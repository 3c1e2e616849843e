#include "hardware/backlog.h"

Backlog::Backlog(std::chrono::milliseconds patience) : m_patience(patience) { }

void Backlog::follow()
{
    m_handler = std::this_thread::get_id();
}

void Backlog::sent(int load)
{
    if (m_load > enough)
        awaitRoom();
    m_load += 1 + load;
    ++m_sent;
}

void Backlog::handled(int load)
{
    if (waiting() == 0)
        return;
    m_load -= 1 + load;
    ++m_handled;
    if (m_held > 0 && hasRoom())
        wake();
}

void Backlog::awaitRoom()
{
    const std::thread::id handler = m_handler;
    if (handler == std::thread::id() || handler == std::this_thread::get_id())
        return;
    std::unique_lock lock(m_mutex);
    ++m_held;
    m_room.wait_for(lock, m_patience, [this] { return hasRoom(); });
    --m_held;
}

void Backlog::wake()
{
    const std::lock_guard lock(m_mutex); // not between a thread's look at the load and its wait
    m_room.notify_all();
}

Backlog::Opening::Opening(Backlog &backlog) : m_backlog(backlog)
{
    ++m_backlog.m_openings;
    if (m_backlog.m_held > 0)
        m_backlog.wake();
}

Backlog::Opening::~Opening()
{
    --m_backlog.m_openings;
}
