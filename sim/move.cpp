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

/// The samples that fall into a time, at least one.
std::int64_t samplesIn(const Move &move, std::int64_t time)
{
    return std::max<std::int64_t>(1, move.rate * time / microsecondsPerSecond);
}

/// What the board makes of a contact with one sample.
struct State
{
    int id = 0;
    int x = 0; ///< raw board units
    int y = 0;
    bool down = false; ///< it has not dropped out
};

std::int64_t lastSample(const Move &move)
{
    return sampleCount(move) - 1;
}

/// The first sample with what comes after a share of the way: the second one at the earliest, so that the
/// contact is down before, and the last one at the latest.
std::int64_t sampleAfter(const Move &move, double share)
{
    const auto last = static_cast<double>(lastSample(move));
    return std::max<std::int64_t>(1,
                                  std::min<std::int64_t>(std::llround(share * last) + 1, lastSample(move)));
}

/// Whether the board sees the contact with this sample.
bool isSeen(const Move &move, const MovingContact &contact, std::int64_t sample)
{
    const auto hides = [&move, sample](const Dropout &dropout) {
        const std::int64_t first = sampleAfter(move, dropout.after);
        const std::int64_t end = first + samplesIn(move, dropout.time);
        return sample >= first && sample < end;
    };
    const std::vector<Dropout> &dropouts = contact.faults.dropouts;
    return std::none_of(dropouts.begin(), dropouts.end(), hides);
}

int idAt(const Move &move, const MovingContact &contact, std::int64_t sample)
{
    const std::optional<Swap> &swap = contact.faults.swap;
    return swap && sample >= sampleAfter(move, swap->after) ? swap->id : contact.id;
}

Point noiseAt(const MovingContact &contact, std::int64_t sample)
{
    const Faults &faults = contact.faults;
    if (faults.noise == 0)
        return {};
    const auto kind = static_cast<std::uint64_t>(contact.kind);
    const auto id = static_cast<std::uint64_t>(contact.id);
    const std::uint64_t stream = streamOf(faults.seed, kind * (maxContactId + 1) + id);
    const Point noise = normalPair(stream, static_cast<std::uint64_t>(sample));
    return {noise.x * faults.noise, noise.y * faults.noise};
}

State stateAt(const Move &move, const MovingContact &contact, std::int64_t sample)
{
    const std::int64_t last = lastSample(move);
    const double fraction = last > 0 ? static_cast<double>(sample) / static_cast<double>(last) : 1;
    const Point place = pointOn(contact.path, fraction);
    const Point noise = noiseAt(contact, sample);
    const Point &offset = contact.faults.offset;
    return {idAt(move, contact, sample), rounded(place.x + noise.x + offset.x),
            rounded(place.y + noise.y + offset.y), isSeen(move, contact, sample)};
}

/// What a sample reports of a touch or an eraser: that it lifts where it was before, that it is down, both or
/// nothing.
std::vector<State> reportedStates(const Move &move, const MovingContact &contact, std::int64_t sample)
{
    std::vector<State> states;
    const State here = stateAt(move, contact, sample);
    const bool mayLift = contact.faults.swap || !contact.faults.dropouts.empty();
    State before = mayLift && sample > 0 ? stateAt(move, contact, sample - 1) : State();
    if (before.down && (!here.down || here.id != before.id)) {
        before.down = false;
        states.push_back(before);
    }
    if (here.down)
        states.push_back(here);
    return states;
}

/// The lift of a touch or an eraser where its last sample was; nothing if that is up.
std::vector<State> liftedStates(const Move &move, const MovingContact &contact)
{
    State last = stateAt(move, contact, lastSample(move));
    if (!last.down)
        return {};
    last.down = false;
    return {last};
}

Bytes penReportAt(const Move &move, const MovingContact &pen, std::int64_t sample, bool lifts)
{
    const State state = stateAt(move, pen, sample);
    return penReport({state.id, state.x, state.y, !lifts && pen.tip && state.down, !lifts && pen.button,
                      !lifts && pen.bit2});
}

std::vector<Bytes> reportsAt(const Move &move, std::int64_t sample, bool lifts)
{
    std::vector<Bytes> reports;
    std::vector<TouchContact> touches;
    std::vector<EraseContact> erasers;
    for (const MovingContact &contact : move.contacts) {
        if (contact.kind == MovingContact::Kind::pen) {
            reports.push_back(penReportAt(move, contact, sample, lifts));
            continue;
        }
        const auto states = lifts ? liftedStates(move, contact) : reportedStates(move, contact, sample);
        for (const auto &[id, x, y, down] : states) {
            if (contact.kind == MovingContact::Kind::touch)
                touches.push_back({id, x, y, contact.extent, down});
            else
                erasers.push_back({id, x, y, contact.width, contact.height, down});
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
    return samplesIn(move, move.time);
}

std::chrono::nanoseconds sampleTime(const Move &move, std::int64_t sample)
{
    // Whole seconds are split off first: in the longest moves, sample times 10^9 exceeds 64 bits.
    const std::int64_t fraction = sample % move.rate * nanosecondsPerSecond / move.rate;
    return std::chrono::nanoseconds(sample / move.rate * nanosecondsPerSecond + fraction);
}

std::vector<Bytes> sampleReports(const Move &move, std::int64_t sample)
{
    return reportsAt(move, sample, false);
}

std::vector<Bytes> liftReports(const Move &move)
{
    return reportsAt(move, lastSample(move), true);
}

} // namespace boardsim
