#include "item.h"

#include "support/heap.h"
#include "support/items.h"
#include "support/pictures.h"
#include "support/tags.h"

#include <QLocale>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <set>

namespace {

struct Row
{
    const char *name;
    Korvane::Controls record;
    Tag expected;
};

const QPointF standard(25, 25); // radius of contacts without a size
const QPointF here(100, 150);

QStringList standard_lines(const QString &fid = "-1", const QString &buttons = "00000001")
{
    return {"FID: " + fid, "X: 100", "Y: 150", "X Radius: 0", "Y Radius: 0", "Buttons: " + buttons};
}

QStringList radius_lines(const QString &x, const QString &y)
{
    return {"FID: 256", "X: 100", "Y: 150", "X Radius: " + x, "Y Radius: " + y, "Buttons: 00000001"};
}

QStringList place_lines(const QString &x, const QString &y)
{
    return {"FID: -1", "X: " + x, "Y: " + y, "X Radius: 0", "Y Radius: 0", "Buttons: 00000001"};
}

/// A pen event item in a view, and one tick.
class EventItemPicture : public testing::TestWithParam<Row>
{
protected:
    EventItemPicture() { m_view.add_item(m_item); }

    void show(const Korvane::Controls &record)
    {
        m_item->refresh(record);
        render(*m_item);
    }

