#include "itemview.h"

#include "support/items.h"

#include <gtest/gtest.h>

namespace {

using Records = std::vector<Korvane::Controls>;

constexpr int pen = -1;
constexpr QPointF nowhere(300, 200);

/// A view with the item A at (10, 20) and the item B, in front and twice as large as its outline, at
/// (100, 20). Both are 50 pixels wide and high.
class Routing : public testing::Test
{
protected:
    Routing()
    {
        m_view.add_item(m_a);
        m_view.add_item(m_b);
        log_unclaimed(m_view, m_log);
    }

    /// The log since the last call.
    Log news() { return std::exchange(m_log, {}); }

    void pen_at(QPointF pos, int buttons, int id = pen) { m_view.in_pen_event(contact(id, buttons, pos)); }

    Log m_log;
    ItemView m_view{0};
    std::shared_ptr<LoggingItem> m_a =
        std::make_shared<LoggingItem>("A", m_log, QPointF(10, 20), QSizeF(50, 50));
    std::shared_ptr<LoggingItem> m_b =
        std::make_shared<LoggingItem>("B", m_log, QPointF(100, 20), QSizeF(25, 25), 0.0F, 2.0F);
};

TEST_F(Routing, HitsTheItemUnderTheRecord)
{
    EXPECT_EQ(m_view.hit_item(contact(pen, 0, {12, 23})), m_a);
    EXPECT_EQ(m_view.hit_item(contact(pen, 0, {148, 68})), m_b);
    EXPECT_EQ(m_view.hit_item(contact(pen, 0, nowhere)), nullptr);
}

TEST_F(Routing, HitsByPosAndNotByViewPos)
{
    Korvane::Controls record = contact(pen, 0, {12, 23});
    record.view_pos = {148, 68};

    EXPECT_EQ(m_view.hit_item(record), m_a);
}

TEST_F(Routing, HitsTheFrontmostThatTakesContacts)
{
    const auto front = std::make_shared<LoggingItem>("C", m_log, QPointF(0, 0), QSizeF(400, 300));
    m_view.add_item(front);

    EXPECT_EQ(m_view.hit_item(contact(pen, 0, {12, 23})), front);
    front->m_hit_testable = false;
    EXPECT_EQ(m_view.hit_item(contact(pen, 0, {12, 23})), m_a);
    front->m_hit_testable = true;
    front->to_back();
    EXPECT_EQ(m_view.hit_item(contact(pen, 0, {12, 23})), m_a);
}

TEST_F(Routing, PassesOnAPenOverNoItem)
{
    pen_at(nowhere, 0);
    EXPECT_EQ(news(), Log{"view pen -1:0 300,200 300,200"});

    pen_at(nowhere, 1);
    EXPECT_EQ(news(), Log{"view pen -1:1 300,200 300,200"});
}

TEST_F(Routing, PassesOnTheWholeRecord)
{
    Korvane::Controls record = contact(-4, 2, nowhere, {3, 4});
    record.flags = 1;
    record.view_pos = {5, 6};

    m_view.in_pen_event(record);
    m_view.in_touch_event({record});
    m_view.in_erase_event({record});

    EXPECT_EQ(
        news(),
        (Log{"view pen -4:2 300,200 5,6 radius 3,4 flags 1", "view touch -4:2 300,200 5,6 radius 3,4 flags 1",
             "view erase -4:2 300,200 5,6 radius 3,4 flags 1"}));
}

TEST_F(Routing, GivesAnItemItsOwnCoordinatesAndTheRestAsItCame)
{
    Korvane::Controls record = contact(-4, 2, {110, 40}, {3, 4});
    record.flags = 1;
    record.view_pos = {5, 6};

    m_view.in_pen_event(record);
    m_view.in_touch_event({record});
    m_view.in_erase_event({record});

    EXPECT_EQ(news(),
              (Log{"B pen -4:2 5,10 5,6 radius 3,4 flags 1", "B touch -4:2 5,10 5,6 radius 3,4 flags 1",
                   "B erase -4:2 5,10 5,6 radius 3,4 flags 1"}));
}

TEST_F(Routing, KeepsAPressedPenWithItsItem)
{
    pen_at({20, 30}, 1);
    pen_at(nowhere, 1);
    pen_at({110, 30}, 3);

    EXPECT_EQ(news(),
              (Log{"A pen -1:1 10,10 20,30", "A pen -1:1 290,180 300,200", "A pen -1:3 100,10 110,30"}));
}

TEST_F(Routing, FreesAPenOnceItLifts)
{
    pen_at({20, 30}, 1);
    pen_at({20, 30}, 0);
    news();

    pen_at(nowhere, 1);

    EXPECT_EQ(news(), Log{"view pen -1:1 300,200 300,200"});
}

TEST_F(Routing, GivesAPenPressedOverNoItemToTheFirstItemThatItReaches)
{
    pen_at(nowhere, 1);
    pen_at({20, 30}, 1);
    pen_at({110, 30}, 1);

    EXPECT_EQ(news(),
              (Log{"view pen -1:1 300,200 300,200", "A pen -1:1 10,10 20,30", "A pen -1:1 100,10 110,30"}));
}

TEST_F(Routing, TellsAHoveringPensWayToTheItemsEnteredAndLeft)
{
    // Onto A: the record is delivered, and again as that of the item entered.
    pen_at({20, 30}, 0);
    EXPECT_EQ(news(), (Log{"A pen -1:0 10,10 20,30", "A pen -1:0 10,10 20,30"}));

    pen_at({21, 30}, 0);
    EXPECT_EQ(news(), Log{"A pen -1:0 11,10 21,30"});

    // From A to B: A gets the same record that B got.
    pen_at({110, 40}, 0);
    EXPECT_EQ(news(), (Log{"B pen -1:0 5,10 110,40", "B pen -1:0 5,10 110,40", "A pen -1:0 5,10 110,40"}));

    // Off all items: there is no item whose coordinates B could get.
    pen_at(nowhere, 0);
    EXPECT_EQ(news(), (Log{"view pen -1:0 300,200 300,200", "B pen -1:0 300,200 300,200"}));

    pen_at(nowhere, 0);
    EXPECT_EQ(news(), Log{"view pen -1:0 300,200 300,200"});
}

TEST_F(Routing, TellsOfNoItemEnteredWhileThePenIsPressed)
{
    pen_at({20, 30}, 0);
    pen_at({20, 30}, 1);
    news();

    pen_at({110, 40}, 1);
    EXPECT_EQ(news(), Log{"A pen -1:1 100,20 110,40"});

    pen_at({110, 40}, 0);
    EXPECT_EQ(news(), (Log{"A pen -1:0 100,20 110,40", "B pen -1:0 5,10 110,40", "A pen -1:0 5,10 110,40"}));
}

TEST_F(Routing, TellsAPressedItemOnceMoreWhenThePenLiftsInTheOpen)
{
    pen_at({20, 30}, 0);
    pen_at({20, 30}, 1);
    news();

    pen_at(nowhere, 0);

    EXPECT_EQ(news(), (Log{"A pen -1:0 290,180 300,200", "A pen -1:0 290,180 300,200"}));
}

TEST_F(Routing, HasNoItemToLeaveWhenThePenCameDownWithoutHovering)
{
    pen_at({20, 30}, 1);
    news();

    pen_at(nowhere, 0);

    EXPECT_EQ(news(), Log{"A pen -1:0 290,180 300,200"});
}

TEST_F(Routing, FollowsEachPenByItself)
{
    pen_at({20, 30}, 1, -1);
    pen_at({110, 40}, 1, -2);
    news();

    pen_at(nowhere, 1, -1);
    pen_at(nowhere, 0, -2);
    pen_at(nowhere, 1, -2);

    EXPECT_EQ(
        news(),
        (Log{"A pen -1:1 290,180 300,200", "B pen -2:0 100,90 300,200", "view pen -2:1 300,200 300,200"}));
}

TEST_F(Routing, FollowsEachHoveringPenByItself)
{
    pen_at({20, 30}, 0, -1);
    news();

    pen_at(nowhere, 0, -2);

    EXPECT_EQ(news(), Log{"view pen -2:0 300,200 300,200"});
}

TEST_F(Routing, KeepsARemovedItemUntilItsPenHasLifted)
{
    pen_at({20, 30}, 1);
    news();
    const std::weak_ptr<Item> kept = m_a;
    m_view.sub_item(m_a.get());
    m_a.reset();

    EXPECT_FALSE(kept.expired());
    pen_at({30, 30}, 1);
    EXPECT_EQ(news(), Log{"A pen -1:1 20,10 30,30"});
    pen_at({30, 30}, 0);

    EXPECT_EQ(news(), Log{"A pen -1:0 20,10 30,30"});
    EXPECT_TRUE(kept.expired());
}

TEST_F(Routing, KeepsARemovedItemUntilItsPenHasHoveredAway)
{
    pen_at({20, 30}, 0);
    news();
    const std::weak_ptr<Item> kept = m_a;
    m_view.sub_all();
    m_a.reset();

    EXPECT_FALSE(kept.expired());
    pen_at({20, 30}, 0);

    EXPECT_EQ(news(), (Log{"view pen -1:0 20,30 20,30", "A pen -1:0 20,30 20,30"}));
    EXPECT_TRUE(kept.expired());
}

/// The two kinds of contacts that arrive in lists.
struct Kind
{
    const char *name;
    void (ItemView::*in)(const Records &);
    void (ItemView::*in_other)(const Records &);
    const char *other;
};

class ListRouting : public Routing, public testing::WithParamInterface<Kind>
{
protected:
    void in(const Records &records) { (m_view.*GetParam().in)(records); }

