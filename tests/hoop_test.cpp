#include "korvane.h"
#include "support/contact_receiver.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

constexpr double unit = 1.0 / 32768; // one raw board unit, normalised

TEST(Hoop, StartsUpAtTheOrigin)
{
    const Korvane::Hoop hoop;

    EXPECT_EQ(hoop.pos, QPointF(0, 0));
    EXPECT_FALSE(hoop.down);
}

TEST(Hoop, IsDownWhileItsContactIs)
{
    Korvane::Hoop hoop;

    hoop.follow({1, 1}, true);
    EXPECT_TRUE(hoop.down);

    hoop.follow({1, 1}, false);
    EXPECT_FALSE(hoop.down);
}

struct Move
{
    const char *name;
    bool down; ///< whether the hoop was down before
    QPointF from;
    QPointF to;
    QPointF expected;
};

class HoopMoves : public testing::TestWithParam<Move>
{
};

TEST_P(HoopMoves, WithItsContact)
{
    Korvane::Hoop hoop{GetParam().from, GetParam().down};

    hoop.follow(GetParam().to, true);

    EXPECT_EQ(hoop.pos.x(), GetParam().expected.x());
    EXPECT_EQ(hoop.pos.y(), GetParam().expected.y());
}

INSTANTIATE_TEST_SUITE_P(
    Hoop, HoopMoves,
    testing::Values(Move{"JumpsWhenUp", false, {0.25, 0.5}, {1.75, 0.125}, {1.75, 0.125}},
                    Move{"FollowsWhenDown", true, {0.25, 0.5}, {1.75, 0.125}, {1.75, 0.125}},
                    Move{"FollowsASingleUnit", true, {1, 1}, {1 + unit, 1}, {1 + unit, 1}},
                    Move{"StaysOnAContactThatStays", true, {0.25, 0.5}, {0.25, 0.5}, {0.25, 0.5}},
                    // Single precision cannot tell this step from zero.
                    Move{"StaysForAStepWithoutLength", true, {0, 0}, {1e-60, 1e-60}, {0, 0}},
                    Move{"JumpsByAStepWithoutLengthWhenUp", false, {0, 0}, {1e-60, 1e-60}, {1e-60, 1e-60}},
                    // In double precision this step has a length, so the hoop arrives.
                    Move{"FollowsAStepBelowTheToleranceOfRepeats", true, {0, 0}, {1e-14, 0}, {1e-14, 0}}),
    [](const auto &row) { return row.param.name; });

TEST(Hoop, FollowsTheLiftOfItsContactAsIfItWereStillDown)
{
    Korvane::Hoop hoop{{0, 0}, true};

    hoop.follow({1e-60, 1e-60}, false);

    EXPECT_EQ(hoop.pos.x(), 0.0);
    EXPECT_EQ(hoop.pos.y(), 0.0);
}

TEST(Hoop, StaysOnTheContactThroughALongWalk)
{
    std::mt19937 random(20240611);
    std::uniform_int_distribution<int> raw(0, 65535);
    std::bernoulli_distribution near(0.5);
    std::uniform_int_distribution<int> step(-3, 3);
    Korvane::Hoop hoop;
    int x = 0;
    int y = 0;
    for (int i = 0; i < 200000; ++i) {
        const bool small = near(random);
        x = small ? std::clamp(x + step(random), 0, 65535) : raw(random);
        y = small ? std::clamp(y + step(random), 0, 65535) : raw(random);

        hoop.follow({x * unit, y * unit}, true);

        ASSERT_EQ(hoop.pos.x(), x * unit) << "step " << i << " to " << x << ", " << y;
        ASSERT_EQ(hoop.pos.y(), y * unit) << "step " << i << " to " << x << ", " << y;
    }
}

// Tests of the same for the records of each kind of contact.

struct Kind
{
    const char *name;
    void (*deliver)(Korvane &korvane, int x, int y);
    Korvane::Controls (*last)(const ContactReceiver &receiver);
};

class ContactOfEveryKind : public testing::TestWithParam<Kind>
{
};

