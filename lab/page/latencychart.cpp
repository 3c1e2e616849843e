#include "page/latencychart.h"

#include "language.h"
#include "page/html.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace page {

namespace {

using lab::format;
using lab::tr;
using latency::Distribution;
using latency::Outcome;
using latency::timeText;

// All are units of the picture.
constexpr int width = 1000;
constexpr int headHeight = 116; ///< above the first row
constexpr int rowHeight = 46;
constexpr int barHeight = 34;
constexpr int foot = 64; ///< below the last row
constexpr int plotLeft = 250;
constexpr int plotRight = 780;
constexpr int columnWidth = 68; ///< of the numbers to the right

constexpr double least = 16; ///< milliseconds that the axis shows at least
constexpr double most = 64;  ///< and at most; longer times are the last bar

// Without variables: not everything that shows pictures knows them.
constexpr const char *chartStyle = R"css(
text { fill: #1b1f24; font: 15px system-ui, "DejaVu Sans", sans-serif; }
.title { font-size: 20px; font-weight: 600; }
.number { text-anchor: end; font-variant-numeric: tabular-nums; }
.middle { text-anchor: middle; }
.paper { fill: #ffffff; }
.bar { fill: #8db9e3; stroke: #0b5cad; }
.tick { fill: none; stroke: #1b1f24; stroke-width: 1.5; stroke-dasharray: 2 3; }
.median { stroke: #1b1f24; stroke-width: 3; }
.far { stroke: #1b1f24; stroke-width: 2; stroke-dasharray: 7 4; }
.rule { stroke: #848d97; }
@media (prefers-color-scheme: dark) {
  text { fill: #e6e9ed; }
  .paper { fill: #14181d; }
  .bar { fill: #2a5580; stroke: #7db7f5; }
  .tick, .median, .far { stroke: #e6e9ed; }
  .rule { stroke: #6e7681; }
}
)css";

/// Which time is where on the horizontal axis.
class Axis
{
public:
    explicit Axis(const Outcome &outcome)
    {
        for (const latency::Row &row : outcome.rows)
            m_end = std::max(m_end, latency::distributionOf(row.times).p99);
        m_end = std::min(most, std::ceil(m_end / 8) * 8);
    }

    double end() const { return m_end; }
    double scale() const { return (plotRight - plotLeft) / m_end; }
    double at(double time) const { return plotLeft + std::min(time, m_end) * scale(); }
    /// How many times there are in each millisecond; the last one also counts those beyond.
    std::vector<int> counts(const std::vector<double> &times) const
    {
        std::vector<int> counts(static_cast<std::size_t>(m_end));
        for (const double time : times)
            ++counts.at(std::min(static_cast<std::size_t>(std::max(time, 0.0)), counts.size() - 1));
        return counts;
    }

private:
    double m_end = least;
};

std::string exact(double length)
{
    return numberText(length, 5);
}

void line(Svg &svg, const char *kind, double fromX, double fromY, double toX, double toY)
{
    svg.empty("line",
              {{"class", kind},
               {"x1", exact(fromX)},
               {"y1", exact(fromY)},
               {"x2", exact(toX)},
               {"y2", exact(toY)}});
}

void rectangle(Svg &svg, const char *kind, double x, double bottom, double across, double height)
{
    svg.empty("rect",
              {{"class", kind},
               {"x", exact(x)},
               {"y", exact(bottom - height)},
               {"width", exact(across)},
               {"height", exact(height)}});
}

void write(Svg &svg, const char *kind, double x, double y, const std::string &text)
{
    svg.leaf("text", text, {{"class", kind}, {"x", exact(x)}, {"y", exact(y)}});
}

void drawAxis(Svg &svg, const Axis &axis, int bottom)
{
    const int step = axis.end() > 32 ? 8 : 4;
    for (int time = 0; time <= static_cast<int>(axis.end()); time += step) {
        line(svg, "rule", axis.at(time), headHeight - 8, axis.at(time), bottom + 6);
        write(svg, "middle", axis.at(time), bottom + 24, std::to_string(time));
    }
    write(svg, "middle", (plotLeft + plotRight) / 2.0, bottom + 48,
          tr("milliseconds; the last bar: and more"));
}

void drawRow(Svg &svg, const Axis &axis, const latency::Row &row, const latency::TickWait &tick, int bottom)
{
    const std::vector<int> counts = axis.counts(row.times);
    const double ticksCount = static_cast<double>(row.times.size()) / tick.period; // in each millisecond
    const double unit =
        barHeight / std::max<double>(*std::max_element(counts.begin(), counts.end()), ticksCount);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] > 0)
            rectangle(svg, "bar", axis.at(static_cast<double>(i)), bottom, axis.scale(), counts[i] * unit);
    }
    rectangle(svg, "tick", axis.at(0), bottom, axis.at(tick.period) - axis.at(0), ticksCount * unit);
    line(svg, "rule", plotLeft, bottom, plotRight, bottom);
    const Distribution times = latency::distributionOf(row.times);
    line(svg, "median", axis.at(times.median), bottom, axis.at(times.median), bottom - barHeight - 4);
    line(svg, "far", axis.at(times.p99), bottom, axis.at(times.p99), bottom - barHeight - 4);
    const int base = bottom - 10;
    write(svg, "label", 16, base, latency::nameOf(row));
    write(svg, "number", plotRight + columnWidth, base, timeText(times.median));
    write(svg, "number", plotRight + 2 * columnWidth, base, timeText(times.p99));
    write(svg, "number", plotRight + 3 * columnWidth, base, std::to_string(times.samples));
}

/// Who drew the rows whose names do not tell.
std::string contextOf(const Outcome &outcome)
{
    const latency::Row &last = outcome.rows.back();
    return last.split == "contacts"
        ? ""
        : " " + format(tr("Patterns, ages and lengths: %s."), latency::drawnBy(last).c_str());
}

void drawHead(Svg &svg, const Outcome &outcome, const std::string &title)
{
    write(svg, "title", 16, 30, title);
    write(svg, "label", 16, 56,
          format(tr("Screen of %d x %d. The program redraws every %s ms. Dotted: what the wait for that "
                    "alone would give."),
                 outcome.width, outcome.height, timeText(outcome.tick.period).c_str()));
    write(svg, "label", 16, 80,
          format(tr("Thick line: median. Dashed line: %d %% are not longer."), 99) + contextOf(outcome));
    write(svg, "number", plotRight + columnWidth, headHeight - 14, tr("median"));
    write(svg, "number", plotRight + 2 * columnWidth, headHeight - 14, "99 %");
    write(svg, "number", plotRight + 3 * columnWidth, headHeight - 14, tr("reports"));
}

/// What the picture shows, for those who do not see it.
std::string descriptionOf(const Outcome &outcome)
{
    std::string text = format(tr("How many reports took how many milliseconds. The program redraws every %s "
                                 "ms, so a report waits %s ms for it on average."),
                              timeText(outcome.tick.period).c_str(), timeText(outcome.tick.mean()).c_str());
    for (const latency::Row &row : outcome.rows) {
        const Distribution times = latency::distributionOf(row.times);
        text += " "
            + format(tr("%s: median %s ms, %d %% %s ms."), latency::nameOf(row).c_str(),
                     timeText(times.median).c_str(), 99, timeText(times.p99).c_str());
    }
    return text;
}

} // namespace

std::string latencyChart(const Outcome &outcome)
{
    const std::string title = tr("From the driver's callback to the pixel");
    const int bottom = headHeight + rowHeight * static_cast<int>(outcome.rows.size());
    const Axis axis(outcome);
    Svg svg({title, descriptionOf(outcome)}, width, bottom + foot, chartStyle);
    rectangle(svg, "paper", 0, bottom + foot, width, bottom + foot);
    drawHead(svg, outcome, title);
    drawAxis(svg, axis, bottom);
    int rowBottom = headHeight;
    for (const latency::Row &row : outcome.rows)
        drawRow(svg, axis, row, outcome.tick, rowBottom += rowHeight);
    return svg.finish();
}

} // namespace page