    ItemView m_view{0};
    std::shared_ptr<EventItem> m_item = std::make_shared<Pen>(QPointF(-300, -200), QColor(255, 0, 0, 32));
};

TEST_P(EventItemPicture, ShowsTheContact)
{
    const Tag &expected = GetParam().expected;
    show(GetParam().record);

    EXPECT_TRUE(same_picture(painted(*m_item), drawn(expected)));
}

INSTANTIATE_TEST_SUITE_P(
    AtItsPosition, EventItemPicture,
    testing::Values(
        Row{"OnAPixel", contact(-1, 1, here), {here, standard, standard_lines()}},
        Row{"BetweenPixels",
            contact(-1, 1, {100.25, 150.625}),
            {{100.25, 150.625}, standard, place_lines("100.25", "150.625")}},
        Row{"AtTheTopLeftCorner", contact(-1, 1, {0, 0}), {{0, 0}, standard, place_lines("0", "0")}},
        Row{"LeftOfAndAboveTheView",
            contact(-1, 1, {-30.5, -12.75}),
            {{-30.5, -12.75}, standard, place_lines("-30.5", "-12.75")}},
        Row{"SixDigits",
            contact(-1, 1, {123.4567890625, 0.1234567}),
            {{123.4567890625, 0.1234567}, standard, place_lines("123.457", "0.123457")}},
        Row{"Exponents",
            contact(-1, 1, {0.000012345678, 1e-7}),
            {{0.000012345678, 1e-7}, standard, place_lines("1.23457e-05", "1e-07")}}),
    row_name<Row>);

INSTANTIATE_TEST_SUITE_P(
    WithItsRadii, EventItemPicture,
    testing::Values(Row{"Wide", contact(256, 1, here, {60, 10}), {here, {60, 10}, radius_lines("60", "10")}},
                    Row{"High", contact(256, 1, here, {8, 40}), {here, {8, 40}, radius_lines("8", "40")}},
                    Row{"Fractions",
                        contact(256, 1, here, {12.5, 7.25}),
                        {here, {12.5, 7.25}, radius_lines("12.5", "7.25")}},
                    Row{"OnlyX", contact(256, 1, here, {30, 0}), {here, {30, 0}, radius_lines("30", "0")}},
                    Row{"OnlyY", contact(256, 1, here, {0, 30}), {here, {0, 30}, radius_lines("0", "30")}},
                    Row{"SixDigits",
                        contact(256, 1, here, {20.12345678, 33.33333333}),
                        {here, {20.12345678, 33.33333333}, radius_lines("20.1235", "33.3333")}},
                    Row{"TooSmallForSinglePrecision",
                        contact(256, 1, here, {1e-50, 1e-50}),
                        {here, standard, radius_lines("1e-50", "1e-50")}}),
    row_name<Row>);

INSTANTIATE_TEST_SUITE_P(
    WithItsIdentity, EventItemPicture,
    testing::Values(Row{"Pen", contact(-16, 1, here), {here, standard, standard_lines("-16")}},
                    Row{"Touch", contact(256, 1, here), {here, standard, standard_lines("256")}},
                    Row{"Eraser", contact(639, 1, here), {here, standard, standard_lines("639")}}),
    row_name<Row>);

INSTANTIATE_TEST_SUITE_P(
    WithItsButtons, EventItemPicture,
    testing::Values(
        Row{"None", contact(-1, 0, here), {here, standard, standard_lines("-1", "00000000")}},
        Row{"Three", contact(-1, 3, here), {here, standard, standard_lines("-1", "00000011")}},
        Row{"All", contact(-1, 255, here), {here, standard, standard_lines("-1", "11111111")}},
        Row{"MoreThanEight", contact(-1, 300, here), {here, standard, standard_lines("-1", "00101100")}}),
    row_name<Row>);

TEST_F(EventItemPicture, HasTextThatCanBeSeen)
{
    // The other cases compare text only if there is a font: without one, all text would look alike.
    const Tag one{here, standard, standard_lines("-1")};
    const Tag other{here, standard, standard_lines("-2")};

    EXPECT_FALSE(text_of(one).isEmpty());
    EXPECT_FALSE(same_picture(drawn(one), drawn(other)));
}

TEST_F(EventItemPicture, FollowsTheContactAndLeavesNothingBehind)
{
    show(contact(-1, 1, {10, 20}, {90, 70}));

    show(contact(256, 1, here, {8, 40}));

    EXPECT_TRUE(same_picture(painted(*m_item), drawn({here, {8, 40}, radius_lines("8", "40")})));
}

TEST_F(EventItemPicture, ShowsEachRecordWholeWhateverTheLastOneWas)
{
    const QPointF no_size(0, 0);
    const QPointF shifted(100.5, 150.25);
    const QStringList shifted_lines = place_lines("100.5", "150.25");
    const QString tiny = "1e-13"; // not zero, but the circle vanishes
    const Row rows[] = {
        {"X", contact(-1, 1, {101, 150}), {{101, 150}, standard, place_lines("101", "150")}},
        {"Y", contact(-1, 1, {101, 149}), {{101, 149}, standard, place_lines("101", "149")}},
        {"Half a pixel", contact(-1, 1, shifted), {shifted, standard, shifted_lines}},
        {"Identity", contact(-16, 1, here), {here, standard, standard_lines("-16")}},
        {"Buttons", contact(-16, 3, here), {here, standard, standard_lines("-16", "00000011")}},
        {"Radius", contact(256, 1, here, {60, 10}), {here, {60, 10}, radius_lines("60", "10")}},
        {"Wider", contact(256, 1, here, {90, 10}), {here, {90, 10}, radius_lines("90", "10")}},
        {"Higher", contact(256, 1, here, {90, 40}), {here, {90, 40}, radius_lines("90", "40")}},
        {"Radius turned", contact(256, 1, here, {10, 60}), {here, {10, 60}, radius_lines("10", "60")}},
        {"No radius", contact(256, 1, here, no_size), {here, standard, radius_lines("0", "0")}},
        {"Next to none",
         contact(256, 1, here, {1e-13, 1e-13}),
         {here, {1e-13, 1e-13}, radius_lines(tiny, tiny)}},
        {"Below a pixel", contact(256, 1, here, {0.6, 0.5}), {here, {0.6, 0.5}, radius_lines("0.6", "0.5")}},
        {"Large", contact(256, 1, here, {600, 500}), {here, {600, 500}, radius_lines("600", "500")}},
        {"Small", contact(256, 1, here, {60, 10}), {here, {60, 10}, radius_lines("60", "10")}},
        {"Large again", contact(256, 1, here, {600, 500}), {here, {600, 500}, radius_lines("600", "500")}},
        {"The first again", contact(-1, 1, {101, 150}), {{101, 150}, standard, place_lines("101", "150")}}};

    for (const Row &row : rows) {
        show(row.record);

        EXPECT_TRUE(same_picture(painted(*m_item), drawn(row.expected))) << row.name;
    }
}

TEST_F(EventItemPicture, ShowsItsFirstRecordEvenIfDrawnBefore)
{
    QImage canvas = empty_canvas();
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Antialiasing);
    m_item->redraw(painter);
    painter.end();

    show(contact(-1, 1, here));

    EXPECT_TRUE(same_picture(painted(*m_item), drawn({here, standard, standard_lines()})));
}

TEST_F(EventItemPicture, IsAsSmoothAsItsPainter)
{
    const auto colours = [this](bool smooth) {
        QImage canvas = empty_canvas();
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing, smooth);
        painter.translate(300, 300);
        m_item->redraw(painter);
        painter.end();
        std::set<QRgb> found;
        for (int y = 0; y < canvas.height(); ++y) {
            for (int x = 0; x < canvas.width(); ++x)
                found.insert(canvas.pixel(x, y));
        }
        return found.size();
    };
    show(contact(-1, 1, here));

    EXPECT_GT(colours(true), 20U);
    EXPECT_EQ(colours(false), 3U) << "white, the tag's colour and black";
}

