#include "patterngeometry.h"
#include "strokesview.h"
#include "support/items.h"
#include "support/pictures.h"
#include "support/widgets.h"

#include <QApplication>
#include <QFontMetrics>

#include <gtest/gtest.h>

namespace {

/// A pattern, and what must be seen of it.
struct Pattern
{
    const char *name;
    void (StrokesView::*toggle)();
    /// Draws the expected pattern of a widget into a white image, which may be larger.
    void (*draw)(QImage &image, QSize widget);
};

void set_pixels(QImage &image, QSize size, const std::function<QColor(int, int)> &colour)
{
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixelColor(x, y, colour(x, y));
    }
}

void draw_grid(QImage &image, QSize)
{
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 0, Qt::DotLine, Qt::RoundCap, Qt::RoundJoin));
    for (int x = 0; x < image.width(); x += 32)
        painter.drawLine(QLineF(x, 0, x, image.height()));
    for (int y = 0; y < image.height(); y += 32)
        painter.drawLine(QLineF(0, y, image.width(), y));
}

void draw_colour_field(QImage &image, QSize)
{
    set_pixels(image, image.size(), [](int x, int y) -> QColor {
        const bool even_column = x / 32 % 2 == 0;
        if (y / 32 % 2 == 0)
            return even_column ? Qt::red : Qt::blue;
        return even_column ? Qt::green : Qt::white;
    });
}

void draw_target(QPainter &painter, int x, int y, int size)
{
    // The painter takes whole pixels: all sizes but one are even, and for that one the half pixel is cut off.
    const int left = static_cast<int>(x - size / 2.0);
    const int top = static_cast<int>(y - size / 2.0);
    painter.drawEllipse(left, top, size, size);
    painter.drawLine(static_cast<int>(x - size / 4.0), y, static_cast<int>(x + size / 4.0), y);
    painter.drawLine(x, static_cast<int>(y - size / 4.0), x, static_cast<int>(y + size / 4.0));
}

void draw_shape_field(QImage &image, QSize widget)
{
    struct
    {
        int inner; ///< half the side of the square inside the ring
        int size;
    } const rings[] = {{0, 32}, {32, 48}, {80, 72}, {152, 108}, {260, 162}, {422, 243}, {665, 364}};
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const int cx = widget.width() / 2;
    const int cy = widget.height() / 2;

    for (const auto &ring : rings) {
        if (ring.inner >= cx)
            break;
        const int half = ring.size / 2;
        const int a = ring.inner + half;
        for (int k = a; k < half + std::max(cx, cy); k += ring.size) {
            for (const auto &[dx, dy] :
                 {std::pair(k, a), {k, -a}, {-k, a}, {-k, -a}, {a, k}, {a, -k}, {-a, k}, {-a, -k}})
                draw_target(painter, cx + dx, cy + dy, ring.size);
        }
    }
}

void draw_black(QImage &image, QSize widget)
{
    set_pixels(image, widget, [](int, int) { return Qt::black; });
}

/// Of 17 equal stripes, the eight odd ones are black; the rest is white.
QColor stripe(int at, int extent)
{
    const int width = extent / 17;
    return width > 0 && at / width < 17 && at / width % 2 == 1 ? Qt::black : Qt::white;
}

void draw_vertical_bars(QImage &image, QSize widget)
{
    set_pixels(image, widget, [&](int x, int) { return stripe(x, widget.width()); });
}

void draw_horizontal_bars(QImage &image, QSize widget)
{
    set_pixels(image, widget, [&](int, int y) { return stripe(y, widget.height()); });
}

void draw_help(QImage &image, QSize)
{
    const QStringList lines{"Keyboard controls",
                            "H to toggle this help screen",
                            "ESC to exit",
                            "ENTER to toggle full screen",
                            "BACKSPACE to clear strokes",
                            "SPACE to toggle info tag boxes",
                            "G to toggle grid",
                            "S to toggle shape field",
                            "C to toggle colour field",
                            "B to toggle all black",
                            "<- to toggle vertical bars",
                            "-> to toggle horizontal bars",
                            "0-9 to select stroke width"};
    QFont font;
    font.setStyleHint(QFont::Serif, QFont::PreferAntialias);
    font.setPixelSize(32);
    QPainterPath text;
    for (int i = 0; i < lines.size(); ++i)
        text.addText(0, (i + 1) * QFontMetrics(font).height(), font, lines.at(i));
    ASSERT_FALSE(text.isEmpty());
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(text, Qt::black);
}

const Pattern patterns[] = {
    {"Grid", &StrokesView::toggle_grid, draw_grid},
    {"ColourField", &StrokesView::toggle_colors, draw_colour_field},
    {"ShapeField", &StrokesView::toggle_shapes, draw_shape_field},
    {"Black", &StrokesView::toggle_black, draw_black},
    {"VerticalBars", &StrokesView::toggle_vcalib, draw_vertical_bars},
    {"HorizontalBars", &StrokesView::toggle_hcalib, draw_horizontal_bars},
    {"Help", &StrokesView::toggle_help, draw_help},
};

