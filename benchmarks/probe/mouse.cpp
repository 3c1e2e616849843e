// Measures how many of a mouse's motions become segments of its stroke, alone and beside a flood of reports.
// Qt merges motions that wait together, so each one that waits too long is lost.

#include "cases.h"
#include "latency/contacts.h"
#include "places.h"

#include <algorithm>
#include <string>

#include <time.h>

using namespace latency;

namespace {

constexpr int motions = 2'000;
constexpr Nanoseconds between_motions = millisecond;
constexpr int first_row = 46;                   // pixels: below the window manager's title
constexpr int strip = 1034;                     // the pen moves from here to 16 pixels below
constexpr Nanoseconds rest = 250 * millisecond; // without a change for so long, all is drawn

void wait_until(Nanoseconds time)
{
    const timespec at{time / second, time % second};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr);
}

/// A pen that moves for as long as the mouse does.
std::vector<boardsim::Bytes> pen_reports(int rate, const Screen &screen)
{
    std::vector<boardsim::Bytes> reports;
    const auto count = rate * (motions * between_motions / millisecond) / 1'000;
    for (int i = 0; i < count; ++i)
        reports.push_back(Contacts{}.report({{100 + i % 80, strip + i % 2 * 16}}, screen));
    return reports;
}

Result run(const Setting &setting, int rate)
{
    Screen &screen = setting.screen;
    Program program(setting.paths, screen);
    program.prepare(false);
    const std::vector<Place> path = dense_path(motions, full_width(screen, first_row));
    const std::vector<boardsim::Bytes> reports = pen_reports(rate, screen);

    screen.movePointer(path.front().at);
    screen.holdButton(true);
    if (!reports.empty())
        program.beginDelivery(reports, second / rate);
    const Nanoseconds begin = now();
    for (std::size_t i = 1; i < path.size(); ++i) {
        wait_until(begin + static_cast<Nanoseconds>(i) * between_motions);
        screen.movePointer(path[i].at);
    }
    screen.holdButton(false);
    if (!reports.empty())
        program.awaitDelivery();
    screen.settle(rest, now() + patience);

    const Picture picture = screen.picture();
    Result result;
    result["values"]["motions"] = motions;
    result["values"]["motions not drawn"] = std::count_if(path.begin(), path.end(), [&](const Place &place) {
        return !differs(white, picture.at(place.proof));
    });
    return result;
}

} // namespace

void add_mouse_cases(std::vector<Case> &cases)
{
    for (const int rate : {0, 1'000, 5'000, 20'000}) {
        const std::string beside = rate == 0 ? "alone" : std::to_string(rate) + " pen reports a second";
        cases.push_back({"mouse: 1000 motions a second, " + beside,
                         [rate](const Setting &setting) { return run(setting, rate); }});
    }
}
