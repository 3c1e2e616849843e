#include "accept/judges.h"
#include "accept/sketch.h"
#include "accept/steps.h"

#include "support/technician.h"

#include <gtest/gtest.h>

#include <string>

using namespace acceptance;

namespace {

const Frame frame{{0, 0, 1920, 1080}, {0, 20, 1920, 1060}};
const Technician exact{frame};
const double pixelX = boardWidth / 1920;
const double pixelY = boardWidth / 1080;

/// A board whose reports are shifted by so many pixels.
Technician shifted(double x, double y)
{
    return {frame, [x, y](const Place &place) { return Place{place.x + x * pixelX, place.y + y * pixelY}; }};
}

/// A board that bows everything downwards in the middle of its width.
Technician bowed(double pixels)
{
    return {frame, [pixels](const Place &place) {
                const double share = (place.x - boardWidth / 2) / (boardWidth / 2);
                return Place{place.x, place.y + pixels * pixelY * (1 - share * share)};
            }};
}

/// A touch that is 20 % of the screen's width away from the last ones.
const std::string other =
    R"({"type":"touch","board":1,"contacts":[{"id":9,"x":30000,"y":30000,"extent":300,"down":true}]})"
    "\n"
    R"({"type":"touch","board":1,"contacts":[{"id":9,"x":30000,"y":30000,"extent":300,"down":false}]})"
    "\n";
/// A finger that comes and does not go.
const std::string stays =
    R"({"type":"touch","board":1,"contacts":[{"id":8,"x":100,"y":100,"extent":300,"down":true}]})"
    "\n";

std::vector<Place> word(double shift = 0)
{
    return {{8000 + shift, 8000}, {10000 + shift, 9000}, {12000 + shift, 8000}};
}

const std::vector<Place> swathe{{8000, 8000}, {20000, 8000}};

/// A stroke along the first course that is lost in its middle for 20 ms.
std::string broken(const std::vector<Course> &courses)
{
    const Course &course = courses[0];
    const Place middle{(course.from.x + course.to.x) / 2, (course.from.y + course.to.y) / 2};
    const std::string touch = R"("kind":"touch","id":0,"extent":300)";
    std::string lines = exact.move(touch, {course.from, middle}, 0.3) + wait(0.02)
        + exact.move(touch, {middle, course.to}, 0.3) + wait(0.2);
    return lines + exact.follow({courses.begin() + 1, courses.end()});
}

Seen seen(const std::string &lines)
{
    Seen found;
    show(lines, found);
    return found;
}

struct Row
{
    const char *name;
    const char *step;
    std::string lines;
    bool isComplete;
    const char *line;  ///< part of what it says; empty for any
    const char *fault; ///< part of the first fault; empty if it is right
};

const Step &stepNamed(const std::string &key)
{
    for (const Step &step : steps()) {
        if (step.key == key)
            return step;
    }
    ADD_FAILURE() << "no step " << key;
    return steps().front();
}

std::string all(const std::vector<std::string> &texts)
{
    std::string joined;
    for (const std::string &text : texts)
        joined += text + "\n";
    return joined;
}

class AStep : public testing::TestWithParam<Row>
{
};

} // namespace

TEST_P(AStep, JudgesWhatItHasSeen)
{
    const Row &row = GetParam();
    const Setting setting(frame, 0, 0);

    const Finding found = stepNamed(row.step).judge(seen(row.lines), setting);

    EXPECT_EQ(found.isComplete, row.isComplete);
    EXPECT_EQ(found.isRight(), *row.fault == '\0') << all(found.faults);
    EXPECT_NE(all(found.lines).find(row.line), std::string::npos) << all(found.lines);
    EXPECT_NE(all(found.faults).find(row.fault), std::string::npos) << all(found.faults);
}

const auto rowName = [](const auto &row) { return std::string(row.param.name); };