QImage white(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    return image;
}

/// What a widget with images of the size @p image shows.
QImage drawn(const Pattern &pattern, QSize widget, QSize image)
{
    QImage picture = white(image);
    pattern.draw(picture, widget);
    return picture.copy({QPoint(), widget});
}

QImage drawn(const Pattern &pattern, QSize widget)
{
    return drawn(pattern, widget, widget);
}

/// A view on plain white.
class Patterns : public testing::Test
{
protected:
    Patterns() { m_view.toggle_help(); }

    void resize(QSize size)
    {
        m_view.resize(size);
        m_view.grab(); // a hidden widget gets its resize event only when it is painted
    }

    void toggle(const Pattern &pattern) { (m_view.*pattern.toggle)(); }

    /// The whole of the test image, as it was drawn for the widget's last size.
    QImage whole_image(QSize size)
    {
        const Deafness deafness(m_view);
        m_view.resize(size);
        return picture_of(m_view);
    }

    StrokesView m_view;
};

class EachPattern : public Patterns, public testing::WithParamInterface<std::tuple<Pattern, QSize>>
{
};

TEST_P(EachPattern, IsDrawnForTheSizeOfTheWidget)
{
    const auto &[pattern, size] = GetParam();
    resize(size);

    toggle(pattern);

    EXPECT_TRUE(same_picture(picture_of(m_view), drawn(pattern, size)));
}

TEST_P(EachPattern, IsRedrawnWithEachSize)
{
    const auto &[pattern, size] = GetParam();
    toggle(pattern);

    resize(size);
    EXPECT_TRUE(same_picture(picture_of(m_view), drawn(pattern, size)));

    const QSize larger = size + QSize(40, 70);
    resize(larger);
    EXPECT_TRUE(same_picture(picture_of(m_view), drawn(pattern, larger)));

    resize(size);
    EXPECT_TRUE(same_picture(picture_of(m_view), drawn(pattern, size, larger)));
}

std::string pattern_and_size(const testing::TestParamInfo<std::tuple<Pattern, QSize>> &row)
{
    const auto &[pattern, size] = row.param;
    return std::string(pattern.name) + testing::PrintToString(size);
}

INSTANTIATE_TEST_SUITE_P(Pattern, EachPattern,
                         testing::Combine(testing::ValuesIn(patterns),
                                          testing::Values(QSize(640, 480), QSize(300, 200), QSize(200, 301),
                                                          QSize(900, 120), QSize(33, 65), QSize(17, 34),
                                                          QSize(16, 100), QSize(100, 16), QSize(2, 2),
                                                          QSize(1, 50), QSize(50, 1))),
                         pattern_and_size);

TEST_F(Patterns, OfASmallWidgetAreWhite)
{
    struct
    {
        const char *name;
        const Pattern &pattern;
        QSize size;
    } const rows[] = {{"no column of a pixel", patterns[4], {16, 100}},
                      {"no row of a pixel", patterns[5], {100, 16}},
                      {"no pixel left of the centre", patterns[2], {1, 100}}};

    for (const auto &row : rows) {
        resize(row.size);
        toggle(row.pattern);
        EXPECT_TRUE(same_picture(picture_of(m_view), white(row.size))) << row.name;
        toggle(row.pattern);
    }
}

TEST_F(Patterns, OfTargetsGrowByHalfRoundedDown)
{
    const QSize size(1400, 1400); // shows the first ring whose targets would end with half a pixel
    resize(size);

    toggle(patterns[2]);

    EXPECT_TRUE(same_picture(picture_of(m_view), drawn(patterns[2], size)));
}

TEST_F(Patterns, CoverTheWidgetOrTheWholeImage)
{
    struct
    {
        const Pattern &pattern;
        bool whole_image;
    } const rows[] = {{patterns[0], true},  {patterns[1], true},  {patterns[2], false}, {patterns[3], false},
                      {patterns[4], false}, {patterns[5], false}, {patterns[6], true}};
    const QSize large(400, 300);
    const QSize small(150, 110);
    resize(large);

    for (const auto &row : rows) {
        SCOPED_TRACE(row.pattern.name);
        toggle(row.pattern);
        resize(small);

        QImage expected = white(large);
        row.pattern.draw(expected, small);
        EXPECT_TRUE(same_picture(whole_image(large), expected));
        EXPECT_EQ(same_picture(expected, drawn(row.pattern, large)), row.whole_image);
        toggle(row.pattern);
    }
}

TEST_F(Patterns, HaveImagesAsLargeAsTheLargestWidthAndTheLargestHeight)
{
    resize({400, 100});
    resize({100, 300});
    resize({90, 90});
    toggle(patterns[1]);

    EXPECT_TRUE(same_picture(whole_image({400, 300}), drawn(patterns[1], {400, 300})));
}

TEST_F(Patterns, HaveImagesAsLargeAsAnyViewHasBeen)
{
    {
        StrokesView other;
        other.resize(400, 300);
        other.grab();
    }
    resize({100, 80});
    toggle(patterns[1]);

    EXPECT_TRUE(same_picture(whole_image({400, 300}), drawn(patterns[1], {400, 300})));
}

