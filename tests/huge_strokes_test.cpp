// Strokes that reach far beyond the image of the strokes, of which the widest are filled instead of drawn.

#include "strokeslayer.h"

#include "support/items.h"
#include "support/strokes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>

namespace {

using namespace strokes;

constexpr QSize image_size(200, 150);

/// A layer, and what Qt itself draws.
class HugeStrokes : public testing::Test
{
protected:
    /// Whether the line leaves the same bytes as if Qt drew it, on top of another stroke.
    static testing::AssertionResult looks_as_drawn(const QLineF &line, float half_width, const QColor &colour,
                                                   QPainter::CompositionMode mode)
    {
        const Piece below{{20, 30, 170, 120}, 12, Qt::blue};
        const Piece piece{line, double(half_width), colour};
        const bool replaces = mode == QPainter::CompositionMode_Source;
        StrokesLayer layer(std::make_unique<QImage>(empty_layer(image_size)));
        layer.paint(below.line, 12, below.colour, QPainter::CompositionMode_SourceOver);
        layer.paint(line, half_width, colour, mode);

        if (layer.image()
            == (replaces ? rebuilt({below, piece}, image_size) : live({below, piece}, image_size)))
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
            << "from " << line.x1() << ", " << line.y1() << " to " << line.x2() << ", " << line.y2()
            << ", half width " << half_width << ", colour " << colour.name(QColor::HexArgb).toStdString()
            << (replaces ? ", in a rebuild" : "");
    }

    /// The same in each way in which a segment is painted.
    static void expect_as_drawn(const QLineF &line, float half_width)
    {
        for (const QColor &colour : {QColor(Qt::red), QColor(Qt::white), QColor(0, 255, 0, 128)}) {
            EXPECT_TRUE(looks_as_drawn(line, half_width, colour, QPainter::CompositionMode_SourceOver));
            EXPECT_TRUE(looks_as_drawn(line, half_width, colour, QPainter::CompositionMode_Source));
        }
    }

    /// How far the image reaches from the line.
    static double reach_of_image(const QLineF &line)
    {
        const QRectF image({}, image_size);
        double reach = 0;
        for (const QPointF corner :
             {image.topLeft(), image.topRight(), image.bottomLeft(), image.bottomRight()})
            reach = std::max(reach, distance(line, corner));
        return reach;
    }

private:
    static double distance(const QLineF &line, QPointF point)
    {
        const QPointF way = line.p2() - line.p1();
        const double length_squared = QPointF::dotProduct(way, way);
        if (length_squared == 0)
            return QLineF(line.p1(), point).length();
        const double part = QPointF::dotProduct(point - line.p1(), way) / length_squared;
        return QLineF(line.pointAt(qBound(0.0, part, 1.0)), point).length();
    }
};

struct Place
{
    const char *name;
    QLineF line;
};

class AHugeStroke : public HugeStrokes, public testing::WithParamInterface<Place>
{
};

TEST_P(AHugeStroke, LooksAsDrawnIfItHardlyCoversTheImage)
{
    const double reach = reach_of_image(GetParam().line);
    for (double more = -4; more < 4; more += 0.25)
        expect_as_drawn(GetParam().line, static_cast<float>(reach + more));
}

TEST_P(AHugeStroke, LooksAsDrawnIfItCoversAPartOfTheImage)
{
    const double reach = reach_of_image(GetParam().line);
    for (const double part : {0.25, 0.5, 0.75, 0.9, 0.99})
        expect_as_drawn(GetParam().line, static_cast<float>(part * reach));
}

TEST_P(AHugeStroke, LooksAsDrawnIfItCoversFarMoreThanTheImage)
{
    const double reach = reach_of_image(GetParam().line);
    for (const double part : {1.01, 1.1, 1.5, 2.0, 3.0})
        expect_as_drawn(GetParam().line, static_cast<float>(part * reach));
}

INSTANTIATE_TEST_SUITE_P(
    , AHugeStroke,
    testing::Values(
        Place{"ThatIsADotInTheImage", {{90, 70}, {90, 70}}},
        Place{"ThatIsADotBesideTheImage", {{-3000.5, 70.25}, {-3000.5, 70.25}}},
        Place{"ThatIsHorizontal", {{90, 70}, {97, 70}}}, Place{"ThatIsVertical", {{90, 70}, {90, 77}}},
        Place{"ThatIsSlanting", {{90.25, 70.75}, {97.5, 73.125}}},
        Place{"ThatIsVeryShort", {{90, 70}, {90.001, 70.002}}}, Place{"OnTheLeftBorder", {{0, 20}, {0, 130}}},
        Place{"OnTheRightBorder", {{200, 20}, {200, 130}}}, Place{"OnTheTopBorder", {{20, 0}, {180, 0}}},
        Place{"OnTheBottomBorder", {{20, 150}, {180, 150}}},
        Place{"AcrossTheLeftBorder", {{-60, 40}, {50, 90}}},
        Place{"AcrossTheRightBorder", {{170, 90}, {270, 30}}},
        Place{"AcrossTheTopBorder", {{80, 20}, {120, -70}}},
        Place{"AcrossTheBottomBorder", {{120, 140}, {90, 260}}},
        Place{"FromCornerToCorner", {{0, 0}, {200, 150}}},
        Place{"AcrossTheWholeImage", {{-500, -200}, {700, 350}}},
        Place{"AtTheUpperLeft", {{-900, -700}, {-893, -704}}},
        Place{"AtTheUpperRight", {{1100.5, -700}, {1093, -703.5}}},
        Place{"AtTheLowerLeft", {{-900, 850}, {-909, 851}}},
        Place{"AtTheLowerRight", {{3640, 2010}, {3633, 2013}}},
        Place{"FarToTheLeft", {{-3600, 75}, {-3607, 78}}}, Place{"FarToTheRight", {{3800, 75}, {3793, 70}}},
        Place{"FarAbove", {{100, -3700}, {110, -3702}}}, Place{"FarBelow", {{100, 3850}, {90, 3847}}}),
    row_name<Place>);

TEST_F(HugeStrokes, AnywhereLookAsDrawn)
{
    std::mt19937 random(1);
    const auto between = [&random](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    for (int i = 0; i < 400; ++i) {
        const double far = i % 2 == 0 ? 300 : 4000;
        const QPointF start(between(-far, far), between(-far, far));
        const double step = i % 3 == 0 ? 500 : 10;
        const QLineF line(start, start + QPointF(between(-step, step), between(-step, step)));
        expect_as_drawn(line, static_cast<float>(std::max(1.0, reach_of_image(line) + between(-6, 16))));
    }
}

} // namespace
