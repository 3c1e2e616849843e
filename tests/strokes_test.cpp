#include "support/items.h"
#include "support/strokes.h"

#include <gtest/gtest.h>

namespace {

using namespace strokes;

TEST_F(Strokes, AreNoneAtFirst)
{
    EXPECT_TRUE(shows(empty_layer()));
    EXPECT_EQ(statistics(m_view), (Statistics{0, 0, 1000000, -1, 0}));
}

TEST(APieceOfAStroke, HasNoWidthUntilItIsFilledIn)
{
    const StrokesView::segment piece;

    EXPECT_EQ(piece.width, 0);
}

TEST_F(Strokes, StartWithADotAndGoOnFromTheLastPosition)
{
    pen(1, {20.5, 30.25});
    EXPECT_TRUE(shows(live({dot({20.5, 30.25}, 3, Qt::red)})));

    pen(1, {60, 40});
    pen(1, {61, 90.5});
    pen(0, {20, 100});

    EXPECT_TRUE(shows(live({dot({20.5, 30.25}, 3, Qt::red),
                            {{20.5, 30.25, 60, 40}, 3, Qt::red},
                            {{60, 40, 61, 90.5}, 3, Qt::red},
                            {{61, 90.5, 20, 100}, 3, Qt::red}})));
    EXPECT_EQ(statistics(m_view), (Statistics{1, 4, 4, 4, 4}));
}

TEST_F(Strokes, StartAgainAfterEachLift)
{
    pen(1, {20, 30});
    pen(0, {60, 40});
    pen(1, {100, 30});
    pen(0, {100, 90});

    EXPECT_TRUE(shows(live({dot({20, 30}, 3, Qt::red),
                            {{20, 30, 60, 40}, 3, Qt::red},
                            dot({100, 30}, 3, Qt::red),
                            {{100, 30, 100, 90}, 3, Qt::red}})));
    EXPECT_EQ(statistics(m_view), (Statistics{2, 4, 2, 2, 2}));
}

TEST_F(Strokes, AreNotDrawnByHoveringContacts)
{
    m_view.get_dirty_region();

    pen(0, {20, 30});
    pen(0, {60, 40});
    touch(0, {60, 40});
    eraser(0, {60, 40});

    EXPECT_TRUE(shows(empty_layer()));
    EXPECT_TRUE(m_view.get_dirty_region().isEmpty());
    EXPECT_EQ(statistics(m_view)[0], 0);
}

TEST_F(Strokes, AreDrawnByAnyButton)
{
    pen(2, {20, 30});
    pen(3, {60, 40});

    EXPECT_TRUE(shows(live({dot({20, 30}, 3, Qt::red), {{20, 30, 60, 40}, 3, Qt::red}})));
}

TEST_F(Strokes, AreGreenForEachTouchOfAReport)
{
    m_view.in_touch_event({contact(256, 1, {20, 30}, {5, 5}), contact(257, 1, {100, 30}, {7, 7})});
    m_view.in_touch_event({contact(257, 0, {110, 90}, {7, 7}), contact(256, 1, {30, 90}, {5, 5})});

    EXPECT_TRUE(shows(live({dot({20, 30}, 5, Qt::green),
                            dot({100, 30}, 7, Qt::green),
                            {{100, 30, 110, 90}, 7, Qt::green},
                            {{20, 30, 30, 90}, 5, Qt::green}})));
}

TEST_F(Strokes, OfErasersLetThePatternShow)
{
    m_view.toggle_black();
    pen(1, {20, 60}, {20, 20});
    pen(1, {150, 60}, {20, 20});

    m_view.in_erase_event({contact(512, 1, {60, 20}, {4, 6}), contact(513, 1, {110, 60}, {9, 9})});
    m_view.in_erase_event({contact(512, 0, {70, 90}, {4, 6})});

    EXPECT_TRUE(shows(live({dot({20, 60}, 20, Qt::red),
                            {{20, 60, 150, 60}, 20, Qt::red},
                            dot({60, 20}, 6, Qt::white),
                            dot({110, 60}, 9, Qt::white),
                            {{60, 20, 70, 90}, 6, Qt::white}}),
                      Qt::black));
}

TEST_F(Strokes, OfSeveralContactsDoNotMix)
{
    pen(1, {20, 30}, {}, -1);
    pen(1, {100, 30}, {}, -2);
    pen(1, {30, 90}, {}, -1);
    pen(0, {110, 90}, {}, -2);

    EXPECT_TRUE(shows(live({dot({20, 30}, 3, Qt::red),
                            dot({100, 30}, 3, Qt::red),
                            {{20, 30, 30, 90}, 3, Qt::red},
                            {{100, 30, 110, 90}, 3, Qt::red}})));
}

TEST_F(Strokes, KeepTheirColoursIfOneWidthIsDrawnInTurn)
{
    pen(1, {20, 30}, {4, 4});
    touch(1, {20, 90}, {4, 4});
    pen(1, {120, 40}, {4, 4});
    touch(1, {120, 100}, {4, 4});
    pen(1, {121.5, 44.25}, {4, 4});
    touch(1, {121.5, 104.25}, {4, 4});

    EXPECT_TRUE(shows(live({dot({20, 30}, 4, Qt::red),
                            dot({20, 90}, 4, Qt::green),
                            {{20, 30, 120, 40}, 4, Qt::red},
                            {{20, 90, 120, 100}, 4, Qt::green},
                            {{120, 40, 121.5, 44.25}, 4, Qt::red},
                            {{120, 100, 121.5, 104.25}, 4, Qt::green}})));
}

TEST_F(Strokes, AreAsWideAsTheContactOrElseAsTheSetting)
{
    struct
    {
        const char *name;
        QPointF radius;
        float setting;
        double width;
    } const rows[] = {
        {"default", {}, 3, 3},
        {"widest setting", {}, 9, 9},
        {"thinnest setting", {}, 0, 0},
        {"wide", {7, 4}, 3, 7},
        {"high", {4, 7}, 3, 7},
        {"only x", {5, 0}, 3, 5},
        {"only y", {0, 5}, 3, 5},
        {"fraction", {2.5, 2.25}, 3, 2.5},
        {"thinner", {0.5, 0.25}, 3, 0.5},
    };

    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        m_view.clear_strokes();
        m_view.m_stroke_width = row.setting;
        pen(1, {20, 30.5}, row.radius);
        pen(0, {100, 90}, row.radius);

        EXPECT_TRUE(
            shows(live({dot({20, 30.5}, row.width, Qt::red), {{20, 30.5, 100, 90}, row.width, Qt::red}})));
    }
}

