#include "support/synthetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using capture::ReportKind;
using namespace synthetic;

namespace {

constexpr double width = 32768; // board units
constexpr double pi = 3.14159265358979;

/// A stroke of two seconds over most of the board.
Contact stroke(double begin = 1)
{
    return {ReportKind::touch, 3, begin, 2, {4000, 8000}, {28000, 8000}};
}

TEST(Millimetres, AreMeasuredAlongEachAxisByItself)
{
    // On this board a unit is 0.1 mm across and 0.05 mm down.
    const grading::BoardSize size{3276.8, 1638.4};
    Recording recording;
    recording.add({ReportKind::touch, 1, 1, 2, {4000, 8000}, {28000, 8000}}, [](double share, Point point) {
        return Point{point.x, point.y + 100 * std::sin(share * 20 * pi)};
    });
    recording.add({ReportKind::touch, 2, 4, 2, {4000, 8000}, {4000, 8000}}, [](double share, Point point) {
        const bool isOdd = std::lround(share * 249) % 2 != 0;
        return Point{point.x + (isOdd ? 10 : 0), point.y + (isOdd ? 14 : 0)};
    });
    const grading::Summary summary = recording.measure(size);
    EXPECT_NEAR(figure(summary, "line_rms_mm"), 5 / std::sqrt(2), 0.1);
    EXPECT_NEAR(figure(summary, "line_max_mm"), 5, 0.3);
    EXPECT_NEAR(figure(summary, "jitter_p2p_units"), 14, 1e-9);
    EXPECT_NEAR(figure(summary, "jitter_p2p_mm"), 1, 1e-9);
    EXPECT_TRUE(std::isnan(figure(recording.measure(), "line_rms_mm")))
        << "without a size nothing is guessed";
}

TEST(Jitter, IsMeasuredAlongEachAxis)
{
    Recording recording;
    recording.add({ReportKind::touch, 2, 4, 2, {4000, 8000}, {4000, 8000}}, [](double share, Point point) {
        const bool isOdd = std::lround(share * 249) % 2 != 0;
        return Point{point.x + (isOdd ? 10 : 0), point.y + (isOdd ? 40 : 0)};
    });
    const grading::Summary summary = recording.measure();
    EXPECT_NEAR(figure(summary, "jitter_rms_x_units"), 5, 0.05);
    EXPECT_NEAR(figure(summary, "jitter_rms_y_units"), 20, 0.1);
    EXPECT_EQ(figure(summary, "jitter_p2p_x_units"), 10);
    EXPECT_EQ(figure(summary, "jitter_p2p_y_units"), 40);
    EXPECT_EQ(figure(summary, "jitter_rms_units"), figure(summary, "jitter_rms_y_units"))
        << "the larger axis";
}

TEST(TravelJitter, IsTheSpreadWithinTenMillimetresOfTheLine)
{
    // Ten millimetres are 100 units: about one step of the stroke, and a tenth of a wave.
    Recording recording;
    recording.add({ReportKind::touch, 1, 1, 2, {4000, 8000}, {28000, 8000}, 1000},
                  [](double share, Point point) {
                      return Point{point.x, point.y + 50 * std::sin(share * 48 * pi)};
                  });
    // In a tenth of a wave a sine rises by at most 2 sin(pi / 10) of its height.
    EXPECT_NEAR(figure(recording.measure(grading::BoardSize{3276.8, 3276.8}), "travel_jitter_mm"),
                5 * 2 * std::sin(pi / 10), 0.2);
}

TEST(Rates, TellOneContactFromMany)
{
    Recording recording;
    recording.add({ReportKind::touch, 1, 1, 2, {2000, 2000}, {30000, 2000}, 200});
    recording.add({ReportKind::touch, 1, 4, 2, {2000, 4000}, {30000, 4000}, 100});
    recording.add({ReportKind::touch, 2, 3.9, 2.2, {2000, 9000}, {30000, 9000}, 50});
    const grading::Summary summary = recording.measure();
    EXPECT_NEAR(figure(summary, "rate_one_min_hz"), 200, 0.5);
    EXPECT_NEAR(figure(summary, "rate_many_min_hz"), 50, 0.5);
}

TEST(Rates, OfHoveringPensAreThoseOfTheirReports)
{
    Recording recording;
    for (int i = 0; i < 200; ++i)
        recording.pen(1 + i * 0.01, 4, {2000.0 + 10 * i, 500}, false);
    const grading::Summary summary = recording.measure();
    const auto &rates = summary.rates.at({ReportKind::pen, grading::Activity::hovering});
    EXPECT_NEAR(rates.all.lowest().value(), 100, 0.1);
    EXPECT_EQ(figure(summary, "orphan_lift_count"), 0) << "a pen in the air is not lifted";
}

TEST(RestWhileMoving, MattersOnlyWhileOthersMove)
{
    const auto wander = [](double share, Point point) { return Point{point.x + 100 * share, point.y}; };
    Recording alone;
    alone.add({ReportKind::touch, 1, 1, 2, {5000, 5000}, {5000, 5000}}, wander);
    EXPECT_TRUE(std::isnan(figure(alone.measure(), "rest_while_moving_units")));

    Recording together = alone;
    together.add({ReportKind::touch, 2, 1, 2, {20000, 5000}, {30000, 5000}});
    EXPECT_NEAR(figure(together.measure(), "rest_while_moving_units"), 50, 1);
}

TEST(FirstMove, IsTheFirstStepToTheSecond)
{
    Recording recording;
    const std::vector<double> ways{0, 0, 0, 300, 400, 500, 600, 700, 800, 900, 1000};
    for (std::size_t i = 0; i < ways.size(); ++i)
        recording.touch(1 + 0.008 * double(i), {{1, 5000 + int(ways[i]), 5000, 0, true}});
    EXPECT_NEAR(figure(recording.measure(), "first_move_ratio"), 3, 1e-9);
}

TEST(TapWobble, IsTheFarthestFromWhereItTouched)
{
    Recording recording;
    recording.add({ReportKind::touch, 1, 1, 0.3, {5000, 5000}, {5030, 5040}});
    EXPECT_NEAR(figure(recording.measure(), "tap_wobble_units"), 50, 1);
}

TEST(Coverage, CountsCellsWithASampleOfAContactThatIsDown)
{
    struct Case
    {
        const char *name;
        std::vector<Point> points;
        double percent;
    };
    const double cell = 100.0 / (32 * 18);
    const std::vector<Case> cases{
        {"one cell", {{10, 10}, {1000, 1700}}, cell},
        {"two neighbours", {{1020, 10}, {1030, 10}}, 2 * cell},
        {"opposite corners", {{0, 0}, {32767, 32767}}, 2 * cell},
        {"beyond the screen", {{10, 10}, {40000, 10}}, cell},
    };
    for (const Case &given : cases) {
        Recording recording;
        double at = 1;
        for (const Point &point : given.points) {
            recording.touch(at, {{1, int(point.x), int(point.y), 0, true}});
            recording.touch(at + 0.05, {{1, int(point.x), int(point.y), 0, false}});
            at += 0.1;
        }
        recording.pen(at, 1, {20000, 20000}, false);
        EXPECT_NEAR(figure(recording.measure(), "coverage_percent"), given.percent, 1e-9) << given.name;
    }
}

TEST(Edges, AreReachedByTheOutermostSample)
{
    Recording recording;
    recording.add({ReportKind::touch, 1, 1, 1, {0.01 * width, 0.02 * width}, {0.97 * width, 0.96 * width}});
    const grading::Summary summary = recording.measure();
    EXPECT_NEAR(figure(summary, "edge_left_percent"), 1, 0.01);
    EXPECT_NEAR(figure(summary, "edge_right_percent"), 3, 0.01);
    EXPECT_NEAR(figure(summary, "edge_top_percent"), 2, 0.01);
    EXPECT_NEAR(figure(summary, "edge_bottom_percent"), 4, 0.01);
}

TEST(StuckContacts, AreThoseOfABoardThatLeavesToo)
{
    Recording recording;
    Contact silent = stroke();
    silent.lifts = false;
    recording.add(silent);
    Contact busy{ReportKind::pen, 1, 1, 4.9, {3000, 20000}, {9000, 20000}};
    busy.lifts = false;
    recording.add(busy);
    recording.unplug(6);
    recording.end(60);
    EXPECT_EQ(figure(recording.measure(), "stuck_count"), 1)
        << "the pen reported until its board left, so that it is not known to be stuck";
}

TEST(Ghosts, AreNotNearAnyOtherContactOfTheSecondBeforeOrBehind)
{
    struct Case
    {
        const char *name;
        double at;
        double distance; ///< from a contact that is down from second 3 to second 4
        int ghosts;
    };
    const std::vector<Case> cases{
        {"near in time and place", 3.5, 1000, 0},
        {"near, but farther than 5 percent", 3.5, 2000, 1},
        {"at the place, less than a second before", 2.1, 0, 0},
        {"at the place, more than a second before", 1.9, 0, 1},
        {"at the place, less than a second behind", 4.9, 0, 0},
        {"at the place, more than a second behind", 5.1, 0, 1},
    };
    for (const Case &given : cases) {
        Recording recording;
        recording.add({ReportKind::touch, 1, 3, 1, {9000, 9000}, {9000, 9000}});
        const Point place{9000 + given.distance, 9000};
        recording.add({ReportKind::touch, 2, given.at, 0.016, place, place});
        EXPECT_EQ(figure(recording.measure(), "ghost_count"), given.ghosts) << given.name;
    }
}

TEST(Swaps, AreNearInTimeAndPlaceAndOfAContactThatMoved)
{
    struct Case
    {
        const char *name;
        double pause;
        double way;
        ReportKind kind;
        bool moves;
        int swaps;
    };
    const std::vector<Case> cases{
        {"at once", 0, 100, ReportKind::touch, true, 1},
        {"after 90 ms", 0.09, 100, ReportKind::touch, true, 1},
        {"after 110 ms", 0.11, 100, ReportKind::touch, true, 0},
        {"farther than 1 percent", 0.01, 400, ReportKind::touch, true, 0},
        {"another kind", 0.01, 100, ReportKind::erase, true, 0},
        {"from a contact that rests", 0.01, 100, ReportKind::touch, false, 0},
    };
    for (const Case &given : cases) {
        Recording recording;
        const Point end{given.moves ? 12000.0 : 4000.0, 9000};
        recording.add({ReportKind::touch, 1, 1, 0.8, {4000, 9000}, end});
        recording.add({given.kind, 2, 1.8 + given.pause, 0.8, {end.x + given.way, 9000}, {20000, 9000}});
        EXPECT_EQ(figure(recording.measure(), "id_swap_count"), given.swaps) << given.name;
    }
}

TEST(Swaps, AreSeenInOneReportThatListsTheNewContactFirst)
{
    Recording recording;
    for (int i = 0; i < 100; ++i)
        recording.touch(1 + 0.008 * i, {{1, 4000 + 100 * i, 9000, 0, true}});
    recording.touch(1.8, {{2, 14000, 9000, 0, true}, {1, 13900, 9000, 0, false}});
    EXPECT_EQ(figure(recording.measure(), "id_swap_count"), 1);
}

TEST(LongContacts, AreMeasuredPieceByPieceInBoundedMemory)
{
    Recording recording;
    for (int i = 0; i < 200'000; ++i)
        recording.pen(1 + i * 0.001, 1, {5000.0 + (i % 2) * 10, 5000}, true);
    std::int64_t samples = 0;
    const grading::Summary summary =
        recording.measure({}, [&](const grading::ContactSummary &contact) { samples += contact.samples; });
    EXPECT_EQ(samples, 200'000);
    EXPECT_EQ(summary.contacts.at(ReportKind::pen), 1);
    EXPECT_NEAR(figure(summary, "jitter_rms_units"), 5, 0.01);
    EXPECT_EQ(figure(summary, "jitter_p2p_units"), 10);
}

TEST(Contacts, TellTheirFiguresOneByOne)
{
    Recording recording;
    recording.add({ReportKind::touch, 5, 1, 2, {4000, 8000}, {28000, 8000}});
    recording.add({ReportKind::pen, 2, 4, 2, {4000, 8000}, {4000, 8000}});
    std::vector<grading::ContactSummary> contacts;
    recording.measure({}, [&](const grading::ContactSummary &contact) { contacts.push_back(contact); });
    ASSERT_EQ(contacts.size(), 2U);
    EXPECT_EQ(contacts[0].kind, ReportKind::touch);
    EXPECT_EQ(contacts[0].id, 5);
    EXPECT_EQ(contacts[0].from, 1'000'000);
    EXPECT_EQ(contacts[0].to, 3'000'000);
    EXPECT_EQ(contacts[0].samples, 250);
    EXPECT_EQ(contacts[0].figures.count("line_rms_units"), 1U);
    EXPECT_NEAR(contacts[0].figures.at("rate_p50_hz"), 125, 0.1);
    EXPECT_EQ(contacts[1].kind, ReportKind::pen);
    EXPECT_EQ(contacts[1].figures.at("jitter_rms_units"), 0);
}

TEST(UnchangedReports, HaveTheSameBytesAsTheOneBefore)
{
    Recording recording;
    for (int i = 0; i < 10; ++i)
        recording.touch(1 + 0.01 * i, {{1, 5000 + (i / 2), 5000, 0, true}});
    EXPECT_EQ(figure(recording.measure(), "unchanged_percent"), 50);
}

TEST(Figures, StandInTheDocumentAsThePageExplainsThem)
{
    std::ifstream file(REPORT_DOCUMENT);
    const std::string document{std::istreambuf_iterator<char>(file), {}};
    for (const grading::FigureInfo &info : grading::figureInfos()) {
        const std::string unit(info.unit == "us" ? "µs" : info.unit);
        const std::string row =
            "| `" + std::string(info.key) + "` | " + unit + " | " + std::string(info.how) + " |";
        EXPECT_NE(document.find(row), std::string::npos) << row;
    }
}

TEST(Callback, IsTheTimeInsideIt)
{
    Recording recording;
    recording.add(stroke());
    EXPECT_NEAR(figure(recording.measure(), "callback_p50_us"), 25, 0.001);
    EXPECT_NEAR(figure(recording.measure(), "callback_p99_us"), 25, 0.001);
}

} // namespace
