#pragma once

#include "recorder/record.h"

#include <boost/lockfree/queue.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace recorder {

/// A bounded queue of records from many threads to one. Nobody ever waits: a record for which there is no
/// room is counted as lost. Any thread may push; only the writer's may pop.
class Queue
{
public:
    static constexpr std::size_t capacity = 32768; ///< 7 MB; 160 ms of 100,000 reports a second

    Queue();
    ~Queue();
    Queue(const Queue &) = delete;
    Queue &operator=(const Queue &) = delete;

    /// A record to be filled, or null if there is no room; then it counts as lost if @p counts.
    Record *take(bool counts);
    /// Hands a taken record to the writer.
    void push(Record *record);

    /// The next record in the order of push(), or null. To be given back.
    Record *pop();
    void giveBack(Record *record);

    /// Reports that were lost since the last call.
    std::uint64_t takeLost() { return m_lost.exchange(0); }

private:
    std::vector<Record> m_records;
    boost::lockfree::queue<Record *, boost::lockfree::capacity<capacity>> m_free;
    boost::lockfree::queue<Record *, boost::lockfree::capacity<capacity>> m_filled;
    std::atomic<std::uint64_t> m_lost = 0;
};

} // namespace recorder
