// The start, and nothing to do.

#include "cases.h"

#include <algorithm>

#include <poll.h>

namespace {

Result run_start(const Setting &setting)
{
    std::vector<double> times;
    for (int i = 0; i < (setting.quick ? 5 : 20); ++i) {
        const Program program(setting.paths, setting.screen);
        times.push_back(static_cast<double>(program.time_to_first_picture()) / millisecond);
    }
    Result result;
    result["samples"]["start to first picture [ms]"] = times;
    return result;
}

/// What it takes to do nothing but wait, one tick after the other: the floor of an idle program.
double share_of_bare_ticks(int ticks)
{
    constexpr int tick_ms = 8;
    const Nanoseconds start = now();
    const Nanoseconds processor = read_clock(CLOCK_THREAD_CPUTIME_ID);
    for (int i = 0; i < ticks; ++i)
        poll(nullptr, 0, tick_ms);
    return static_cast<double>(read_clock(CLOCK_THREAD_CPUTIME_ID) - processor) * 100
        / static_cast<double>(now() - start);
}

Result run_idle(const Setting &setting)
{
    Screen &screen = setting.screen;
    const Program program(setting.paths, screen);
    screen.settle(second, now() + patience);

    std::vector<double> shares;
    std::vector<double> floors;
    std::vector<double> wake_ups;
    int changes = 0;
    for (int round = 0; round < (setting.quick ? 3 : 10); ++round) {
        const Nanoseconds start = now();
        const Nanoseconds processor = program.processor_time();
        const long earlier = program.wake_ups();
        while (screen.wait_for_change(start + second))
            ++changes;
        const double seconds = static_cast<double>(now() - start) / static_cast<double>(second);
        const long later = program.wake_ups();
        shares.push_back(static_cast<double>(program.processor_time() - processor) * 100
                         / static_cast<double>(now() - start));
        floors.push_back(share_of_bare_ticks(100));
        wake_ups.push_back(static_cast<double>(later - earlier) / seconds);
    }
    Result result;
    result["samples"]["share of a core [%]"] = shares;
    result["samples"]["share of a core, bare ticks [%]"] = floors;
    result["samples"]["wake-ups a second"] = wake_ups;
    result["values"]["times painted"] = changes;
    result["values"]["resident memory [MB]"] = static_cast<double>(program.resident_bytes()) / 1e6;
    return result;
}

} // namespace

void add_idle_cases(std::vector<Case> &cases)
{
    cases.push_back({"start", run_start});
    cases.push_back({"idle, window shown", run_idle});
}
