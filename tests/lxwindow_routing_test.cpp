#include "support/dialog_on_a_screen.h"
#include "support/screen.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

// Tests of which widget gets a contact, and in which coordinates it arrives.

namespace {

/// A widget over a part of the view.
class Cover : public QWidget
{
public:
    Cover(LanternixDialog &dialog, const QRect &area) : QWidget(&dialog)
    {
        setGeometry(area);
        show();
        raise();
    }
};

const QPoint inside(40, 30);
const QPoint elsewhere_inside(250, 200);
const QPoint outside(420, 100);

class ContactOfEveryKind : public testing::TestWithParam<Kind>, protected DialogOnAScreen
{
protected:
    const Kind kind = GetParam();
};

TEST_P(ContactOfEveryKind, OverTheViewIsTakenAndArrivesInItsPixels)
{
    Korvane::Controls record = at({40, 30}, 7, 3);
    record.radius = {0.5, 0.25};
    Records records = {record};

    kind.send(dialog, records);

    EXPECT_EQ(records.front().flags, 1U);
    EXPECT_EQ(records.front().pos, record.pos);
    EXPECT_EQ(records.front().radius, record.radius);
    ASSERT_EQ(delivered(kind), 1U);
    const Korvane::Controls copy = last(kind);
    EXPECT_EQ(copy.id, 7);
    EXPECT_EQ(copy.buttons, 3);
    EXPECT_EQ(copy.pos, QPointF(40, 30));
    EXPECT_EQ(copy.view_pos, QPointF(40, 30));
    EXPECT_EQ(copy.radius, QPointF(512, 128));
}

TEST_P(ContactOfEveryKind, RadiiAreScaledWithoutRounding)
{
    Records records = {at(inside, 7)};
    records.front().radius = {0.0001, 0.0003};

    kind.send(dialog, records);

    EXPECT_DOUBLE_EQ(last(kind).radius.x(), 0.1024);
    EXPECT_DOUBLE_EQ(last(kind).radius.y(), 0.1536);
}

TEST_P(ContactOfEveryKind, LosesTheFractionOfItsPixel)
{
    Records records = {at({40, 30}, 7)};
    records.front().pos += {0.99 / screen_size.width(), 0.99 / screen_size.height()};

    kind.send(dialog, records);

    EXPECT_EQ(last(kind).pos, QPointF(40, 30));
    EXPECT_EQ(last(kind).view_pos, QPointF(40, 30));
}

TEST_P(ContactOfEveryKind, ShowsItsMarkToTheViewUnlessItIsAPen)
{
    Records records = {at(inside, 7)};
    records.front().flags = 6;

    kind.send(dialog, records);

    EXPECT_EQ(records.front().flags, 7U);
    EXPECT_EQ(last(kind).flags, kind.marked_copy ? 7U : 6U);
}

TEST_P(ContactOfEveryKind, OutsideTheDialogIsLeftAlone)
{
    Records records = {at(outside, 7)};
    records.front().flags = 6;

    kind.send(dialog, records);

    EXPECT_EQ(records.front().flags, 6U);
    EXPECT_EQ(delivered(kind), 0U);
}

TEST_P(ContactOfEveryKind, OverNoChildIsLeftAlone)
{
    view->hide();
    EXPECT_FALSE(send(kind, 7, inside));

    view->show();
    EXPECT_TRUE(send(kind, 7, inside));
    EXPECT_EQ(delivered(kind), 1U);
}

struct Border
{
    QPoint place;
    bool taken;
};

TEST_P(ContactOfEveryKind, IsTakenUpToTheLastPixelOfTheDialog)
{
    int id = 0;
    for (const auto &[place, taken] :
         {Border{{0, 0}, true}, Border{{399, 0}, true}, Border{{0, 299}, true}, Border{{399, 299}, true},
          Border{{-1, 0}, false}, Border{{0, -1}, false}, Border{{400, 0}, false}, Border{{0, 300}, false}}) {
        SCOPED_TRACE(std::to_string(place.x()) + ", " + std::to_string(place.y()));
        EXPECT_EQ(send(kind, ++id, place), taken);
    }
    EXPECT_EQ(delivered(kind), 4U);
}

TEST_P(ContactOfEveryKind, ThatSlidesInIsCapturedOnItsFirstRecordInside)
{
    EXPECT_FALSE(send(kind, 7, outside));
    EXPECT_TRUE(send(kind, 7, inside));
    EXPECT_TRUE(send(kind, 7, outside));

    EXPECT_EQ(delivered(kind), 2U);
}

TEST_P(ContactOfEveryKind, KeepsTheViewWhileDownThoughItLeavesTheWindow)
{
    send(kind, 7, inside);

    EXPECT_TRUE(send(kind, 7, {-60, 310}));

    ASSERT_EQ(delivered(kind), 2U);
    EXPECT_EQ(last(kind).pos, QPointF(-60, 310));
    EXPECT_EQ(last(kind).view_pos, QPointF(-60, 310));
}

TEST_P(ContactOfEveryKind, IsReleasedByItsLiftWhichIsStillDelivered)
{
    send(kind, 7, inside);

    EXPECT_TRUE(send(kind, 7, outside, 0));
    EXPECT_EQ(delivered(kind), 2U);
    EXPECT_EQ(last(kind).buttons, 0);

    EXPECT_FALSE(send(kind, 7, outside));
    EXPECT_EQ(delivered(kind), 2U);
}

TEST_P(ContactOfEveryKind, IsDownWithAnyButton)
{
    for (const int buttons : {1, 2, 3, 4, -1}) {
        SCOPED_TRACE(buttons);
        send(kind, buttons, inside, buttons);
        EXPECT_TRUE(send(kind, buttons, outside, buttons));
    }
}

TEST_P(ContactOfEveryKind, WithoutButtonsIsDeliveredButNotCaptured)
{
    EXPECT_TRUE(send(kind, 7, inside, 0));
    EXPECT_FALSE(send(kind, 7, outside, 0));
    EXPECT_TRUE(send(kind, 7, elsewhere_inside, 0));

    EXPECT_EQ(delivered(kind), 2U);
}

TEST_P(ContactOfEveryKind, OverAnotherWidgetIsTakenButNotDelivered)
{
    const Cover cover(dialog, {0, 0, 100, 100});

    EXPECT_TRUE(send(kind, 7, inside));

    EXPECT_EQ(delivered(kind), 0U);
}

TEST_P(ContactOfEveryKind, CapturedByAnotherWidgetStaysThereUntilItLifts)
{
    const Cover cover(dialog, {0, 0, 100, 100});

    EXPECT_TRUE(send(kind, 7, inside));
    EXPECT_TRUE(send(kind, 7, elsewhere_inside));
    EXPECT_TRUE(send(kind, 7, outside));
    EXPECT_TRUE(send(kind, 7, elsewhere_inside, 0));
    EXPECT_EQ(delivered(kind), 0U);

    EXPECT_TRUE(send(kind, 7, elsewhere_inside));
    EXPECT_EQ(delivered(kind), 1U);
}

TEST_P(ContactOfEveryKind, CapturedByTheViewStaysThereOverAnotherWidget)
{
    const Cover cover(dialog, {0, 0, 100, 100});
    send(kind, 7, elsewhere_inside);

    EXPECT_TRUE(send(kind, 7, inside));

    ASSERT_EQ(delivered(kind), 2U);
    EXPECT_EQ(last(kind).pos, QPointF(inside));
}

TEST_P(ContactOfEveryKind, WithoutButtonsSelectsItsWidgetAgain)
{
    const Cover cover(dialog, {0, 0, 100, 100});

    EXPECT_TRUE(send(kind, 7, elsewhere_inside, 0));
    EXPECT_TRUE(send(kind, 7, inside, 0));
    EXPECT_EQ(delivered(kind), 1U);

    EXPECT_TRUE(send(kind, 7, elsewhere_inside, 0));
    EXPECT_EQ(delivered(kind), 2U);
}

TEST_P(ContactOfEveryKind, IsCapturedApartFromOthersOfItsKind)
{
    send(kind, 7, inside);
    send(kind, 8, inside);
    send(kind, 7, inside, 0);

    EXPECT_FALSE(send(kind, 7, outside));
    EXPECT_TRUE(send(kind, 8, outside));
    EXPECT_FALSE(send(kind, 9, outside));
}

TEST_P(ContactOfEveryKind, ArrivesInThePixelsOfAViewThatHasMoved)
{
    view->move(25, 15);

    EXPECT_TRUE(send(kind, 7, {40, 30}));

    EXPECT_EQ(last(kind).pos, QPointF(15, 15));
    EXPECT_EQ(last(kind).view_pos, QPointF(15, 15));
}

INSTANTIATE_TEST_SUITE_P(Dialog, ContactOfEveryKind, testing::Values(pen, touch, eraser),
                         [](const auto &row) { return row.param.name; });

// Tests of two kinds that share an id.

class TwoKinds : public testing::TestWithParam<std::pair<Kind, Kind>>, protected DialogOnAScreen
{
protected:
    const Kind first = GetParam().first;
    const Kind second = GetParam().second;
};

TEST_P(TwoKinds, AreCapturedApart)
{
    send(first, 7, inside);
    EXPECT_FALSE(send(second, 7, outside));
    EXPECT_EQ(delivered(second), 0U);

    send(second, 7, inside);
    send(first, 7, inside, 0);
    EXPECT_TRUE(send(second, 7, outside));
    EXPECT_FALSE(send(first, 7, outside));
}

INSTANTIATE_TEST_SUITE_P(Dialog, TwoKinds,
                         testing::Values(std::pair(pen, touch), std::pair(touch, pen), std::pair(pen, eraser),
                                         std::pair(eraser, pen), std::pair(touch, eraser),
                                         std::pair(eraser, touch)),
                         [](const auto &row) {
                             return std::string(row.param.first.name) + "And" + row.param.second.name;
                         });

// Tests of lists of contacts.

class ListOfContacts : public testing::TestWithParam<Kind>, protected DialogOnAScreen
{
protected:
    const Kind kind = GetParam();
};

TEST_P(ListOfContacts, ArrivesAsOneDeliveryInItsOrder)
{
    const Cover cover(dialog, {0, 0, 100, 100});
    Records records = {at(elsewhere_inside, 9), at(inside, 3), at(outside, 5), at(elsewhere_inside, 1)};

    kind.send(dialog, records);

    EXPECT_EQ(records[0].flags, 1U);
    EXPECT_EQ(records[1].flags, 1U);
    EXPECT_EQ(records[2].flags, 0U);
    EXPECT_EQ(records[3].flags, 1U);
    ASSERT_EQ(delivered(kind), 1U);
    const Records &delivery = deliveries[kind.index].front();
    ASSERT_EQ(delivery.size(), 2U);
    EXPECT_EQ(delivery[0].id, 9);
    EXPECT_EQ(delivery[1].id, 1);
}

TEST_P(ListOfContacts, DoesNotCarryTheRecordsOfTheOneBefore)
{
    send(kind, 3, inside);

    send(kind, 4, inside);

    ASSERT_EQ(delivered(kind), 2U);
    ASSERT_EQ(deliveries[kind.index].back().size(), 1U);
    EXPECT_EQ(deliveries[kind.index].back().front().id, 4);
}

TEST_P(ListOfContacts, MayBeEmpty)
{
    Records none;

    kind.send(dialog, none);
    send(kind, 3, inside);
    kind.send(dialog, none);

    EXPECT_EQ(delivered(kind), 1U);
    EXPECT_EQ(last(kind).id, 3);
}

TEST_P(ListOfContacts, ReleasesLiftedContactsAtItsEndOnly)
{
    send(kind, 3, inside);
    Records records = {at(outside, 3, 0), at(outside, 3, 1)};

    kind.send(dialog, records);
    EXPECT_EQ(deliveries[kind.index].back().size(), 2U);

    EXPECT_FALSE(send(kind, 3, outside));
}

TEST_P(ListOfContacts, CapturesForItsLaterRecords)
{
    Records records = {at(inside, 3), at(outside, 3)};

    kind.send(dialog, records);

    EXPECT_EQ(deliveries[kind.index].back().size(), 2U);
}

TEST_P(ListOfContacts, ReachesTheViewAsItsOwnKindOnly)
{
    send(kind, 3, inside);

    EXPECT_EQ(delivered(pen) + delivered(touch) + delivered(eraser), 1U);
}

INSTANTIATE_TEST_SUITE_P(Dialog, ListOfContacts, testing::Values(touch, eraser),
                         [](const auto &row) { return row.param.name; });

// Tests with a screen that does not begin at (0, 0).

class ContactOnAShiftedScreen : public testing::TestWithParam<Kind>, protected DialogOnAScreen
{
};

TEST_P(ContactOnAShiftedScreen, HasTheOriginAddedIfAPenAndSubtractedOtherwise)
{
    const QPoint origin(32, 16);
    set_screen_geometry({origin, screen_size});

    EXPECT_TRUE(send(GetParam(), 7, {200, 150}));

    const QPoint expected = GetParam().index == pen.index ? QPoint(232, 166) : QPoint(168, 134);
    EXPECT_EQ(last(GetParam()).pos, QPointF(expected));
    EXPECT_EQ(last(GetParam()).view_pos, QPointF(expected));
}

INSTANTIATE_TEST_SUITE_P(Dialog, ContactOnAShiftedScreen, testing::Values(pen, touch, eraser),
                         [](const auto &row) { return row.param.name; });

} // namespace
