// Measures floods, with more reports than ticks: what a report costs, whether every report is drawn, and how
// long the last one takes.

#include "flood.h"

#include "latency/statistics.h"
#include "places.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

using namespace latency;

namespace {

constexpr int first_row = 46; // pixels: below the window manager's title
constexpr int rows_end = 1020;
constexpr int strip = 1034; // contacts without room for proofs move here; to 16 pixels below

constexpr int most_reports = 100'000; // for more, the screen has no room for the proofs even of one contact
constexpr int touch_radius = 3;       // pixels; the path is made for lines of this half width
constexpr Nanoseconds rest = 250 * millisecond; // without a change for so long, all is drawn

/// As many contacts as there is room for draw a proof with each report; the others move to and fro in the
/// strip.
Plan plan(const Contacts &contacts, int count, const Screen &screen)
{
    const int rows_per_contact = dense_rows(count, full_width(screen, first_row));
    const int room = (rows_end - first_row) / dense_row_height / rows_per_contact;
    const int proving = std::min(contacts.count, room);
    Plan plan;
    plan.walk.assign(static_cast<std::size_t>(count), {});
    for (int contact = 0; contact < contacts.count; ++contact) {
        const int top = first_row + contact * rows_per_contact * dense_row_height;
        const std::vector<Place> path =
            contact < proving ? dense_path(count, full_width(screen, top)) : std::vector<Place>();
        for (int i = 0; i < count; ++i) {
            auto &places = plan.walk[static_cast<std::size_t>(i)];
            if (contact < proving) {
                places.push_back(path[static_cast<std::size_t>(i)].at);
                plan.proofs.push_back(path[static_cast<std::size_t>(i)].proof);
            } else {
                places.push_back({100 + 170 * contact + i % 80, strip + i % 2 * 16});
            }
        }
    }
    for (int contact = 1; contact <= proving; ++contact)
        plan.last_proofs.push_back(plan.proofs[static_cast<std::size_t>(contact * count - 1)]);
    return plan;
}

/// Milliseconds between the changes on the screen, one for each tick.
std::vector<double> ticks(const std::vector<Nanoseconds> &changes)
{
    std::vector<double> times;
    times.reserve(changes.size());
    for (const Nanoseconds change : changes)
        times.push_back(static_cast<double>(change) / millisecond);
    return ticksBetween(times);
}

/// How many ticks of 8 ms did not come in the times between those that did.
double missed(const std::vector<double> &ticks)
{
    constexpr double usual = 8;
    double missed = 0;
    for (const double tick : ticks)
        missed += std::max(0.0, std::round(tick / usual) - 1);
    return missed;
}

double longest(const std::vector<double> &times)
{
    return times.empty() ? 0 : *std::max_element(times.begin(), times.end());
}

std::vector<double> times_inside(const Delivery *deliveries, std::size_t count)
{
    std::vector<double> times;
    for (std::size_t i = 0; i < count; ++i)
        times.push_back(static_cast<double>(deliveries[i].inside) / 1000);
    return times;
}

long missing(const Plan &plan, const Picture &picture)
{
    return std::count_if(plan.proofs.begin(), plan.proofs.end(),
                         [&](Point proof) { return !differs(white, picture.at(proof)); });
}

/// Returns the times of changes on the screen until the last report is drawn and all is at rest, or until the
/// program has nothing more to do. A program that falls behind may paint nothing for a long time.
std::vector<Nanoseconds> watch(Program &program, Screen &screen, const Plan &plan, Nanoseconds end)
{
    std::vector<Nanoseconds> changes;
    const std::vector<Colour> empty(plan.last_proofs.size(), white);
    for (const Nanoseconds deadline = end + 10 * patience; now() < deadline;) {
        const Nanoseconds processor = program.processorTime();
        if (const auto change = screen.waitForChange(std::max(now(), end) + rest)) {
            changes.push_back(*change);
            continue;
        }
        program.check();
        const std::vector<Colour> colours = screen.colours(plan.last_proofs);
        if (std::equal(colours.begin(), colours.end(), empty.begin(), differs))
            return changes;
        if (program.processorTime() - processor < rest / 8)
            return changes;
    }
    throw std::runtime_error("the program does not catch up with the reports");
}

Result run(const Setting &setting, const Flood &flood)
{
    const int count = std::min(most_reports, flood.rate * (setting.quick ? 1 : 5));
    return run_flood(setting, flood, plan(flood.contacts, count, setting.screen));
}

/// Measures reports that only cross to the GUI thread, which drops them because a resting pen changes
/// nothing. The pen is down, because each report of a hovering pen asks the X server which window is under
/// it.
Result run_resting(const Setting &setting, int rate)
{
    Program program(setting.paths, setting.screen);
    program.prepare(false);
    const int count = rate * (setting.quick ? 1 : 5);
    const Point middle{setting.screen.width() / 2, setting.screen.height() / 2};
    const std::vector<boardsim::Bytes> reports(static_cast<std::size_t>(count),
                                               Contacts{}.report({middle}, setting.screen));
    const Nanoseconds processor = program.processorTime();
    program.deliver(reports, second / rate);
    Result result;
    result["values"]["processor time per report [µs]"] =
        static_cast<double>(program.processorTime() - processor) / count / 1000;
    return result;
}

} // namespace

