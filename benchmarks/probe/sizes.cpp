// Measures screens of several sizes, each on an X server of its own, and more contacts than two hands have.

#include "commands/virtualscreen.h"
#include "flood.h"
#include "latency/fields.h"
#include "latency/statistics.h"
#include "measure.h"
#include "places.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

using namespace latency;

namespace {

constexpr const char *full_hd = "1920x1080";
constexpr const char *ultra_hd = "3840x2160";
constexpr const char *twice_ultra_hd = "7680x4320";

constexpr int title = 24;       // pixels, as are all below: the window manager's
constexpr int path_width = 140; // of a contact in its field
constexpr int path_margin = 20; // around it, for its turns
constexpr int path_radius = 3;  // the path is made for lines of this half width

/// A virtual screen in place of the one that DISPLAY names, for as long as it lives.
class SizedScreen
{
public:
    explicit SizedScreen(const std::string &size) : m_server(size)
    {
        if (!m_server.isThere())
            throw std::runtime_error("there is no virtual screen of " + size);
        setenv("DISPLAY", m_server.display().c_str(), 1);
        m_screen = std::make_unique<Screen>();
    }
    ~SizedScreen() { setenv("DISPLAY", m_display.c_str(), 1); }
    SizedScreen(const SizedScreen &) = delete;
    SizedScreen &operator=(const SizedScreen &) = delete;

    Screen &operator*() { return *m_screen; }

private:
    const std::string m_display = std::getenv("DISPLAY");
    const lab::VirtualScreen m_server;
    std::unique_ptr<Screen> m_screen;
};

/// The content of the maximised window.
acceptance::Area window_on(const Screen &screen)
{
    return {0, title, screen.width(), screen.height() - title};
}

/// Ten contacts in two rows of five that fill the screen, whatever its size. Their steps are as long in
/// pixels on each, and so are their tags.
Walk spread_walk(const Screen &screen)
{
    constexpr int width = 1920;
    constexpr int height = 1080;
    Walk walk = Fields({0, title, width, height - title}, 10).walk(true);
    const std::vector<Point> corners = walk.front();
    for (std::vector<Point> &places : walk) {
        for (std::size_t i = 0; i < places.size(); ++i) {
            places[i].x += corners[i].x * (screen.width() - width) / width;
            places[i].y += corners[i].y * (screen.height() - height) / height;
        }
    }
    return walk;
}

/// Follows some touches with tags to their pixels, so many steps of @p walk.
Result run_touches(const Setting &setting, const Walk &walk, int steps)
{
    Program program(setting.paths, setting.screen);
    program.prepare(true);
    const int contacts = static_cast<int>(walk.front().size());
    Measurement measurement(program, setting.screen, {Contacts::touch, contacts, Fields::radius});
    measurement.draw(Walk(walk.begin(), walk.begin() + warm_up), warm_up_interval);
    measurement.paceEvenly(even_step);
    Result result;
    measure(program, measurement, Walk(walk.begin() + warm_up, walk.begin() + warm_up + steps), result);
    return result;
}

/// What one size of the screen has given.
struct Times
{
    std::vector<double> to_pixel; ///< milliseconds
    std::vector<double> processor;

    void add(const Result &result)
    {
        for (const double time : result["samples"]["to pixel [ms]"])
            to_pixel.push_back(time);
        processor.push_back(result["values"]["processor time per report [ms]"]);
    }
};

/// Measures ten touches in turn on two screens, so that whatever else the machine does falls on both.
Result run_in_turn(const Setting &setting)
{
    std::map<std::string, Times> times;
    for (int round = 0; round < (setting.quick ? 2 : 8); ++round) {
        for (const char *const size : {full_hd, ultra_hd}) {
            SizedScreen screen(size);
            times[size].add(run_touches(setting.on(*screen), spread_walk(*screen), setting.quick ? 50 : 100));
        }
    }
    Result result;
    for (const auto &[size, found] : times) {
        result["samples"]["to pixel [ms], " + size] = found.to_pixel;
        result["samples"]["processor time per report [ms], " + size] = found.processor;
    }
    const Distribution small = distributionOf(times[full_hd].to_pixel);
    const Distribution large = distributionOf(times[ultra_hd].to_pixel);
    result["values"]["to pixel, ratio of the medians"] = large.median / small.median;
    result["values"]["to pixel, ratio of the 99th percentiles"] = large.p99 / small.p99;
    result["values"]["processor time per report, ratio of the medians"] =
        distributionOf(times[ultra_hd].processor).median / distributionOf(times[full_hd].processor).median;
    return result;
}

/// Each contact draws a dense path of its own, in a field in which its tag has room.
Plan plan_in_fields(int contacts, int steps, const Screen &screen)
{
    Plan plan;
    plan.walk.resize(static_cast<std::size_t>(steps));
    const std::vector<Point> corners = Fields(window_on(screen), contacts).walk(true).front();
    for (const Point corner : corners) {
        const int left = corner.x + path_margin;
        const std::vector<Place> path = dense_path(steps, {left, corner.y + path_margin, left + path_width});
        for (std::size_t i = 0; i < path.size(); ++i) {
            plan.walk[i].push_back(path[i].at);
            plan.proofs.push_back(path[i].proof);
        }
        plan.last_proofs.push_back(path.back().proof);
    }
    return plan;
}

/// Moves every contact once a tick.
Result run_many(const Setting &setting, int contacts)
{
    constexpr int steps_a_second = 125;
    const Flood flood{{Contacts::touch, contacts, path_radius}, steps_a_second, true};
    const int steps = steps_a_second * (setting.quick ? 2 : 8);
    Result result = run_flood(setting, flood, plan_in_fields(contacts, steps, setting.screen));
    const Result one_by_one =
        run_touches(setting, Fields(window_on(setting.screen), contacts).walk(true), setting.quick ? 20 : 50);
    result["samples"]["to pixel [ms]"] = one_by_one["samples"]["to pixel [ms]"];
    return result;
}

double megapixels(const Screen &screen)
{
    return screen.width() * static_cast<double>(screen.height()) / 1e6;
}

/// The memory of the program on screens of several sizes, and what each megapixel adds to it.
Result run_memory(const Setting &setting)
{
    Result result;
    std::vector<std::pair<double, double>> points;
    for (const char *const size : {full_hd, ultra_hd, twice_ultra_hd}) {
        SizedScreen screen(size);
        const Program program(setting.paths, *screen);
        const double megabytes = static_cast<double>(program.residentBytes()) / 1e6;
        result["values"]["resident memory [MB], " + std::string(size)] = megabytes;
        points.emplace_back(megapixels(*screen), megabytes);
    }
    result["values"]["resident memory for each megapixel [MB]"] =
        (points.back().second - points.front().second) / (points.back().first - points.front().first);
    return result;
}

} // namespace

void add_size_cases(std::vector<Case> &cases)
{
    cases.push_back({"sizes: 10 touches, tags on, 3840x2160 and 1920x1080 in turn", run_in_turn});
    const std::pair<int, const char *> rows[] = {
        {16, full_hd},   {40, full_hd},        {16, ultra_hd},       {40, ultra_hd},
        {100, ultra_hd}, {16, twice_ultra_hd}, {40, twice_ultra_hd}, {100, twice_ultra_hd}};
    for (const auto &[contacts, size] : rows) {
        cases.push_back({"sizes: " + std::to_string(contacts) + " touches, tags on, " + size,
                         [contacts = contacts, size = size](const Setting &setting) {
                             SizedScreen screen(size);
                             return run_many(setting.on(*screen), contacts);
                         }});
    }
    cases.push_back({"sizes: memory", run_memory});
}
