#include "support/heap.h"
#include "support/items.h"
#include "support/messages.h"
#include "support/pictures.h"
#include "support/strokes.h"

#include <QResizeEvent>

#include <gtest/gtest.h>

namespace {

using namespace strokes;

TEST_F(Strokes, AreRebuiltInTheirOrder)
{
    const Pieces pieces = draw_crossing_strokes();
    EXPECT_TRUE(shows(live(pieces)));

    m_view.redraw_strokes();

    EXPECT_TRUE(shows(rebuilt(pieces)));
}

TEST_F(Strokes, AreRebuiltEachInPlaceOfWhatIsBelow)
{
    const Pieces pieces = draw_translucent_strokes();
    ASSERT_FALSE(same_picture(over(Qt::white, live(pieces)), over(Qt::white, rebuilt(pieces))));
    EXPECT_TRUE(shows(live(pieces)));

    m_view.redraw_strokes();

    EXPECT_TRUE(shows(rebuilt(pieces)));
}

TEST_F(Strokes, AreRebuiltWithTheEraserFirst)
{
    eraser(1, {40, 40});
    eraser(0, {80.5, 60});
    pen(1, {30, 50});
    pen(0, {90, 55.5});
    m_view.toggle_black();

    m_view.redraw_strokes();

    EXPECT_TRUE(shows(rebuilt({dot({40, 40}, 8, Qt::white),
                               {{40, 40, 80.5, 60}, 8, Qt::white},
                               dot({30, 50}, 3, Qt::red),
                               {{30, 50, 90, 55.5}, 3, Qt::red}}),
                      Qt::black));
}

TEST_F(Strokes, MarkNothingWhenTheyAreRebuilt)
{
    draw_crossing_strokes();
    m_view.get_dirty_region();

    m_view.redraw_strokes();

    EXPECT_TRUE(m_view.get_dirty_region().isEmpty());
}

TEST_F(Strokes, AreRebuiltWhenTheImageGrowsAndOnlyThen)
{
    const Pieces pieces = draw_translucent_strokes();

    resize({100, 90});
    resize({90, 180});
    resize(widget_size);
    EXPECT_TRUE(shows(live(pieces)));

    const QSize wider = widget_size + QSize(1, 0);
    resize(wider);
    EXPECT_TRUE(shows(rebuilt(pieces, wider)));
}

TEST_F(Strokes, AreRebuiltWhenTheImageGrowsInHeightOnly)
{
    const Pieces pieces = draw_translucent_strokes();

    resize({240, 181});

    EXPECT_TRUE(shows(rebuilt(pieces, {240, 181})));
}

TEST_F(Strokes, AreRebuiltOnlyOnceFinished)
{
    pen(1, {20, 30});
    pen(1, {60, 40});

    m_view.redraw_strokes();
    EXPECT_TRUE(shows(empty_layer()));

    pen(0, {100, 90});
    EXPECT_TRUE(shows(live({{{60, 40, 100, 90}, 3, Qt::red}})));
    m_view.redraw_strokes();

    EXPECT_TRUE(shows(rebuilt(
        {dot({20, 30}, 3, Qt::red), {{20, 30, 60, 40}, 3, Qt::red}, {{60, 40, 100, 90}, 3, Qt::red}})));
}

TEST_F(Strokes, AreGoneOnceCleared)
{
    draw_crossing_strokes();
    m_view.get_dirty_region();

    m_view.clear_strokes();

    EXPECT_TRUE(shows(empty_layer()));
    EXPECT_EQ(m_view.get_dirty_region(), QRegion(0, 0, widget_size.width(), widget_size.height()));
    EXPECT_EQ(statistics(m_view), (Statistics{0, 0, 1000000, -1, 0}));
    m_view.redraw_strokes();
    EXPECT_TRUE(shows(empty_layer()));
}

TEST_F(Strokes, GiveTheirMemoryBackOnceCleared)
{
    const auto draw_a_dot = [this] {
        pen(1, {50, 50});
        pen(0, {50, 50});
        m_view.get_dirty_region();
    };
    draw_a_dot();
    m_view.clear_strokes();
    m_view.get_dirty_region();
    const std::size_t before = heap_in_use();
    for (int i = 0; i < 20'000; ++i)
        draw_a_dot();

    m_view.clear_strokes();
    m_view.get_dirty_region();

    EXPECT_LE(heap_in_use(), before + 10'000);
}

TEST_F(Strokes, InProgressOutliveAClearing)
{
    const Piece first = dot({20, 30}, 3, Qt::red);
    const Piece second{{20, 30, 60, 40}, 3, Qt::red};
    const Piece third{{60, 40, 100, 90}, 3, Qt::red};
    pen(1, {20, 30});
    pen(1, {60, 40});

    m_view.clear_strokes();
    EXPECT_TRUE(shows(empty_layer()));
    pen(0, {100, 90});
    EXPECT_TRUE(shows(live({third})));
    EXPECT_EQ(statistics(m_view), (Statistics{1, 3, 3, 3, 3}));
    m_view.redraw_strokes();

    EXPECT_TRUE(shows(rebuilt({first, second, third})));
}

TEST_F(Strokes, KeepTheColourOfTheirFirstRecord)
{
    m_view.draw_stroke(contact(1, 1, {20, 30}), Qt::blue);
    m_view.draw_stroke(contact(1, 0, {60, 40}), Qt::yellow);

    m_view.redraw_strokes();

    EXPECT_TRUE(shows(rebuilt({dot({20, 30}, 3, Qt::blue), {{20, 30, 60, 40}, 3, Qt::blue}})));
}

TEST(StrokesBeforeTheFirstResize, AreRecordedAndShownLater)
{
    const Messages messages;
    StrokesView view;
    view.m_show_tags = false;
    view.toggle_help();

    view.in_pen_event(contact(-1, 1, {20, 30}));
    view.in_pen_event(contact(-1, 0, {60, 40}));
    view.redraw_strokes();
    EXPECT_EQ(statistics(view), (Statistics{1, 2, 2, 2, 2}));
    view.resize(widget_size);

    EXPECT_TRUE(
        same_picture(picture_of(view),
                     over(Qt::white, rebuilt({dot({20, 30}, 3, Qt::red), {{20, 30, 60, 40}, 3, Qt::red}}))));
    EXPECT_EQ(messages.all(), std::vector<std::string>());
}

TEST(StrokesOfAViewWithoutSize, AreRecordedAndShownLater)
{
    for (const QSize size : {QSize(0, 0), QSize(100, 0), QSize(0, 100)}) {
        SCOPED_TRACE(testing::PrintToString(size));
        const Messages messages;
        StrokesView view;
        view.m_show_tags = false;
        view.toggle_help();
        view.resize(size);
        QResizeEvent event(size, {});
        view.resizeEvent(&event);

        view.in_pen_event(contact(-1, 1, {20, 30}));
        view.in_pen_event(contact(-1, 0, {60, 40}));
        view.in_erase_event({contact(512, 1, {60, 40})});
        view.redraw_strokes();
        view.toggle_grid();
        view.toggle_grid();
        EXPECT_EQ(statistics(view), (Statistics{1, 2, 2, 2, 2}));
        view.clear_strokes();

        EXPECT_EQ(statistics(view)[0], 0);
        EXPECT_EQ(messages.all(), std::vector<std::string>());
    }
}

} // namespace
