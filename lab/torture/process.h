#pragma once

#include <cstdint>

#include <sys/types.h>

namespace torture {

/// What a process uses.
struct Usage
{
    std::int64_t memory = 0; ///< bytes that are resident
    int files = 0;           ///< open ones
    int threads = 0;
};

/// Of a process of this user, as /proc tells it; nothing of a process that has ended.
Usage usageOf(pid_t process);

} // namespace torture
