#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <vector>

/// The repetitions of a benchmark that sets their number: @p usual, or a quarter of that in a quick run.
inline int rounds(int usual)
{
    return std::getenv("BENCHMARK_QUICK") ? std::max(1, usual / 4) : usual;
}

/// Nanoseconds that @p work takes.
template <typename Work> double nanoseconds(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count();
}

/// Nanoseconds of processor time that @p work takes on all threads, including system time. Other programs on
/// the machine do not count.
template <typename Work> double processor_nanoseconds(Work work)
{
    const auto processor_time = [] {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
    };
    const double start = processor_time();
    work();
    return processor_time() - start;
}

/// The value below which this @p share of @p values lies.
inline double quantile(std::vector<double> values, double share)
{
    const auto place = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values.at(static_cast<std::size_t>(place));
}

inline double median(const std::vector<double> &values)
{
    return quantile(values, 0.5);
}

/// The processor time of two ways to the same end, measured in turn so that whatever else the machine does
/// falls on both.
class Pair
{
public:
    template <typename Ours, typename Floor> void measure(Ours ours, Floor floor)
    {
        const bool ours_first = m_ours.size() % 2 == 0;
        if (ours_first)
            m_ours.push_back(processor_nanoseconds(ours));
        m_floor.push_back(processor_nanoseconds(floor));
        if (!ours_first)
            m_ours.push_back(processor_nanoseconds(ours));
        m_ratio.push_back(m_ours.back() / m_floor.back());
    }

    double last() const { return m_ours.back(); }

    /// Adds the medians to the benchmark's counters; @p count operations are done in each round.
    void report(benchmark::State &state, double count) const
    {
        state.counters["ratio"] = median(m_ratio);
        state.counters["ns_each"] = median(m_ours) / count;
        state.counters["floor_ns_each"] = median(m_floor) / count;
    }

private:
    std::vector<double> m_ours;
    std::vector<double> m_floor;
    std::vector<double> m_ratio;
};
