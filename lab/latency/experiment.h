#pragma once

#include "latency/outcome.h"
#include "latency/program.h"
#include "latency/screen.h"

#include <vector>

namespace latency {

/// What is to be measured.
struct Plan
{
    std::vector<int> contacts; ///< the first one also for what is split by something else
    std::vector<bool> tags;    ///< likewise
    int samples = 0;           ///< of each row
};

/// Measures everything, with a program of its own for each row. Throws std::runtime_error if that cannot be
/// done, and NotStarted.
Outcome measure(const Paths &paths, Screen &screen, const Plan &plan);

} // namespace latency
