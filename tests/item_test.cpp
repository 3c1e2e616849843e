#include "item.h"

#include "support/items.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>

namespace {

using namespace std::chrono_literals;

void expect_point(QPointF actual, QPointF expected)
{
    EXPECT_NEAR(actual.x(), expected.x(), 1e-5);
    EXPECT_NEAR(actual.y(), expected.y(), 1e-5);
}

struct TransformRow
{
    const char *name;
    QPointF position;
    float rotation;
    float scale;
    QPointF item_point;
    QPointF view_point;
};

class ItemTransform : public testing::TestWithParam<TransformRow>
{
};

TEST_P(ItemTransform, MapsItemPointsToTheViewAndBack)
{
    const TransformRow &row = GetParam();
    const Item item(row.position, row.rotation, row.scale, 0);

    expect_point(item.map_from(row.item_point), row.view_point);
    expect_point(item.map_to(row.view_point), row.item_point);
}

INSTANTIATE_TEST_SUITE_P(
    Item, ItemTransform,
    testing::Values(TransformRow{"OfAPlainItem", {10.5, 20}, 0, 1, {3, 4}, {13.5, 24}},
                    TransformRow{"TurnsClockwise", {0, 0}, 90, 1, {1, 0}, {0, 1}},
                    TransformRow{"TurnsAnyDegree", {0, 0}, 30, 1, {2, 0}, {1.7320508, 1}},
                    TransformRow{"ScalesBothWays", {0, 0}, 0, 2.5F, {2, 4}, {5, 10}},
                    TransformRow{"DoesNotScaleThePosition", {10, 20}, 0, 2, {1, 1}, {12, 22}},
                    TransformRow{"DoesNotTurnThePosition", {10, 20}, 90, 1, {1, 0}, {10, 21}},
                    TransformRow{"DoesAllThree", {10, 20}, 90, 2, {1, 3}, {4, 22}}),
    row_name<TransformRow>);

TEST(Item, MapsByItsNewPlaceOnceTheTransformsAreSet)
{
    DrawnItem item({10, 20}, {});
    item.m_position = {30, 40};
    item.m_rotation = 90;
    item.m_scale = 2;

    expect_point(item.map_from({1, 0}), {11, 20});
    item.set_transforms();

    expect_point(item.map_from({1, 0}), {30, 42});
    expect_point(item.map_to({30, 42}), {1, 0});
}

TEST(Item, StartsWithEverythingToBeDone)
{
    const DrawnItem item({10, 20}, {}, {}, 30, 2);

    EXPECT_EQ(item.m_update_flags, 15);
    EXPECT_TRUE(item.m_hit_testable);
    EXPECT_EQ(item.m_owner, nullptr);
    EXPECT_EQ(item.parent(), nullptr);
    EXPECT_EQ(item.m_image_cache, nullptr);
    EXPECT_EQ(item.m_cache_offset, QPointF(0, 0));
    EXPECT_EQ(item.m_screen_area, QRect());
    EXPECT_EQ(item.m_factor, 1.0F);
    EXPECT_EQ(item.m_lock_count, 0);
}

TEST(Item, KeepsWhatItIsMadeWith)
{
    const DrawnItem item({10, 20}, {}, {}, 30, 2);

    EXPECT_EQ(item.m_position, QPointF(10, 20));
    EXPECT_EQ(item.m_rotation, 30);
    EXPECT_EQ(item.m_scale, 2);
    EXPECT_EQ(Item({}, 0, 1, 77).m_id, 77);
}

TEST(Item, CountsItsLocks)
{
    DrawnItem item({}, {});

    item.lock(5);
    item.lock(-1);
    item.unlock(7);

    EXPECT_EQ(item.m_lock_count, 1);
}

TEST(Item, IsHitInsideItsOutlineOnly)
{
    QPainterPath triangle;
    triangle.addPolygon(QVector<QPointF>{{0, 0}, {100, 0}, {0, 100}});
    triangle.closeSubpath();
    DrawnItem item({500, 500}, {});
    item.set_outline(triangle);
    struct
    {
        const char *name;
        QPointF item_point;
        bool hit;
    } const rows[] = {
        {"inside", {20, 20}, true},
        {"inside the bounds only", {80, 80}, false},
        {"left of it", {-1, 20}, false},
        {"below it", {20, 101}, false},
        {"its view point", {520, 520}, false},
    };

    EXPECT_EQ(item.m_outline_bounds, QRectF(0, 0, 100, 100));
    for (const auto &row : rows)
        EXPECT_EQ(item.hit(row.item_point), row.hit) << row.name;
}

TEST(Item, WithoutAnOutlineIsNeverHit)
{
    EXPECT_FALSE(Item({}, 0, 1, 0).hit({0, 0}));
}

TEST(Item, WithoutAnOwnerHasNoPlaceInAZOrder)
{
    const Item item({}, 0, 1, 0);

    EXPECT_NO_FATAL_FAILURE(item.to_front());
    EXPECT_NO_FATAL_FAILURE(item.to_back());
}

/// Logs the steps of its render and where they run.
class SteppingItem : public DrawnItem
{
public:
    SteppingItem() : DrawnItem({10, 20}, {0, 0, 30, 30}) { }

