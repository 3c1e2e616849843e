// The start, and nothing to do.

#include "cases.h"

#include <algorithm>

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

Result run_idle(const Setting &setting)
{
    Screen &screen = setting.screen;
    const Program program(setting.paths, screen);
    screen.settle(second, now() + patience);

    std::vector<double> shares;
    std::vector<double> wake_ups;
    int changes = 0;
    for (int round = 0; round < (setting.quick ? 3 : 10); ++round) {
        const Nanoseconds start = now();
        const Nanoseconds processor = program.processor_time();
        const long switches = program.switches();
        while (screen.wait_for_change(start + second))
            ++changes;
        const double seconds = static_cast<double>(now() - start) / static_cast<double>(second);
        const long later = program.switches();
        shares.push_back(static_cast<double>(program.processor_time() - processor) * 100
                         / static_cast<double>(now() - start));
        wake_ups.push_back(static_cast<double>(later - switches) / seconds);
    }
    Result result;
    result["samples"]["share of a core [%]"] = shares;
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
