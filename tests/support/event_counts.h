#pragma once

#include "hardware/zorvichardware.h"

#include <QObject>

#include <atomic>

/// Counts the signals of one board manager as they are emitted, on any number of threads at once.
class EventCounts
{
public:
    explicit EventCounts(const ZorvicHardware &hardware)
    {
        count(hardware, &ZorvicHardware::penEvent, pens);
        count(hardware, &ZorvicHardware::touchEvent, touches);
        count(hardware, &ZorvicHardware::eraseEvent, erasers);
        count(hardware, &ZorvicHardware::touchStatus, statuses);
        count(hardware, &ZorvicHardware::pnpEvent, changes);
        count(hardware, &ZorvicHardware::deviceEnumCount, enumerations);
        QObject::connect(
            &hardware, &ZorvicHardware::deviceEnumCount, &m_context,
            [this](int devices) { last_count = devices; }, Qt::DirectConnection);
    }

    std::atomic<int> pens = 0;
    std::atomic<int> touches = 0;
    std::atomic<int> erasers = 0;
    std::atomic<int> statuses = 0;
    std::atomic<int> changes = 0;
    std::atomic<int> enumerations = 0;
    std::atomic<int> last_count = 0; ///< of the devices that the newest enumeration found

private:
    template <typename Signal>
    void count(const ZorvicHardware &hardware, Signal signal, std::atomic<int> &counter)
    {
        QObject::connect(
            &hardware, signal, &m_context, [&counter] { ++counter; }, Qt::DirectConnection);
    }

    QObject m_context; ///< its destruction ends the connections
};
