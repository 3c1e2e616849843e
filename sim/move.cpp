#include "move.h"

#include "noise.h"

#include <algorithm>
#include <cmath>

namespace boardsim {

namespace {

constexpr std::int64_t microsecondsPerSecond = 1'000'000;
constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

int rounded(double position)
{
    return std::clamp(static_cast<int>(std::lround(position)), 0, maxPosition);
}

/// Where a board reports a contact with this sample.
Point placeAt(const Move &move, const MovingContact &contact, std::int64_t sample)
{
    const std::int64_t last = sampleCount(move) - 1;
    const double fraction = last > 0 ? static_cast<double>(sample) / static_cast<double>(last) : 1;
    const Faults &faults = contact.faults;
    Point place = pointOn(contact.path, fraction);
    place.x += faults.offset.x;
    place.y += faults.offset.y;
    if (faults.noise > 0) {
        const auto kind = static_cast<std::uint64_t>(contact.kind);
        const auto id = static_cast<std::uint64_t>(contact.id);
        const std::uint64_t stream = streamOf(faults.seed, kind * (maxContactId + 1) + id);
        const Point noise = normalPair(stream, static_cast<std::uint64_t>(sample));
        place.x += noise.x * faults.noise;
        place.y += noise.y * faults.noise;
    }
    return place;
}

std::vector<Bytes> reportsAt(const Move &move, std::int64_t sample, bool down)
{
    std::vector<Bytes> reports;
    std::vector<TouchContact> touches;
    std::vector<EraseContact> erasers;
    for (const MovingContact &contact : move.contacts) {
        const Point place = placeAt(move, contact, sample);
        const int x = rounded(place.x);
        const int y = rounded(place.y);
        switch (contact.kind) {
        case MovingContact::Kind::pen:
            reports.push_back(penReport(
                {contact.id, x, y, down && contact.tip, down && contact.button, down && contact.bit2}));
            break;
        case MovingContact::Kind::touch:
            touches.push_back({contact.id, x, y, contact.extent, down});
            break;
        case MovingContact::Kind::erase:
            erasers.push_back({contact.id, x, y, contact.width, contact.height, down});
            break;
        }
    }
    if (!touches.empty())
        reports.push_back(touchReport(touches));
    if (!erasers.empty())
        reports.push_back(eraseReport(erasers));
    return reports;
}

} // namespace

std::int64_t sampleCount(const Move &move)
{
    return std::max<std::int64_t>(1, move.rate * move.time / microsecondsPerSecond);
}

std::chrono::nanoseconds sampleTime(const Move &move, std::int64_t sample)
{
    // Whole seconds are split off first: in the longest moves, sample times 10^9 exceeds 64 bits.
    const std::int64_t fraction = sample % move.rate * nanosecondsPerSecond / move.rate;
    return std::chrono::nanoseconds(sample / move.rate * nanosecondsPerSecond + fraction);
}

std::vector<Bytes> sampleReports(const Move &move, std::int64_t sample)
{
    return reportsAt(move, sample, true);
}

std::vector<Bytes> liftReports(const Move &move)
{
    return reportsAt(move, sampleCount(move) - 1, false);
}

} // namespace boardsim
