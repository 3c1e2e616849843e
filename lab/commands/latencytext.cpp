#include "commands/latencytext.h"

#include "commands/json.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace lab {

namespace {

using latency::Distribution;
using latency::Outcome;
using latency::Rest;
using latency::Row;
using latency::timeText;

constexpr const char *tableHeading = R"(
                            reports      min   median     95 %     99 %      max     mean | beyond the tick
                                                                                          |     mean     99 %
)";

std::string tableLine(const Row &row, const latency::TickWait &tick)
{
    const Distribution times = latency::distributionOf(row.times);
    const Rest rest = latency::beyondTick(times, tick);
    std::array<char, 160> line{};
    std::snprintf(line.data(), line.size(),
                  "  %-26s %7zu %8.2f %8.2f %8.2f %8.2f %8.2f %8.2f | %8.2f %8.2f\n", row.name.c_str(),
                  times.samples, times.least, times.median, times.p95, times.p99, times.most, times.mean,
                  rest.mean, rest.p99);
    return line.data();
}

std::string headingOf(const Row &row)
{
    const std::string what = row.split == "pattern" ? "pattern"
        : row.split == "age"                        ? "age of the contact"
                                                    : "length of the stroke";
    return row.split == "contacts" ? "contacts and info tags" : what + " (" + latency::drawnBy(row) + ")";
}

/// Microseconds are as much as a clock tells.
double rounded(double milliseconds)
{
    return std::round(milliseconds * 1000) / 1000;
}

Json rowJson(const Row &row, const latency::TickWait &tick)
{
    const Distribution times = latency::distributionOf(row.times);
    const Rest rest = latency::beyondTick(times, tick);
    return {{"split", row.split},
            {"name", row.name},
            {"contacts", row.contacts},
            {"tags", row.tags},
            {"samples", times.samples},
            {"min_ms", rounded(times.least)},
            {"median_ms", rounded(times.median)},
            {"p95_ms", rounded(times.p95)},
            {"p99_ms", rounded(times.p99)},
            {"max_ms", rounded(times.most)},
            {"mean_ms", rounded(times.mean)},
            {"beyond_tick_mean_ms", rounded(rest.mean)},
            {"beyond_tick_p99_ms", rounded(rest.p99)}};
}

} // namespace

std::string latencyText(const Outcome &outcome)
{
    std::string text = "milliseconds from the driver's callback to the pixel, on a screen of "
        + std::to_string(outcome.width) + " x " + std::to_string(outcome.height) + "\n" + tableHeading;
    std::string split;
    for (const Row &row : outcome.rows) {
        if (row.split != split)
            text += headingOf(row) + "\n";
        split = row.split;
        text += tableLine(row, outcome.tick);
    }
    const Row &first = outcome.rows.front();
    const Distribution times = latency::distributionOf(first.times);
    text += "\nThe program redraws every " + timeText(outcome.tick.period) + " ms (median of "
        + std::to_string(outcome.ticks.size()) + "), so a report waits " + timeText(outcome.tick.mean())
        + " ms for the tick on average.\n";
    text += "Of the mean of " + timeText(times.mean) + " ms (" + first.name + "), "
        + timeText(outcome.tick.mean()) + " ms are the tick's own; "
        + timeText(latency::beyondTick(times, outcome.tick).mean) + " ms remain.\n";
    return text;
}

std::string latencyJson(const Outcome &outcome)
{
    Json rows = Json::array();
    for (const Row &row : outcome.rows)
        rows.push_back(rowJson(row, outcome.tick));
    const Json json{{"version", 1},
                    {"screen", {{"width", outcome.width}, {"height", outcome.height}}},
                    {"tick_ms", rounded(outcome.tick.period)},
                    {"ticks", outcome.ticks.size()},
                    {"tick_wait_mean_ms", rounded(outcome.tick.mean())},
                    {"rows", rows}};
    return json.dump() + "\n";
}

} // namespace lab
