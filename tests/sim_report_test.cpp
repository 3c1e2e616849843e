#include "move.h"

#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <string>
#include <vector>

using namespace boardsim;

namespace {

Move move_of(const std::vector<MovingContact> &contacts, std::int64_t rate, std::int64_t time)
{
    Move move;
    move.rate = rate;
    move.time = time;
    move.contacts = contacts;
    return move;
}

MovingContact pen(int id, const Path &path, bool tip, bool button)
{
    MovingContact contact;
    contact.id = id;
    contact.path = path;
    contact.tip = tip;
    contact.button = button;
    return contact;
}

MovingContact touch(int id, const Path &path, int extent)
{
    MovingContact contact;
    contact.kind = MovingContact::Kind::touch;
    contact.id = id;
    contact.path = path;
    contact.extent = extent;
    return contact;
}

MovingContact eraser(int id, const Path &path, int width, int height)
{
    MovingContact contact;
    contact.kind = MovingContact::Kind::erase;
    contact.id = id;
    contact.path = path;
    contact.width = width;
    contact.height = height;
    return contact;
}

void expect_point(const Point &actual, double x, double y)
{
    EXPECT_NEAR(actual.x, x, 1e-9);
    EXPECT_NEAR(actual.y, y, 1e-9);
}

} // namespace

TEST(ATouchStatusReport, HoldsSixBytesBehindItsHeader)
{
    EXPECT_EQ(touchStatusReport({1, 2, 3, 4, 5, 0xff}), (Bytes{0x08, 0xa5, 1, 2, 3, 4, 5, 0xff}));
}

TEST(ALine, IsRunAtConstantSpeed)
{
    const Path path = linePath({{0, 0}, {30, 0}, {30, 10}}); // a long piece, then a short one

    expect_point(pointOn(path, 0), 0, 0);
    expect_point(pointOn(path, 0.25), 10, 0);
    expect_point(pointOn(path, 0.75), 30, 0);
    expect_point(pointOn(path, 0.875), 30, 5);
    expect_point(pointOn(path, 1), 30, 10);
}

TEST(ALine, MayStandStillOrHoldAPointTwice)
{
    expect_point(pointOn(linePath({{5, 6}}), 0.5), 5, 6);
    expect_point(pointOn(linePath({{5, 6}, {5, 6}}), 0.5), 5, 6);
    expect_point(pointOn(linePath({{0, 0}, {10, 0}, {10, 0}, {20, 0}}), 0.5), 10, 0);
    expect_point(pointOn(linePath({{0, 0}, {10, 0}, {10, 0}, {20, 0}}), 0.75), 15, 0);
}

TEST(ABentLine, IsFarthestFromItsChordAtItsHalfAndKeepsItsEnds)
{
    const Path down = linePath({{0, 0}, {100, 0}}, 8);

    expect_point(pointOn(down, 0), 0, 0);
    expect_point(pointOn(down, 0.25), 25, 6);
    expect_point(pointOn(down, 0.5), 50, 8);
    expect_point(pointOn(down, 0.75), 75, 6);
    expect_point(pointOn(down, 1), 100, 0);
}

TEST(ABentLine, LeavesItsWayToTheRightOrWithANegativeCurveToTheLeft)
{
    expect_point(pointOn(linePath({{0, 0}, {100, 0}}, -8), 0.5), 50, -8);
    expect_point(pointOn(linePath({{100, 0}, {0, 0}}, 8), 0.5), 50, -8);
    expect_point(pointOn(linePath({{50, 0}, {50, 100}}, 8), 0.5), 42, 50);
    expect_point(pointOn(linePath({{0, 0}, {30, 40}}, 10), 0.5), 15 - 8, 20 + 6);
}

TEST(ABentLine, MayHaveCornersAndEndsThatAlmostCoincide)
{
    expect_point(pointOn(linePath({{0, 0}, {50, 50}, {100, 0}}, 8), 0.5), 50, 58);
    expect_point(pointOn(linePath({{0, 0}, {1e-320, 0}}, 8), 0.5), 0, 8);
}

TEST(AnArc, StartsOnTheRightAndTurnsDownwards)
{
    const Path circle = Arc{{100, 200}, {30, 40}, 0, 360};

    expect_point(pointOn(circle, 0), 130, 200);
    expect_point(pointOn(circle, 0.25), 100, 240);
    expect_point(pointOn(circle, 0.5), 70, 200);
    expect_point(pointOn(circle, 1), 130, 200);
}

TEST(AnArc, RunsBackwardsToASmallerAngle)
{
    expect_point(pointOn(Arc{{100, 200}, {30, 40}, 90, -90}, 1), 100, 160);
}

