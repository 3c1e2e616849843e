// Short lines that come again and again are filled once and then copied. Nobody may see that.

#include "support/items.h"
#include "support/strokes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <vector>

#include <malloc.h>

namespace {

using namespace strokes;

class ShortLines : public Strokes
{
protected:
    /// Draws a stroke from @p start that takes each of the steps three times; returns its pieces.
    Pieces walk(QPointF start, double width, const QColor &colour)
    {
        static const std::vector<QPointF> steps{{1, 0},    {2, 1},   {-3, 2}, {0, -4},   {5, 5},
                                                {-8, 3},   {5, -7},  {3, 7},  {12, -12}, {11, 2},
                                                {-13, 12}, {0.5, 3}, {-6, 0}, {-4, -5},  {-1, -9}};
        Pieces pieces;
        QPointF at = start;
        for (int round = 0; round < 3; ++round) {
            for (const QPointF step : steps)
                go(at, at + step, width, colour, pieces);
            go(at, start + QPointF(20 * round, 9), width, colour, pieces);
        }
        m_view.draw_stroke(contact(1, 0, at, {width, width}), colour);
        pieces.push_back(dot(at, width, colour));
        return pieces;
    }

private:
    void go(QPointF &at, QPointF next, double width, const QColor &colour, Pieces &pieces)
    {
        if (pieces.empty()) {
            m_view.draw_stroke(contact(1, 1, at, {width, width}), colour);
            pieces.push_back(dot(at, width, colour));
        }
        m_view.draw_stroke(contact(1, 1, next, {width, width}), colour);
        pieces.push_back({{at, next}, width, colour});
        at = next;
    }
};

void append(Pieces &pieces, const Pieces &more)
{
    pieces.insert(pieces.end(), more.begin(), more.end());
}

struct Walk
{
    const char *name;
    QPointF start;
    double width;
    QColor colour;
};

void PrintTo(const Walk &walk, std::ostream *stream)
{
    *stream << walk.name;
}

class ShortLine : public ShortLines, public testing::WithParamInterface<Walk>
{
protected:
    /// The same steps from pixel to pixel, in more than one width and colour, come first.
    Pieces draw()
    {
        Pieces pieces = walk({60, 40}, 3, Qt::red);
        append(pieces, walk({62, 44}, 5, Qt::red));
        append(pieces, walk({64, 46}, 3, Qt::green));
        append(pieces, walk(GetParam().start, GetParam().width, GetParam().colour));
        append(pieces, walk(GetParam().start + QPointF(2, 3), GetParam().width, GetParam().colour));
        return pieces;
    }
};

TEST_P(ShortLine, LooksAsIfFilledAnewEachTime)
{
    EXPECT_TRUE(shows(live(draw())));
}

TEST_P(ShortLine, LooksAsIfFilledAnewInARebuild)
{
    const Pieces pieces = draw();

    m_view.redraw_strokes();

    EXPECT_TRUE(shows(rebuilt(pieces)));
}

INSTANTIATE_TEST_SUITE_P(
    , ShortLine,
    testing::Values(
        Walk{"AsWideAsAPensByDefault", {60, 50}, 3, Qt::red}, Walk{"InAnotherColour", {60, 50}, 3, Qt::green},
        Walk{"AFractionWider", {60, 50}, 3.0625, Qt::red}, Walk{"ThatIsNarrow", {60, 50}, 0.5, Qt::red},
        Walk{"TwoPixelsWide", {60, 50}, 1, Qt::red}, Walk{"HardlyWider", {60, 50}, 1.03125, Qt::red},
        Walk{"AsWideAsTheKeysSet", {60, 50}, 9, Qt::red}, Walk{"ThatIsWider", {60, 50}, 14, Qt::red},
        Walk{"ThatStartsBetweenPixels", {60.25, 50}, 3, Qt::red},
        Walk{"ThatStartsBetweenLines", {60, 50.5}, 3, Qt::red}, Walk{"AtTheLeftEdge", {1, 50}, 3, Qt::red},
        Walk{"AtTheTopEdge", {60, 1}, 3, Qt::red}, Walk{"AtTheRightEdge", {214, 50}, 3, Qt::red},
        Walk{"AtTheBottomEdge", {60, 168}, 3, Qt::red},
        Walk{"ThatCanBeSeenThrough", {60, 50}, 3, QColor(255, 0, 0, 128)},
        Walk{"OfAnEraser", {60, 50}, 8, Qt::white}),
    testing::PrintToStringParamName());

struct Kinds
{
    const char *name;
    double widest;
    double longest;
};

void PrintTo(const Kinds &kinds, std::ostream *stream)
{
    *stream << kinds.name;
}

class ThousandsOfLines : public ShortLines, public testing::WithParamInterface<Kinds>
{
};

TEST_P(ThousandsOfLines, TakeLittleMemory)
{
    constexpr int count = 6'000;
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    for (int i = 0; i < count; ++i) {
        const double part = double(i) / count;
        const double width = 2 + part * (GetParam().widest - 2);
        const double x = 50 + std::floor(1 + part * GetParam().longest);
        for (const QPointF at : {QPointF(50, 50), QPointF(x, 51), QPointF(50, 50), QPointF(x, 51)})
            m_view.draw_stroke(contact(1, 1, at, {width, width}), Qt::red);
        m_view.get_dirty_region();
    }

    EXPECT_LT(mallinfo2().uordblks + mallinfo2().hblkhd - before, 16U << 20);
}

INSTANTIATE_TEST_SUITE_P(, ThousandsOfLines,
                         testing::Values(Kinds{"ThatAreThin", 4, 3}, Kinds{"ThatAreThick", 60, 3},
                                         Kinds{"ThatAreLong", 4, 150}),
                         testing::PrintToStringParamName());

} // namespace