    void rebuild() override { step("rebuild"); }
    void rebuffer() override
    {
        step("rebuffer");
        Item::rebuffer();
    }
    using DrawnItem::redraw;
    void redraw(QPainter &) override { step("redraw"); }

    Log m_steps;
    bool m_elsewhere = false; ///< whether a step ran on another thread than the GUI's

private:
    void step(const char *name)
    {
        m_steps.emplace_back(name);
        m_elsewhere |= std::this_thread::get_id() != m_gui_thread;
    }

    std::thread::id m_gui_thread = std::this_thread::get_id();
};

struct FlagRow
{
    const char *name;
    int flags;
    Log steps;
    bool tells_area;
};

class ItemUpdateFlags : public testing::TestWithParam<FlagRow>
{
};

TEST_P(ItemUpdateFlags, SayWhatARenderDoes)
{
    ItemView view(0);
    const auto item = std::make_shared<SteppingItem>();
    view.add_item(item);
    render(*item);
    view.get_dirty_region();
    item->m_steps.clear();
    item->m_update_flags = GetParam().flags;

    render(*item);

    EXPECT_EQ(item->m_steps, GetParam().steps);
    EXPECT_EQ(!view.get_dirty_region().isEmpty(), GetParam().tells_area);
    EXPECT_EQ(item->m_update_flags, 0);
}

INSTANTIATE_TEST_SUITE_P(Item, ItemUpdateFlags,
                         testing::Values(FlagRow{"None", 0, {}, false}, FlagRow{"Area", 1, {}, true},
                                         FlagRow{"Picture", 2, {"redraw"}, false},
                                         FlagRow{"Cache", 4, {"rebuffer"}, false},
                                         FlagRow{"Geometry", 8, {"rebuild"}, false},
                                         FlagRow{"PictureAndArea", 3, {"redraw"}, true},
                                         FlagRow{"GeometryAndPicture", 10, {"rebuild", "redraw"}, false},
                                         FlagRow{"All", 15, {"rebuild", "rebuffer", "redraw"}, true}),
                         row_name<FlagRow>);

TEST(ItemRender, DoesEverythingOnTheFirstTick)
{
    ItemView view(0);
    const auto item = std::make_shared<SteppingItem>();
    view.add_item(item);

    render(*item);

    EXPECT_EQ(item->m_steps, (Log{"rebuild", "rebuffer", "redraw"}));
    EXPECT_EQ(item->m_update_flags, 0);
}

TEST(ItemRender, RunsOnAnotherThread)
{
    for (const int flags : {2, 4, 8, 3, 5, 9, 14, 15}) {
        SCOPED_TRACE(flags);
        ItemView view(0);
        const auto item = std::make_shared<SteppingItem>();
        view.add_item(item);
        render(*item);
        item->m_elsewhere = false;
        item->m_update_flags = flags;

        render(*item);

        EXPECT_TRUE(item->m_elsewhere);
    }
}

TEST(ItemRender, IsOverAtOnceWhenOnlyTheAreaIsToBeTold)
{
    ItemView view(0);
    const auto item = std::make_shared<DrawnItem>(QPointF(10, 20), QRectF(0, 0, 30, 30));
    view.add_item(item);
    render(*item);

    // Repeated so often that a separate thread could not always be faster.
    for (int i = 0; i < 500; ++i) {
        view.get_dirty_region();
        item->m_update_flags = 1;
        item->update_begin();
        ASSERT_EQ(item->m_update_flags, 0);
        ASSERT_FALSE(view.get_dirty_region().isEmpty());
        item->update_end();
    }
}

TEST(ItemRender, IsStartedAlsoWithNothingToDo)
{
    ItemView view(0);
    const auto item = std::make_shared<DrawnItem>(QPointF(10, 20), QRectF(0, 0, 30, 30));
    view.add_item(item);
    render(*item);
    item->m_position = {50, 60};
    item->m_rotation = 45;
    item->m_scale = 3;

    render(*item);

    EXPECT_EQ(item->m_rendered_position, QPointF(50, 60));
    EXPECT_EQ(item->m_rendered_rotation, 45);
    EXPECT_EQ(item->m_rendered_scale, 3);
}

TEST(ItemRender, DoesNothingWithoutAnOwner)
{
    for (const int flags : {1, 15}) {
        SCOPED_TRACE(flags);
        SteppingItem item;
        item.m_update_flags = flags;

        render(item);

        EXPECT_EQ(item.m_steps, Log());
        EXPECT_EQ(item.m_update_flags, flags);
        EXPECT_EQ(item.m_rendered_position, QPointF());
        EXPECT_EQ(item.m_image_cache, nullptr);
    }
}

/// A place where a render stays until the test releases it.
struct Gate
{
    std::promise<void> entered;
    std::promise<void> released;

