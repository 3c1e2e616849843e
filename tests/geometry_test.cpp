#include "item.h"

#include "support/items.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

void expect_point(QVector2D actual, QVector2D expected)
{
    EXPECT_FLOAT_EQ(actual.x(), expected.x());
    EXPECT_FLOAT_EQ(actual.y(), expected.y());
}

struct LineRow
{
    const char *name;
    QVector2D p, a, b;
    QVector2D nearest;
    float distance_squared;
};

class NearestPointOnLine : public testing::TestWithParam<LineRow>
{
};

TEST_P(NearestPointOnLine, StaysOnTheSegment)
{
    const LineRow &row = GetParam();

    expect_point(nearest_point_on_line(row.p, row.a, row.b), row.nearest);
}

TEST_P(NearestPointOnLine, GivesTheSquaredDistance)
{
    const LineRow &row = GetParam();

    EXPECT_FLOAT_EQ(distance_squared_to_line(row.p, row.a, row.b), row.distance_squared);
}

INSTANTIATE_TEST_SUITE_P(
    Segment, NearestPointOnLine,
    testing::Values(LineRow{"AboveTheMiddle", {5, 3}, {0, 0}, {10, 0}, {5, 0}, 9},
                    LineRow{"BelowAQuarter", {2.5F, -2}, {0, 0}, {10, 0}, {2.5F, 0}, 4},
                    LineRow{"OnTheLine", {7, 0}, {0, 0}, {10, 0}, {7, 0}, 0},
                    LineRow{"BesideAnInclinedLine", {0, 2}, {0, 0}, {4, 4}, {1, 1}, 2},
                    LineRow{"AwayFromTheOrigin", {12, 13}, {10, 10}, {10, 20}, {10, 13}, 4},
                    LineRow{"LevelWithTheStart", {0, 4}, {0, 0}, {10, 0}, {0, 0}, 16},
                    LineRow{"JustPastTheStart", {0.05F, 3}, {0, 0}, {10, 0}, {0.05F, 0}, 9},
                    LineRow{"BeforeTheStart", {-3, 4}, {0, 0}, {10, 0}, {0, 0}, 25},
                    LineRow{"LevelWithTheEnd", {10, 4}, {0, 0}, {10, 0}, {10, 0}, 16},
                    LineRow{"BeyondTheEnd", {13, 4}, {0, 0}, {10, 0}, {10, 0}, 25},
                    LineRow{"SegmentOfNoLength", {4, 5}, {1, 1}, {1, 1}, {1, 1}, 25},
                    LineRow{"AtASegmentOfNoLength", {1, 1}, {1, 1}, {1, 1}, {1, 1}, 0}),
    row_name<LineRow>);

TEST(NearestPointOnLineBeyondItsEnd, IsExactlyTheEnd)
{
    const QVector2D a(0.1F, 0.7F);
    const QVector2D b(3.3F, 1.9F);

    EXPECT_EQ(nearest_point_on_line({100.3F, 40.1F}, a, b), b);
    EXPECT_EQ(nearest_point_on_line({-100.3F, -40.1F}, a, b), a);
}

struct PolygonRow
{
    const char *name;
    QPolygonF polygon;
    int skip;
    QVector2D p;
    int index;
    QVector2D nearest;
};

class NearestPointOnPolygon : public testing::TestWithParam<PolygonRow>
{
};

TEST_P(NearestPointOnPolygon, GivesThePointAndItsSegment)
{
    const PolygonRow &row = GetParam();
    int index = -1;

    const QVector2D nearest = nearest_point_on_polygon(row.polygon, row.skip, row.p, index);

    EXPECT_EQ(index, row.index);
    expect_point(nearest, row.nearest);
}

/// The first @p count points of @p polygon. Its memory still holds the others.
QPolygonF cut_short(QPolygonF polygon, int count)
{
    polygon.resize(count);
    return polygon;
}

const QPolygonF line(QVector<QPointF>{{0, 0}, {10, 0}});
// Three sides of a square. The line from the last point to the first is not one of its segments.
const QPolygonF cup(QVector<QPointF>{{0, 0}, {0, 10}, {10, 10}, {10, 0}});

INSTANTIATE_TEST_SUITE_P(
    Polygon, NearestPointOnPolygon,
    testing::Values(
        PolygonRow{"OnlyOneSegment", line, 0, {4, 3}, 0, {4, 0}},
        PolygonRow{"SkippingTheOnlySegment", line, 1, {4, 3}, 0, {4, 0}},
        PolygonRow{"FirstSegment", cup, 0, {1, 5}, 0, {0, 5}},
        PolygonRow{"MiddleSegment", cup, 0, {5, 9}, 1, {5, 10}},
        PolygonRow{"LastSegment", cup, 0, {9, 5}, 2, {10, 5}},
        PolygonRow{"LastSegmentSkipped", cup, 1, {9, 6}, 1, {9, 10}},
        PolygonRow{"LastTwoSegmentsSkipped", cup, 2, {9, 6}, 0, {0, 6}},
        PolygonRow{"MoreSkippedThanThereAre", cup, 9, {9, 6}, 0, {0, 6}},
        PolygonRow{"NegativeSkip", cut_short(cup, 3), -1, {9, 2}, 1, {9, 10}},
        PolygonRow{"SmallestSkip", cut_short(cup, 3), std::numeric_limits<int>::min(), {9, 2}, 1, {9, 10}},
        PolygonRow{"LargestSkip", cup, std::numeric_limits<int>::max(), {9, 6}, 0, {0, 6}},
        PolygonRow{"OnePoint", cut_short(line, 1), 0, {4, 3}, 0, {0, 0}},
        PolygonRow{"OnePointAwayFromTheOrigin", {{{2, 1}}}, 0, {4, 3}, 0, {2, 1}},
        PolygonRow{"NoPoint", {}, 0, {4, 3}, 0, {0, 0}},
        PolygonRow{"TheLaterOfTwoThatShareTheirCorner", cup, 0, {-3, 14}, 1, {0, 10}},
        PolygonRow{"TheLaterOfTwoEquallyFar", cup, 0, {5, 2}, 2, {10, 2}},
        PolygonRow{"TheLastOfThreeEquallyFar", cup, 0, {5, 5}, 2, {10, 5}},
        PolygonRow{"TheOpenSideDoesNotCount", cup, 0, {6, -1}, 2, {10, 0}}),
    row_name<PolygonRow>);

} // namespace
