#pragma once

#include <atomic>
#include <cstdint>

/// Counts the reports on their way from the driver's threads to whoever handles them, which is one thread.
/// Owned by the board manager.
class Backlog
{
public:
    /// A report is about to be emitted. Any thread.
    void sent() { m_sent.fetch_add(1, std::memory_order_relaxed); }
    /// A report has been handled; of no effect for one that was never sent. Always the same thread.
    void handled()
    {
        if (waiting() > 0)
            m_handled.store(m_handled.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }

    /// Reports that have been sent and not been handled. Any thread.
    std::uint64_t waiting() const
    {
        return m_sent.load(std::memory_order_relaxed) - m_handled.load(std::memory_order_relaxed);
    }
    /// Reports that have been handled so far. Any thread.
    std::uint64_t handledSoFar() const { return m_handled.load(std::memory_order_relaxed); }

private:
    std::atomic<std::uint64_t> m_sent = 0;
    std::atomic<std::uint64_t> m_handled = 0;
};
