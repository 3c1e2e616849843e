#include "latency/statistics.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>

namespace latency {

namespace {

constexpr double oneTick = 2; // changes closer together belong to the same tick

double percentile(const std::vector<double> &sorted, int percent)
{
    const auto rank = (sorted.size() * static_cast<std::size_t>(percent) + 99) / 100;
    return sorted[std::max<std::size_t>(rank, 1) - 1];
}

} // namespace

std::string timeText(double time)
{
    std::array<char, 400> text{};
    std::snprintf(text.data(), text.size(), "%.2f", time);
    return text.data();
}

Distribution distributionOf(std::vector<double> times)
{
    if (times.empty())
        return {};
    std::sort(times.begin(), times.end());
    Distribution distribution;
    distribution.samples = times.size();
    distribution.least = times.front();
    distribution.median = percentile(times, 50);
    distribution.p95 = percentile(times, 95);
    distribution.p99 = percentile(times, 99);
    distribution.most = times.back();
    distribution.mean = std::accumulate(times.begin(), times.end(), 0.0) / static_cast<double>(times.size());
    return distribution;
}

Rest beyondTick(const Distribution &times, const TickWait &tick)
{
    return {times.mean - tick.mean(), times.p99 - tick.quantile(0.99)};
}

std::vector<double> ticksBetween(const std::vector<double> &changes)
{
    std::vector<double> ticks;
    for (std::size_t i = 1, last = 0; i < changes.size(); ++i) {
        if (changes[i] - changes[last] < oneTick)
            continue;
        ticks.push_back(changes[i] - changes[last]);
        last = i;
    }
    return ticks;
}

} // namespace latency