TEST_P(ContactOfEveryKind, IsReportedWhereItIsThroughALongWalk)
{
    const SimulatedDriver driver;
    Korvane korvane(nullptr, nullptr);
    ContactReceiver receiver(korvane);
    receiver.answer = take;
    std::mt19937 random(20240612);
    std::uniform_int_distribution<int> raw(0, 65535);
    for (int i = 0; i < 10000; ++i) {
        const int x = raw(random);
        const int y = raw(random);

        GetParam().deliver(korvane, x, y);

        const Korvane::Controls record = GetParam().last(receiver);
        ASSERT_EQ(record.pos.x(), x * unit) << "step " << i;
        ASSERT_EQ(record.pos.y(), y * unit) << "step " << i;
        ASSERT_EQ(record.view_pos, record.pos) << "step " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Hoop, ContactOfEveryKind,
    testing::Values(Kind{"Pen",
                         [](Korvane &korvane, int x, int y) {
                             korvane.in_pen_event({0, x, y, true, false, false});
                         },
                         [](const ContactReceiver &receiver) { return receiver.pens.back(); }},
                    Kind{"Touch",
                         [](Korvane &korvane, int x, int y) {
                             korvane.in_touch_event({{0, x, y, 9, true}});
                         },
                         [](const ContactReceiver &receiver) { return receiver.touches.back().back(); }},
                    Kind{"Eraser",
                         [](Korvane &korvane, int x, int y) {
                             korvane.in_erase_event({{0, x, y, 9, 9, true}});
                         },
                         [](const ContactReceiver &receiver) { return receiver.erasers.back().back(); }}),
    [](const auto &row) { return row.param.name; });

// Tests of two records that say the same.

Korvane::Controls some_record()
{
    Korvane::Controls record;
    record.id = 261;
    record.flags = 1;
    record.buttons = 1;
    record.radius = {0.01, 0.02};
    record.pos = {0.25, 0.5};
    record.view_pos = {0.25, 0.5};
    return record;
}

struct Change
{
    const char *name;
    void (*apply)(Korvane::Controls &record);
    bool repeats;
};

class RecordRepeatsAnother : public testing::TestWithParam<Change>
{
};

TEST_P(RecordRepeatsAnother, WhicheverComesFirst)
{
    Korvane::Controls changed = some_record();
    GetParam().apply(changed);

    EXPECT_EQ(Korvane::repeats(some_record(), changed), GetParam().repeats);
    EXPECT_EQ(Korvane::repeats(changed, some_record()), GetParam().repeats);
}

using Record = Korvane::Controls;

INSTANTIATE_TEST_SUITE_P(
    Repeat, RecordRepeatsAnother,
    testing::Values(
        Change{"NothingChanged", [](Record &) {}, true}, Change{"Id", [](Record &r) { r.id = 262; }, false},
        Change{"Flags", [](Record &r) { r.flags = 0; }, true},
        Change{"Buttons", [](Record &r) { r.buttons = 0; }, false},
        Change{"ViewPos", [](Record &r) { r.view_pos = QPointF(9, 9); }, true},
        Change{"FlagsAndViewPos", [](Record &r) { r.flags = 6, r.view_pos = QPointF(9, 9); }, true},
        Change{"PosAcross", [](Record &r) { r.pos.rx() += 1.1e-12; }, false},
        Change{"PosDown", [](Record &r) { r.pos.ry() -= 1.1e-12; }, false},
        Change{"RadiusAcross", [](Record &r) { r.radius.rx() += 1.1e-12; }, false},
        Change{"RadiusDown", [](Record &r) { r.radius.ry() -= 1.1e-12; }, false},
        Change{"PosAcrossWithinTheTolerance", [](Record &r) { r.pos.rx() -= 0.9e-12; }, true},
        Change{"PosDownWithinTheTolerance", [](Record &r) { r.pos.ry() += 0.9e-12; }, true},
        Change{"RadiusAcrossWithinTheTolerance", [](Record &r) { r.radius.rx() -= 0.9e-12; }, true},
        Change{"RadiusDownWithinTheTolerance", [](Record &r) { r.radius.ry() += 0.9e-12; }, true},
        Change{"AllWithinTheTolerance",
               [](Record &r) {
                   r.pos += QPointF(0.9e-12, 0.9e-12);
                   r.radius -= QPointF(0.9e-12, 0.9e-12);
               },
               true}),
    [](const auto &row) { return row.param.name; });

TEST(Repeat, AllowsTheToleranceItself)
{
    Korvane::Controls origin;
    Korvane::Controls beside;
    beside.pos.setX(1e-12);

    EXPECT_TRUE(Korvane::repeats(origin, beside));
}

} // namespace
