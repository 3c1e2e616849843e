#include "keptpicture.h"
#include "support/heap.h"
#include "support/items.h"
#include "support/pictures.h"

#include <QPainter>
#include <QPainterPath>

#include <gtest/gtest.h>

#include <vector>

namespace {

const QRectF ellipse(-7, -5, 14, 10);

void draw_ellipse(QPainter &painter)
{
    QPainterPath path;
    path.addEllipse(ellipse);
    painter.fillPath(path, Qt::black);
}

QImage canvas()
{
    QImage image(40, 40, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    return image;
}

struct Row
{
    const char *name;
    QPointF origin;
};

class ShowsWhatWouldBeDrawn : public testing::TestWithParam<Row>
{
};

TEST_P(ShowsWhatWouldBeDrawn, PixelByPixel)
{
    const PixelPosition origin(GetParam().origin);
    QImage drawn = canvas();
    QPainter drawing(&drawn);
    drawing.setRenderHint(QPainter::Antialiasing);
    drawing.translate(GetParam().origin);
    draw_ellipse(drawing);
    drawing.end();

    QImage shown = canvas();
    QPainter painter(&shown);
    painter.translate(3.25, 9); // of no matter to the picture
    KeptPicture::around(ellipse, origin.subpixel, draw_ellipse).show(painter, origin.pixel);

    EXPECT_TRUE(same_picture(shown, drawn));
    EXPECT_EQ(painter.transform(), QTransform::fromTranslate(3.25, 9));
}

INSTANTIATE_TEST_SUITE_P(KeptPicture, ShowsWhatWouldBeDrawn,
                         testing::Values(Row{"OnAPixel", {20, 20}}, Row{"BetweenPixels", {20.5, 19.25}},
                                         Row{"AcrossTheTopLeftCorner", {-2.75, -1.5}},
                                         Row{"AcrossTheBottomRightCorner", {38.125, 39.5}}),
                         row_name<Row>);

TEST(KeptPicture, SuitsItsSubpixelOnly)
{
    const KeptPicture picture = KeptPicture::around(ellipse, {0.25, 0.5}, draw_ellipse);

    EXPECT_TRUE(picture.suits({0.25, 0.5}));
    EXPECT_FALSE(picture.suits({0.25, 0.5 + 1e-15}));
    EXPECT_FALSE(picture.suits({0.5, 0.25}));
    EXPECT_FALSE(KeptPicture().suits({}));
}

struct TouchRow
{
    const char *name;
    QPoint origin; ///< of the second triangle; the first one's is (0, 0)
    bool touches;
};

class TouchesAnother : public testing::TestWithParam<TouchRow>
{
};

TEST_P(TouchesAnother, IfBothLeaveSomethingInAPixel)
{
    // Two triangles that fill their pictures and whose long sides face each other.
    const auto draw = [](QVector<QPointF> points) {
        return KeptPicture(QRect(3, -2, 10, 10), {}, [&points](QPainter &painter) {
            QPainterPath path;
            path.addPolygon(points);
            painter.fillPath(path.translated(3, -2), Qt::black);
        });
    };
    const KeptPicture upper_left = draw({{0, 0}, {10, 0}, {0, 10}});
    const KeptPicture lower_right = draw({{10, 0}, {10, 10}, {0, 10}});
    const QPoint here(-50, 30);

    EXPECT_EQ(upper_left.touches(here, lower_right, here + GetParam().origin), GetParam().touches);
    EXPECT_EQ(lower_right.touches(here + GetParam().origin, upper_left, here), GetParam().touches);
}

INSTANTIATE_TEST_SUITE_P(
    KeptPicture, TouchesAnother,
    testing::Values(TouchRow{"AlongTheWholeSide", {0, 0}, true}, TouchRow{"OnePixelApart", {1, 0}, false},
                    TouchRow{"OnePixelBelow", {0, 1}, false}, TouchRow{"Across", {-3, -3}, true},
                    TouchRow{"InTheLastRow", {-9, -9}, true}, TouchRow{"AboveTheFirstRow", {-9, -10}, false},
                    TouchRow{"InTheFirstColumn", {-9, 0}, true}, TouchRow{"FarAway", {100, 0}, false}),
    row_name<TouchRow>);

TEST(KeptPicture, CoversThePixelsThatItTouchesAndOneAroundThem)
{
    const auto draw_nothing = [](QPainter &) {};

    EXPECT_EQ(KeptPicture::around({-7, -5, 14, 10}, {}, draw_nothing).covered({20, 30}),
              QRect(20 - 8, 30 - 6, 16, 12));
    EXPECT_EQ(KeptPicture::around({-7, -5, 14, 10}, {0.5, 0.25}, draw_nothing).covered({20, 30}),
              QRect(20 - 8, 30 - 6, 17, 13));
}

TEST(KeptPicture, TakesItsPixelsAndAQuarterOfAKilobyte)
{
    const KeptPicture picture({0, 0, 16, 12}, {}, [](QPainter &) {});

    EXPECT_EQ(picture.memory(), 16 * 12 * 4 + 256);
}

TEST(KeptPicture, ReplacesWhatStaysTheSameAfterAMove)
{
    QImage image = canvas();
    QPainter painter(&image);
    EXPECT_FALSE(KeptPicture::can_replace(painter)) << "it is not antialiased";

    painter.setRenderHint(QPainter::Antialiasing);
    EXPECT_TRUE(KeptPicture::can_replace(painter));
    painter.translate(3.5, 4);
    EXPECT_TRUE(KeptPicture::can_replace(painter));
    painter.scale(2, 2);
    EXPECT_FALSE(KeptPicture::can_replace(painter));
}

TEST(KeptPicture, LeavesThePaintersTransformAsItIs)
{
    const KeptPicture picture = KeptPicture::around(ellipse, {}, draw_ellipse);
    QImage image = canvas();
    QPainter painter(&image);

    painter.translate(5, 5);
    EXPECT_TRUE(painter.worldMatrixEnabled());
    picture.show(painter, {20, 20});
    EXPECT_TRUE(painter.worldMatrixEnabled());

    painter.setWorldMatrixEnabled(false);
    picture.show(painter, {20, 20});
    EXPECT_FALSE(painter.worldMatrixEnabled());
}

TEST(KeptPicture, HoldsNothingWithoutMemory)
{
    bool is_drawn = false;
    const KeptPicture picture(QRect(0, 0, 1000000, 1000000), {},
                              [&is_drawn](QPainter &) { is_drawn = true; });

    EXPECT_TRUE(picture.is_null());
    EXPECT_FALSE(picture.suits({}));
    EXPECT_FALSE(is_drawn);
}

TEST(Subpixels, AreInAnOrder)
{
    const std::vector<Subpixel> ordered{{0, 0.5}, {0.25, 0}, {0.25, 0.75}, {0.5, 0.25}};

    for (std::size_t first = 0; first < ordered.size(); ++first) {
        for (std::size_t second = 0; second < ordered.size(); ++second)
            EXPECT_EQ(ordered[first] < ordered[second], first < second) << first << ", " << second;
    }
}

TEST(KeptPicture, OwnsNoPaintEngine)
{
    constexpr int count = 1000;
    std::vector<KeptPicture> pictures;
    pictures.reserve(count);
    pictures.emplace_back(QRect(0, 0, 14, 20), Subpixel{}, draw_ellipse); // loads what Qt keeps
    const std::size_t before = heap_in_use();

    while (pictures.size() < count)
        pictures.emplace_back(QRect(0, 0, 14, 20), Subpixel{}, draw_ellipse);

    const std::size_t each = (heap_in_use() - before) / (count - 1);
    EXPECT_LT(each, 14 * 20 * 4 + 400);
    EXPECT_GE(pictures.back().memory(), static_cast<qsizetype>(each)); // it tells no less than it takes
}

} // namespace
