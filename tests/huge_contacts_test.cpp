// Contacts whose pictures are far larger than the screen, such as those of a palm with the greatest extent.

#include "item.h"
#include "picturememory.h"

#include "support/heap.h"
#include "support/items.h"
#include "support/pictures.h"
#include "support/tags.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr QSize screen(1920, 1080);
const QPointF greatest(3839.94140625, 2159.96704101); // an extent of 65535 on that screen
constexpr int most_contacts = 272;                    // 128 touches, 128 erasers and 16 pens
constexpr std::size_t most_memory = 300'000'000;

QString number(double value)
{
    return QString::number(value);
}

Tag tag_at(QPointF pos, QPointF radius)
{
    return {pos,
            radius,
            {"FID: 256", "X: " + number(pos.x()), "Y: " + number(pos.y()), "X Radius: " + number(radius.x()),
             "Y Radius: " + number(radius.y()), "Buttons: 00000001"}};
}

/// Contacts whose tags a view of the screen's size shows.
class HugeContacts : public testing::Test
{
protected:
    HugeContacts() { m_view.resize(screen); }

    void show(const std::vector<Korvane::Controls> &contacts)
    {
        while (m_items.size() < contacts.size()) {
            m_items.push_back(std::make_shared<Touch>(QPointF(), QColor(255, 0, 0, 32)));
            m_view.add_item(m_items.back());
        }
        for (std::size_t i = 0; i < contacts.size(); ++i)
            m_items[i]->refresh(contacts[i]);
        render_all(m_view);
    }

    /// Contacts beside each other.
    void show_alike(int count, QPointF radius)
    {
        std::vector<Korvane::Controls> contacts;
        for (int i = 0; i < count; ++i)
            contacts.push_back(contact(256 + i, 1, {300.25 + 3 * i, 200.5 + i}, radius));
        show(contacts);
    }

    /// Bytes that rendering and painting this many contacts have added.
    std::size_t memory_of(int count, QPointF radius)
    {
        show_alike(count, radius);
        paint_a_part();
        m_view.get_dirty_region();
        return heap_in_use() - m_before;
    }

    void paint_a_part()
    {
        QImage canvas(40, 30, QImage::Format_RGB32);
        m_view.render(&canvas, {}, QRect({300, 200}, canvas.size()));
    }

    ItemView m_view{0};
    std::vector<std::shared_ptr<EventItem>> m_items;
    const std::size_t m_before = heap_in_use();
};

struct Place
{
    const char *name;
    QPointF pos;
    QPointF radius;
};

class AHugeContact : public HugeContacts, public testing::WithParamInterface<Place>
{
protected:
    AHugeContact() { show({contact(256, 1, GetParam().pos, GetParam().radius)}); }

    const QImage m_expected = drawn(tag_at(GetParam().pos, GetParam().radius));
};

TEST_P(AHugeContact, LooksAsDrawnWhole)
{
    EXPECT_TRUE(same_picture(painted(*m_items[0]), m_expected));
}

TEST_P(AHugeContact, IsPaintedOnlyInsideTheRegion)
{
    const QRegion region = QRegion(10, 20, 30, 200) + QRegion(35, 100, 250, 7) + QRegion(0, 290, 400, 10)
        + QRegion(399, 0, 1, 9);
    const QSize size(400, 300);
    QImage canvas(size, QImage::Format_RGB32);
    canvas.fill(Qt::yellow);
    QImage expected = canvas;
    QPainter painter(&expected);
    painter.setClipRegion(region);
    painter.drawImage(QPoint(), m_expected, QRect(origin, size));
    painter.end();

    m_view.resize(size);
    m_view.render(&canvas, {}, QRegion());
    EXPECT_TRUE(same_picture(canvas, m_expected.copy({origin, size})));
    canvas.fill(Qt::yellow);
    m_view.render(&canvas, region.boundingRect().topLeft(), region);

    EXPECT_TRUE(same_picture(canvas, expected));
}

