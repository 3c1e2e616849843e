#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace latency {

// All times are milliseconds.

/// A time for a person, with two decimals.
std::string timeText(double time);

/// What some times were like. A percentile is the shortest of the times that so many are not longer than.
struct Distribution
{
    std::size_t samples = 0;
    double least = 0;
    double median = 0;
    double p95 = 0;
    double p99 = 0;
    double most = 0;
    double mean = 0;
};

/// All zero without times.
Distribution distributionOf(std::vector<double> times);

/// How long reports wait for a tick that they know nothing of: as often for each time from 0 to the period.
struct TickWait
{
    double period = 0;

    double mean() const { return period / 2; }
    /// What the wait does not exceed in this share of the cases, from 0 to 1.
    double quantile(double share) const { return period * share; }
};

/// What is left of some times without the wait for the tick; negative if they were luckier than that.
struct Rest
{
    double mean = 0;
    double p99 = 0;
};

Rest beyondTick(const Distribution &times, const TickWait &tick);

/// The times between changes of the screen, of which those that follow each other closely belong to the same
/// tick. @p changes: when they were seen, in order.
std::vector<double> ticksBetween(const std::vector<double> &changes);

} // namespace latency
