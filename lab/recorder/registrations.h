#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>

namespace recorder {

/// The callbacks that the program has given to the driver, in places that never move: the driver gets a place
/// as its context, so that a report finds its callback without a lock. Nothing is ever removed, since a
/// driver may call back after a callback was cleared; the same callback gets the same place again. Any thread
/// may call any function.
class Registrations
{
public:
    enum class Kind { packet, change };

    struct Entry
    {
        Kind kind = Kind::packet;
        int board = 0;            ///< of a packet callback
        void *function = nullptr; ///< the program's, as the next
        void *context = nullptr;
    };

    /// The entry of this callback, a new one if it is not known; null if there is no room.
    Entry *add(const Entry &wanted);
    /// The entry of a callback that was added; null if it was not. The board does not matter for a change.
    Entry *find(int board, void *function, void *context);
    /// The entry that the driver has been given as @p context; null if it passes something else.
    const Entry *at(const void *context) const;
    /// The packet callback that was added last, for a driver that passes something else; null before the
    /// first.
    void *lastPacketCallback() const { return m_lastPacketCallback; }

private:
    static constexpr std::size_t most = 1024;

    std::mutex m_mutex; ///< guards additions
    std::array<Entry, most> m_entries;
    std::atomic<std::size_t> m_count = 0;
    std::atomic<void *> m_lastPacketCallback = nullptr;
};

} // namespace recorder
