#include "latency/experiment.h"

#include "language.h"
#include "latency/fields.h"
#include "latency/measurement.h"

#include <algorithm>
#include <random>
#include <stdexcept>

namespace latency {

namespace {

using lab::tr;
using lab::trLater;

constexpr std::size_t warmUp = 5; // reports; the first one makes the contact
constexpr Nanoseconds warmUpInterval = 20 * millisecond;
constexpr std::size_t youngStroke = 8;             // reports after the first one, in about 170 ms
constexpr Nanoseconds young = 100 * millisecond;   // the age of a contact
constexpr Nanoseconds usualTick = 8 * millisecond; // what random pauses spread over
constexpr Nanoseconds scribbleInterval = 100'000;  // 10,000 reports a second
constexpr Colour green = 0x00ff00;                 // of a touch

struct Pattern
{
    const char *name;
    std::uint32_t key; ///< as in keysymdef.h
};

constexpr Pattern plain = {trLater("white"), 0};
constexpr Pattern patterns[] = {
    {trLater("grid"), 'g'},  {trLater("targets"), 's'},          {trLater("colour field"), 'c'},
    {trLater("black"), 'b'}, {trLater("vertical bars"), 0xff51}, {trLater("horizontal bars"), 0xff53}};

double inMilliseconds(Nanoseconds time)
{
    return static_cast<double>(time) / static_cast<double>(millisecond);
}

Walk part(const Walk &walk, std::size_t from, std::size_t count)
{
    const auto begin = walk.begin() + static_cast<std::ptrdiff_t>(from);
    return {begin, begin + static_cast<std::ptrdiff_t>(std::min(count, walk.size() - from))};
}

/// The steps at which every contact's stroke can be told from what @p screen shows.
Walk visible(const Walk &walk, Screen &screen)
{
    const Picture picture = screen.picture();
    Walk seen;
    std::copy_if(walk.begin(), walk.end(), std::back_inserter(seen), [&](const std::vector<Point> &places) {
        return std::all_of(places.begin(), places.end(),
                           [&](Point place) { return differs(picture.at(watched(place)), green); });
    });
    return seen;
}

/// A program that shows some pattern, and contacts that draw in it.
class Series
{
public:
    Series(const Paths &paths, Screen &screen, int contacts, bool tags, const Pattern &pattern)
        : m_screen(screen), m_program(paths, screen), m_fields(m_program.window(), contacts),
          m_measurement(m_program, screen, {Contacts::touch, contacts, Fields::radius})
    {
        m_program.prepare(tags);
        if (pattern.key != 0)
            m_program.show(pattern.key);
        m_walk = visible(m_fields.walk(true), screen);
        if (m_walk.size() < warmUp + youngStroke)
            throw std::runtime_error(tr("the contacts cannot be told from the pattern"));
    }

    /// Reports that come at all times between two ticks in turn.
    std::vector<double> oneByOne(int count, Nanoseconds tick);
    /// Reports of contacts that are younger or older than a tenth of a second, so many of each at most.
    std::pair<std::vector<double>, std::vector<double>> byAge(int count);
    /// Reports of one stroke that had at least @p lengths before; so many of each, or as many as fit.
    std::vector<std::vector<double>> byLength(const std::vector<int> &lengths, int count, Nanoseconds tick);
    /// Milliseconds between two redraws while contacts move all the time.
    std::vector<double> ticks();

private:
    void paceEvenly(Nanoseconds tick);
    /// From a place to another, with at least @p count reports in between that are not measured.
    Walk detour(const std::vector<Point> &from, int count, const std::vector<Point> &to,
                std::mt19937 &random) const;