TEST_F(Patterns, AreNoneOnceToggledTwice)
{
    const QSize size(300, 200);
    resize(size);
    EXPECT_TRUE(same_picture(picture_of(m_view), white(size)));

    for (const Pattern &pattern : patterns) {
        toggle(pattern);
        EXPECT_FALSE(same_picture(picture_of(m_view), white(size))) << pattern.name;
        toggle(pattern);
        EXPECT_TRUE(same_picture(picture_of(m_view), white(size))) << pattern.name;
    }
}

TEST_F(Patterns, TakeEachOthersPlace)
{
    const QSize size(300, 200);
    resize(size);

    for (const Pattern &first : patterns) {
        for (const Pattern &second : patterns) {
            if (&first == &second)
                continue;
            toggle(first);
            toggle(second);
            EXPECT_TRUE(same_picture(picture_of(m_view), drawn(second, size))) << first.name << second.name;
            toggle(second);
        }
    }
}

TEST(ABar, HasASeventeenthOfTheWidthRoundedDown)
{
    EXPECT_EQ(pattern::bar_width(1920), 112);
    EXPECT_EQ(pattern::bar_width(16), 0);
}

TEST(ARingOfTargets, HasNoSizeUntilItIsFilledIn)
{
    const pattern::Ring ring;

    EXPECT_EQ(ring.across, 0);
    EXPECT_EQ(ring.diameter, 0);
}

TEST(PatternAtTheStart, IsTheHelp)
{
    StrokesView view;
    view.resize(640, 480);

    EXPECT_TRUE(same_picture(picture_of(view), drawn(patterns[6], {640, 480})));
    view.toggle_help();
    EXPECT_TRUE(same_picture(picture_of(view), white({640, 480})));
    view.toggle_help();
    EXPECT_TRUE(same_picture(picture_of(view), drawn(patterns[6], {640, 480})));
}

TEST_F(Patterns, AreDrawnOnlyWhenToggledOrResized)
{
    resize({300, 200});
    toggle(patterns[3]);
    m_view.toggle_grid();

    m_view.redraw_test();

    EXPECT_TRUE(same_picture(picture_of(m_view), drawn(patterns[0], {300, 200})));
}

TEST_F(Patterns, AreSeenOnTheScreenAtOnce)
{
    const QSize size(300, 200);
    PaintWatch watch(m_view);
    m_view.resize(size);
    m_view.show();
    ASSERT_TRUE(watch.wait());

    for (const Pattern &pattern : patterns) {
        SCOPED_TRACE(pattern.name);
        QApplication::processEvents();
        toggle(pattern);
        ASSERT_TRUE(watch.wait());
        EXPECT_TRUE(same_picture(picture_on_screen(m_view), drawn(pattern, size)));
    }
}

struct TargetRow
{
    const char *name;
    float x, y, size;
    QRect circle; ///< as passed to the painter
    QLine across, upright;
};

class Target : public testing::TestWithParam<TargetRow>
{
};

TEST_P(Target, IsACircleWithACrossHalfAsWideAllInWholePixels)
{
    const TargetRow &row = GetParam();
    QImage actual = white({160, 160});
    QImage expected = actual;
    for (QImage *image : {&actual, &expected}) {
        QPainter painter(image);
        painter.translate(60, 60);
        painter.setPen(Qt::blue);
        painter.setBrush(Qt::yellow);
        if (image == &actual) {
            target(painter, row.x, row.y, row.size);
        } else {
            painter.drawEllipse(row.circle);
            painter.drawLine(row.across);
            painter.drawLine(row.upright);
        }
    }

    EXPECT_TRUE(same_picture(actual, expected));
}

INSTANTIATE_TEST_SUITE_P(
    Pattern, Target,
    testing::Values(
        TargetRow{"OnAPixel", 40, 30, 32, {24, 14, 32, 32}, {32, 30, 48, 30}, {40, 22, 40, 38}},
        TargetRow{"BetweenPixels", 40.75F, 30.25F, 32, {24, 14, 32, 32}, {32, 30, 48, 30}, {40, 22, 40, 38}},
        TargetRow{"OddSize", 40, 30, 27, {26, 16, 27, 27}, {33, 30, 46, 30}, {40, 23, 40, 36}},
        TargetRow{"FractionOfASize", 40, 30, 27.5F, {26, 16, 27, 27}, {33, 30, 46, 30}, {40, 23, 40, 36}},
        TargetRow{"AboutTheOrigin", 0, 0, 27, {-13, -13, 27, 27}, {-6, 0, 6, 0}, {0, -6, 0, 6}},
        TargetRow{"LeftOfAndAboveIt",
                  -20.5F,
                  -10.75F,
                  32,
                  {-36, -26, 32, 32},
                  {-28, -10, -12, -10},
                  {-20, -18, -20, -2}}),
    row_name<TargetRow>);

} // namespace
