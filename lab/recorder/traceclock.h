#pragma once

#include <chrono>

namespace recorder {

/// The time at which the trace recorder (vcd.h) takes a value to change. That is always now, read from
/// std::chrono::system_clock, whose now() the linker replaces in this library: on a thread that has such an
/// object, it is the object's time.
class TraceClock
{
public:
    explicit TraceClock(std::chrono::system_clock::time_point time);
    ~TraceClock();
    TraceClock(const TraceClock &) = delete;
    TraceClock &operator=(const TraceClock &) = delete;
};

} // namespace recorder
