// Measures the start of the program, and the program when it has nothing to do.

#include "cases.h"

#include <algorithm>
#include <utility>

#include <poll.h>

using namespace latency;

namespace {

Result run_start(const Setting &setting)
{
    std::vector<double> times;
    std::vector<double> floors;
    for (int i = 0; i < (setting.quick ? 5 : 20); ++i) {
        for (const auto &[paths, found] :
             {std::pair(&setting.paths, &times), {&setting.bare_window, &floors}}) {
            const Program program(*paths, setting.screen);
            found->push_back(static_cast<double>(program.timeToFirstPicture()) / millisecond);
        }
    }
    Result result;
    result["samples"]["start to first picture [ms]"] = times;
    result["samples"]["start to first picture [ms], bare window"] = floors;
    return result;
}

/// The share of a core that it takes to do nothing but wait, tick by tick: the floor of an idle program.
double share_of_bare_ticks(int ticks)
{
    constexpr int tick_ms = 8;
    const Nanoseconds start = now();
    const Nanoseconds processor = readClock(CLOCK_THREAD_CPUTIME_ID);
    for (int i = 0; i < ticks; ++i)
        poll(nullptr, 0, tick_ms);
    return static_cast<double>(readClock(CLOCK_THREAD_CPUTIME_ID) - processor) * 100
        / static_cast<double>(now() - start);
}

/// What an idle program has taken, second by second.
struct Idle
{
    std::vector<double> shares; ///< percent of a core
    std::vector<double> wake_ups;
    int changes = 0;
    long resident_bytes = 0;
};

/// Starts the program and watches it for a second.
void watch_idle(const Paths &paths, Screen &screen, Idle &idle)
{
    const Program program(paths, screen);
    screen.settle(second, now() + patience);
    const Nanoseconds start = now();
    const Nanoseconds processor = program.processorTime();
    const long earlier = program.wakeUps();
    while (screen.waitForChange(start + second))
        ++idle.changes;
    const double seconds = static_cast<double>(now() - start) / static_cast<double>(second);
    const long later = program.wakeUps();
    idle.shares.push_back(static_cast<double>(program.processorTime() - processor) * 100
                          / static_cast<double>(now() - start));
    idle.wake_ups.push_back(static_cast<double>(later - earlier) / seconds);
    idle.resident_bytes = program.residentBytes();
}

Result run_idle(const Setting &setting)
{
    std::vector<double> bare_ticks;
    Idle bare_window;
    Idle idle;
    for (int round = 0; round < (setting.quick ? 3 : 10); ++round) {
        bare_ticks.push_back(share_of_bare_ticks(100));
        watch_idle(setting.bare_window, setting.screen, bare_window);
        watch_idle(setting.paths, setting.screen, idle);
    }
    Result result;
    result["samples"]["share of a core [%]"] = idle.shares;
    result["samples"]["share of a core, bare ticks [%]"] = bare_ticks;
    result["samples"]["share of a core, bare window [%]"] = bare_window.shares;
    result["samples"]["wake-ups a second"] = idle.wake_ups;
    result["values"]["times painted"] = idle.changes;
    result["values"]["resident memory [MB]"] = static_cast<double>(idle.resident_bytes) / 1e6;
    return result;
}

} // namespace

void add_idle_cases(std::vector<Case> &cases)
{
    cases.push_back({"start", run_start});
    cases.push_back({"idle, window shown", run_idle});
}
