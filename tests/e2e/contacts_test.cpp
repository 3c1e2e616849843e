#include "e2e/program.h"

#include <QColor>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

constexpr QRgb red = 0xffff0000;
constexpr QRgb green = 0xff00ff00;
constexpr QRgb white = 0xffffffff;
constexpr int stroke_width = 3; // half the width of a pen's stroke until a digit is pressed, pixels

// Raw positions with known pixels on a screen of 1280 x 720.
constexpr int raw_per_pixel_x10 = 256; // 32768 / 1280 = 25.6

int raw_x(int pixel)
{
    return static_cast<int>(std::lround(pixel * raw_per_pixel_x10 / 10.0)) + 1;
}

int raw_y(int pixel)
{
    return static_cast<int>(std::lround(pixel * 32768.0 / Desktop::height)) + 1;
}

QString pen(int x, int y, bool tip, bool button = false, int number = 0)
{
    const auto text = [](bool value) { return value ? "true" : "false"; };
    return QStringLiteral(R"({"type":"pen","board":7,"pen":%1,"x":%2,"y":%3,"tip":%4,"button":%5})")
        .arg(number)
        .arg(raw_x(x))
        .arg(raw_y(y))
        .arg(text(tip))
        .arg(text(button));
}

QString touch(int x, int y, int extent, bool down)
{
    return QStringLiteral(
               R"({"type":"touch","board":7,"contacts":[{"id":4,"x":%1,"y":%2,"extent":%3,"down":%4}]})")
        .arg(raw_x(x))
        .arg(raw_y(y))
        .arg(extent)
        .arg(down ? "true" : "false");
}

QString erase(int x, int y, int size, bool down)
{
    return QStringLiteral(
               R"({"type":"erase","board":7,"contacts":[{"id":2,"x":%1,"y":%2,"width":%3,"height":%3,"down":%4}]})")
        .arg(raw_x(x))
        .arg(raw_y(y))
        .arg(size)
        .arg(down ? "true" : "false");
}

QString mark(const QString &text)
{
    return QStringLiteral(R"({"type":"mark","text":"%1"})").arg(text);
}

/// A program that shows plain white and plays its reports once the test opens the gate "go".
class OnScreen : public testing::Test
{
protected:
    void start(const QStringList &reports)
    {
        m_program = std::make_unique<Program>(SimulatedDriver::two_boards_and_a_hub()
                                              << SimulatedDriver::gate("go") << reports);
        desktop().press("h");
        ASSERT_TRUE(eventually([&] { return count(white) == picture().width() * picture().height(); }));
    }
    void play(const char *gate = "go") { m_program->driver().open_gate(gate); }

    Program &program() { return *m_program; }
    Desktop &desktop() { return m_program->desktop(); }
    QImage picture() { return desktop().window_picture(); }
    /// The colour at a point of the screen.
    QRgb at(int x, int y)
    {
        const QPoint origin = desktop().window_area().topLeft();
        return picture().pixel(x - origin.x(), y - origin.y());
    }
    int count(QRgb colour)
    {
        const QImage shown = picture();
        int found = 0;
        for (int y = 0; y < shown.height(); ++y) {
            const auto *const line = reinterpret_cast<const QRgb *>(shown.constScanLine(y));
            found += static_cast<int>(std::count(line, line + shown.width(), colour));
        }
        return found;
    }
    bool becomes(int x, int y, QRgb colour)
    {
        return eventually([=] { return at(x, y) == colour; });
    }

private:
    std::unique_ptr<Program> m_program;
};

TEST_F(OnScreen, APenLeavesARedLineOfTheSelectedWidth)
{
    start({pen(300, 200, true), pen(700, 200, true), pen(700, 200, false)});
    play();

    EXPECT_TRUE(becomes(500, 200, red));
    EXPECT_EQ(at(500, 200 + stroke_width - 2), red);
    EXPECT_EQ(at(500, 200 + stroke_width + 2), white);
    EXPECT_EQ(at(290, 200), white);
}

TEST_F(OnScreen, ADigitSelectsTheWidth)
{
    start({pen(300, 200, true), pen(700, 200, true), pen(700, 200, false)});
    desktop().press("9");
    desktop().press("h"); // keys come in order: once the help is shown, the digit has been taken
    desktop().press("h");
    ASSERT_TRUE(eventually([&] { return count(white) == picture().width() * picture().height(); }));
    play();

    EXPECT_TRUE(becomes(500, 207, red));
    EXPECT_EQ(at(500, 212), white);
}

