#include "recorder/registrations.h"

#include <algorithm>
#include <cstdint>

namespace recorder {

Registrations::Entry *Registrations::add(const Entry &wanted)
{
    const std::lock_guard lock(m_mutex);
    Entry *const begin = m_entries.data();
    Entry *const end = begin + m_count;
    Entry *const found = std::find_if(begin, end, [&wanted](const Entry &entry) {
        return entry.kind == wanted.kind && entry.board == wanted.board && entry.function == wanted.function
            && entry.context == wanted.context;
    });
    if (wanted.kind == Kind::packet)
        m_lastPacketCallback = wanted.function;
    if (found != end)
        return found;
    if (m_count == most)
        return nullptr;
    *end = wanted;
    ++m_count;
    return end;
}

Registrations::Entry *Registrations::find(int board, void *function, void *context)
{
    const std::lock_guard lock(m_mutex);
    Entry *const begin = m_entries.data();
    Entry *const end = begin + m_count;
    Entry *const found = std::find_if(begin, end, [=](const Entry &entry) {
        return entry.function == function && entry.context == context
            && (entry.kind == Kind::change || entry.board == board);
    });
    return found == end ? nullptr : found;
}

const Registrations::Entry *Registrations::at(const void *context) const
{
    const auto address = reinterpret_cast<std::uintptr_t>(context);
    const auto first = reinterpret_cast<std::uintptr_t>(m_entries.data());
    const std::uintptr_t distance = address - first; // wraps if it lies before the first
    if (distance >= m_count * sizeof(Entry) || distance % sizeof(Entry) != 0)
        return nullptr;
    return &m_entries.at(distance / sizeof(Entry));
}

} // namespace recorder