TEST_F(EventItemPicture, ShowsPosAndNotViewPos)
{
    Korvane::Controls record = contact(-1, 1, here);
    record.view_pos = {7, 8};

    show(record);

    EXPECT_TRUE(same_picture(painted(*m_item), drawn({here, standard, standard_lines()})));
}

TEST_F(EventItemPicture, WaitsForTheNextTick)
{
    show(contact(-1, 1, here));
    m_item->refresh(contact(-1, 3, {0, 0}));

    EXPECT_TRUE(same_picture(painted(*m_item), drawn({here, standard, standard_lines()})));
    EXPECT_EQ(m_item->m_update_flags, 15);
    EXPECT_EQ(m_item->map_from({1, 2}), QPointF(1, 2));
}

TEST_F(EventItemPicture, ReachesOverTheEdgesOfTheView)
{
    m_view.resize(300, 200);
    for (const QPointF pos : {QPointF(20, 10), QPointF(295.5, 198.25)}) {
        const QString x = QString::number(pos.x());
        const QString y = QString::number(pos.y());
        show(contact(-1, 1, pos));

        const QImage expected = drawn({pos, standard, place_lines(x, y)}).copy({origin, QSize(300, 200)});
        EXPECT_TRUE(same_picture(picture_of(m_view), expected)) << pos.x();
    }
}

TEST_F(EventItemPicture, CoversCircleAndTag)
{
    m_view.get_dirty_region();

    show(contact(-1, 1, here));

    // The box begins at (-175, -150) and the circle ends at (25, 25). The region starts 2 px before and ends
    // 4 px after them.
    EXPECT_EQ(m_view.get_dirty_region(), QRegion(100 - 177, 150 - 152, 206, 181));
}

TEST_F(EventItemPicture, LooksTheSameHoweverManyOtherPlacesItsTextHasLainAt)
{
    // This is more than the cache keeps: each round puts the characters at other subpixel offsets.
    for (int i = 0; i < 3000; ++i)
        show(contact(256, 1, here, {20 + i % 64 / 64.0, 30 + i / 64 % 64 / 64.0}));

    show(contact(256, 1, here, {12.5, 7.25}));

    EXPECT_TRUE(same_picture(painted(*m_item), drawn({here, {12.5, 7.25}, radius_lines("12.5", "7.25")})));
}

TEST_F(EventItemPicture, KeepsItsTextInBoundedMemory)
{
    constexpr int steps = 64; // of Qt's layout in a pixel
    show(contact(256, 1, here, {12.5, 7.25}));
    m_view.get_dirty_region();
    const std::size_t before = heap_in_use();

    std::size_t most = before;
    for (int x = 0; x < steps; ++x) {
        for (int y = 0; y < steps; y += 4)
            show(contact(256, 1, here, {20 + double(x) / steps, 30 + double(y) / steps}));
        m_view.get_dirty_region();
        most = std::max(most, heap_in_use());
    }

    EXPECT_GT(most, before + (8U << 20)) << "kept too little to reach the limit";
    EXPECT_LT(most, before + (17U << 20));
}

TEST_F(EventItemPicture, KeepsItsTextAtAnyScale)
{
    const auto text_at = [](const Tag &tag, const QTransform &transform) {
        QImage canvas = empty_canvas();
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setTransform(transform);
        painter.fillPath(text_of(tag), Qt::black);
        return canvas;
    };
    const QTransform transform = QTransform::fromTranslate(500, 450).rotate(10).scale(2, 2);
    const Tag tag{here, standard, standard_lines()};
    m_item->refresh(contact(-1, 1, here));
    m_item->rebuild();

    QImage canvas = empty_canvas();
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setTransform(transform);
    m_item->redraw(painter);
    painter.end();

    const QImage text = text_at(tag, transform);
    int black = 0;
    for (int y = 0; y < text.height(); ++y) {
        for (int x = 0; x < text.width(); ++x) {
            if (text.pixelColor(x, y) != Qt::black)
                continue;
            ++black;
            ASSERT_EQ(canvas.pixelColor(x, y), QColor(Qt::black)) << x << ", " << y;
        }
    }
    EXPECT_GT(black, 1000);
}

