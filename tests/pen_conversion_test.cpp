#include "korvane.h"
#include "support/contact_receiver.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

using PenEvent = ZorvicHardware::PenEvent;

/// An input model without a window, and a driver that keeps what goes back to the system.
class PenConversion : public testing::Test
{
protected:
    SimulatedDriver driver;
    Korvane korvane{nullptr, nullptr};
    ContactReceiver receiver{korvane};
};

PenEvent pen_at(int x, int y, bool tip = true, bool button = false)
{
    PenEvent event;
    event.x = x;
    event.y = y;
    event.tip = tip;
    event.button = button;
    return event;
}

// Tests of single samples: each row has a sample and the record that it must become.

struct Conversion
{
    const char *name;
    PenEvent sample;
    int id;
    int buttons;
    QPointF position;
};

class PenSampleBecomesARecord : public PenConversion, public testing::WithParamInterface<Conversion>
{
};

TEST_P(PenSampleBecomesARecord, FieldByField)
{
    korvane.in_pen_event(GetParam().sample);

    ASSERT_EQ(receiver.pens.size(), 1U);
    const Korvane::Controls record = receiver.pens.front();
    EXPECT_EQ(record.id, GetParam().id);
    EXPECT_EQ(record.flags, 0U);
    EXPECT_EQ(record.buttons, GetParam().buttons);
    EXPECT_EQ(record.radius.x(), 0.0);
    EXPECT_EQ(record.radius.y(), 0.0);
    EXPECT_EQ(record.pos.x(), GetParam().position.x());
    EXPECT_EQ(record.pos.y(), GetParam().position.y());
    EXPECT_EQ(record.view_pos.x(), GetParam().position.x());
    EXPECT_EQ(record.view_pos.y(), GetParam().position.y());
}

INSTANTIATE_TEST_SUITE_P(
    Pen, PenSampleBecomesARecord,
    testing::Values(
        Conversion{"PenZero", {0, 0, 0, false, false, false}, -1, 0, {0, 0}},
        Conversion{"PenOne", {1, 0, 0, true, false, false}, -2, 1, {0, 0}},
        Conversion{"PenThree", {3, 0, 0, true, false, false}, -4, 1, {0, 0}},
        Conversion{"PenFifteen", {15, 0, 0, true, false, false}, -16, 1, {0, 0}},
        Conversion{"SideButton", {0, 0, 0, false, true, false}, -1, 2, {0, 0}},
        Conversion{"TipAndSideButton", {0, 0, 0, true, true, false}, -1, 3, {0, 0}},
        Conversion{"StateBitTwoAlone", {0, 0, 0, false, false, true}, -1, 0, {0, 0}},
        Conversion{"OneUnit", {0, 1, 2, true, false, false}, -1, 1, {1.0 / 32768, 2.0 / 32768}},
        Conversion{"HalfTheScreen", {0, 16384, 8192, true, false, false}, -1, 1, {0.5, 0.25}},
        Conversion{"WholeScreen", {0, 32768, 32768, true, false, false}, -1, 1, {1.0, 1.0}},
        Conversion{
            "OneUnitShortOfTheWholeScreen", {0, 32767, 0, true, false, false}, -1, 1, {0.999969482421875, 0}},
        Conversion{
            "FarEnd", {0, 65535, 65534, true, false, false}, -1, 1, {1.999969482421875, 1.99993896484375}}),
    [](const auto &row) { return row.param.name; });

// Tests of what becomes of a pen, sample by sample.

enum Receiver { taken, left };
enum Outcome { dropped, emitted, returned, emitted_and_returned };

struct Step
{
    PenEvent sample;
    Receiver receiver; ///< whether a widget takes the record if it is emitted
    Outcome outcome;
};

struct Course
{
    const char *name;
    std::vector<Step> steps;
};

// These make a pen sample of one kind at one of several places.
PenEvent hover(int place, quint8 pen = 0)
{
    return {pen, 100 * place, 200 * place, false, false, false};
}
PenEvent tip(int place, quint8 pen = 0)
{
    return {pen, 100 * place, 200 * place, true, false, false};
}
PenEvent button(int place, quint8 pen = 0)
{
    return {pen, 100 * place, 200 * place, false, true, false};
}
PenEvent both(int place, quint8 pen = 0)
{
    return {pen, 100 * place, 200 * place, true, true, false};
}
PenEvent with_state_bit_2(PenEvent event)
{
    event.stateBit2 = true;
    return event;
}

class PenTakesItsCourse : public PenConversion, public testing::WithParamInterface<Course>
{
};

