#include "accept/calibration.h"
#include "accept/geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace acceptance;

namespace {

constexpr double degree = 0.017453292519943295;

/// How a board errs, in the unit of the scale.
struct Board
{
    double offsetX = 0;
    double offsetY = 0;
    double scaleX = 1;
    double scaleY = 1;
    double rotation = 0; ///< degrees clockwise
    double bow = 0;      ///< what no affine mapping explains: how far the middle of the board lies too low
    double noise = 0;    ///< standard deviation, of a person and the board together
};

const Limits limits{4, 10};

/// Where @p board reports each target of a window.
std::vector<Touched> touch(const Frame &frame, const Scale &scale, const Board &board)
{
    std::mt19937 random(1);
    std::normal_distribution<double> noise(0, board.noise > 0 ? board.noise : 1e-9);
    const double half = boardWidth / 2;
    std::vector<Touched> touched;
    for (const Target &target : targetsOf(frame)) {
        const double x = (target.place.x - half) * scale.x * board.scaleX;
        const double y = (target.place.y - half) * scale.y * board.scaleY;
        const double sine = std::sin(board.rotation * degree);
        const double cosine = std::cos(board.rotation * degree);
        const double share = (target.place.x - half) / half;
        const double at_x = x * cosine - y * sine + board.offsetX + noise(random);
        const double at_y =
            x * sine + y * cosine + board.offsetY + board.bow * (1 - share * share) + noise(random);
        touched.push_back({target.name, target.place, {at_x / scale.x + half, at_y / scale.y + half}});
    }
    return touched;
}

struct Row
{
    const char *name;
    Board board;
    Advice advice;
};

struct Size
{
    const char *name;
    Frame frame;
    Scale scale;
};

const Size sizes[] = {
    {"FullHd", {{0, 0, 1920, 1080}, {0, 20, 1920, 1060}}, {1920 / boardWidth, 1080 / boardWidth, "px"}},
    {"Small", {{0, 0, 1366, 768}, {0, 0, 1366, 768}}, {1366 / boardWidth, 768 / boardWidth, "px"}},
    {"Millimetres", {{0, 0, 3840, 2160}, {0, 60, 3840, 2100}}, {1650 / boardWidth, 930 / boardWidth, "mm"}},
};

class ABoard : public testing::TestWithParam<std::tuple<Row, Size>>
{
};

} // namespace

TEST_P(ABoard, IsMeasuredAndJudged)
{
    const auto &[row, size] = GetParam();
    const Board &board = row.board;

    const auto found = calibrationOf(touch(size.frame, size.scale, board), size.scale, limits);

    ASSERT_TRUE(found);
    const double patience = board.noise > 0 ? 3 * board.noise / 4 : 1e-6; // of a mean of twenty
    EXPECT_EQ(nameOf(found->advice), std::string(nameOf(row.advice)));
    if (board.bow > 0)
        return;
    EXPECT_NEAR(found->mapping.offsetX, board.offsetX, patience);
    EXPECT_NEAR(found->mapping.offsetY, board.offsetY, patience);
    EXPECT_NEAR(found->mapping.scaleX, board.scaleX, patience / 200);
    EXPECT_NEAR(found->mapping.scaleY, board.scaleY, patience / 200);
    EXPECT_NEAR(found->mapping.rotation, board.rotation, patience / 200 / degree);
    EXPECT_NEAR(found->mapping.shear, 0, patience / 100 / degree);
    EXPECT_LT(found->left.worst, board.noise > 0 ? 5 * board.noise : 1e-6);
    EXPECT_LE(found->left.mean, found->errors.mean + 1e-6);
}

INSTANTIATE_TEST_SUITE_P(
    Calibration, ABoard,
    testing::Combine(
        testing::Values(Row{"Exact", {}, Advice::good}, Row{"Noisy", {0, 0, 1, 1, 0, 0, 1.5}, Advice::good},
                        Row{"Shifted", {12, -7}, Advice::calibrate},
                        Row{"ShiftedALittle", {2, 1}, Advice::good},
                        Row{"TooLarge", {0, 0, 1.05, 1.05}, Advice::calibrate},
                        Row{"TooNarrow", {0, 0, 0.95, 1}, Advice::calibrate},
                        Row{"Turned", {0, 0, 1, 1, 3}, Advice::calibrate},
                        Row{"TurnedTheOtherWay", {3, 2, 1.01, 0.98, -4}, Advice::calibrate},
                        Row{"ShiftedAndNoisy", {15, 9, 1.01, 0.99, 1, 0, 1.5}, Advice::calibrate},
                        Row{"Bowed", {0, 0, 1, 1, 0, 60}, Advice::replace},
                        Row{"VeryNoisy", {0, 0, 1, 1, 0, 0, 9}, Advice::replace}),
        testing::ValuesIn(sizes)),
    [](const auto &row) { return std::string(std::get<0>(row.param).name) + std::get<1>(row.param).name; });

TEST(Errors, AreTheDistancesFromTheTargets)
{
    const Scale scale{0.5, 0.25, "mm"};
    const std::vector<Touched> touched{
        {"a", {100, 100}, {100, 100}}, {"b", {100, 100}, {106, 116}}, {"c", {0, 0}, {-2, 0}}};

    const Errors errors = errorsOf(touched, scale);

    EXPECT_EQ(errors.each, (std::vector<double>{0, 5, 1}));
    EXPECT_DOUBLE_EQ(errors.mean, 2);
    EXPECT_DOUBLE_EQ(errors.worst, 5);
    EXPECT_EQ(errors.worstAt, 1U);
    EXPECT_TRUE(errors.areWithin({2, 5}));
    EXPECT_FALSE(errors.areWithin({1.9, 5}));
    EXPECT_FALSE(errors.areWithin({2, 4.9}));
}

TEST(Errors, OfNothingAreNone)
{
    EXPECT_EQ(errorsOf({}, {}).worst, 0);
}

TEST(ACalibration, IsNotKnownFromFewTargetsOrALine)
{
    const Frame &frame = sizes[0].frame;
    const Scale &scale = sizes[0].scale;
    std::vector<Touched> few = touch(frame, scale, {});
    few.resize(5);
    std::vector<Touched> line;
    for (int i = 0; i < 10; ++i)
        line.push_back({"t", {1000.0 * i, 2000.0 * i}, {1000.0 * i, 2000.0 * i}});
    std::vector<Touched> same = touch(frame, scale, {});
    for (Touched &touched : same)
        touched.at = {100, 100};

    EXPECT_FALSE(calibrationOf({}, scale, limits));
    EXPECT_FALSE(calibrationOf(few, scale, limits));
    EXPECT_FALSE(calibrationOf(line, scale, limits));
    EXPECT_FALSE(calibrationOf(same, scale, limits)) << "the board always reports the same place";
}
