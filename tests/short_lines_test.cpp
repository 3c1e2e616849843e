// Tests that short lines, which are rasterised once and then copied, look as if each were drawn.

#include "support/heap.h"
#include "support/items.h"
#include "support/strokes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <vector>

namespace {

using namespace strokes;

class ShortLines : public Strokes
{
protected:
    /// Draws a stroke from @p start that repeats each step three times; returns its pieces.
    Pieces walk(QPointF start, double width, const QColor &colour,
                const std::vector<QPointF> &steps = {{1, 0},
                                                     {2, 1},
                                                     {-3, 2},
                                                     {0, -4},
                                                     {5, 5},
                                                     {-8, 3},
                                                     {5, -7},
                                                     {3, 7},
                                                     {12, -12},
                                                     {11, 2},
                                                     {-13, 12},
                                                     {0.5, 3},
                                                     {-6, 0},
                                                     {-4, -5},
                                                     {-1, -9}})
    {
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
    /// Draws the steps between whole pixels in several widths and colours, then those of the parameter.
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

TEST_P(ShortLine, LooksAsIfFilledAgainEachTime)
{
    EXPECT_TRUE(shows(live(draw())));
}

TEST_P(ShortLine, LooksAsIfFilledAgainInARebuild)
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

TEST_F(ShortLines, AreNotTheirMirrorImages)
{
    const std::vector<QPointF> steps{{3, 4}, {3, -4}, {-3, 4}, {-3, -4}, {4, 3}, {4, -3}, {-4, 3}, {-4, -3}};

    EXPECT_TRUE(shows(live(walk({60, 50}, 3, Qt::red, steps))));
}

struct Kinds
{
    const char *name;
    double thinnest;
    double widest;
    double longest; ///< largest step to the right and back
    double highest; ///< largest step down and back
};

void PrintTo(const Kinds &kinds, std::ostream *stream)
{
    *stream << kinds.name;
}

class ThousandsOfLines : public ShortLines, public testing::WithParamInterface<Kinds>
{
};

TEST_F(ShortLines, AreKeptWhenTheyComeForTheSecondTime)
{
    const auto kept_of_many = [this] {
        const std::size_t before = heap_in_use();
        for (int i = 0; i < 400; ++i) {
            const double width = 4 + i / 100.0;
            m_view.draw_stroke(contact(1, 1, {50, 50}, {width, width}), Qt::red);
            m_view.draw_stroke(contact(1, 0, {53, 50}, {width, width}), Qt::red);
        }
        m_view.get_dirty_region();
        m_view.clear_strokes();
        return static_cast<long>(heap_in_use() - before);
    };

    EXPECT_LT(kept_of_many(), 50'000);
    EXPECT_GT(kept_of_many(), 150'000);
}

TEST_P(ThousandsOfLines, TakeLittleMemory)
{
    constexpr int count = 4'000;
    const Kinds &kinds = GetParam();
    const std::size_t before = heap_in_use();
    for (int i = 0; i < count; ++i) {
        const double part = double(i) / count;
        const double width = kinds.thinnest + part * (kinds.widest - kinds.thinnest);
        const QPointF end(50 + std::floor(1 + part * kinds.longest), 51 + std::floor(part * kinds.highest));
        for (const QPointF at : {QPointF(50, 50), end, QPointF(50, 50), end})
            m_view.draw_stroke(contact(1, 1, at, {width, width}), Qt::red);
        m_view.get_dirty_region();
    }

    EXPECT_LT(heap_in_use(), before + (12U << 20));
}

INSTANTIATE_TEST_SUITE_P(, ThousandsOfLines,
                         testing::Values(Kinds{"ThatAreThin", 2, 4, 3, 0},
                                         Kinds{"ThatAreNotThin", 8, 9, 20, 0},
                                         Kinds{"ThatAreThick", 10, 60, 3, 0},
                                         Kinds{"ThatAreLong", 2, 4, 150, 0},
                                         Kinds{"ThatAreLongDiagonals", 2, 4, 100, 100}),
                         testing::PrintToStringParamName());

} // namespace