INSTANTIATE_TEST_SUITE_P(
    , AHugeContact,
    testing::Values(
        Place{"CentredInTheView", {200, 150}, greatest}, Place{"BetweenPixels", {123.375, 99.75}, greatest},
        Place{"OutsideOfTheView", {-1200.5, 1800.25}, greatest},
        Place{"CutAtItsLeft", {3900.5, 140.25}, greatest}, Place{"CutAtItsRight", {-3700.75, 100}, greatest},
        Place{"CutAtItsTop", {150, 2250.125}, greatest}, Place{"CutAtItsBottom", {150.5, -1970}, greatest},
        Place{"WithItsTagInTheView", {3990.5, 2284.5}, greatest},
        Place{"WithItsUpperLeftEdgeInTheView", {2815.25, 1627.75}, greatest},
        Place{"WithItsLowerRightEdgeInTheView", {-2515.5, -1427.25}, greatest},
        Place{"OfAnOddSize", {2000.0078125, 1000.9921875}, {3333.3333, 1111.7777}},
        Place{"Flat", {180, 160}, {3839.5, 300.25}}, Place{"Narrow", {180, 160}, {299.5, 6000.25}},
        Place{"AsLargeAsTheView", {200.5, 150.5}, {900, 700}}),
    row_name<Place>);

/// A contact that is turned and scaled, in the way that items can be.
struct Attitude
{
    const char *name;
    float rotation; ///< degrees
    float scale;
};

class ATurnedTouch : public Touch
{
public:
    explicit ATurnedTouch(const Attitude &attitude) : Touch(QPointF(), QColor(255, 0, 0, 32))
    {
        m_rotation = attitude.rotation;
        m_scale = attitude.scale;
        refresh(contact(256, 1, {210.25, 180.5}, {150, 90}));
    }
};

class AContact : public HugeContacts, public testing::WithParamInterface<Attitude>
{
protected:
    QImage picture()
    {
        const auto touch = std::make_shared<ATurnedTouch>(GetParam());
        m_view.add_item(touch);
        render(*touch);
        const QImage shown = painted(*touch);
        m_view.sub_item(touch.get());
        return shown;
    }
};