    /// A line of the log for this kind.
    static std::string line(const char *to, const std::string &records)
    {
        return std::string(to) + ' ' + GetParam().name + ' ' + records;
    }
};

TEST_P(ListRouting, GivesEachItemItsRecordsInOneBatchInTheirOrder)
{
    m_view.sub_item(m_b.get());

    in({contact(3, 1, {20, 30}), contact(1, 1, nowhere), contact(2, 1, {12, 22}), contact(7, 0, {301, 200}),
        contact(0, 0, {15, 25})});

    EXPECT_EQ(news(),
              (Log{line("view", "1:1 300,200 300,200; 7:0 301,200 301,200"),
                   line("A", "3:1 10,10 20,30; 2:1 2,2 12,22; 0:0 5,5 15,25")}));
}

TEST_P(ListRouting, PassesOnWhatNoItemTakesBeforeTheItemsInTheOrderOfTheirAddresses)
{
    const bool a_first = std::less<Item *>()(m_a.get(), m_b.get());
    const Log in_order = a_first ? Log{line("A", "1:1 10,10 20,30"), line("B", "2:1 5,10 110,40")}
                                 : Log{line("B", "2:1 5,10 110,40"), line("A", "1:1 10,10 20,30")};
    Log expected{line("view", "3:1 300,200 300,200")};
    expected.insert(expected.end(), in_order.begin(), in_order.end());
    const Records ways[] = {
        {contact(1, 1, {20, 30}), contact(2, 1, {110, 40}), contact(3, 1, nowhere)},
        {contact(2, 1, {110, 40}), contact(1, 1, {20, 30}), contact(3, 1, nowhere)},
    };

    for (const Records &records : ways) {
        in(records);
        EXPECT_EQ(news(), expected);
    }
}

TEST_P(ListRouting, PassesOnNothingWhenItemsTakeAll)
{
    in({contact(3, 1, {20, 30})});

    EXPECT_EQ(news(), Log{line("A", "3:1 10,10 20,30")});
}

TEST_P(ListRouting, DoesNothingForAnEmptyList)
{
    in({contact(3, 1, {20, 30}), contact(4, 1, nowhere)});
    news();

    in({});

    EXPECT_EQ(news(), Log());
}

TEST_P(ListRouting, KeepsAContactWithItsItemUntilItHasLifted)
{
    in({contact(3, 1, {20, 30})});
    in({contact(3, 1, nowhere)});
    in({contact(3, 0, {110, 40})});
    in({contact(3, 1, {110, 40})});

    EXPECT_EQ(news(),
              (Log{line("A", "3:1 10,10 20,30"), line("A", "3:1 290,180 300,200"),
                   line("A", "3:0 100,20 110,40"), line("B", "3:1 5,10 110,40")}));
}

TEST_P(ListRouting, GivesAContactThatCameDownOverNoItemToTheFirstThatItReaches)
{
    in({contact(3, 1, nowhere)});
    in({contact(3, 1, {20, 30})});
    in({contact(3, 1, nowhere)});

    EXPECT_EQ(news(),
              (Log{line("view", "3:1 300,200 300,200"), line("A", "3:1 10,10 20,30"),
                   line("A", "3:1 290,180 300,200")}));
}

TEST_P(ListRouting, ReleasesAContactOnlyAfterItsWholeReport)
{
    in({contact(3, 1, {20, 30}), contact(3, 0, {20, 30}), contact(3, 1, nowhere)});
    EXPECT_EQ(news(), Log{line("A", "3:1 10,10 20,30; 3:0 10,10 20,30; 3:1 290,180 300,200")});

    in({contact(3, 1, nowhere)});

    EXPECT_EQ(news(), Log{line("view", "3:1 300,200 300,200")});
}

TEST_P(ListRouting, ReleasesTheLiftedContactsOnly)
{
    in({contact(3, 1, {20, 30}), contact(4, 1, {20, 30})});
    in({contact(3, 0, {20, 30}), contact(4, 1, {20, 30})});
    news();

    in({contact(3, 1, nowhere), contact(4, 1, nowhere)});

    EXPECT_EQ(news(), (Log{line("view", "3:1 300,200 300,200"), line("A", "4:1 290,180 300,200")}));
}

TEST_P(ListRouting, KnowsNothingOfTheOtherKindsContacts)
{
    in({contact(3, 1, {20, 30})});
    news();

    (m_view.*GetParam().in_other)({contact(3, 1, nowhere)});
    pen_at(nowhere, 1, 3);

    EXPECT_EQ(news(),
              (Log{std::string("view ") + GetParam().other + " 3:1 300,200 300,200",
                   "view pen 3:1 300,200 300,200"}));
}

TEST_P(ListRouting, KeepsARemovedItemUntilItsContactsHaveLifted)
{
    in({contact(3, 1, {20, 30}), contact(4, 1, {20, 30})});
    news();
    const std::weak_ptr<Item> kept = m_a;
    m_view.sub_item(m_a.get());
    m_a.reset();

    in({contact(3, 0, {20, 30}), contact(4, 1, {20, 30})});
    EXPECT_EQ(news(), Log{line("A", "3:0 10,10 20,30; 4:1 10,10 20,30")});
    EXPECT_FALSE(kept.expired());
    in({contact(4, 0, {20, 30})});

    EXPECT_EQ(news(), Log{line("A", "4:0 10,10 20,30")});
    EXPECT_TRUE(kept.expired());
}

INSTANTIATE_TEST_SUITE_P(
    Contacts, ListRouting,
    testing::Values(Kind{"touch", &ItemView::in_touch_event, &ItemView::in_erase_event, "erase"},
                    Kind{"erase", &ItemView::in_erase_event, &ItemView::in_touch_event, "touch"}),
    row_name<Kind>);

/// A view that hides its items from all contacts.
class ShyView : public ItemView
{
public:
    ShyView() : ItemView(0) { }

    std::shared_ptr<Item> hit_item(const Korvane::Controls &) override { return nullptr; }
};

TEST(ItemViewSubclass, DecidesWhatIsHit)
{
    Log log;
    ShyView view;
    view.add_item(std::make_shared<LoggingItem>("A", log, QPointF(0, 0), QSizeF(50, 50)));
    log_unclaimed(view, log);

    view.in_pen_event(contact(pen, 0, {10, 10}));
    view.in_touch_event({contact(256, 1, {10, 10})});
    view.in_erase_event({contact(512, 1, {10, 10})});

    EXPECT_EQ(
        log,
        (Log{"view pen -1:0 10,10 10,10", "view touch 256:1 10,10 10,10", "view erase 512:1 10,10 10,10"}));
}

} // namespace
