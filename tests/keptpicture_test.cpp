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
    KeptPicture(ellipse, origin.subpixel, draw_ellipse).show(painter, origin.pixel);

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
    const KeptPicture picture(ellipse, {0.25, 0.5}, draw_ellipse);

    EXPECT_TRUE(picture.suits({0.25, 0.5}));
    EXPECT_FALSE(picture.suits({0.25, 0.5 + 1e-15}));
    EXPECT_FALSE(picture.suits({0.5, 0.25}));
    EXPECT_FALSE(KeptPicture().suits({}));
}

TEST(KeptPicture, HoldsNothingWithoutMemory)
{
    const KeptPicture picture(QRect(0, 0, 1000000, 1000000), {}, draw_ellipse);

    EXPECT_TRUE(picture.is_null());
    EXPECT_FALSE(picture.suits({}));
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
