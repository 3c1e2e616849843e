#include "roundline.h"

#include <QBrush>
#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPen>

#include <gtest/gtest.h>

#include <vector>

namespace {

const QLineF line(30, 60, 90, 60);
constexpr float half_width = 10;

/// A painter's own pen differs from the one that the line needs in one respect.
struct OtherPen
{
    const char *name;
    QPen pen;
};

QImage drawn_with(const QPen &pen)
{
    QImage image(120, 120, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(pen);
    draw_round_line(painter, line, half_width, Qt::red);
    return image;
}

QPen suitable_pen()
{
    return {QBrush(Qt::red), 2 * half_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
}

class ARoundLine : public testing::TestWithParam<OtherPen>
{
};

TEST_P(ARoundLine, IsDrawnAlikeWhateverPenThePainterHas)
{
    EXPECT_EQ(drawn_with(GetParam().pen), drawn_with(suitable_pen()));
}

std::vector<OtherPen> other_pens()
{
    QPen dashed = suitable_pen();
    dashed.setStyle(Qt::DashLine);
    QPen flat = suitable_pen();
    flat.setCapStyle(Qt::FlatCap);
    QPen thin = suitable_pen();
    thin.setWidthF(1);
    QPen blue = suitable_pen();
    blue.setColor(Qt::blue);
    return {{"Dashed", dashed}, {"WithFlatEnds", flat}, {"Thin", thin}, {"Blue", blue}};
}

INSTANTIATE_TEST_SUITE_P(, ARoundLine, testing::ValuesIn(other_pens()),
                         [](const auto &row) { return row.param.name; });

/// A rectangle around the middle of a long line of half a width of 50, and whether it is surely covered: the
/// line is trusted up to 46.95 pixels from its middle.
struct Area
{
    const char *name;
    QRect rectangle;
    bool is_covered;
};

class AnArea : public testing::TestWithParam<Area>
{
};

TEST_P(AnArea, IsCoveredIfAllOfItIsWellInsideTheLine)
{
    EXPECT_EQ(covers(QLineF(100, 200, 500, 200), 50, GetParam().rectangle), GetParam().is_covered);
}

INSTANTIATE_TEST_SUITE_P(, AnArea,
                         testing::Values(Area{"AsHighAsIsTrusted", {200, 200 - 46, 100, 2 * 46}, true},
                                         Area{"TooHigh", {200, 200 - 47, 100, 47 + 46}, false},
                                         Area{"TooLow", {200, 200 - 46, 100, 46 + 47}, false},
                                         Area{"UpToTheRoundEnd", {100 - 46, 200, 100, 1}, true},
                                         Area{"PastTheRoundEnd", {100 - 47, 200, 100, 1}, false},
                                         Area{"ASquareInTheMiddle", {290, 190, 20, 20}, true},
                                         Area{"Elsewhere", {290, 400, 20, 20}, false}),
                         [](const auto &row) { return row.param.name; });

TEST(ADot, CoversWhatIsWellInsideIt)
{
    const QLineF dot(100, 100, 100, 100);

    EXPECT_TRUE(covers(dot, 50, {100 - 33, 100 - 33, 2 * 33, 2 * 33})); // its corners are 46.7 pixels away
    EXPECT_FALSE(covers(dot, 50, {100 - 34, 100 - 34, 2 * 34, 2 * 34}));
}

} // namespace
