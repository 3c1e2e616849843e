#include "commands/latencytext.h"

#include "commands/json.h"
#include "language.h"

#include <cmath>

namespace lab {

namespace {

using latency::Distribution;
using latency::Outcome;
using latency::Rest;
using latency::Row;
using latency::timeText;

// TRANSLATORS: keep the words above their numbers: each ends in the same column as it does here.
constexpr const char *firstHeading = trLater("                            reports      min   median     95 % "
                                             "    99 %      max     mean | beyond the tick");
constexpr const char *secondHeading = trLater("                                                              "
                                              "                            |     mean     99 %");

std::string tableLine(const Row &row, const latency::TickWait &tick)
{
    const Distribution times = latency::distributionOf(row.times);
    const Rest rest = latency::beyondTick(times, tick);
    constexpr std::size_t nameWidth = 26;
    return "  " + padded(latency::nameOf(row), nameWidth)
        + format(" %7zu %8.2f %8.2f %8.2f %8.2f %8.2f %8.2f | %8.2f %8.2f\n", times.samples, times.least,
                 times.median, times.p95, times.p99, times.most, times.mean, rest.mean, rest.p99);
}

std::string headingOf(const Row &row)
{
    const std::string drawer = latency::drawnBy(row);
    if (row.split == "contacts")
        return tr("contacts and info tags");
    // TRANSLATORS: by what the rows below are told apart, and who drew them: "2 contacts, tags on".
    return format(row.split == "pattern"   ? tr("pattern (%s)")
                      : row.split == "age" ? tr("age of the contact (%s)")
                                           : tr("length of the stroke (%s)"),
                  drawer.c_str());
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
    std::string text =
        format(tr("milliseconds from the driver's callback to the pixel, on a screen of %d x %d"),
               outcome.width, outcome.height)
        + "\n\n" + tr(firstHeading) + "\n" + tr(secondHeading) + "\n";
    std::string split;
    for (const Row &row : outcome.rows) {
        if (row.split != split)
            text += headingOf(row) + "\n";
        split = row.split;
        text += tableLine(row, outcome.tick);
    }
    const Row &first = outcome.rows.front();
    const Distribution times = latency::distributionOf(first.times);
    text += "\n"
        + format(tr("The program redraws every %s ms (median of %zu), so a report waits %s ms for the tick "
                    "on average."),
                 timeText(outcome.tick.period).c_str(), outcome.ticks.size(),
                 timeText(outcome.tick.mean()).c_str())
        + "\n";
    // TRANSLATORS: the second %s is the name of a row, such as "1 contact, tags on".
    text += format(tr("Of the mean of %s ms (%s), %s ms are the tick's own; %s ms remain."),
                   timeText(times.mean).c_str(), latency::nameOf(first).c_str(),
                   timeText(outcome.tick.mean()).c_str(),
                   timeText(latency::beyondTick(times, outcome.tick).mean).c_str())
        + "\n";
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
