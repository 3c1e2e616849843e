// Measures strokes and test patterns.

#include "timing.h"

#include "strokesview.h"

#include <QPainter>
#include <QPen>
#include <QRegion>
#include <QResizeEvent>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include <malloc.h>

namespace {

constexpr QSize screen(1920, 1080);
constexpr int pen_id = -1;
constexpr double half_width = 3; // the program's own stroke width

std::unique_ptr<StrokesView> new_view(QSize size)
{
    auto view = std::make_unique<StrokesView>();
    view->m_show_tags = false;
    view->resize(size);
    QResizeEvent event(size, {});
    view->resizeEvent(&event);
    return view;
}

/// Places one after the other, each within @p reach of the last.
class Wander
{
public:
    explicit Wander(double reach) : m_step(-reach, reach) { }

    QPointF next()
    {
        m_at += {m_step(m_random), m_step(m_random)};
        m_at.setX(qBound(20.0, std::round(m_at.x()), screen.width() - 20.0));
        m_at.setY(qBound(20.0, std::round(m_at.y()), screen.height() - 20.0));
        return m_at;
    }

private:
    std::mt19937 m_random{1};
    std::uniform_real_distribution<double> m_step;
    QPointF m_at{screen.width() / 2.0, screen.height() / 2.0};
};

/// A contact without a size draws lines of the program's own width.
Korvane::Controls record(QPointF at, int buttons = 1, double radius = 0)
{
    Korvane::Controls record;
    record.id = pen_id;
    record.buttons = buttons;
    record.radius = {radius, radius};
    record.pos = record.view_pos = at;
    return record;
}

/// A painter of bare lines, as wide as the strokes.
class Lines
{
public:
    Lines() : m_image(screen, QImage::Format_ARGB32_Premultiplied)
    {
        m_image.fill(0);
        m_painter.begin(&m_image);
        prepare(m_painter);
    }

    static void prepare(QPainter &painter, double radius = half_width)
    {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QBrush(Qt::red), 2 * radius, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    }