TEST_P(AContact, LooksTheSameWithAndWithoutACache)
{
    const QImage with_a_cache = picture();

    const PictureMemory all({4996, 10'000}); // that pictures may take
    ASSERT_TRUE(all.is_held());

    EXPECT_TRUE(same_picture(picture(), with_a_cache));
}

TEST(TheCacheOfAContact, IsPartOfTheMemoryOfAllPictures)
{
    Touch touch(QPointF(), Qt::red);
    EXPECT_NE(touch.EventItem::new_cache({30, 20}), nullptr);

    const PictureMemory nearly_all({4996, 9'999}); // what is left is enough for the next cache only
    ASSERT_TRUE(nearly_all.is_held());

    EXPECT_EQ(touch.EventItem::new_cache({5000, 20}), nullptr);
    EXPECT_NE(touch.EventItem::new_cache({30, 20}), nullptr);
}

INSTANTIATE_TEST_SUITE_P(, AContact,
                         testing::Values(Attitude{"Upright", 0, 1}, Attitude{"Turned", 30, 1},
                                         Attitude{"Larger", 0, 1.5F}, Attitude{"Smaller", 0, 0.5F},
                                         Attitude{"TurnedAndSmaller", -100, 0.5F}),
                         row_name<Attitude>);

TEST_F(HugeContacts, AreComposedBackToFront)
{
    show({contact(256, 1, {200, 150}, greatest), contact(257, 1, {100, 90}, {0, 0}),
          contact(258, 1, {150.5, 170.25}, greatest)});
    QImage expected(400, 300, QImage::Format_RGB32);
    expected.fill(Qt::white);
    for (const auto &item : m_items) {
        QPainter painter(&expected);
        item->paint(painter);
    }

    m_view.resize(expected.size());

    EXPECT_TRUE(same_picture(picture_of(m_view), expected));
}

TEST_F(HugeContacts, ShowNothingBeforeTheirFirstRender)
{
    const auto item = std::make_shared<Touch>(QPointF(100, 100), Qt::red);
    item->refresh(contact(256, 1, {100, 100}, greatest));

    EXPECT_TRUE(same_picture(painted(*item), empty_canvas()));
}

TEST_F(HugeContacts, ShowNothingOnceTheyAreCleared)
{
    show_alike(1, greatest);
    ASSERT_FALSE(same_picture(painted(*m_items[0]), empty_canvas()));

    m_items[0]->clear_image_cache();

    EXPECT_TRUE(same_picture(painted(*m_items[0]), empty_canvas()));
}

TEST_F(HugeContacts, StayAsRenderedUntilTheNextTick)
{
    show_alike(1, greatest);
    const QImage before = painted(*m_items[0]);

    m_items[0]->refresh(contact(300, 3, {1000, 900}, {70, 30}));

    EXPECT_TRUE(same_picture(painted(*m_items[0]), before));
}

TEST_F(HugeContacts, LookTheSameWhetherOrNotTheirCachesFit)
{
    const QPointF pos(200.25, 180.5);
    const QPointF radius(150, 120);
    show_alike(most_contacts, {380, 300}); // these use up what caches may take

    m_items.push_back(std::make_shared<Touch>(QPointF(), QColor(255, 0, 0, 32)));
    m_view.add_item(m_items.back());
    m_items.back()->refresh(contact(256, 1, pos, radius));
    render(*m_items.back());

    EXPECT_TRUE(same_picture(painted(*m_items.back()), drawn(tag_at(pos, radius))));
}

TEST_F(HugeContacts, HaveCachesAgainWhenOthersHaveGone)
{
    show_alike(most_contacts, {380, 300});
    m_view.sub_all();
    m_items.clear();
    m_view.get_dirty_region();

    EXPECT_GT(memory_of(10, {380, 300}), 40'000'000U);
}

struct Crowd
{
    std::string name;
    int count;
    QPointF radius;
};

class MemoryOfHugeContacts : public HugeContacts, public testing::WithParamInterface<Crowd>
{
};

TEST_P(MemoryOfHugeContacts, IsBounded)
{
    EXPECT_LT(memory_of(GetParam().count, GetParam().radius), most_memory);
}

std::vector<Crowd> crowds()
{
    std::vector<Crowd> all;
    for (const int count : {40, 127, most_contacts}) {
        const std::string number = std::to_string(count);
        all.push_back({number + "OfTheGreatestExtent", count, greatest});
        all.push_back({number + "WithTheLargestKeptShape", count, {436, 448}});
        all.push_back({number + "WithTheLargestCache", count, {647, 658}});
        all.push_back({number + "ThatAreVeryHigh", count, {25, 4700}});
        all.push_back({number + "ThatAreVeryWide", count, {7600, 2}});
        all.push_back({number + "ThatUseAllMemoryForCachesAndShapes", count, {86, 74}});
        all.push_back({number + "OfPalms", count, {140, 130}});
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(, MemoryOfHugeContacts, testing::ValuesIn(crowds()), row_name<Crowd>);

TEST_F(HugeContacts, TakeAddressesOnlyWhileTheyArePainted)
{
    constexpr long long any_picture = 4'000; // pages, and more than Qt takes to paint for the first time
    show_alike(1, greatest);
    const long long before = address_space();

    paint_a_part();

    EXPECT_LT(address_space() - before, any_picture);
}

TEST_F(HugeContacts, GiveTheirMemoryBackWhenTheyShrinkAndWhenTheyGrow)
{
    for (const QPointF radius : {QPointF(86, 74), greatest, QPointF(380, 300), greatest, QPointF(25, 25)}) {
        SCOPED_TRACE(radius.x());
        EXPECT_LT(memory_of(most_contacts, radius), most_memory);
    }
}

} // namespace
