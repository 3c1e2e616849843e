#pragma once

#include "recorder/record.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace recorder {

/// A bounded queue of records from many threads to one, in the order of take(). Nobody ever waits: a record
/// for which there is no room is counted as lost. Any thread may take and push; only the writer's may pop and
/// give back.
///
/// The records are a ring. The turn of each says who may use it: the thread that takes the record of that
/// number, one more for the writer, and when it is given back, the number that it has in the next round.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): it keeps threads off each other's cache lines.
class Queue
{
public:
    static constexpr std::size_t capacity = 32768; ///< 7 MB; 160 ms of 100,000 reports a second

    Queue();
    ~Queue();
    Queue(const Queue &) = delete;
    Queue &operator=(const Queue &) = delete;

    /// A record to be filled, or null if there is no room; then it counts as lost if @p counts. The records
    /// behind it wait for its push().
    Record *take(bool counts);
    /// Hands a taken record to the writer.
    static void push(Record *record);

    /// The next record, or null. To be given back, in any order.
    Record *pop();
    static void giveBack(Record *record);

    /// Reports that were lost since the last call.
    std::uint64_t takeLost() { return m_lost.exchange(0); }

private:
    struct Place : Record
    {
        std::atomic<std::uint64_t> turn = 0;
    };

    static constexpr std::size_t cacheLine = 64; // bytes

    std::vector<Place> m_places;
    std::uint64_t m_head = 0;                                 ///< number of the next record to be popped
    alignas(cacheLine) std::atomic<std::uint64_t> m_tail = 0; ///< number of the next record to be taken
    alignas(cacheLine) std::atomic<std::uint64_t> m_lost = 0;
};

} // namespace recorder