TEST(AMove, TakesRateTimesTimeSamplesAndAtLeastOne)
{
    EXPECT_EQ(sampleCount(move_of({}, 200, 1'000'000)), 200);
    EXPECT_EQ(sampleCount(move_of({}, 200, 12'499)), 2);
    EXPECT_EQ(sampleCount(move_of({}, 200, 0)), 1);
    EXPECT_EQ(sampleCount(move_of({}, 1'000'000, 1'000'000'000'000)), 1'000'000'000'000);
}

TEST(AMove, SpreadsItsSamplesEvenlyWithoutDrift)
{
    using namespace std::chrono;
    const Move third = move_of({}, 3, 10'000'000);

    EXPECT_EQ(sampleTime(third, 0), 0ns);
    EXPECT_EQ(sampleTime(third, 1), 333'333'333ns);
    EXPECT_EQ(sampleTime(third, 30), 10s);
    EXPECT_EQ(sampleTime(move_of({}, 1'000'000, 0), 999'999'999'999), 999'999s + 999'999us);
}

TEST(AMove, SendsOneReportAPenAndOneForEachOtherKind)
{
    const Path path = linePath({{0x0102, 0x0304}});
    const Move move = move_of({eraser(1, path, 5, 6), touch(2, path, 7), pen(3, path, true, false),
                               touch(4, path, 8), eraser(5, path, 9, 10), pen(6, path, false, true)},
                              100, 0);

    EXPECT_EQ(
        sampleReports(move, 0),
        (std::vector<Bytes>{
            {0x08, 0x21, 0, 0x02, 0x01, 0x04, 0x03, 3 << 3 | 1},
            {0x08, 0x21, 0, 0x02, 0x01, 0x04, 0x03, 6 << 3 | 2},
            {0, 0x45, 0x82, 0x02, 0x01, 0x04, 0x03, 7, 0, 0x84, 0x02, 0x01, 0x04, 0x03, 8, 0},
            {0, 0x46, 0x81, 0x02, 0x01, 0x04, 0x03, 5, 0, 6, 0, 0x85, 0x02, 0x01, 0x04, 0x03, 9, 0, 10, 0},
        }));
}

TEST(AMove, GoesFromTheFirstPointToTheLast)
{
    const Move move = move_of({touch(0, linePath({{10, 0}, {20, 0}}), 1)}, 3, 1'000'000);

    EXPECT_EQ(sampleReports(move, 0), (std::vector<Bytes>{{0, 0x45, 0x80, 10, 0, 0, 0, 1, 0}}));
    EXPECT_EQ(sampleReports(move, 1), (std::vector<Bytes>{{0, 0x45, 0x80, 15, 0, 0, 0, 1, 0}}));
    EXPECT_EQ(sampleReports(move, 2), (std::vector<Bytes>{{0, 0x45, 0x80, 20, 0, 0, 0, 1, 0}}));
}

TEST(AMove, LiftsEveryContactWhereItEnds)
{
    const Path path = linePath({{1, 2}, {3, 4}});
    const Move move = move_of({pen(3, path, true, true), touch(2, path, 7), eraser(1, path, 5, 6)}, 100, 0);

    EXPECT_EQ(liftReports(move),
              (std::vector<Bytes>{{0x08, 0x21, 0, 3, 0, 4, 0, 3 << 3},
                                  {0, 0x45, 0x02, 3, 0, 4, 0, 7, 0},
                                  {0, 0x46, 0x01, 3, 0, 4, 0, 5, 0, 6, 0}}));
}

TEST(ContactsOnTheBoard, AreThoseDownInTheLastReportThatHeldThem)
{
    std::set<int> down;

    trackContacts(penReport({2, 0, 0, true, false, false}), down);
    trackContacts(touchReport({{2, 0, 0, 0, true}, {3, 0, 0, 0, true}}), down);
    trackContacts(eraseReport({{2, 0, 0, 0, 0, true}}), down);
    EXPECT_EQ(down.size(), 4u);

    trackContacts(touchReport({{2, 0, 0, 0, false}}), down);
    EXPECT_EQ(down.size(), 3u);

    trackContacts(penReport({2, 0, 0, false, false, true}), down);
    trackContacts(touchReport({{3, 0, 0, 0, false}}), down);
    trackContacts(eraseReport({{2, 0, 0, 0, 0, false}}), down);
    EXPECT_TRUE(down.empty());
}

TEST(ContactsOnTheBoard, StayAsTheyAreWithAReportThatIsTooShortOrUnknown)
{
    const std::vector<Bytes> reports{{},
                                     {0x45},
                                     {0, 0x45, 0x81, 0, 0, 0, 0, 0},
                                     {0, 0x46, 0x81, 0, 0, 0, 0, 0, 0, 0},
                                     {0x08, 0x21, 0, 0, 0, 0, 0},
                                     {0, 0x99, 0x81, 0, 0, 0, 0, 0, 0, 0, 0}};
    std::set<int> down;

    for (const Bytes &report : reports)
        trackContacts(report, down);

    EXPECT_TRUE(down.empty());
}
