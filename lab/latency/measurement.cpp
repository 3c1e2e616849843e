#include "latency/measurement.h"

#include <algorithm>

namespace latency {

namespace {

constexpr Nanoseconds resting = 1'500 * millisecond;
constexpr Nanoseconds quietTime = 50 * millisecond; // without a change for so long, all is drawn

std::vector<Point> watched(std::vector<Point> places)
{
    std::transform(places.begin(), places.end(), places.begin(),
                   [](Point place) { return latency::watched(place); });
    return places;
}

} // namespace

Nanoseconds Measurement::draw(const Walk &walk, Nanoseconds interval)
{
    const std::vector<Point> pixels = watched(walk.back());
    const std::vector<Colour> before = m_screen.colours(pixels);
    std::vector<boardsim::Bytes> reports;
    for (const std::vector<Point> &places : walk) {
        const std::vector<boardsim::Bytes> step = this->reports(places);
        reports.insert(reports.end(), step.begin(), step.end());
    }
    const Nanoseconds first = m_program.deliver(reports, interval)->called;
    m_program.awaitStrokes(pixels, before);
    return first;
}

void Measurement::lift(const std::vector<Point> &places)
{
    m_program.deliver(reports(places, false));
    m_screen.settle(quietTime, now() + patience);
}

double Measurement::restingShare()
{
    m_screen.settle(quietTime, now() + patience);
    const Nanoseconds start = now();
    const Nanoseconds processor = m_program.processorTime();
    m_screen.waitForChange(start + resting);
    return static_cast<double>(m_program.processorTime() - processor) / static_cast<double>(now() - start);
}

std::vector<Sample> Measurement::run(const Walk &walk)
{
    std::vector<Sample> samples;
    samples.reserve(walk.size());
    m_next = now();
    for (const std::vector<Point> &places : walk) {
        pause();
        const std::vector<Point> pixels = watched(places);
        const std::vector<Colour> before = m_screen.colours(pixels);
        m_screen.forgetChanges();
        m_program.beginDelivery(reports(places));
        const Nanoseconds seen = m_program.awaitStrokes(pixels, before);
        const Delivery &delivery = *m_program.awaitDelivery();
        samples.push_back({delivery.called, seen - delivery.called, delivery.inside});
    }
    return samples;
}

void Measurement::pause()
{
    const Nanoseconds end = m_step > 0 ? nextEvenly() : now() + m_length(m_random);
    while (m_screen.waitForChange(end)) { }
}

/// Skips the steps that a slow report has taken: the next one would come right behind a tick.
Nanoseconds Measurement::nextEvenly()
{
    do
        m_next += m_step;
    while (m_next <= now());
    return m_next;
}

} // namespace latency
