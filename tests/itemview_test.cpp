#include "itemview.h"

#include "item.h"
#include "support/items.h"
#include "support/pictures.h"

#include <QPalette>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace {

using namespace std::chrono_literals;

using Items = std::vector<std::shared_ptr<Item>>;

/// A view with four items, and the names of the items for its z-order.
class ZOrder : public testing::Test
{
protected:
    ZOrder()
    {
        for (const auto &item : m_items)
            m_view.add_item(item);
    }

    /// Back to front, "abcd" as they were added.
    std::string order() const
    {
        std::string names;
        for (const auto &item : m_view.items())
            names +=
                static_cast<char>('a' + (std::find(m_items.begin(), m_items.end(), item) - m_items.begin()));
        return names;
    }

    ItemView m_view{0};
    Items m_items{make_square({0, 0}), make_square({10, 0}), make_square({20, 0}), make_square({30, 0})};
};

TEST_F(ZOrder, HasTheLastAddedInFront)
{
    EXPECT_EQ(order(), "abcd");
}

TEST_F(ZOrder, MovesOneItemAndKeepsTheOrderOfTheOthers)
{
    struct
    {
        std::size_t item;
        const char *to_front;
        const char *to_back;
    } const rows[] = {{0, "bcda", "abcd"}, {1, "acdb", "bacd"}, {2, "abdc", "cabd"}, {3, "abcd", "dabc"}};

    for (const auto &row : rows) {
        SCOPED_TRACE(row.item);
        const Item *item = m_items.at(row.item).get();
        m_view.to_front(item);
        EXPECT_EQ(order(), row.to_front);
        for (auto i = m_items.rbegin(); i != m_items.rend(); ++i)
            m_view.to_back(i->get());
        ASSERT_EQ(order(), "abcd");
        m_view.to_back(item);
        EXPECT_EQ(order(), row.to_back);
        for (const auto &each : m_items)
            m_view.to_front(each.get());
        ASSERT_EQ(order(), "abcd");
    }
}

TEST_F(ZOrder, IsMovedThroughTheItemsToo)
{
    m_items[1]->to_front();
    EXPECT_EQ(order(), "acdb");

    m_items[2]->to_back();
    EXPECT_EQ(order(), "cadb");
}

TEST_F(ZOrder, StaysWhenAnItemFromElsewhereIsMoved)
{
    const auto stranger = make_square({0, 0});

    m_view.to_front(stranger.get());
    m_view.to_back(stranger.get());
    m_view.to_front(nullptr);

    EXPECT_EQ(order(), "abcd");
}

TEST_F(ZOrder, LosesOnlyTheItemRemoved)
{
    m_view.sub_item(m_items[1].get());

    EXPECT_EQ(order(), "acd");
    EXPECT_EQ(m_items[1]->m_owner, nullptr);
    EXPECT_EQ(m_items[0]->m_owner, &m_view);
}

TEST_F(ZOrder, LosesAnItemThatAnotherViewShowsNow)
{
    ItemView other(0);

    other.add_item(m_items[1]);

    EXPECT_EQ(order(), "acd");
    ASSERT_EQ(other.items().size(), 1U);
    EXPECT_EQ(other.items().front(), m_items[1]);
    EXPECT_EQ(m_items[1]->m_owner, &other);
}

TEST_F(ZOrder, IsThatOfThePainting)
{
    m_view.sub_all();
    const auto red = make_square({20, 20}, Qt::red);
    const auto blue = make_square({40, 40}, Qt::blue);
    m_view.add_item(red);
    m_view.add_item(blue);
    m_view.resize(100, 100);
    render_all(m_view);

    EXPECT_EQ(picture_of(m_view).pixel(50, 50), 0xff0000ff);
    red->to_front();

    EXPECT_EQ(picture_of(m_view).pixel(50, 50), 0xffff0000);
    EXPECT_EQ(picture_of(m_view).pixel(80, 80), 0xff0000ff);
    EXPECT_EQ(picture_of(m_view).pixel(10, 10), 0xffffffff);
}

TEST_F(ZOrder, FindsTheFrontmostItemOfAnId)
{
    m_items[1]->m_id = 7;
    m_items[2]->m_id = 7;

    EXPECT_EQ(m_view.find_item(7), m_items[2]);
    m_items[1]->to_front();
    EXPECT_EQ(m_view.find_item(7), m_items[1]);
    EXPECT_EQ(m_view.find_item(0), m_items[3]);
    EXPECT_EQ(m_view.find_item(8), nullptr);
}

TEST_F(ZOrder, FindsAnItemAsTheViewSharesIt)
{
    const auto stranger = make_square({0, 0});

    EXPECT_EQ(m_view.find_item(m_items[2].get()), m_items[2]);
    EXPECT_EQ(m_view.find_item(stranger.get()), nullptr);
    EXPECT_EQ(m_view.find_item(static_cast<const Item *>(nullptr)), nullptr);
}

TEST(ItemView, OwnsWhatIsAdded)
{
    ItemView view(0);
    const auto item = make_square({0, 0});

    view.add_item(item);

    EXPECT_EQ(item->m_owner, &view);
    EXPECT_EQ(item.use_count(), 2);
}

TEST(ItemView, HasNoParent)
{
    EXPECT_EQ(ItemView(0).parent(), nullptr);
}

TEST(ItemView, LeavesItsItemsWithoutAnOwner)
{
    const auto item = make_square({0, 0});
    {
        ItemView view(0);
        view.add_item(item);
    }

    EXPECT_EQ(item->m_owner, nullptr);
    EXPECT_EQ(item.use_count(), 1);
    render(*item);
    EXPECT_EQ(item->m_update_flags, 15);
}

