#include "item.h"
#include "strokesview.h"
#include "support/items.h"
#include "support/pictures.h"

#include <gtest/gtest.h>

namespace {

constexpr QSize widget_size(400, 300);
constexpr QPointF here(220, 200);

template <typename Type> bool is_a(const Item &item)
{
    return dynamic_cast<const Type *>(&item) != nullptr;
}

/// One kind of contact, and what its tag shows.
struct Kind
{
    const char *name;
    int id;
    void (*send)(StrokesView &view, const Korvane::Controls &record);
    bool (*is_its_item)(const Item &item);
    QColor colour;
};

void send_pen(StrokesView &view, const Korvane::Controls &record)
{
    view.in_pen_event(record);
}

void send_touch(StrokesView &view, const Korvane::Controls &record)
{
    view.in_touch_event({record});
}

void send_erase(StrokesView &view, const Korvane::Controls &record)
{
    view.in_erase_event({record});
}

class Tags : public testing::TestWithParam<Kind>
{
protected:
    Tags()
    {
        m_view.toggle_help();
        m_view.resize(widget_size);
        m_view.grab();
    }

    void send(int buttons, QPointF pos) { send(GetParam().id, buttons, pos); }
    void send(int id, int buttons, QPointF pos) { GetParam().send(m_view, contact(id, buttons, pos)); }

    std::size_t shown() const { return m_view.items().size(); }
    /// Where the one tag is.
    QPointF place() const { return m_view.items().at(0)->map_from({0, 0}); }

    StrokesView m_view;
};

TEST_P(Tags, AreOfTheKindOfTheContact)
{
    send(1, here);

    ASSERT_EQ(shown(), 1U);
    EXPECT_TRUE(GetParam().is_its_item(*m_view.items().front()));
    EXPECT_EQ(place(), here);
    EXPECT_EQ(m_view.items().front()->m_update_flags, 15);
    EXPECT_EQ(m_view.items().front()->m_owner, &m_view);
}

TEST_P(Tags, LookAsTheItemOfTheirKindAndRecord)
{
    // The tests of event items check the item's own picture; here the tag only has to look like such an item.
    ItemView other(0);
    const auto item = std::make_shared<EventItem>(QPointF(), GetParam().colour);
    other.add_item(item);
    item->refresh(contact(GetParam().id, 1, here));
    render(*item);
    m_view.m_stroke_width = 0; // so that the first dot has no size

    send(1, here);
    render_all(m_view);

    QImage expected(widget_size, QImage::Format_RGB32);
    expected.fill(Qt::white);
    QPainter painter(&expected);
    item->paint(painter);
    EXPECT_TRUE(same_picture(picture_of(m_view), expected));
}

TEST_P(Tags, FollowTheirContactUntilItLifts)
{
    send(1, here);
    const std::weak_ptr<Item> tag = m_view.items().at(0);
    render_all(m_view);

    send(1, {250, 210});
    EXPECT_EQ(shown(), 1U);
    EXPECT_EQ(m_view.items().at(0), tag.lock());
    EXPECT_EQ(place(), QPointF(250, 210));
    EXPECT_EQ(tag.lock()->m_update_flags, 15);

    send(0, {250, 210});
    EXPECT_EQ(shown(), 0U);
    EXPECT_TRUE(tag.expired());
}

TEST_P(Tags, AreRepaintedWhenTheyGo)
{
    send(1, here);
    render_all(m_view);
    m_view.get_dirty_region();

    send(0, here); // adds no piece to the stroke

    EXPECT_EQ(m_view.get_dirty_region(), QRegion(220 - 177, 200 - 152, 206, 181));
}

TEST_P(Tags, AreOneForEachContact)
{
    send(GetParam().id, 1, here);
    send(GetParam().id + 1, 1, {250, 250});
    EXPECT_EQ(shown(), 2U);

    send(GetParam().id, 0, here);

    ASSERT_EQ(shown(), 1U);
    EXPECT_EQ(place(), QPointF(250, 250));
}

TEST_P(Tags, ComeAgainWithTheContact)
{
    send(1, here);
    send(0, here);
    send(1, {250, 250});

    ASSERT_EQ(shown(), 1U);
    EXPECT_EQ(place(), QPointF(250, 250));
}

TEST_P(Tags, AreNotMadeForHoveringContacts)
{
    send(0, here);
    send(0, {250, 250});

    EXPECT_EQ(shown(), 0U);
}

TEST_P(Tags, AreNotMadeWhileSwitchedOff)
{
    m_view.m_show_tags = false;

    send(1, here);
    send(1, {250, 250});
    EXPECT_EQ(shown(), 0U);
    send(0, {250, 250});
    m_view.m_show_tags = true;
    send(1, here);

    EXPECT_EQ(shown(), 1U);
}

TEST_P(Tags, StayUntilTheirContactLiftsWhenSwitchedOff)
{
    send(1, here);
    m_view.m_show_tags = false;

    send(1, {250, 250});
    ASSERT_EQ(shown(), 1U);
    EXPECT_EQ(place(), QPointF(250, 250));
    send(0, {250, 250});
    EXPECT_EQ(shown(), 0U);
    send(1, here);

    EXPECT_EQ(shown(), 0U);
}

TEST_P(Tags, DoNotKeepTheContactFromDrawing)
{
    send(1, here);
    send(1, {250, 250});
    send(0, {260, 250});

    int strokes = 0;
    int segments = 0;
    int unused = 0;
    m_view.statistics(strokes, segments, unused, unused, unused);
    EXPECT_EQ(strokes, 1);
    EXPECT_EQ(segments, 3);
}

INSTANTIATE_TEST_SUITE_P(Contact, Tags,
                         testing::Values(Kind{"Pen", -4, send_pen, is_a<Pen>, QColor(255, 0, 0, 32)},
                                         Kind{"Touch", 256, send_touch, is_a<Touch>, QColor(0, 255, 0, 32)},
                                         Kind{"Eraser", 512, send_erase, is_a<Erase>, QColor(0, 0, 255, 32)}),
                         row_name<Kind>);

TEST(TagsOfAReport, AreMadeForEachOfItsRecords)
{
    StrokesView view;

    view.in_touch_event({contact(256, 1, here), contact(257, 0, here), contact(258, 1, {9, 9})});
    view.in_erase_event({contact(512, 1, here), contact(513, 1, {9, 9})});

    ASSERT_EQ(view.items().size(), 4U);
    EXPECT_EQ(view.items()[1]->map_from({0, 0}), QPointF(9, 9));
    EXPECT_TRUE(is_a<Erase>(*view.items()[3]));
}

TEST(TagsOfAView, AreShownAtFirst)
{
    EXPECT_TRUE(StrokesView().m_show_tags);
}

} // namespace