Result run_flood(const Setting &setting, const Flood &flood, const Plan &plan)
{
    Screen &screen = setting.screen;
    Program program(setting.paths, screen);
    program.prepare(flood.tags);
    std::vector<boardsim::Bytes> reports;
    for (const std::vector<Point> &places : plan.walk) {
        const std::vector<boardsim::Bytes> step = flood.contacts.reports(places, screen);
        reports.insert(reports.end(), step.begin(), step.end());
    }

    const auto count = static_cast<int>(reports.size());
    const Nanoseconds interval = second / flood.rate * static_cast<Nanoseconds>(plan.walk.size()) / count;
    const Nanoseconds processor = program.processorTime();
    screen.forgetChanges();
    program.beginDelivery(reports, interval);
    const std::vector<Nanoseconds> changes = watch(program, screen, plan, now() + count * interval);
    const Delivery *const deliveries = program.awaitDelivery();
    const Nanoseconds last_report = deliveries[count - 1].called;
    const Nanoseconds last_change = changes.empty() ? last_report : changes.back();
    const auto taken = static_cast<double>(program.processorTime() - processor);

    Result result;
    const std::vector<double> intervals = ticks(changes);
    const std::vector<double> inside = times_inside(deliveries, reports.size());
    result["samples"]["tick [ms]"] = intervals;
    result["samples"]["inside callback [µs]"] = inside;
    result["values"]["ticks missed"] = missed(intervals);
    result["values"]["processor time per tick [ms]"] =
        taken / static_cast<double>(std::max<std::size_t>(1, intervals.size())) / millisecond;
    result["values"]["processor time per report [µs]"] = taken / count / 1000;
    result["values"]["longest between two changes [ms]"] = longest(intervals);
    result["values"]["longest inside callback [µs]"] = longest(inside);
    result["values"]["reports"] = count;
    result["values"]["reports a second, as delivered"] =
        (count - 1) * static_cast<double>(second) / static_cast<double>(last_report - deliveries[0].called);
    result["values"]["last report to last change [ms]"] =
        static_cast<double>(std::max<Nanoseconds>(0, last_change - last_report)) / millisecond;

    // Lifting the contacts removes the info tags and uncovers what was below them.
    program.deliver(flood.contacts.reports(plan.walk.back(), screen, false));
    long lost = missing(plan, screen.picture());
    for (const Nanoseconds deadline = now() + 4 * second; lost > 0 && now() < deadline;) {
        screen.waitForChange(now() + rest);
        lost = missing(plan, screen.picture());
    }
    result["values"]["segments looked for"] = plan.proofs.size();
    result["values"]["segments missing"] = lost;
    return result;
}

void add_flood_cases(std::vector<Case> &cases)
{
    const std::pair<const char *, Contacts> kinds[] = {{"pen", {Contacts::pen, 1, 0}},
                                                       {"10 touches", {Contacts::touch, 10, touch_radius}}};
    for (const auto &[name, contacts] : kinds) {
        for (const int rate : {1'000, 5'000, 20'000, 50'000, 100'000}) {
            for (const bool tags : {false, true}) {
                if (rate > 20'000 && !tags)
                    continue; // overload, of which the worse case is enough
                const Flood flood{contacts, rate, tags};
                cases.push_back({"flood: " + std::string(name) + ", " + std::to_string(rate)
                                     + " reports a second, tags " + (tags ? "on" : "off"),
                                 [flood](const Setting &setting) { return run(setting, flood); }});
            }
        }
    }
    cases.push_back({"flood: resting pen, 20000 reports a second",
                     [](const Setting &setting) { return run_resting(setting, 20'000); }});
}