/// Stays in its render until another render joins it, or for a while.
class BusyItem : public DrawnItem
{
public:
    BusyItem() : DrawnItem({10, 20}, {0, 0, 30, 30}) { }

    void rebuild() override
    {
        if (m_renders++ != 0) {
            m_joined.set_value();
            return;
        }
        m_started.set_value();
        m_joined.get_future().wait_for(100ms);
        m_renders_together = m_renders;
        m_owner_at_end = m_owner;
    }

    void wait_for_start() { m_started.get_future().wait(); }

    int m_renders_together = 0;
    ItemView *m_owner_at_end = nullptr;

private:
    std::atomic<int> m_renders = 0;
    std::promise<void> m_started;
    std::promise<void> m_joined;
};

struct DisowningRow
{
    const char *name;
    void (*disown)(std::unique_ptr<ItemView> &view);
};

class ItemInRender : public testing::TestWithParam<DisowningRow>
{
};

TEST_P(ItemInRender, KeepsItsViewUntilTheEnd)
{
    auto view = std::make_unique<ItemView>(0);
    ItemView *const owner = view.get();
    const auto item = std::make_shared<BusyItem>();
    view->add_item(item);
    item->m_update_flags = Item::rebuild_geometry;
    item->update_begin();
    item->wait_for_start();

    GetParam().disown(view);
    item->update_end();

    EXPECT_EQ(item->m_owner_at_end, owner);
    EXPECT_EQ(item->m_owner, nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    ItemView, ItemInRender,
    testing::Values(DisowningRow{"WhoseViewGoes", [](auto &view) { view.reset(); }},
                    DisowningRow{"WhoseViewIsEmptied", [](auto &view) { view->sub_all(); }},
                    DisowningRow{"ThatIsRemoved",
                                 [](auto &view) { view->sub_item(view->items().front().get()); }}),
    row_name<DisowningRow>);

TEST(ItemBegunAgain, WaitsForTheRenderInFlight)
{
    ItemView view(0);
    const auto item = std::make_shared<BusyItem>();
    view.add_item(item);
    item->update_begin();
    item->wait_for_start();

    item->update_begin();
    item->update_end();

    EXPECT_EQ(item->m_renders_together, 1);
}

TEST_F(ZOrder, HasAnItemInFrontThatIsAddedAgain)
{
    m_view.add_item(m_items[1]);

    EXPECT_EQ(order(), "acdb");
    EXPECT_EQ(m_items[1]->m_owner, &m_view);
    EXPECT_EQ(m_items[1]->m_update_flags, 15);
    EXPECT_EQ(m_items[1].use_count(), 2);
}

TEST_F(ZOrder, IsRepaintedWhereAnItemIsAddedAgain)
{
    render_all(m_view);
    m_view.get_dirty_region();

    m_view.add_item(m_items[1]);
    render_all(m_view);

    EXPECT_EQ(m_view.get_dirty_region(), QRegion(8, -2, 56, 56));
}

TEST_F(ZOrder, IsEmptyOnceAllAreRemoved)
{
    m_view.resize(300, 200);

    m_view.sub_all();

    EXPECT_EQ(order(), "");
    EXPECT_EQ(m_view.get_dirty_region(), QRegion(0, 0, 300, 200));
    for (const auto &item : m_items) {
        EXPECT_EQ(item->m_owner, nullptr);
        EXPECT_EQ(item->m_update_flags, 15);
    }
}

struct BackgroundRow
{
    const char *name;
    int transparent;
    const char *style_sheet;
    QRgb background;
};

class ItemViewBackground : public testing::TestWithParam<BackgroundRow>
{
protected:
    bool is_transparent() const { return GetParam().transparent != 0; }
};

TEST_P(ItemViewBackground, FollowsTheArgument)
{
    const ItemView view(GetParam().transparent);

    EXPECT_EQ(view.autoFillBackground(), !is_transparent());
    EXPECT_EQ(view.styleSheet().toStdString(), GetParam().style_sheet);
    EXPECT_EQ(view.testAttribute(Qt::WA_TranslucentBackground), is_transparent());
    EXPECT_TRUE(view.testAttribute(Qt::WA_MouseTracking));
}

TEST_P(ItemViewBackground, LiesBehindTheItems)
{
    ItemView view(GetParam().transparent);
    view.add_item(make_square({20, 20}));
    view.resize(100, 100);
    render_all(view);
    QImage picture(100, 100, QImage::Format_RGB32);
    picture.fill(0xff00ff00);

    view.render(&picture);

    EXPECT_EQ(picture.pixel(10, 10), GetParam().background);
    EXPECT_EQ(picture.pixel(40, 40), 0xffff0000);
}

INSTANTIATE_TEST_SUITE_P(ItemView, ItemViewBackground,
                         testing::Values(BackgroundRow{"White", 0, "background-color: white;", 0xffffffff},
                                         BackgroundRow{"Transparent", 1, "background-color: transparent;",
                                                       0xff00ff00},
                                         BackgroundRow{"AnyNonZeroIsTransparent", -2,
                                                       "background-color: transparent;", 0xff00ff00}),
                         row_name<BackgroundRow>);

TEST(ItemViewPainting, RendersNothing)
{
    ItemView view(0);
    const auto item = make_square({20, 20});
    view.add_item(item);
    view.resize(100, 100);

    const QImage picture = picture_of(view);

    EXPECT_EQ(item->m_update_flags, 15);
    EXPECT_EQ(picture.pixel(40, 40), 0xffffffff);
}

} // namespace
