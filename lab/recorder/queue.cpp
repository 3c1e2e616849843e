#include "recorder/queue.h"

#include <cstdlib>

namespace recorder {

Queue::Queue() : m_records(capacity)
{
    for (Record &record : m_records)
        m_free.bounded_push(&record);
}

Queue::~Queue()
{
    while (Record *const record = pop())
        giveBack(record);
}

Record *Queue::take(bool counts)
{
    Record *record = nullptr;
    if (m_free.pop(record))
        return record;
    if (counts)
        ++m_lost;
    return nullptr;
}

void Queue::push(Record *record)
{
    m_filled.bounded_push(record); // never full: there are no more records than places
}

Record *Queue::pop()
{
    Record *record = nullptr;
    return m_filled.pop(record) ? record : nullptr;
}

void Queue::giveBack(Record *record)
{
    std::free(record->longBytes);
    record->longBytes = nullptr;
    m_free.bounded_push(record);
}

} // namespace recorder