INSTANTIATE_TEST_SUITE_P(
    Rest, AStep,
    testing::Values(Row{"Right", "rest", exact.rest(), true,
                        "One finger for 5.2 s, wandering within 0.0 px, 100.0 reports", ""},
                    Row{"TooShort", "rest", exact.rest(3), false, "for 3.0 s", "not there for five seconds"},
                    Row{"Wandering", "rest", exact.rest(6, {300, 0}), true, "wandering within 16",
                        "wandered by more than 3.8 px"},
                    Row{"WithAGhost", "rest", other + exact.rest(), true, "", "1 contact came besides"},
                    Row{"WithAFingerLeft", "rest", stays + exact.rest(), false, "", "1 contact came besides"},
                    Row{"Nothing", "rest", "", false, "", "No finger was seen, and nothing else."},
                    Row{"APen", "rest", exact.write(0, word()), false, "",
                        "No finger was seen, only 1 contact of a pen"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Targets, AStep,
    testing::Values(
        Row{"Right", "targets", exact.tapTargets(), true, "24 of 24 targets tapped, 24 taps", ""},
        Row{"SlightlyOff", "targets", shifted(2, 1).tapTargets(), true,
            "2.0 px too far right and 1.0 px too far down", ""},
        Row{"Shifted", "targets", shifted(-20, 12).tapTargets(), true,
            "20.0 px too far left and 12.0 px too far down", "calibrate the board"},
        Row{"Bowed", "targets", bowed(60).tapTargets(), true, "Calibrating would leave", "replace the board"},
        Row{"OneLeftOut", "targets", exact.tapTargets(6), false, "23 of 24 targets tapped, 23 taps",
            "1 target not tapped in its turn, the first: size 2, bottom right"},
        Row{"OneTwice", "targets", exact.tap(targetsOf(frame)[0].place) + exact.tapTargets(), true,
            "24 of 24 targets tapped, 25 taps", ""},
        Row{"WithAStroke", "targets", exact.write(1, swathe) + exact.tapTargets(), true, "24 taps in all",
            ""},
        Row{"WithAFingerLeft", "targets", exact.tapTargets() + stays, false, "24 of 24", ""},
        Row{"FarOff", "targets", shifted(400, 300).tapTargets(), false, "", "not tapped in its turn"},
        Row{"Nothing", "targets", "", false, "0 of 24 targets tapped, 0 taps", "24 targets not tapped"}),
    rowName);

const auto bar = barCourses(frame);
const auto grid = gridCourses(frame);
const auto diagonals = diagonalCourses(frame);

/// Grid lines that a person may choose, and both ways.
std::vector<Course> anyLines()
{
    auto lines = grid;
    for (Course &course : lines) {
        const double x = course.key == "vertical" ? 20 * grid[1].mesh : 0;
        const double y = course.key == "horizontal" ? 11 * grid[0].mesh : 0;
        course.from = {course.from.x + x, course.from.y + y};
        course.to = {course.to.x + x, course.to.y + y};
        std::swap(course.from, course.to);
    }
    return lines;
}

INSTANTIATE_TEST_SUITE_P(
    Bar, AStep,
    testing::Values(
        Row{"Right", "bar", exact.follow(bar), true, "Down: mean 0.", ""},
        Row{"Beside", "bar", exact.follow(bar, {10 * pixelX, 0}), true, "Down: mean 10.",
            "Down: more than mean 2.9 px"},
        Row{"OnlyDown", "bar", exact.follow({bar[0]}), false, "Down: mean",
            "Not followed from end to end: Up"},
        Row{"OnlyUp", "bar", exact.follow({bar[1]}), false, "", "Not followed from end to end: Down"},
        Row{"Broken", "bar", broken(bar), true, "Up: mean", "Down: the stroke broke 1 time"},
        Row{"BeganTwice", "bar", exact.tap(bar[0].from) + exact.follow(bar), true, "", ""},
        Row{"FarAway", "bar", exact.follow(bar, {4000, 0}), false, "", "Not followed from end to end: Down"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Lines, AStep,
    testing::Values(
        Row{"Right", "grid", exact.follow(grid), true, "Vertical line: mean 0.", ""},
        Row{"AnyLineAndDirection", "grid", exact.follow(anyLines()), true, "Horizontal line: mean 0.", ""},
        Row{"Bowed", "grid", bowed(12).follow(grid), true, "Horizontal line: mean",
            "Horizontal line: more than"},
        Row{"OnlyOne", "grid", exact.follow({grid[0]}), false, "",
            "Not followed from end to end: Vertical line"},
        Row{"Diagonals", "diagonals", exact.follow(diagonals), true, "from a straight line", ""},
        Row{"ShiftedDiagonals", "diagonals", shifted(20, 10).follow(diagonals), true, "mean 0.", ""},
        Row{"BowedDiagonals", "diagonals", bowed(30).follow(diagonals), true, "",
            "From the top left: more than"},
        Row{"NoDiagonals", "diagonals", exact.tap({9000, 9000}), false, "", "Not followed from end to end"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Fingers, AStep,
    testing::Values(
        Row{"Right", "fingers", exact.putFingers(10), true, "10 fingers at the same time, 10 contacts", ""},
        Row{"TooFew", "fingers", exact.putFingers(6), false, "6 fingers", "not shown 10 fingers"},
        Row{"LostAndFound", "fingers", exact.tap({100, 100}) + exact.putFingers(10), true, "11 contacts",
            "More contacts than fingers"},
        Row{"WithAPen", "fingers", exact.write(0, word()) + exact.putFingers(10), true, "",
            "1 contact of a pen"},
        Row{"StillThere", "fingers", exact.putFingers(10) + stays, false, "", "More contacts than fingers"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Drumming, AStep,
    testing::Values(
        Row{"Right", "drumming", exact.drum(), true, "10 taps, at most 0.0 px from the two places", ""},
        Row{"TooFew", "drumming", exact.drum(6), false, "6 taps", "Fewer than 10 taps"},
        Row{"OnOnePlace", "drumming", exact.tap({100, 100}) + exact.tap({150, 150}), false, "",
            "in one place"},
        Row{"ToAndFro", "drumming",
            exact.drum()
                + exact.move(R"("kind":"touch","id":0,"extent":300)", {{14000, 16000}, {18000, 16000}}, 0.3),
            true, "", "draws a line from one finger to the other"},
        Row{"Nothing", "drumming", "", false, "", "No finger was seen, and nothing else."}),
    rowName);

/// A stroke of pen 0 that is lost for 20 ms.
const std::string lostPen = exact.move(R"("kind":"pen","tip":true,"button":false,"id":0)", word(), 0.3)
    + wait(0.02)
    + exact.move(R"("kind":"pen","tip":true,"button":false,"id":0)", {word().back(), {14000, 9000}}, 0.3);

INSTANTIATE_TEST_SUITE_P(
    Tools, AStep,
    testing::Values(
        Row{"TwoPens", "writing", exact.write(0, word()) + exact.write(2, word(3000)), false,
            "Pen 2: 1 stroke, 243.2 px, 0 dropouts", ""},
        Row{"LostPen", "writing", lostPen, false, "Pen 0: 2 strokes", "Pen 0 was lost and found again"},
        Row{"DotOfAPen", "writing", exact.write(1, {{5000, 5000}}), false, "Pen 1",
            "Pen 1 has hardly written"},
        Row{"AFinger", "writing", exact.tap({100, 100}), false, "",
            "No pen was seen, only 1 contact of a finger"},
        Row{"Wiping", "wiping", exact.wipe(swathe), true, "An eraser of 58.6 by 59.3 px has wiped 703", ""},
        Row{"AlittleWiping", "wiping", exact.wipe(word()), false, "", "It has hardly wiped"},
        Row{"WipingWithAHand", "wiping", exact.wipe(swathe) + other, true, "",
            "taken for something else: 1 contact"},
        Row{"NoEraser", "wiping", other + exact.write(0, word()), false, "",
            "No eraser was seen, only 1 contact of a finger and 1 contact of a pen"},
        Row{"LostEraser", "wiping",
            exact.move(R"("kind":"erase","id":0,"width":500,"height":900)", swathe, 0.3) + wait(0.02)
                + exact.move(R"("kind":"erase","id":0,"width":500,"height":900)", {swathe[1], swathe[0]},
                             0.3),
            true, "", "The eraser was lost and found again, 1 time"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Plugging, AStep,
    testing::Values(
        Row{"Right", "plugging", exact.replug() + exact.tap({9000, 9000}), true, "there again 3.0 s later",
            ""},
        Row{"WithAFingerDown", "plugging", stays + exact.replug() + exact.tap({9000, 9000}), true, "", ""},
        Row{"Silent", "plugging", exact.tap({9000, 9000}) + exact.replug(), false, "", "not reported since"},
        Row{"Gone", "plugging", "{\"type\":\"unplug\",\"board\":1}\n", false, "", "has not come back"},
        Row{"Untouched", "plugging", exact.tap({9000, 9000}), false, "", "was not unplugged"}),
    rowName);

TEST(ASetting, MeasuresInMillimetresIfTheSizeIsKnown)
{
    const Setting setting(frame, 1650, 930);

    const Finding found = judgeTargets(seen(shifted(11.6363, 0).tapTargets()), setting);

    EXPECT_NE(all(found.lines).find("The board reports 10.0 mm too far right"), std::string::npos)
        << all(found.lines);
    EXPECT_NEAR(setting.targets.mean, 4.1, 0.1);
    EXPECT_NEAR(setting.targets.worst, 9.9, 0.1);
}

TEST(AnInstruction, NamesWhatTheBoardCanDo)
{
    Setting setting(frame, 0, 0);
    setting.fingers = 6;

    EXPECT_EQ(all(stepNamed("fingers").instruction(setting)).find("Put 6 fingers"), 0U);
    EXPECT_NE(all(stepNamed("targets").instruction(setting)).find("These are 24 taps."), std::string::npos);
    EXPECT_NE(judgeFingers(seen(exact.putFingers(6)), setting).isComplete, false);
}

TEST(ASketch, NumbersTheTargetsWhereTheyAre)
{
    EXPECT_EQ(all(sketchOf(frame, targetsOf(frame))),
              R"(+-------------------------------------------------------------+
|                                                             |
|                                                             |
|   21             17                    18             22    |
|                      13            14                       |
|                                                             |
|                          9      10                          |
|                                                             |
|                         12      11                          |
|                                                             |
|                      16            15                       |
|   24             20                    19             23    |
|                                                             |
|                                                             |
+-------------------------------------------------------------+
)");
}

TEST(ASketch, OfAnyWindowStaysInItsFrame)
{
    for (const Area &window : {Area{0, 0, 64, 64}, Area{0, 0, 300, 2000}, Area{7, 9, 5000, 130}}) {
        const Frame small{{0, 0, 5100, 2100}, window};
        for (const std::string &row : sketchOf(small, targetsOf(small)))
            EXPECT_EQ(row.size(), 63U) << row;
    }
}

TEST(WhatIsSeen, ToldOfALostContactNearInTimeAndPlaceOnly)
{
    const std::string pen = R"("kind":"pen","tip":true,"button":false,"id":0)";
    const auto lines = [&pen](double pause, double x) {
        return exact.move(pen, {{5000, 5000}, {9000, 5000}}, 0.2) + wait(pause)
            + exact.move(pen, {{9000 + x, 5000}, {12000, 5000}}, 0.2);
    };

    EXPECT_EQ(dropoutsIn(seen(lines(0.04, 0)).strokes()), 1);
    EXPECT_EQ(dropoutsIn(seen(lines(0.04, 600)).strokes()), 1);
    EXPECT_EQ(dropoutsIn(seen(lines(0.04, 700)).strokes()), 0) << "too far away";
    EXPECT_EQ(dropoutsIn(seen(lines(0.06, 0)).strokes()), 0) << "too late";
    EXPECT_EQ(dropoutsIn(seen(exact.write(1, word()) + exact.tap(word().back())).strokes()), 0)
        << "another kind";
}

TEST(WhatIsSeen, BeginsWithTheStep)
{
    Seen steps = seen(stays + exact.tap({100, 100}));

    steps.begin();

    EXPECT_TRUE(steps.strokes().empty());
    EXPECT_EQ(steps.down(), 0) << "the finger that has stayed is no part of it";
    EXPECT_EQ(steps.mostDown(), 0);
    capture::Line line;
    line.type = capture::Line::Type::report;
    line.board = 1;
    line.at = 1;
    line.bytes = {0, 0x45, 0x88, 100, 0, 100, 0, 0, 1};
    steps.follow(line);
    EXPECT_TRUE(steps.strokes().empty()) << "it is still down";
    line.bytes[2] = 0x08;
    steps.follow(line);
    line.bytes[2] = 0x88;
    steps.follow(line);
    EXPECT_EQ(steps.strokes().size(), 1U) << "it has come again";
}
