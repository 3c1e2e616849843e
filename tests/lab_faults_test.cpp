#include "support/synthetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

using capture::ReportKind;
using namespace synthetic;

namespace {

constexpr double pi = 3.14159265358979;

/// A stroke of two seconds over most of the board.
Contact stroke(double begin = 1)
{
    return {ReportKind::touch, 3, begin, 2, {4000, 8000}, {28000, 8000}};
}

/// A fault of a known size, and what must be found. The tolerance is a share of the expected value.
struct Fault
{
    std::string name;
    std::function<void(Recording &)> make;
    std::string key;
    double expected;
    double tolerance = 0;
};

std::ostream &operator<<(std::ostream &stream, const Fault &fault)
{
    return stream << fault.name;
}

Fault rate(double hertz)
{
    return {"a rate of " + std::to_string(int(hertz)),
            [=](Recording &recording) {
                Contact contact = stroke();
                contact.rate = hertz;
                recording.add(contact);
            },
            "rate_min_hz", hertz, 0.001};
}

Fault slowHalfSecond(const std::string &key, double expected)
{
    return {"half a second at half the rate, " + key,
            [](Recording &recording) {
                for (int i = 0, at = 0; i < 400; ++i, at += i >= 200 && i < 250 ? 16 : 8)
                    recording.pen(1 + at / 1000.0, 2, {4000.0 + 20 * i, 9000}, true);
            },
            key, expected, 0.02};
}

Fault jitter(double deviation)
{
    return {"jitter of " + std::to_string(int(deviation)),
            [=](Recording &recording) {
                Contact rest = stroke();
                rest.to = rest.from;
                rest.seconds = 8;
                recording.add(rest, [&, deviation](double, Point point) {
                    return Point{point.x + recording.normal(deviation), point.y};
                });
            },
            "jitter_rms_units", deviation, 0.12};
}

Fault drift(double way)
{
    return {"drift of " + std::to_string(int(way)),
            [=](Recording &recording) {
                Contact rest = stroke();
                rest.to = {rest.from.x + way, rest.from.y};
                recording.add(rest);
            },
            "drift_units", 0.75 * way, 0.03};
}

Fault bend(double deviation)
{
    // The sine's own root mean square over a whole number of waves; the line of least squares is its axis.
    return {"waves of " + std::to_string(int(deviation)),
            [=](Recording &recording) {
                recording.add(stroke(), [=](double share, Point point) {
                    return Point{point.x, point.y + deviation * std::sin(share * 20 * pi)};
                });
            },
            "line_rms_units", deviation / std::sqrt(2), 0.03};
}

Fault arc(double deviation)
{
    // A parabola of this height deviates from its line of least squares by two thirds of it at the ends and
    // by a third in the middle.
    return {"an arc of " + std::to_string(int(deviation)),
            [=](Recording &recording) {
                recording.add(stroke(), [=](double share, Point point) {
                    return Point{point.x, point.y + deviation * 4 * share * (1 - share)};
                });
            },
            "line_ends_max_units", deviation * 2 / 3, 0.03};
}

Fault gaps(int count)
{
    return {std::to_string(count) + " gaps",
            [=](Recording &recording) {
                recording.add(stroke());
                for (int i = 0; i < count; ++i)
                    recording.lose(1.2 + 0.1 * i, 1.2 + 0.1 * i + 0.015);
            },
            "gap_count", double(count)};
}

Fault gapPercent(int count)
{
    // The stroke has 250 samples; of each gap two are lost.
    Fault fault = gaps(count);
    fault.name += ", as a share";
    fault.key = "gap_percent";
    fault.expected = 100.0 * count / (249 - 2 * count);
    fault.tolerance = 0.001;
    return fault;
}

Fault worstGap(int lost)
{
    return {"a gap of " + std::to_string(lost) + " reports",
            [=](Recording &recording) {
                recording.add(stroke());
                recording.lose(1.2 - 0.001, 1.2 + 0.008 * lost - 0.001);
            },
            "gap_worst_ratio", lost + 1.0, 0.001};
}

Fault jumps(int count, double way)
{
    return {std::to_string(count) + " jumps of " + std::to_string(int(way)),
            [=](Recording &recording) {
                recording.add(stroke(), [=](double share, Point point) {
                    return Point{point.x, point.y + way * std::floor(share * (count + 0.99))};
                });
            },
            "jump_count", double(count)};
}

Fault reverse(int steps, double way)
{
    return {std::to_string(steps) + " steps back of " + std::to_string(int(way)),
            [=](Recording &recording) {
                int left = steps;
                int sample = 0;
                recording.add(stroke(), [=](double, Point point) mutable {
                    const bool isBack = ++sample % 10 == 0 && left-- > 0;
                    return Point{point.x - (isBack ? way + 24000.0 / 249 : 0), point.y};
                });
            },
            "reverse_units", steps * way, 0.05};
}

Fault stuck(int count)
{
    return {std::to_string(count) + " stuck contacts",
            [=](Recording &recording) {
                for (int i = 0; i < count; ++i) {
                    Contact contact = stroke();
                    contact.id = 40 + i;
                    contact.from.y = contact.to.y = 3000 + 4000 * i;
                    contact.lifts = false;
                    recording.add(contact);
                }
                recording.end(10);
            },
            "stuck_count", double(count)};
}

Fault orphans(int count)
{
    return {std::to_string(count) + " lifts of nothing",
            [=](Recording &recording) {
                for (int i = 0; i < count; ++i)
                    recording.touch(1 + i * 0.1, {{60 + i, 500, 500, 0, false}});
            },
            "orphan_lift_count", double(count)};
}

Fault swaps(int count)
{
    return {std::to_string(count) + " swaps",
            [=](Recording &recording) {
                for (int i = 0; i < count; ++i) {
                    const double y = 2000 + 2000 * i;
                    const double begin = 1 + 2 * i;
                    recording.add({ReportKind::touch, 30, begin, 0.8, {4000, y}, {14000, y}});
                    recording.add({ReportKind::touch, 31, begin + 0.808, 0.8, {14150, y}, {24000, y}});
                }
            },
            "id_swap_count", double(count)};
}

Fault ghosts(int count)
{
    return {std::to_string(count) + " ghosts",
            [=](Recording &recording) {
                for (int i = 0; i < count; ++i) {
                    const Point place{30000, 2000 + 2500.0 * i};
                    recording.add({ReportKind::touch, 90, 1 + 1.5 * i, 0.016, place, place});
                }
            },
            "ghost_count", double(count)};
}

Fault dropouts(int count)
{
    return {std::to_string(count) + " dropouts",
            [=](Recording &recording) {
                double x = 2000;
                double at = 1;
                for (int i = 0; i <= count; ++i) {
                    recording.add({ReportKind::pen, 1, at, 0.4, {x, 5000}, {x + 4000, 5000}});
                    at += 0.4 + 0.03;
                    x += 4200;
                }
            },
            "dropout_count", double(count)};
}

Fault merges(int count)
{
    return {std::to_string(count) + " merges",
            [=](Recording &recording) {
                for (int i = 0; i < count; ++i) {
                    const double y = 2000 + 2000 * i;
                    const double begin = 1 + 2 * i;
                    recording.add({ReportKind::touch, 50, begin, 0.504, {9000, y}, {9000, y}});
                    recording.add({ReportKind::touch, 51, begin, 1, {9800, y}, {9800, y}},
                                  [](double share, Point point) {
                                      return share > 0.5 ? Point{point.x - 300, point.y} : point;
                                  });
                }
            },
            "merge_count", double(count)};
}

Fault drumRoll(double stray)
{
    return {"a drum roll with a point " + std::to_string(int(stray)) + " off",
            [=](Recording &recording) {
                const Point a{9000, 9000};
                const Point b{11000, 9000};
                recording.add({ReportKind::touch, 1, 1, 0.1, a, a});
                recording.add({ReportKind::touch, 2, 1.12, 0.1, b, b}, [=](double share, Point point) {
                    return share > 0.8 ? Point{point.x - stray, point.y} : point;
                });
                recording.add({ReportKind::touch, 1, 1.24, 0.1, a, a});
            },
            "drum_roll_units", stray, 0.001};
}

Fault undecodable(int count)
{
    return {std::to_string(count) + " undecodable reports",
            [=](Recording &recording) {
                const std::vector<boardsim::Bytes> reports{{}, {0x01}, {0x05, 0x77, 1, 2}, {0x08, 0x21, 0}};
                for (int i = 0; i < count; ++i)
                    recording.report(1 + i * 0.1, reports.at(std::size_t(i) % reports.size()));
            },
            "undecodable_count", double(count)};
}

const std::vector<Fault> faults{
    rate(60),
    rate(125),
    rate(200),
    slowHalfSecond("rate_min_hz", 62.5),
    slowHalfSecond("rate_p50_hz", 125),
    jitter(2),
    jitter(8),
    jitter(30),
    drift(50),
    drift(200),
    bend(20),
    bend(100),
    bend(400),
    arc(60),
    arc(600),
    gaps(1),
    gaps(3),
    gaps(7),
    gapPercent(5),
    worstGap(1),
    worstGap(5),
    worstGap(20),
    jumps(1, 700),
    jumps(3, 1500),
    reverse(2, 40),
    reverse(10, 200),
    stuck(1),
    stuck(4),
    orphans(1),
    orphans(6),
    swaps(1),
    swaps(5),
    ghosts(1),
    ghosts(5),
    dropouts(1),
    dropouts(5),
    merges(1),
    merges(3),
    drumRoll(300),
    drumRoll(900),
    undecodable(1),
    undecodable(4),
};

class KnownFault : public testing::TestWithParam<Fault>
{
};

TEST_P(KnownFault, IsMeasuredAsLargeAsItIs)
{
    const Fault &fault = GetParam();
    Recording recording;
    fault.make(recording);
    EXPECT_NEAR(figure(recording.measure(), fault.key), fault.expected, fault.tolerance * fault.expected);
}

INSTANTIATE_TEST_SUITE_P(Grading, KnownFault, testing::ValuesIn(faults));

/// The counts of faults, each of which a clean recording must not have.
const std::vector<std::string> counts{"gap_count",
                                      "jump_count",
                                      "stuck_count",
                                      "orphan_lift_count",
                                      "id_swap_count",
                                      "ghost_count",
                                      "dropout_count",
                                      "merge_count",
                                      "undecodable_count",
                                      "lost_count",
                                      "handback_violation_count"};

class Seed : public testing::TestWithParam<unsigned>
{
};

TEST_P(Seed, OfACleanRecordingRaisesNoAlarm)
{
    const grading::Summary summary = cleanRecording(GetParam()).measure();
    for (const std::string &key : counts)
        EXPECT_EQ(figure(summary, key), 0) << key;
    EXPECT_LT(figure(summary, "jitter_rms_units"), 3);
    EXPECT_LT(figure(summary, "line_rms_units"), 3);
    EXPECT_NEAR(figure(summary, "rate_min_hz"), 125, 0.2);
}

TEST_P(Seed, FindsEveryFaultAmongCleanContactsAndNoOther)
{
    // Where only the fault itself may be found; a ghost, a swap and so on lie seconds behind the clean part.
    const std::vector<Fault> alone{gaps(3),   jumps(1, 1500), stuck(2),  orphans(2),    swaps(2),
                                   ghosts(3), dropouts(2),    merges(2), undecodable(3)};
    for (const Fault &fault : alone) {
        Recording recording = cleanRecording(GetParam());
        Recording faulty;
        fault.make(faulty);
        recording.append(faulty, 30);
        recording.end(60);
        const grading::Summary summary = recording.measure();
        for (const std::string &key : counts)
            EXPECT_EQ(figure(summary, key), key == fault.key ? fault.expected : 0)
                << fault.name << ", " << key;
    }
}

INSTANTIATE_TEST_SUITE_P(Grading, Seed, testing::Range(1U, 21U));

} // namespace