TEST_F(EventItemPicture, HasLinesOfOnePixelAtAnyScale)
{
    m_item->refresh(contact(-1, 1, {0, 0}, {20, 20}));
    m_item->rebuild();
    QImage canvas = empty_canvas();
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(500, 450);
    painter.scale(4, 4);
    m_item->redraw(painter);
    painter.end();

    const auto darkness = [&canvas](int y) { return 255 - canvas.pixelColor(540, y).red(); };
    double thickness = 0; // of the cross
    for (int y = 440; y < 460; ++y)
        thickness += darkness(y) / 255.0;
    EXPECT_NEAR(thickness, 1, 0.01);
}

struct LocaleRow
{
    const char *name; ///< of the C library's locale
    QLocale qt;
};

TEST_F(EventItemPicture, KeepsTheDecimalPointInEveryLocale)
{
    const LocaleRow rows[] = {{"C", QLocale::c()},
                              {"fr_FR.UTF-8", QLocale(QLocale::French, QLocale::France)}};

    for (const LocaleRow &row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_NE(std::setlocale(LC_ALL, row.name), nullptr) << "not installed";
        QLocale::setDefault(row.qt);

        show(contact(256, 1, {1234.5, 150.25}, {1200.5, 7.25}));

        const QStringList lines{"FID: 256",         "X: 1234.5",      "Y: 150.25",
                                "X Radius: 1200.5", "Y Radius: 7.25", "Buttons: 00000001"};
        EXPECT_TRUE(same_picture(painted(*m_item), drawn({{1234.5, 150.25}, {1200.5, 7.25}, lines})));
    }
}

template <typename Type> class EventItemKind : public testing::Test
{
};

using Kinds = testing::Types<EventItem, Pen, Touch, Erase>;
TYPED_TEST_SUITE(EventItemKind, Kinds, );

TYPED_TEST(EventItemKind, DiffersInItsColourOnly)
{
    for (const QColor &colour : {QColor(0, 255, 0, 32), QColor(0, 0, 255, 200)}) {
        ItemView view(0);
        const auto item = std::make_shared<TypeParam>(QPointF(0, 0), colour);
        view.add_item(item);
        item->refresh(contact(-1, 1, here));

        render(*item);

        EXPECT_TRUE(same_picture(painted(*item), drawn({here, standard, standard_lines(), colour})));
    }
}

TYPED_TEST(EventItemKind, ShowsItselfBeforeItsFirstRecord)
{
    ItemView view(0);
    const auto item = std::make_shared<TypeParam>(here, QColor(255, 0, 0, 32));
    view.add_item(item);

    render(*item);

    EXPECT_TRUE(same_picture(painted(*item), drawn({here, standard, standard_lines("0", "00000000")})));
}

TYPED_TEST(EventItemKind, TakesNoContacts)
{
    ItemView view(0);
    const auto item = std::make_shared<TypeParam>(QPointF(0, 0), Qt::red);
    view.add_item(item);
    item->refresh(contact(-1, 1, here));
    render(*item);

    ASSERT_TRUE(item->hit({0, 0}));
    EXPECT_FALSE(item->m_hit_testable);
    EXPECT_EQ(view.hit_item(contact(-1, 1, here)), nullptr);
}

TYPED_TEST(EventItemKind, TakesNoNoticeOfContacts)
{
    ItemView view(0);
    const auto item = std::make_shared<TypeParam>(QPointF(0, 0), QColor(255, 0, 0, 32));
    view.add_item(item);
    item->refresh(contact(-1, 1, here));
    render(*item);

    item->pen_event(contact(-2, 3, {7, 8}));
    item->touch_event({contact(256, 3, {7, 8})});
    item->erase_event({contact(512, 3, {7, 8})});
    EXPECT_EQ(item->m_update_flags, 0);
    item->m_update_flags = Item::update_all;
    render(*item);

    EXPECT_TRUE(same_picture(painted(*item), drawn({here, standard, standard_lines()})));
}

TYPED_TEST(EventItemKind, IsWholeUntilItsLastRenderHasEnded)
{
    ItemView view(0);

    for (int i = 0; i < 100; ++i) {
        auto item = std::make_unique<TypeParam>(here, Qt::red);
        item->m_owner = &view;
        item->update_begin();
        item.reset();

        ASSERT_EQ(view.get_dirty_region(), QRegion(100 - 177, 150 - 152, 206, 181));
    }
}

TYPED_TEST(EventItemKind, KeepsTheItemIdZero)
{
    TypeParam item({0, 0}, Qt::red);

    item.refresh(contact(77, 1, here));

    EXPECT_EQ(item.m_id, 0);
}

} // namespace
