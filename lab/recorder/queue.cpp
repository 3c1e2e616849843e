#include "recorder/queue.h"

#include <cstdlib>

namespace recorder {

Queue::Queue() : m_places(capacity)
{
    for (std::size_t i = 0; i < capacity; ++i)
        m_places[i].turn = i;
}

Queue::~Queue()
{
    for (const Place &place : m_places)
        std::free(place.longBytes);
}

Record *Queue::take(bool counts)
{
    std::uint64_t number = m_tail.load(std::memory_order_relaxed);
    for (;;) {
        Place &place = m_places[number % capacity];
        const std::uint64_t turn = place.turn.load(std::memory_order_acquire);
        if (turn == number) {
            if (m_tail.compare_exchange_weak(number, number + 1, std::memory_order_relaxed))
                return &place;
        } else if (turn < number) { // it has not been given back since the round before
            if (counts)
                ++m_lost;
            return nullptr;
        } else {
            number = m_tail.load(std::memory_order_relaxed); // another thread was first
        }
    }
}

void Queue::push(Record *record)
{
    std::atomic<std::uint64_t> &turn = static_cast<Place *>(record)->turn;
    turn.store(turn.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

Record *Queue::pop()
{
    Place &place = m_places[m_head % capacity];
    if (place.turn.load(std::memory_order_acquire) != m_head + 1)
        return nullptr;
    ++m_head;
    return &place;
}

void Queue::giveBack(Record *record)
{
    std::free(record->longBytes);
    record->longBytes = nullptr;
    std::atomic<std::uint64_t> &turn = static_cast<Place *>(record)->turn;
    turn.store(turn.load(std::memory_order_relaxed) + capacity - 1, std::memory_order_release);
}

} // namespace recorder
