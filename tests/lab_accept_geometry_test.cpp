#include "accept/geometry.h"
#include "accept/screens.h"

#include "testpatterns.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>

using namespace acceptance;

namespace {

/// The window of a desktop with a title bar of 20 pixels, and others.
const Frame maximised{{0, 0, 1920, 1080}, {0, 20, 1920, 1060}};
const Frame whole{{0, 0, 1366, 768}, {0, 0, 1366, 768}};
const Frame upright{{0, 0, 1080, 1920}, {0, 30, 1080, 1890}};
const Frame shrunk{{1920, 0, 3840, 2160}, {2000, 100, 2500, 1500}};

struct FrameRow
{
    const char *name;
    Frame frame;
    int sizes;
    std::size_t targets;
};

class EachFrame : public testing::TestWithParam<FrameRow>
{
protected:
    using Draw = void (*)(QPainter &, QSize);

    QImage picture(Draw draw) const
    {
        const Area &window = GetParam().frame.window;
        QImage image(window.width, window.height, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        draw(painter, image.size());
        return image;
    }

    /// The pixel of the window at a place of the board.
    QPoint pixel(const Place &place) const
    {
        const Frame &frame = GetParam().frame;
        const double x = place.x / 32768 * frame.screen.width + frame.screen.x - frame.window.x;
        const double y = place.y / 32768 * frame.screen.height + frame.screen.y - frame.window.y;
        return {static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y))};
    }
};

/// Whether a line one pixel wide, on the border of two, is near this one.
bool isInked(const QImage &image, QPoint at)
{
    const auto dark = [&image](int x, int y) { return image.valid(x, y) && qGray(image.pixel(x, y)) < 200; };
    return dark(at.x(), at.y()) || dark(at.x() - 1, at.y()) || dark(at.x(), at.y() - 1);
}

} // namespace

TEST_P(EachFrame, HasItsTargetsWhereTheProgramDrawsThem)
{
    const QImage image = picture(draw_targets);
    const auto targets = targetsOf(GetParam().frame);

    EXPECT_EQ(sizesOf(GetParam().frame), GetParam().sizes);
    ASSERT_EQ(targets.size(), GetParam().targets);
    for (const Target &target : targets) {
        const QPoint at = pixel(target.place);
        const int radius = static_cast<int>(target.radius * GetParam().frame.screen.width / 32768);
        const int arm = radius / 2 - 2;
        for (const QPoint &way : {QPoint(arm, 0), QPoint(-arm, 0), QPoint(0, arm), QPoint(0, -arm)})
            EXPECT_TRUE(isInked(image, at + way)) << target.name << " has a cross of its size";
        EXPECT_FALSE(isInked(image, at + QPoint(4, 4))) << target.name << " is no blot";
        EXPECT_TRUE(image.rect().contains(QRect(at - QPoint(radius, radius), QSize(2 * radius, 2 * radius))))
            << target.name << " is wholly seen";
    }
}

TEST_P(EachFrame, HasItsBarWhereTheProgramDrawsIt)
{
    const QImage image = picture(draw_vertical_bars);
    const auto courses = barCourses(GetParam().frame);
    const QPoint top = pixel(courses[0].from);

    ASSERT_EQ(courses.size(), 2U);
    EXPECT_EQ(qGray(image.pixel(top.x(), 0)), 0) << "black begins there";
    EXPECT_EQ(qGray(image.pixel(top.x() - 1, 0)), 255);
    int bars = 0; // that begin up to there
    for (int x = 1; x <= top.x(); ++x)
        bars += qGray(image.pixel(x, 0)) < qGray(image.pixel(x - 1, 0)) ? 1 : 0;
    EXPECT_EQ(bars, 3);
    EXPECT_EQ(top.y(), 0);
    EXPECT_EQ(pixel(courses[0].to), QPoint(top.x(), image.height()));
    EXPECT_EQ(pixel(courses[1].from), pixel(courses[0].to));
    EXPECT_EQ(pixel(courses[1].to), top);
}

TEST_P(EachFrame, HasItsGridWhereTheProgramDrawsIt)
{
    const Frame &frame = GetParam().frame;
    const auto courses = gridCourses(frame);

    ASSERT_EQ(courses.size(), 2U);
    for (const Course &course : courses)
        EXPECT_EQ(pixel(course.from), QPoint(0, 0));
    EXPECT_EQ(pixel(courses[0].to), QPoint(frame.window.width, 0));
    EXPECT_EQ(pixel(courses[1].to), QPoint(0, frame.window.height));
    EXPECT_DOUBLE_EQ(courses[0].mesh / 32768 * frame.screen.height, 32);
    EXPECT_DOUBLE_EQ(courses[1].mesh / 32768 * frame.screen.width, 32);
}

TEST_P(EachFrame, HasItsDiagonalsFromCornerToCorner)
{
    const Area &window = GetParam().frame.window;
    const auto courses = diagonalCourses(GetParam().frame);

    ASSERT_EQ(courses.size(), 2U);
    EXPECT_EQ(pixel(courses[0].from), QPoint(0, 0));
    EXPECT_EQ(pixel(courses[0].to), QPoint(window.width, window.height));
    EXPECT_EQ(pixel(courses[1].from), QPoint(window.width, 0));
    EXPECT_EQ(pixel(courses[1].to), QPoint(0, window.height));
}

