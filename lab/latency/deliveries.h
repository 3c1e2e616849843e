#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>

#include <semaphore.h>

namespace latency {

using Nanoseconds = std::int64_t;

/// A point in time, or a thread's or process's processor time.
inline Nanoseconds readClock(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return time.tv_sec * Nanoseconds{1'000'000'000} + time.tv_nsec;
}

/// The clock of all points in time here.
inline Nanoseconds now()
{
    return readClock(CLOCK_MONOTONIC);
}

struct Delivery
{
    static constexpr std::size_t longestReport = 76;

    Nanoseconds due = 0;        ///< the earliest time of delivery
    Nanoseconds called = 0;     ///< when the packet callback was called
    std::int32_t inside = 0;    ///< how long the callback took, nanoseconds
    std::int32_t processor = 0; ///< of that, processor time
    std::uint32_t length = 0;
    unsigned char report[longestReport] = {};
};

/// The memory that the measurement and the program's driver share; both have mapped it. The measurement fills
/// in reports and posts requested; the driver's thread delivers them and posts delivered.
struct DeliveryRoom
{
    static constexpr const char *variable = "LATENCY_DELIVERIES"; ///< names the file for the driver
    static constexpr int capacity = 120'000;

    sem_t requested;
    sem_t delivered;
    std::atomic<bool> registered = false;     ///< a packet callback has been set
    std::atomic<Nanoseconds> driverShare = 0; ///< processor time of deliveries outside the callbacks
    int count = 0;                            ///< number of deliveries requested
    Delivery deliveries[capacity];
};

} // namespace latency