    QPainter &painter() { return m_painter; }
    QImage &image() { return m_image; }
    void end() { m_painter.end(); }

private:
    QImage m_image;
    QPainter m_painter;
};

void bare_line(benchmark::State &state)
{
    Lines lines;
    Wander wander(20);
    QPointF last = wander.next();
    for (auto _ : state) {
        const QPointF at = wander.next();
        lines.painter().drawLine(last, at);
        last = at;
    }
}
BENCHMARK(bare_line)->Name("floor_line");

void bare_line_with_painter(benchmark::State &state)
{
    Lines lines;
    lines.end();
    Wander wander(20);
    QPointF last = wander.next();
    for (auto _ : state) {
        const QPointF at = wander.next();
        QPainter painter(&lines.image());
        Lines::prepare(painter);
        painter.drawLine(last, at);
        last = at;
    }
}
BENCHMARK(bare_line_with_painter)->Name("floor_line_and_its_painter");

/// Draws as many segments as come between two ticks at 1,000 reports a second, and the same bare lines.
void draw_stroke(benchmark::State &state)
{
    constexpr int per_tick = 8;
    constexpr int per_stroke = 100;
    const auto view = new_view(screen);
    Lines lines;
    Wander wander(20);
    QPointF last = wander.next();
    Pair pair;
    int drawn = 0;
    for (auto _ : state) {
        QPointF points[per_tick];
        for (QPointF &point : points)
            point = wander.next();
        pair.measure(
            [&] {
                for (const QPointF point : points)
                    view->draw_stroke(record(point), Qt::red);
            },
            [&] {
                for (const QPointF point : points) {
                    lines.painter().drawLine(last, point);
                    last = point;
                }
            });
        view->get_dirty_region();
        if ((drawn += per_tick) % per_stroke < per_tick)
            view->draw_stroke(record(last, 0), Qt::red);
        state.SetIterationTime(pair.last() * 1e-9 / per_tick);
    }
    pair.report(state, per_tick);
}
BENCHMARK(draw_stroke)->Iterations(rounds(5'000))->UseManualTime();

/// The same for a contact whose size changes with each record, so that no line repeats.
void draw_stroke_of_changing_width(benchmark::State &state)
{
    constexpr int per_tick = 8;
    const auto view = new_view(screen);
    Lines lines;
    Wander wander(6);
    QPointF last = wander.next();
    view->draw_stroke(record(last), Qt::red);
    double radius = half_width;
    Pair pair;
    for (auto _ : state) {
        QPointF points[per_tick];
        for (QPointF &point : points)
            point = wander.next();
        const auto radius_at = [radius](int i) { return radius + i * 1e-5; };
        pair.measure(
            [&] {
                for (int i = 0; i < per_tick; ++i)
                    view->draw_stroke(record(points[i], 1, radius_at(i)), Qt::red);
            },
            [&] {
                for (int i = 0; i < per_tick; ++i) {
                    Lines::prepare(lines.painter(), radius_at(i));
                    lines.painter().drawLine(last, points[i]);
                    last = points[i];
                }
            });
        view->get_dirty_region();
        radius += per_tick * 1e-5;
        state.SetIterationTime(pair.last() * 1e-9 / per_tick);
    }
    pair.report(state, per_tick);
}
BENCHMARK(draw_stroke_of_changing_width)->Iterations(rounds(5'000))->UseManualTime();

/// Draws strokes of 1 to 199 segments until there are @p segments; puts their lines into @p lines.
void draw_strokes(StrokesView &view, std::int64_t segments, std::vector<QLineF> &lines)
{
    std::mt19937 random(1);
    std::uniform_int_distribution<int> length(1, 199);
    Wander wander(6);
    lines.clear();
    lines.reserve(static_cast<std::size_t>(segments));
    for (std::int64_t drawn = 0; drawn < segments;) {
        QPointF last = wander.next();
        const std::int64_t end = std::min<std::int64_t>(segments, drawn + length(random));
        for (; drawn < end; ++drawn) {
            const QPointF at = wander.next();
            lines.emplace_back(last, at);
            view.draw_stroke(record(at), Qt::red);
            last = at;
            view.get_dirty_region();
        }
        view.draw_stroke(record(last, 0), Qt::red);
        view.get_dirty_region();
    }
}

/// The heap in use, mapped blocks included.
double heap_bytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

int counted_segments(const StrokesView &view)
{
    int strokes = 0;
    int segments = 0;
    int shortest = 0;
    int longest = 0;
    int mean = 0;
    view.statistics(strokes, segments, shortest, longest, mean);
    return segments;
}

/// Measures the rebuild against the bare lines, and the memory that the strokes take.
void redraw_strokes(benchmark::State &state)
{
    const auto view = new_view(screen);
    std::vector<QLineF> lines;
    lines.reserve(static_cast<std::size_t>(state.range(0)));
    const double before = heap_bytes();
    draw_strokes(*view, state.range(0), lines);
    const double taken = heap_bytes() - before;
    const double segments = counted_segments(*view);

    Lines bare;
    Pair pair;
    for (auto _ : state) {
        pair.measure([&] { view->redraw_strokes(); },
                     [&] {
                         bare.image().fill(0);
                         for (const QLineF &line : lines)
                             bare.painter().drawLine(line);
                     });
        state.SetIterationTime(pair.last() * 1e-9);
    }
    pair.report(state, segments);
    state.counters["bytes_per_segment"] = taken / segments;
}
BENCHMARK(redraw_strokes)
    ->ArgName("segments")
    ->Arg(100'000)
    ->Iterations(rounds(4))
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(redraw_strokes)
    ->ArgName("segments")
    ->Arg(1'000'000)
    ->Iterations(rounds(4))
    ->Repetitions(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void pattern(benchmark::State &state, void (StrokesView::*toggle)())
{
    const auto view = new_view({static_cast<int>(state.range(0)), static_cast<int>(state.range(1))});
    if (toggle != &StrokesView::toggle_help) // a new view shows the help text
        (view.get()->*toggle)();
    for (auto _ : state)
        view->redraw_test();
}

struct Pattern
{
    const char *name;
    void (StrokesView::*toggle)();
};
constexpr Pattern patterns[] = {
    {"grid", &StrokesView::toggle_grid},
    {"targets", &StrokesView::toggle_shapes},
    {"colour_field", &StrokesView::toggle_colors},
    {"black", &StrokesView::toggle_black},
    {"vertical_bars", &StrokesView::toggle_vcalib},
    {"horizontal_bars", &StrokesView::toggle_hcalib},
    {"help", &StrokesView::toggle_help},
};

const bool patterns_registered = [] {
    // The images of views never shrink, so the small sizes come first.
    for (const QSize size : {screen, 2 * screen}) {
        for (const Pattern &row : patterns) {
            const std::string name = std::string("pattern_") + row.name;
            benchmark::RegisterBenchmark(name.c_str(), pattern, row.toggle)
                ->ArgNames({"width", "height"})
                ->Args({size.width(), size.height()})
                ->Unit(benchmark::kMicrosecond);
        }
    }
    return true;
}();

/// The least that a paint event has to do: copy the pattern, and blend the strokes over it, in one region.
void blit_both_images(benchmark::State &state)
{
    const QRect region({500, 300}, QSize(static_cast<int>(state.range(0)), static_cast<int>(state.range(1))));
    QImage pattern(screen, QImage::Format_RGB32);
    pattern.fill(Qt::white);
    QImage strokes(screen, QImage::Format_ARGB32_Premultiplied);
    strokes.fill(Qt::transparent);
    QImage target(screen, QImage::Format_ARGB32_Premultiplied);
    target.fill(Qt::transparent);
    QPainter painter(&target);
    for (auto _ : state) {
        painter.drawImage(region.topLeft(), pattern, region);
        painter.drawImage(region.topLeft(), strokes, region);
    }
}
BENCHMARK(blit_both_images)
    ->Name("floor_blit")
    ->ArgNames({"width", "height"})
    ->Args({26, 26})     // a segment's box
    ->Args({204, 179})   // a pen's info tag with its circle
    ->Args({1400, 1000}) // most of the screen
    ->Unit(benchmark::kMicrosecond);

} // namespace