TEST_F(Strokes, ChangeTheirWidthOnTheWay)
{
    pen(1, {20, 30});
    m_view.m_stroke_width = 8;
    pen(1, {60, 40});
    pen(0, {100, 90}, {2, 1});
    m_view.m_stroke_width = 1;
    const Pieces pieces{
        dot({20, 30}, 3, Qt::red), {{20, 30, 60, 40}, 8, Qt::red}, {{60, 40, 100, 90}, 2, Qt::red}};

    EXPECT_TRUE(shows(live(pieces)));
    m_view.redraw_strokes();

    EXPECT_TRUE(shows(rebuilt(pieces)));
}

TEST_F(Strokes, HaveNoPieceTwiceInARow)
{
    pen(1, {20, 30.5});
    m_view.get_dirty_region();

    pen(1, {20, 30.5});
    pen(1, {20 + 1e-13, 30.5 - 1e-13});
    EXPECT_TRUE(m_view.get_dirty_region().isEmpty());
    pen(0, {20, 30.5});

    EXPECT_TRUE(shows(live({dot({20, 30.5}, 3, Qt::red)})));
    EXPECT_EQ(statistics(m_view), (Statistics{1, 1, 1, 1, 1}));
}

TEST_F(Strokes, HaveAPieceTwiceWhenAnythingDiffers)
{
    struct
    {
        const char *name;
        QPointF pos;
        QPointF radius;
        int segments;
    } const rows[] = {
        {"nothing differs", {20, 30}, {4, 4}, 1},
        {"width", {20, 30}, {5, 4}, 2},
        {"x", {20.00000001, 30}, {4, 4}, 2},
        {"y", {20, 30.00000001}, {4, 4}, 2},
    };

    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        m_view.clear_strokes();
        pen(1, {20, 30}, {4, 4});
        pen(0, row.pos, row.radius);

        EXPECT_EQ(statistics(m_view)[1], row.segments);
    }
}