    Screen &m_screen;
    Program m_program;
    const Fields m_fields;
    Measurement m_measurement;
    Walk m_walk; ///< all places
};

void append(std::vector<double> &times, const std::vector<Sample> &samples)
{
    for (const Sample &sample : samples)
        times.push_back(inMilliseconds(sample.toPixel));
}

void Series::paceEvenly(Nanoseconds tick)
{
    constexpr double goldenRatio = 0.618034;
    m_measurement.paceEvenly(2 * tick + static_cast<Nanoseconds>(goldenRatio * static_cast<double>(tick)));
}

std::vector<double> Series::oneByOne(int count, Nanoseconds tick)
{
    const auto wanted = static_cast<std::size_t>(count);
    paceEvenly(tick);
    std::vector<double> times;
    while (times.size() < wanted) {
        if (!times.empty())
            m_program.clear();
        m_measurement.draw(part(m_walk, 0, warmUp), warmUpInterval);
        const Walk walk = part(m_walk, warmUp, wanted - times.size());
        append(times, m_measurement.run(walk));
        m_measurement.lift(walk.back());
    }
    return times;
}

std::pair<std::vector<double>, std::vector<double>> Series::byAge(int count)
{
    const auto wanted = static_cast<std::size_t>(count);
    m_measurement.pauseBetween(usualTick, 3 * usualTick);
    std::vector<double> early;
    std::vector<double> late;
    // On a machine that is too busy for a report in the first tenth of a second, there are none.
    for (std::size_t contact = 0, at = 0; contact < wanted && early.size() < wanted; ++contact) {
        if (at + youngStroke >= m_walk.size()) {
            m_program.clear();
            at = 0;
        }
        const Nanoseconds begin = m_measurement.draw(part(m_walk, at, 1), 0);
        const Walk walk = part(m_walk, at + 1, youngStroke);
        for (const Sample &sample : m_measurement.run(walk))
            append(sample.called - begin < young ? early : late, {sample});
        m_measurement.lift(walk.back());
        at += 1 + youngStroke;
    }
    early.resize(std::min(early.size(), wanted));
    late.resize(std::min(late.size(), wanted));
    return {early, late};
}

Walk Series::detour(const std::vector<Point> &from, int count, const std::vector<Point> &to,
                    std::mt19937 &random) const
{
    Walk walk{m_fields.above(from)};
    const Walk scribble = m_fields.scribble(count, random);
    walk.insert(walk.end(), scribble.begin(), scribble.end());
    walk.push_back(m_fields.above(to));
    walk.push_back(to);
    return walk;
}

std::vector<std::vector<double>> Series::byLength(const std::vector<int> &lengths, int count,
                                                  Nanoseconds tick)
{
    const Walk walk = m_fields.walk(false);
    const std::size_t room = (walk.size() - warmUp) / lengths.size() - 1;
    const std::size_t wanted = std::min(static_cast<std::size_t>(count), room);
    std::mt19937 random(1);
    paceEvenly(tick);
    m_measurement.draw(part(walk, 0, warmUp), warmUpInterval);
    std::size_t at = warmUp;
    std::vector<std::vector<double>> times;
    std::size_t drawn = warmUp;
    for (const int length : lengths) {
        if (const auto missing = length - static_cast<int>(drawn); missing > 0) {
            m_measurement.draw(detour(walk[at - 1], missing, walk[at], random), scribbleInterval);
            drawn += static_cast<std::size_t>(missing);
            ++at;
        }
        append(times.emplace_back(), m_measurement.run(part(walk, at, wanted)));
        at += wanted;
        drawn += wanted;
    }
    return times;
}

std::vector<double> Series::ticks()
{
    constexpr int reports = 3'000;
    constexpr Nanoseconds rest = 100 * millisecond; // without a change for so long, all is drawn
    std::mt19937 random(1);
    std::vector<boardsim::Bytes> moves;
    for (const std::vector<Point> &places : m_fields.scribble(reports, random))
        moves.push_back(m_measurement.report(places));
    m_program.beginDelivery(moves, millisecond);
    std::vector<double> changes;
    const Nanoseconds end = now() + reports * millisecond;
    while (const auto change = m_screen.waitForChange(std::max(now(), end) + rest))
        changes.push_back(inMilliseconds(*change));
    m_program.awaitDelivery();
    return ticksBetween(changes);
}

/// Measures row after row into an outcome.
class Experiment
{
public:
    Experiment(const Paths &paths, Screen &screen, const Plan &plan)
        : m_paths(paths), m_screen(screen), m_plan(plan)
    {
        m_outcome.width = screen.width();
        m_outcome.height = screen.height();
    }

    Outcome run()
    {
        measureTick();
        measureContacts();
        measurePatterns();
        measureAges();
        measureLengths();
        return std::move(m_outcome);
    }

private:
    int contacts() const { return m_plan.contacts.front(); }
    bool tags() const { return m_plan.tags.front(); }
    Series series(const Pattern &pattern = plain) const
    {
        return {m_paths, m_screen, contacts(), tags(), pattern};
    }
    void add(const std::string &split, const std::string &name, std::vector<double> times, int length = 0)
    {
        if (!times.empty())
            m_outcome.rows.push_back({split, name, contacts(), tags(), std::move(times), length});
    }
    void measureTick();
    void measureContacts();
    void measurePatterns();
    void measureAges();
    void measureLengths();

    const Paths &m_paths;
    Screen &m_screen;
    const Plan &m_plan;
    Outcome m_outcome;
    Nanoseconds m_tick = 0;
};

void Experiment::measureTick()
{
    m_outcome.ticks = Series(m_paths, m_screen, 1, false, plain).ticks();
    if (m_outcome.ticks.empty())
        throw std::runtime_error(tr("the program does not redraw while a contact moves"));
    m_outcome.tick = {distributionOf(m_outcome.ticks).median};
    m_tick = static_cast<Nanoseconds>(m_outcome.tick.period * static_cast<double>(millisecond));
}

void Experiment::measureContacts()
{
    for (const int count : m_plan.contacts) {
        for (const bool hasTags : m_plan.tags) {
            Series series(m_paths, m_screen, count, hasTags, plain);
            Row row{"contacts", {}, count, hasTags, series.oneByOne(m_plan.samples, m_tick), 0};
            row.name = drawnBy(row, lab::Audience::program);
            m_outcome.rows.push_back(std::move(row));
        }
    }
}

void Experiment::measurePatterns()
{
    for (const Pattern &pattern : patterns)
        add("pattern", pattern.name, series(pattern).oneByOne(m_plan.samples, m_tick));
}

void Experiment::measureAges()
{
    auto [early, late] = series().byAge(m_plan.samples);
    add("age", trLater("first 100 ms of a contact"), std::move(early));
    add("age", trLater("after 100 ms of a contact"), std::move(late));
}

void Experiment::measureLengths()
{
    const std::vector<int> lengths{5, 1'000, 20'000};
    const std::vector<std::vector<double>> times = series().byLength(lengths, m_plan.samples, m_tick);
    for (std::size_t i = 0; i < lengths.size(); ++i)
        add("length", lab::format(strokeName, lengths[i]), times[i], lengths[i]);
}

} // namespace

Outcome measure(const Paths &paths, Screen &screen, const Plan &plan)
{
    return Experiment(paths, screen, plan).run();
}

} // namespace latency