    void pass()
    {
        entered.set_value();
        released.get_future().wait();
    }
};

template <typename Base> class HeldItem : public Base
{
public:
    using Base::Base;
    using Base::redraw;

    void rebuild() override
    {
        bool &ended = *m_ended; // when the gate opens, the item may be waiting in its destructor
        m_gate->pass();
        ended = true;
    }

    Gate *m_gate = nullptr;
    bool *m_ended = nullptr;
};

template <typename Type> std::unique_ptr<Type> make_held()
{
    if constexpr (std::is_base_of_v<EventItem, Type>)
        return std::make_unique<Type>(QPointF(10, 20), Qt::red);
    else
        return std::make_unique<Type>(QPointF(10, 20), 0.0F, 1.0F, 0);
}

template <typename Base> class PendingRender : public testing::Test
{
protected:
    void SetUp() override
    {
        m_item->m_gate = &m_gate;
        m_item->m_ended = &m_ended;
        m_item->m_owner = &m_view;
        m_item->m_update_flags = Item::rebuild_geometry;
        m_item->update_begin();
        // The render is under way, and the test's thread continues meanwhile.
        ASSERT_EQ(m_gate.entered.get_future().wait_for(60s), std::future_status::ready);
    }

    /// Runs @p act on another thread and checks that it ends after the render, not before.
    template <typename Act> void expect_to_wait(Act act)
    {
        auto done = std::async(std::launch::async, [&] {
            act();
            return m_ended;
        });
        EXPECT_EQ(done.wait_for(50ms), std::future_status::timeout);

        m_gate.released.set_value();

        EXPECT_TRUE(done.get());
    }

    ItemView m_view{0};
    Gate m_gate;
    bool m_ended = false;
    std::unique_ptr<HeldItem<Base>> m_item = make_held<HeldItem<Base>>();
};

using AllItems = testing::Types<Item, EventItem, Pen, Touch, Erase>;
TYPED_TEST_SUITE(PendingRender, AllItems, );

TYPED_TEST(PendingRender, IsWaitedForAtTheEndOfTheTick)
{
    this->expect_to_wait([this] { this->m_item->update_end(); });

    EXPECT_EQ(this->m_item->m_update_flags, 0);
}

TYPED_TEST(PendingRender, IsWaitedForByTheDestructor)
{
    this->expect_to_wait([this] { this->m_item.reset(); });
}

class ThrowingItem : public DrawnItem
{
public:
    ThrowingItem() : DrawnItem({10, 20}, {0, 0, 30, 30}) { }

    void rebuild() override
    {
        if (m_throws)
            throw std::runtime_error("no geometry today");
    }

    bool m_throws = true;
};

TEST(ItemRender, KeepsItsExceptionsToItself)
{
    ItemView view(0);
    const auto item = std::make_shared<ThrowingItem>();
    view.add_item(item);

    EXPECT_NO_THROW(render(*item));
    EXPECT_EQ(item->m_update_flags, 15);
    EXPECT_NO_THROW(render(*item));
    item->m_throws = false;
    EXPECT_NO_THROW(render(*item));

    EXPECT_EQ(item->m_update_flags, 0);
    EXPECT_NE(item->m_image_cache, nullptr);
}

TEST(ItemRender, EndsWithoutHavingBegun)
{
    Item item({}, 0, 1, 0);

    EXPECT_NO_FATAL_FAILURE(item.update_end());
}

TEST(Item, TakesNoNoticeOfContacts)
{
    Item item({}, 0, 1, 0);
    item.m_update_flags = 0;

    item.pen_event(contact(-1, 1, {1, 2}));
    item.touch_event({contact(256, 1, {1, 2})});
    item.erase_event({contact(512, 1, {1, 2})});

    EXPECT_EQ(item.m_update_flags, 0);
}

} // namespace