TEST_P(PenTakesItsCourse, StepByStep)
{
    int number = 0;
    std::size_t emissions = 0;
    std::size_t returns = 0;
    for (const Step &step : GetParam().steps) {
        SCOPED_TRACE("step " + std::to_string(++number));
        receiver.answer = [&step](Korvane::Controls &record) {
            if (step.receiver == taken)
                take(record);
        };

        korvane.in_pen_event(step.sample);

        if (step.outcome == emitted || step.outcome == emitted_and_returned)
            ++emissions;
        if (step.outcome == returned || step.outcome == emitted_and_returned)
            ++returns;
        ASSERT_EQ(receiver.pens.size(), emissions);
        ASSERT_EQ(handed_back(driver).size(), returns);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Pen, PenTakesItsCourse,
    testing::Values(
        Course{"TakenPenIsEmittedOnly",
               {{hover(1), taken, emitted},
                {tip(1), taken, emitted},
                {tip(2), taken, emitted},
                {hover(2), taken, emitted}}},
        Course{"UnclaimedPenIsReturnedUntilTheFirstSampleWithoutTip",
               {{tip(1), left, emitted_and_returned},
                {tip(2), left, returned},
                {tip(3), taken, returned},
                {hover(3), taken, returned},
                {hover(4), taken, emitted},
                {hover(5), left, emitted_and_returned}}},
        Course{"UnclaimedHoveringPenIsReturnedOnceMore",
               {{hover(1), left, emitted_and_returned},
                {hover(2), taken, returned},
                {hover(3), left, emitted_and_returned}}},
        Course{"UnclaimedHoveringPenThatThenPressesStaysReturned",
               {{hover(1), left, emitted_and_returned},
                {tip(1), taken, returned},
                {tip(2), taken, returned},
                {hover(2), taken, returned},
                {tip(3), taken, emitted}}},
        Course{"SideButtonDoesNotKeepAPenReturned",
               {{both(1), left, emitted_and_returned},
                {both(2), left, returned},
                {button(2), left, returned},
                {button(3), taken, emitted}}},
        Course{"PenTakenAtFirstIsReturnedOnceNobodyTakesIt",
               {{tip(1), taken, emitted}, {tip(2), left, emitted_and_returned}, {tip(3), taken, returned}}},
        Course{"RepeatOfATakenPenIsDropped",
               {{tip(1), taken, emitted}, {tip(1), taken, dropped}, {tip(1), left, dropped}}},
        Course{"RepeatOfAReturnedPenIsDropped",
               {{tip(1), left, emitted_and_returned},
                {tip(1), left, dropped},
                {tip(2), left, returned},
                {tip(2), left, dropped},
                {hover(2), left, returned},
                {hover(2), left, dropped},
                {hover(3), taken, emitted}}},
        Course{"SampleThatDiffersInStateBitTwoOnlyIsARepeat",
               {{tip(1), taken, emitted}, {with_state_bit_2(tip(1)), taken, dropped}}},
        Course{"EveryChangeOfButtonsCounts",
               {{hover(1), taken, emitted},
                {tip(1), taken, emitted},
                {both(1), taken, emitted},
                {button(1), taken, emitted},
                {hover(1), taken, emitted}}},
        Course{"ComingBackIsNoRepeat",
               {{tip(1), taken, emitted}, {tip(2), taken, emitted}, {tip(1), taken, emitted}}},
        Course{"OneUnitAcrossIsNoRepeat",
               {{pen_at(500, 500), taken, emitted},
                {pen_at(501, 500), taken, emitted},
                {pen_at(501, 500), taken, dropped}}},
        Course{"OneUnitDownIsNoRepeat",
               {{pen_at(500, 500), taken, emitted},
                {pen_at(500, 501), taken, emitted},
                {pen_at(500, 501), taken, dropped}}},
        Course{"PensAreFollowedOneByOne",
               {{tip(1, 0), left, emitted_and_returned},
                {tip(1, 1), taken, emitted},
                {tip(1, 0), left, dropped},
                {tip(1, 1), taken, dropped},
                {tip(2, 0), taken, returned},
                {tip(2, 1), taken, emitted},
                {hover(2, 0), taken, returned},
                {hover(3, 0), taken, emitted}}}),
    [](const auto &row) { return row.param.name; });

// Tests of the report that goes back.

struct Return
{
    const char *name;
    PenEvent sample;
    const char *report;
};

class UnclaimedPenGoesBackAsItCame : public PenConversion, public testing::WithParamInterface<Return>
{
};

TEST_P(UnclaimedPenGoesBackAsItCame, InRawUnits)
{
    korvane.in_pen_event(GetParam().sample);

    EXPECT_EQ(handed_back(driver), std::vector<std::string>{GetParam().report});
}

INSTANTIATE_TEST_SUITE_P(
    Pen, UnclaimedPenGoesBackAsItCame,
    testing::Values(Return{"PressedPen", {3, 0x1234, 0x5678, true, false, false}, "092183341278560000"},
                    Return{"HoveringPen", {3, 0x1234, 0x5678, false, false, false}, "092103341278560000"},
                    Return{
                        "FlagsOtherThanTheTipStayBehind", {0, 1, 2, false, true, true}, "092100010002000000"},
                    Return{"LastPenAtTheFarEnd", {15, 65535, 65534, true, true, true}, "09218ffffffeff0000"}),
    [](const auto &row) { return row.param.name; });

TEST_F(PenConversion, SamplesOfAReturnedPenGoBackOneByOne)
{
    korvane.in_pen_event({1, 1, 2, true, false, false});
    korvane.in_pen_event({1, 3, 4, true, false, false});
    korvane.in_pen_event({1, 5, 6, false, false, false});

    EXPECT_EQ(handed_back(driver),
              (std::vector<std::string>{"092181010002000000", "092181030004000000", "092101050006000000"}));
}

TEST_F(PenConversion, ReturnFollowsTheEmission)
{
    std::size_t returned_at_emission = 99;
    receiver.answer = [&](Korvane::Controls &) { returned_at_emission = handed_back(driver).size(); };

    korvane.in_pen_event(tip(1));

    EXPECT_EQ(returned_at_emission, 0U);
    EXPECT_EQ(handed_back(driver).size(), 1U);
}

TEST(PenConversionWithoutReceiver, ReturnsThePen)
{
    const SimulatedDriver driver;
    Korvane korvane(nullptr, nullptr);

    korvane.in_pen_event(tip(1));

    EXPECT_EQ(handed_back(driver).size(), 1U);
}

TEST_F(PenConversion, OnlyBitZeroOfTheFlagsTakesAPen)
{
    receiver.answer = [](Korvane::Controls &record) { record.flags = 0xFFFFFFFE; };
    korvane.in_pen_event(tip(1, 0));
    EXPECT_EQ(handed_back(driver).size(), 1U);

    receiver.answer = [](Korvane::Controls &record) { record.flags = 0xFFFFFFFF; };
    korvane.in_pen_event(tip(1, 1));
    EXPECT_EQ(handed_back(driver).size(), 1U);
}

TEST_F(PenConversion, WhatAReceiverWritesDoesNotHideARepeat)
{
    receiver.answer = [](Korvane::Controls &record) {
        record.pos = record.view_pos = QPointF(7, 7);
        record.buttons = 0;
        take(record);
    };

    korvane.in_pen_event(tip(1));
    korvane.in_pen_event(tip(1));

    EXPECT_EQ(receiver.pens.size(), 1U);
}

TEST_F(PenConversion, WhatAReceiverWritesDoesNotReachTheNextRecord)
{
    receiver.answer = [](Korvane::Controls &record) {
        record.radius = QPointF(7, 7);
        record.flags = 0xFFFFFFFF;
    };

    korvane.in_pen_event(tip(1));
    korvane.in_pen_event(tip(2));

    ASSERT_EQ(receiver.pens.size(), 2U);
    EXPECT_EQ(receiver.pens.back().flags, 0U);
    EXPECT_EQ(receiver.pens.back().radius, QPointF());
}

TEST_F(PenConversion, RepeatIsRecognisedAcrossInputModels)
{
    Korvane other(nullptr, nullptr);
    const ContactReceiver other_receiver(other);
    receiver.answer = take;

    korvane.in_pen_event(tip(1));
    other.in_pen_event(tip(1));
    EXPECT_TRUE(other_receiver.pens.empty());

    other.in_pen_event(tip(2));
    korvane.in_pen_event(tip(2));
    EXPECT_EQ(receiver.pens.size(), 1U);
}

TEST_F(PenConversion, RepeatIsRecognisedAfterTheInputModelHasGone)
{
    {
        Korvane first(nullptr, nullptr);
        first.in_pen_event(tip(1));
    }

    korvane.in_pen_event(tip(1));

    EXPECT_TRUE(receiver.pens.empty());
}

TEST_F(PenConversion, EachInputModelHasReturnedPensOfItsOwn)
{
    Korvane other(nullptr, nullptr);
    ContactReceiver other_receiver(other);
    other_receiver.answer = take;

    korvane.in_pen_event(tip(1));
    other.in_pen_event(tip(2));
    korvane.in_pen_event(tip(3));

    EXPECT_EQ(other_receiver.pens.size(), 1U);
    EXPECT_EQ(receiver.pens.size(), 1U);
    EXPECT_EQ(handed_back(driver).size(), 2U);
}

} // namespace
