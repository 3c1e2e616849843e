// Measures the tick, in which every info tag renders on its own thread and the tick waits for all of them.

#include "timing.h"

#include "lxwindow.h"
#include "strokesview.h"

#include <QCoreApplication>

#include <future>

namespace {

constexpr double touch_radius = 11; // pixels

/// The program's window with the info tags of touches, side by side in rows.
class Window
{
public:
    explicit Window(std::int64_t tags) : m_view(*m_dialog.findChild<StrokesView *>())
    {
        m_dialog.showNormal();
        m_dialog.resize(1920, 1080);
        for (int i = 0; i < tags; ++i) {
            Korvane::Controls record;
            record.id = 256 + i;
            record.radius = {touch_radius, touch_radius};
            record.pos = {180.0 + 104 * (i % 16), 150.0 + 110 * (i / 16)};
            m_touches.push_back(record);
        }
        move(0);
        paint();
        tick();
        paint();
    }

    ~Window()
    {
        for (Korvane::Controls &touch : m_touches)
            touch.buttons = 0;
        m_view.my_touch_event(m_touches);
    }

    Window(const Window &) = delete;
    Window &operator=(const Window &) = delete;

    /// Sends one report in which every touch has moved by @p way.
    void move(double way)
    {
        for (Korvane::Controls &touch : m_touches) {
            touch.buttons = 1;
            touch.pos.rx() += way;
            touch.view_pos = touch.pos;
        }
        if (!m_touches.empty())
            m_view.my_touch_event(m_touches);
    }

    void tick() { m_dialog.in_timer_update(); }
    void paint() { QCoreApplication::sendPostedEvents(); }
    std::size_t shown() const { return m_view.items().size(); }

private:
    LanternixDialog m_dialog{nullptr};
    StrokesView &m_view;
    std::vector<Korvane::Controls> m_touches;
};

enum class Tags { resting, moved };

void run(benchmark::State &state, Tags tags, bool painted)
{
    Window window(state.range(0));
    if (window.shown() != static_cast<std::size_t>(state.range(0))) {
        state.SkipWithError("not every touch has an info tag");
        return;
    }
    double way = 3;
    for (auto _ : state) {
        state.PauseTiming();
        if (tags == Tags::moved)
            window.move(way = -way);
        state.ResumeTiming();
        window.tick();
        if (painted) {
            window.paint();
        } else {
            state.PauseTiming();
            window.paint();
            state.ResumeTiming();
        }
    }
}

void tick_unchanged(benchmark::State &state)
{
    run(state, Tags::resting, false);
}

void tick_moved(benchmark::State &state)
{
    run(state, Tags::moved, false);
}

void tick_moved_and_paint(benchmark::State &state)
{
    run(state, Tags::moved, true);
}

void tick_options(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgName("items")->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMicrosecond);
}

BENCHMARK(tick_unchanged)->Arg(0)->Arg(10)->Arg(40)->Arg(128)->Apply(tick_options);
BENCHMARK(tick_moved)->Arg(10)->Arg(40)->Arg(128)->Apply(tick_options);
BENCHMARK(tick_moved_and_paint)->Arg(1)->Arg(10)->Arg(40)->Arg(128)->Apply(tick_options);

void launch_and_join(benchmark::State &state)
{
    for (auto _ : state)
        std::async(std::launch::async, [] {}).wait();
}
BENCHMARK(launch_and_join)
    ->Name("floor_async_launch_and_join")
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace
