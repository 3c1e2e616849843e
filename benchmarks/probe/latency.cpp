// Measures the time from a report to its pixel: one report at a time, at moments that are independent of the
// program's tick.

#include "cases.h"
#include "measure.h"

#include <algorithm>
#include <numeric>
#include <random>

using namespace latency;

namespace {

// Steps are longer than the circles of the info tags, so that a place is untouched until its report.
constexpr int pen_step = 32; // pixels, as are all below
constexpr int touch_step = 22;
constexpr int touch_radius = 11;

constexpr Area whole{40, 60, 1880};
constexpr int scribbles_height = 580; // strokes that are not measured go above this
constexpr Area first_rows{40, 700, 1880};
constexpr Area last_rows{40, 892, 1880};

Walk walk_of_one(const Area &area, int step, int count)
{
    Walk walk;
    for (int i = 0; i < count; ++i)
        walk.push_back({serpentine(area, step, i)});
    return walk;
}

/// Ten contacts that move in step, each in its own field, which the tags of the others do not reach.
Walk walk_of_ten(int count)
{
    Walk walk;
    for (int i = 0; i < count; ++i) {
        std::vector<Point> places;
        for (int contact = 0; contact < 10; ++contact) {
            const int left = 40 + contact % 5 * 370;
            places.push_back(serpentine({left, 60 + contact / 5 * 505, left + 330}, touch_step, i));
        }
        walk.push_back(places);
    }
    return walk;
}

int report_count(const Setting &setting)
{
    return setting.quick ? 60 : 300;
}

/// Paints the whole screen with one touch, for erasers to wipe away.
void fill_screen(Program &program, const Setting &setting)
{
    const std::vector<Point> centre{{setting.screen.width() / 2, setting.screen.height() / 2}};
    const Contacts hand{Contacts::touch, 1, setting.screen.width() * 2 / 3};
    Measurement measurement(program, setting.screen, hand);
    measurement.draw({centre}, 0);
    measurement.lift(centre);
}

Result run_one_by_one(const Setting &setting, const Contacts &contacts, bool tags)
{
    Program program(setting.paths, setting.screen);
    program.prepare(tags);
    if (contacts.kind == Contacts::eraser)
        fill_screen(program, setting);

    const int count = warm_up + report_count(setting);
    const int step = contacts.kind == Contacts::touch ? touch_step : pen_step;
    const Walk walk = contacts.count == 1 ? walk_of_one(whole, step, count) : walk_of_ten(count);
    Measurement measurement(program, setting.screen, contacts);
    measurement.draw(Walk(walk.begin(), walk.begin() + warm_up), warm_up_interval);
    Result result;
    measure(program, measurement, Walk(walk.begin() + warm_up, walk.end()), result);
    return result;
}

double mean(const std::vector<double> &values)
{
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

/// Measures a pen in turn with and without the recorder.
Result run_recorded(const Setting &setting)
{
    const Walk walk = walk_of_one(whole, pen_step, warm_up + report_count(setting));
    std::vector<double> direct;
    std::vector<double> recorded;
    for (int round = 0; round < 4; ++round) {
        const bool is_recorded = round % 2 != 0;
        Program program(is_recorded ? setting.recorded : setting.paths, setting.screen);
        program.prepare(true);
        Measurement measurement(program, setting.screen, {});
        measurement.draw(Walk(walk.begin(), walk.begin() + warm_up), warm_up_interval);
        measurement.paceEvenly(even_step);
        Result result;
        measure(program, measurement, Walk(walk.begin() + warm_up, walk.end()), result);
        for (const double time : result["samples"]["to pixel [ms]"])
            (is_recorded ? recorded : direct).push_back(time);
    }
    Result result;
    result["samples"]["to pixel [ms], without the recorder"] = direct;
    result["samples"]["to pixel [ms], with the recorder"] = recorded;
    result["values"]["to pixel [ms], added by the recorder"] = mean(recorded) - mean(direct);
    return result;
}

/// Random places at the top of the screen.
Walk scribble(int count, std::mt19937 &random)
{
    Walk walk;
    Point place{whole.left, whole.top};
    for (int i = 0; i < count; ++i) {
        const auto near = [&random](int at, int low, int high) {
            return std::clamp(at + std::uniform_int_distribution<int>(-9, 9)(random), low, high);
        };
        place = {near(place.x, whole.left, whole.right),
                 near(place.y, whole.top, whole.top + scribbles_height)};
        walk.push_back({place});
    }
    return walk;
}

constexpr Nanoseconds scribble_interval = 50'000; // 20,000 reports a second

/// Measures the first and the last hundred segments of one long stroke.
Result run_long_stroke(const Setting &setting)
{
    Program program(setting.paths, setting.screen);
    program.prepare(false);
    const int measured = setting.quick ? 50 : 100;
    std::mt19937 random(1);
    Measurement measurement(program, setting.screen, {});
    Result result;
    const Walk first = walk_of_one(first_rows, pen_step, warm_up + measured);
    measurement.draw(Walk(first.begin(), first.begin() + warm_up), warm_up_interval);
    measure(program, measurement, Walk(first.begin() + warm_up, first.end()), result,
            ", first of the stroke");

    const Walk last = walk_of_one(last_rows, pen_step, 1 + measured);
    Walk middle = scribble(20'000 - 2 * measured, random);
    middle.push_back(last.front());
    measurement.draw(middle, scribble_interval);
    measure(program, measurement, Walk(last.begin() + 1, last.end()), result, ", last of the stroke");
    return result;
}

/// Measures a stroke on an empty screen, and one after 100,000 segments in a thousand strokes.
Result run_many_strokes(const Setting &setting)
{
    constexpr int strokes = 1'000;
    constexpr int segments_per_stroke = 100;

    Program program(setting.paths, setting.screen);
    program.prepare(false);
    std::mt19937 random(1);
    Measurement measurement(program, setting.screen, {});
    Result result;
    const auto measure_rows = [&](const Area &rows, const std::string &suffix) {
        const Walk walk = walk_of_one(rows, pen_step, warm_up + report_count(setting));
        measurement.draw(Walk(walk.begin(), walk.begin() + warm_up), warm_up_interval);
        measure(program, measurement, Walk(walk.begin() + warm_up, walk.end()), result, suffix);
        measurement.lift(walk.back());
    };
    measure_rows(first_rows, ", empty screen");

    std::vector<boardsim::Bytes> reports;
    for (int stroke = 0; stroke < strokes; ++stroke) {
        const Walk walk = scribble(segments_per_stroke, random);
        for (const std::vector<Point> &places : walk)
            reports.push_back(measurement.report(places));
        reports.push_back(measurement.report(walk.back(), false));
    }
    program.deliver(reports, scribble_interval);
    setting.screen.settle(200 * millisecond, now() + patience);

    measure_rows(last_rows, ", 100,000 segments");
    return result;
}

} // namespace

void add_latency_cases(std::vector<Case> &cases)
{
    struct Row
    {
        const char *name;
        Contacts contacts;
    };
    const Row rows[] = {{"pen", {Contacts::pen, 1, 0}},
                        {"1 touch", {Contacts::touch, 1, touch_radius}},
                        {"10 touches", {Contacts::touch, 10, touch_radius}},
                        {"eraser", {Contacts::eraser, 1, touch_radius}}};
    for (const Row &row : rows) {
        for (const bool tags : {false, true}) {
            cases.push_back(
                {std::string("report to pixel: ") + row.name + (tags ? ", tags on" : ", tags off"),
                 [contacts = row.contacts, tags](const Setting &setting) {
                     return run_one_by_one(setting, contacts, tags);
                 }});
        }
    }
    cases.push_back({"report to pixel: pen, recorded", run_recorded});
    cases.push_back({"report to pixel: a stroke of 20,000 segments", run_long_stroke});
    cases.push_back({"report to pixel: 100,000 segments on the screen", run_many_strokes});
}
