#include "itemview.h"

#include "item.h"
#include "support/items.h"
#include "support/pictures.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace {

TEST(ItemView, UnitesTheDirtyAreasAndGivesThemOnce)
{
    ItemView view(0);

    EXPECT_TRUE(view.get_dirty_region().isEmpty());
    view.add_dirty_region({0, 0, 10, 10});
    view.add_dirty_region({5, 5, 10, 10});
    view.add_dirty_region({-40, 100, 3, 4});
    view.add_dirty_region(QRect());

    EXPECT_EQ(view.get_dirty_region(),
              QRegion(0, 0, 10, 10) + QRegion(5, 5, 10, 10) + QRegion(-40, 100, 3, 4));
    EXPECT_TRUE(view.get_dirty_region().isEmpty());
}

TEST(ItemView, CollectsDirtyAreasFromManyThreads)
{
    constexpr int rounds = 20; // in one alone, the threads may happen to take turns
    constexpr int threads = 8;
    constexpr int areas = 200;
    const auto area = [](int thread, int i) { return QRect(4 * i, 4 * thread, 2, 2); };
    QRegion expected;
    for (int thread = 0; thread < threads; ++thread) {
        for (int i = 0; i < areas; ++i)
            expected += area(thread, i);
    }

    for (int round = 0; round < rounds; ++round) {
        ItemView view(0);
        std::promise<void> start;
        const std::shared_future<void> started = start.get_future().share();
        std::vector<std::thread> writers;
        for (int thread = 0; thread < threads; ++thread) {
            writers.emplace_back([&view, &area, started, thread] {
                started.wait();
                for (int i = 0; i < areas; ++i)
                    view.add_dirty_region(area(thread, i));
            });
        }
        start.set_value(); // starts all writers at once
        for (std::thread &writer : writers)
            writer.join();

        ASSERT_EQ(view.get_dirty_region(), expected);
    }
}

TEST(ItemView, CollectsTheAreasOfAllItemsOfATick)
{
    ItemView view(0);
    QRegion expected;
    for (int i = 0; i < 20; ++i) {
        view.add_item(make_square({100.0 * i, 0}));
        expected += QRect(100 * i - 2, -2, 56, 56);
    }

    render_all(view);

    EXPECT_EQ(view.get_dirty_region(), expected);
}

struct MoveRow
{
    const char *name;
    int flags; ///< before the move
};

/// An item that one view has rendered and another is given.
class MovedItem : public testing::TestWithParam<MoveRow>
{
protected:
    MovedItem()
    {
        m_former.add_item(m_item);
        render(*m_item);
        m_former.get_dirty_region();
        m_item->m_update_flags = GetParam().flags;
    }

    ItemView m_former{0};
    ItemView m_view{0};
    std::shared_ptr<DrawnItem> m_item = make_square({10, 20});
};

TEST_P(MovedItem, KeepsWhatItHasToDo)
{
    m_view.add_item(m_item);

    EXPECT_EQ(m_item->m_update_flags, GetParam().flags | Item::refresh_area);
}

TEST_P(MovedItem, IsRepaintedWhereItWasAndWhereItIs)
{
    m_view.add_item(m_item);
    EXPECT_EQ(m_former.get_dirty_region(), QRegion(8, 18, 56, 56));
    EXPECT_TRUE(m_view.get_dirty_region().isEmpty());
    m_item->m_position = {200, 100};

    render(*m_item);

    EXPECT_EQ(m_view.get_dirty_region(), QRegion(8, 18, 56, 56) + QRegion(198, 98, 56, 56));
    EXPECT_TRUE(m_former.get_dirty_region().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(ItemView, MovedItem,
                         testing::Values(MoveRow{"WithNothingToDo", 0}, MoveRow{"WithItsAreaToTell", 1},
                                         MoveRow{"WithAPictureToDraw", 2}, MoveRow{"WithEverythingToDo", 15}),
                         row_name<MoveRow>);

TEST(ItemView, ShowsAnItemThatAnotherViewHasHadForLessThanATick)
{
    ItemView former(0);
    ItemView view(0);
    view.resize(100, 100);
    const auto item = make_square({20, 20});
    former.add_item(item);

    view.add_item(item);
    render_all(view);

    EXPECT_EQ(picture_of(view).pixel(40, 40), 0xffff0000);
    EXPECT_EQ(view.get_dirty_region(), QRegion(18, 18, 56, 56));
}

TEST(ItemView, WaitsForTheRenderOfAnItemThatItTakesOver)
{
    for (int i = 0; i < 100; ++i) {
        ItemView former(0);
        ItemView view(0);
        const auto item = make_square({10, 20});
        former.add_item(item);
        item->update_begin();

        view.add_item(item);

        ASSERT_EQ(item->m_update_flags, Item::refresh_area);
        ASSERT_EQ(former.get_dirty_region(), QRegion(8, 18, 56, 56));
    }
}

TEST(ItemViewSubItem, TellsWhereTheItemWas)
{
    ItemView view(0);
    const auto item = make_square({10, 20});
    view.add_item(item);
    render(*item);
    view.get_dirty_region();

    view.sub_item(item.get());

    EXPECT_EQ(view.get_dirty_region(), QRegion(8, 18, 56, 56));
    EXPECT_EQ(item->m_update_flags, 0);
    EXPECT_EQ(item->m_owner, nullptr);
    EXPECT_TRUE(view.items().empty());
    EXPECT_EQ(item.use_count(), 1);
}

TEST(ItemViewSubItem, TellsWhereAMovedItemWasAndIs)
{
    ItemView view(0);
    const auto item = make_square({10, 20});
    view.add_item(item);
    render(*item);
    view.get_dirty_region();
    item->m_position = {200, 100};

    view.sub_item(item.get());

    EXPECT_EQ(view.get_dirty_region(), QRegion(8, 18, 56, 56) + QRegion(198, 98, 56, 56));
}

TEST(ItemViewSubItem, DoesWhatTheItemHadYetToDo)
{
    ItemView view(0);
    const auto item = make_square({10, 20});
    view.add_item(item);
    item->m_update_flags = 6;

    view.sub_item(item.get());

    EXPECT_EQ(item->m_update_flags, 0);
    EXPECT_NE(item->m_image_cache, nullptr);
    EXPECT_EQ(view.get_dirty_region(), QRegion(8, 18, 56, 56));
}

TEST(ItemViewSubItem, DoesNothingToAnItemFromElsewhere)
{
    ItemView view(0);
    ItemView other(0);
    const auto own = make_square({0, 0});
    const auto stranger = make_square({0, 0});
    view.add_item(own);
    other.add_item(stranger);

    view.sub_item(stranger.get());
    view.sub_item(nullptr);

    EXPECT_EQ(stranger->m_owner, &other);
    EXPECT_EQ(stranger->m_update_flags, 15);
    EXPECT_EQ(view.items().size(), 1U);
    EXPECT_TRUE(view.get_dirty_region().isEmpty());
    EXPECT_TRUE(other.get_dirty_region().isEmpty());
}

} // namespace