INSTANTIATE_TEST_SUITE_P(Geometry, EachFrame,
                         testing::Values(FrameRow{"Maximised", maximised, 5, 24},
                                         FrameRow{"Whole", whole, 4, 24}, FrameRow{"Upright", upright, 5, 24},
                                         FrameRow{"Shrunk", shrunk, 6, 28}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(Targets, AreTappedClockwiseFromTheSmallestOn)
{
    const auto targets = targetsOf(maximised);
    const auto at = [&targets](std::size_t index) {
        const Place &place = targets.at(index).place;
        return std::pair(std::lround(place.x / 32768 * 1920), std::lround(place.y / 32768 * 1080) - 20);
    };

    EXPECT_EQ(at(0), std::pair(944L, 514L));
    EXPECT_EQ(at(1), std::pair(976L, 514L));
    EXPECT_EQ(at(2), std::pair(976L, 546L));
    EXPECT_EQ(at(3), std::pair(944L, 546L));
    EXPECT_EQ(at(16), std::pair(619L, 189L)) << "the fifth size";
    EXPECT_EQ(targets[16].name, "size 5, top left");
    EXPECT_EQ(at(20), std::pair(133L, 189L)) << "its outermost ones";
    EXPECT_EQ(targets[20].name, "far left, upper row");
    EXPECT_EQ(at(21), std::pair(1787L, 189L));
    EXPECT_EQ(at(22), std::pair(1787L, 871L));
    EXPECT_EQ(at(23), std::pair(133L, 871L));
}

TEST(Targets, AreNoneInATinyWindow)
{
    EXPECT_TRUE(targetsOf({{0, 0, 1920, 1080}, {0, 0, 60, 40}}).empty());
}

struct AreaRow
{
    const char *name;
    const char *text;
    std::optional<Area> area;
};

class AnArea : public testing::TestWithParam<AreaRow>
{
};

TEST_P(AnArea, IsReadFromItsText)
{
    const auto area = areaFrom(GetParam().text);

    EXPECT_EQ(area ? textOf(*area) : "", GetParam().area ? textOf(*GetParam().area) : "");
}

INSTANTIATE_TEST_SUITE_P(Geometry, AnArea,
                         testing::Values(AreaRow{"AtACorner", "1920x1060+0+20", Area{0, 20, 1920, 1060}},
                                         AreaRow{"LeftOfTheScreen", "800x600-5+7", Area{-5, 7, 800, 600}},
                                         AreaRow{"WithoutAPlace", "1920x1060", {}},
                                         AreaRow{"WithMoreBehindIt", "1920x1060+0+20 px", {}},
                                         AreaRow{"WithoutWidth", "0x1060+0+20", {}}, AreaRow{"Empty", "", {}},
                                         AreaRow{"OfWords", "large", {}}),
                         [](const auto &row) { return std::string(row.param.name); });

struct ScreenRow
{
    const char *name;
    const char *line;
    std::optional<Area> window; ///< in pixels of the desktop
    const char *screen;         ///< as a text; empty: nothing is known
    const char *content;
};

class TheFrame : public testing::TestWithParam<ScreenRow>
{
};

TEST_P(TheFrame, FollowsFromScreensAndWindow)
{
    const ScreenRow &row = GetParam();

    const auto frame = frameOn(screensIn(row.line), row.window);

    EXPECT_EQ(frame ? textOf(frame->screen) : "", row.screen);
    EXPECT_EQ(frame ? textOf(frame->window) : "", row.content);
}

const char *const one =
    R"({"screens":[{"x":0,"y":0,"width":1920,"height":1080,"scale":1.0,"primary":true}]})";
const char *const scaled =
    R"({"screens":[{"x":0,"y":0,"width":960,"height":540,"scale":2.0,"primary":true}]})";
const char *const two =
    R"({"screens":[{"x":1920,"y":0,"width":1280,"height":1024,"scale":1,"primary":false},)"
    R"({"x":0,"y":0,"width":1920,"height":1080,"scale":1,"primary":true}]})";

INSTANTIATE_TEST_SUITE_P(
    Geometry, TheFrame,
    testing::Values(ScreenRow{"OneScreen", one, Area{0, 20, 1920, 1060}, "1920 x 1080 pixels at 0, 0",
                              "1920 x 1060 pixels at 0, 20"},
                    ScreenRow{
                        "NoWindow", one, {}, "1920 x 1080 pixels at 0, 0", "1920 x 1080 pixels at 0, 0"},
                    ScreenRow{"Scaled", scaled, Area{0, 40, 1920, 1040}, "960 x 540 pixels at 0, 0",
                              "960 x 520 pixels at 0, 20"},
                    ScreenRow{"OnTheOtherScreen", two, Area{1950, 60, 800, 600},
                              "1280 x 1024 pixels at 1920, 0", "800 x 600 pixels at 1950, 60"},
                    ScreenRow{"OutsideOfAll", two, Area{9000, 0, 100, 100}, "1920 x 1080 pixels at 0, 0",
                              "100 x 100 pixels at 9000, 0"},
                    ScreenRow{"NoScreen", R"({"screens":[]})", Area{0, 0, 100, 100}, "", ""},
                    ScreenRow{"NotTold", "{}", {}, "", ""}, ScreenRow{"NoJson", "{", {}, "", ""},
                    ScreenRow{"NoSize", R"({"screens":[{"x":0}, 7]})", {}, "", ""}),
    [](const auto &row) { return std::string(row.param.name); });
