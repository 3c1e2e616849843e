// Measures what one recorded change costs, compared with the least that a recorder of this kind has to do.

#include "timing.h"

#include "vcd.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr unsigned int signal_count = 100;
// Rounds are short, so that in the median round no other program takes the processor away.
constexpr int changes_per_round = 20'000;
constexpr int usual_rounds = 251;

/// The reference: locks a mutex, reads the clock, and appends to the signal's vector, found in a std::map.
class Reference
{
public:
    void update(unsigned int signal, double value)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto time = std::chrono::system_clock::now().time_since_epoch().count();
        m_changes[signal].push_back({signal, 0, value, time});
    }

private:
    std::mutex m_mutex;
    std::map<unsigned int, std::vector<Vcd::change>> m_changes;
};

struct Step
{
    unsigned int signal;
    double value;
};

/// Changes of signals in random order; every value is new.
std::vector<Step> steps()
{
    std::mt19937 random(1);
    static double value = 0;
    std::vector<Step> result;
    for (int step = 0; step < changes_per_round; ++step)
        result.push_back({static_cast<unsigned int>(random() % signal_count), ++value});
    return result;
}

/// Nanoseconds per change when @p threads share @p steps and pass each to @p record.
template <typename Record> double measure(int threads, const std::vector<Step> &steps, Record record)
{
    const std::size_t share = steps.size() / static_cast<std::size_t>(threads);
    const auto run = [&](std::size_t first) {
        for (std::size_t step = first; step < first + share; ++step)
            record(steps[step]);
    };
    const auto start = std::chrono::steady_clock::now();
    if (threads == 1) {
        run(0);
    } else {
        std::vector<std::thread> running;
        for (int thread = 0; thread < threads; ++thread)
            running.emplace_back(run, static_cast<std::size_t>(thread) * share);
        for (std::thread &thread : running)
            thread.join();
    }
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count() / static_cast<double>(share * static_cast<std::size_t>(threads));
}

/// Both record the same changes in turn, so that whatever else the machine does falls on both. Neither drops
/// a change, so the vectors of both grow alike.
void recording(benchmark::State &state)
{
    static Reference reference;
    static std::vector<Vcd> handles;
    for (unsigned int signal = 0; handles.size() < signal_count; ++signal)
        handles.emplace_back("signal" + std::to_string(signal), 0.0);

    const int threads = static_cast<int>(state.range(0));
    std::vector<double> ours, theirs, ratios;
    for (auto _ : state) {
        const std::vector<Step> round = steps();
        const bool ours_first = ours.size() % 2 == 0;
        const auto record_theirs = [&] {
            theirs.push_back(
                measure(threads, round, [](Step step) { reference.update(step.signal, step.value); }));
        };
        if (!ours_first)
            record_theirs();
        ours.push_back(measure(threads, round, [](Step step) { handles[step.signal].update(step.value); }));
        if (ours_first)
            record_theirs();
        ratios.push_back(ours.back() / theirs.back());
        state.SetIterationTime(ours.back() * changes_per_round * 1e-9);
    }
    state.counters["ns_per_change"] = median(ours);
    state.counters["reference_ns"] = median(theirs);
    state.counters["ratio"] = median(ratios);
}
BENCHMARK(recording)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(8)
    ->Iterations(rounds(usual_rounds))
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
