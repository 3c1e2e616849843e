#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

/// The reports on their way from the driver's threads to the thread that handles them. If that thread falls
/// behind, it holds the driver's threads up, so that the queue stays short, and the window alive, without a
/// report being lost or overtaken by another.
///
/// Owned by the board manager, whose input model follows it. Load counts what handling takes: one for each
/// report, one for each of its contacts, and more for large contacts, which take longer to draw.
class Backlog
{
public:
    /// With more load than this on its way, a report is held up. That is some 20 ms of work.
    static constexpr int enough = 2048;
    /// No report is held up for longer than @p patience.
    explicit Backlog(std::chrono::milliseconds patience = std::chrono::milliseconds(100));

    /// Raw board units by which a contact is larger if drawing it takes as long again as handling it.
    static constexpr int sizePerLoad = 512;
    /// The load of one contact; @p size in raw board units.
    static constexpr int loadOf(int size) { return 1 + size / sizePerLoad; }

    /// From here on the calling thread handles the reports. Without such a thread, nothing is held up.
    void follow();

    /// A report whose contacts have this load together is about to be emitted. Returns once there is room for
    /// it, at once if the thread that calls is the one that handles reports. May be called on any thread,
    /// without a lock.
    void sent(int load);
    /// A report whose contacts have this load together has been handled; of no effect for one that was never
    /// sent.
    void handled(int load);

    /// Reports that have been sent and not been handled. May be called on any thread.
    std::uint64_t waiting() const { return m_sent - m_handled; }
    /// Reports that have been handled so far. May be called on any thread.
    std::uint64_t handledSoFar() const { return m_handled; }

    /// Threads whose report is held up. May be called on any thread.
    int heldUp() const { return m_held; }

    /// While one exists, no report is held up: the driver is being called, and may wait for its own
    /// callbacks.
    class Opening
    {
    public:
        explicit Opening(Backlog &backlog);
        ~Opening();
        Opening(const Opening &) = delete;
        Opening &operator=(const Opening &) = delete;

    private:
        Backlog &m_backlog;
    };

private:
    void awaitRoom();
    bool hasRoom() const { return m_openings > 0 || m_load <= enough / 2; }
    void wake();

    const std::chrono::milliseconds m_patience;
    std::atomic<std::uint64_t> m_sent = 0;
    std::atomic<std::uint64_t> m_handled = 0;
    std::atomic<int> m_load = 0;     ///< on its way
    std::atomic<int> m_openings = 0; ///< that exist
    std::atomic<int> m_held = 0;     ///< threads whose report is held up
    std::atomic<std::thread::id> m_handler = std::thread::id();
    std::mutex m_mutex; ///< guards nothing but the wait
    std::condition_variable m_room;
};