TEST_F(Strokes, HaveADotWhereAContactComesToRest)
{
    pen(1, {20, 30});
    pen(1, {60, 40});
    pen(1, {60, 40});
    pen(1, {60, 40});
    pen(0, {20, 30});

    EXPECT_EQ(statistics(m_view)[1], 4);
    EXPECT_TRUE(shows(live({dot({20, 30}, 3, Qt::red),
                            {{20, 30, 60, 40}, 3, Qt::red},
                            dot({60, 40}, 3, Qt::red),
                            {{60, 40, 20, 30}, 3, Qt::red}})));
}

TEST_F(Strokes, AreDotsUpToATinyDistance)
{
    pen(1, {60, 40}, {12, 12});
    pen(0, {60 + 1e-13, 40 - 1e-13}, {20, 20});

    // A line of this width would be antialiased differently.
    EXPECT_TRUE(shows(live({dot({60, 40}, 12, Qt::red), dot({60, 40}, 20, Qt::red)})));
}

TEST_F(Strokes, AreCounted)
{
    const auto stroke = [this](int segments) {
        pen(1, {10, 10});
        for (int i = 1; i < segments; ++i)
            pen(1, {10, 10 + 3.0 * i});
        pen(0, {10, 10 + 3.0 * (segments - 1)});
    };
    // Each lift, except that of a tap, adds the dot where the contact rests.
    stroke(1);
    EXPECT_EQ(statistics(m_view), (Statistics{1, 1, 1, 1, 1}));
    m_view.clear_strokes();

    pen(1, {10, 10});
    pen(0, {10, 13});
    stroke(2);
    EXPECT_EQ(statistics(m_view), (Statistics{2, 5, 2, 3, 2}));
    stroke(6);
    EXPECT_EQ(statistics(m_view), (Statistics{3, 12, 2, 7, 4}));
    stroke(1);
    EXPECT_EQ(statistics(m_view), (Statistics{4, 13, 1, 7, 3}));

    pen(1, {10, 10});
    EXPECT_EQ(statistics(m_view)[0], 4) << "a stroke in progress is none yet";
}

struct DirtyRow
{
    const char *name;
    QPointF from;
    QPointF to;
    QPointF radius;
    QPoint top_left, bottom_right; ///< both are inside the area
};

class StrokesDirtyArea : public Strokes, public testing::WithParamInterface<DirtyRow>
{
};

TEST_P(StrokesDirtyArea, HoldsBothEndPixelsAndTheWidth)
{
    const DirtyRow &row = GetParam();
    pen(1, row.from, row.radius);
    if (row.from != row.to) {
        m_view.get_dirty_region();
        pen(1, row.to, row.radius);
    }

    EXPECT_EQ(m_view.get_dirty_region(), QRegion(QRect(row.top_left, row.bottom_right)));
}

INSTANTIATE_TEST_SUITE_P(
    Stroke, StrokesDirtyArea,
    testing::Values(DirtyRow{"Dot", {50, 60}, {50, 60}, {3, 3}, {46, 56}, {54, 64}},
                    DirtyRow{"DotBetweenPixels", {50.9, 60.1}, {50.9, 60.1}, {3, 3}, {46, 56}, {54, 64}},
                    DirtyRow{"DotOfTheSetting", {50, 60}, {50, 60}, {}, {46, 56}, {54, 64}},
                    DirtyRow{"DotOfAFraction", {50, 60}, {50, 60}, {2.75, 1}, {47, 57}, {53, 63}},
                    DirtyRow{"ThinDot", {50, 60}, {50, 60}, {0.25, 0.25}, {49, 59}, {51, 61}},
                    DirtyRow{"ToTheRightAndDown", {20.7, 30.2}, {50.1, 60.9}, {3, 3}, {16, 26}, {54, 64}},
                    DirtyRow{"ToTheLeftAndUp", {50.1, 60.9}, {20.7, 30.2}, {3, 3}, {16, 26}, {54, 64}},
                    DirtyRow{"ToTheLeftAndDown", {50, 30}, {20, 60}, {1, 1}, {18, 28}, {52, 62}},
                    DirtyRow{"Level", {50, 30}, {20, 30}, {1, 1}, {18, 28}, {52, 32}},
                    DirtyRow{"OutsideTheWidget", {-20.7, -30.2}, {-5.5, 8.5}, {1, 1}, {-22, -32}, {-3, 10}}),
    row_name<DirtyRow>);

} // namespace