TEST_F(OnScreen, ATouchLeavesAGreenLineAsWideAsItsExtent)
{
    start({touch(300, 400, 512, true), touch(700, 400, 512, true), touch(700, 400, 512, false)}); // 20 pixels
    play();

    EXPECT_TRUE(becomes(500, 400, green));
    EXPECT_EQ(at(500, 400 - 18), green);
    EXPECT_EQ(at(500, 400 - 22), white);
}

TEST_F(OnScreen, AnEraserShowsThePatternThrough)
{
    start({pen(300, 200, true), pen(700, 200, true), pen(700, 200, false), mark("written"),
           SimulatedDriver::gate("wipe"), erase(500, 150, 512, true), erase(500, 250, 512, true),
           erase(500, 250, 512, false)});
    desktop().press("b");
    play();
    ASSERT_TRUE(becomes(500, 200, red));

    play("wipe");

    EXPECT_TRUE(becomes(500, 200, 0xff000000));
    EXPECT_EQ(at(400, 200), red);
    EXPECT_EQ(at(600, 200), red);
}

TEST_F(OnScreen, ATagFollowsItsContactAndLeavesNothingBehind)
{
    start({pen(400, 400, true), SimulatedDriver::gate("move"), pen(900, 500, true),
           SimulatedDriver::gate("lift"), pen(900, 500, false)});
    const QRgb tag = qRgb(255, 255 - 32, 255 - 32); // red with alpha 32 on white
    play();
    ASSERT_TRUE(becomes(400 - 30, 400 - 150 + 4, tag)) << "the tag lies above and to the left of the contact";

    play("move");
    EXPECT_TRUE(becomes(900 - 30, 500 - 150 + 4, tag));
    EXPECT_TRUE(becomes(400 - 30, 400 - 150 + 4, white));

    play("lift");
    EXPECT_TRUE(becomes(900 - 30, 500 - 150 + 4, white));
    EXPECT_EQ(count(tag), 0);
    EXPECT_GT(count(red), 0);
}

TEST_F(OnScreen, WithTagsOffOnlyTheStrokeIsDrawn)
{
    start({pen(400, 400, true), pen(800, 400, true)});
    desktop().press("space");
    desktop().press("h");
    desktop().press("h");
    ASSERT_TRUE(eventually([&] { return count(white) == picture().width() * picture().height(); }));
    play();

    EXPECT_TRUE(becomes(600, 400, red));
    EXPECT_TRUE(becomes(800 - 30, 400 - 150 + 4, white));
}

TEST_F(OnScreen, BackspaceClearsTheStrokes)
{
    start({pen(300, 200, true), pen(700, 200, true), pen(700, 200, false)});
    play();
    ASSERT_TRUE(becomes(500, 200, red));

    desktop().press("BackSpace");

    EXPECT_TRUE(eventually([&] { return count(white) == picture().width() * picture().height(); }));
}

TEST_F(OnScreen, AHoveringPenLeavesNothing)
{
    start({pen(300, 200, false), pen(700, 200, false), pen(300, 500, true), pen(700, 500, true)});
    play();

    EXPECT_TRUE(becomes(500, 500, red));
    EXPECT_EQ(at(500, 200), white);
}

TEST_F(OnScreen, TheSideButtonDrawsToo)
{
    start({pen(300, 200, false, true, 1), pen(700, 200, false, true, 1)});
    play();

    EXPECT_TRUE(becomes(500, 200, red));
}

TEST_F(OnScreen, AContactOverAnotherWindowIsHandedBackToTheSystem)
{
    start({R"({"type":"touch","board":3,"contacts":[{"id":4,"x":40000,"y":1000,"extent":9,"down":true}]})"});
    play();

    ASSERT_TRUE(eventually([&] { return !program().driver().calls("SendTouchPacketToSystem").empty(); }));
    EXPECT_EQ(program().driver().call_texts().back(), "SendTouchPacketToSystem(7, 9, 094584409ce8030000)");
    EXPECT_EQ(count(green), 0);
}

TEST_F(OnScreen, AllOfAStreamOfReportsIsDrawn)
{
    start({R"({"type":"move","board":7,"rate":1000,"time":500000,"contacts":[)"
           R"({"kind":"touch","id":1,"line":[[4000,8000],[28000,8000]],"extent":256},)"
           R"({"kind":"touch","id":2,"line":[[28000,16000],[4000,16000]],"extent":256}]})",
           mark("moved")});
    play();

    for (const int x : {200, 640, 1080}) {
        EXPECT_TRUE(becomes(x, 8000 * Desktop::height / 32768, green));
        EXPECT_TRUE(becomes(x, 16000 * Desktop::height / 32768, green));
    }
}

} // namespace
