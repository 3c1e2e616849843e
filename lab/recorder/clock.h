#pragma once

#include <cstdint>
#include <ctime>

namespace recorder {

/// Nanoseconds of CLOCK_MONOTONIC. May be called on any thread.
inline std::int64_t now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * std::int64_t(1'000'000'000) + time.tv_nsec;
}

} // namespace recorder
