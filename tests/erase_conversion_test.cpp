#include "korvane.h"
#include "support/contact_receiver.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <vector>

// Tests of what is special to erasers; the rules that they share with touches are in contact_lists_test.cpp.

namespace {

using EraseContact = ZorvicHardware::EraseContact;

class EraseConversion : public testing::Test
{
protected:
    SimulatedDriver driver;
    Korvane korvane{nullptr, nullptr};
    ContactReceiver receiver{korvane};
};

struct Conversion
{
    const char *name;
    EraseContact contact;
    int id;
    int buttons;
    QPointF radius;
    QPointF position;
};

class EraseContactBecomesARecord : public EraseConversion, public testing::WithParamInterface<Conversion>
{
};

TEST_P(EraseContactBecomesARecord, FieldByField)
{
    korvane.in_erase_event({GetParam().contact});

    ASSERT_EQ(receiver.erasers.size(), 1U);
    ASSERT_EQ(receiver.erasers.front().size(), 1U);
    const Korvane::Controls record = receiver.erasers.front().front();
    EXPECT_EQ(record.id, GetParam().id);
    EXPECT_EQ(record.flags, 0U);
    EXPECT_EQ(record.buttons, GetParam().buttons);
    EXPECT_EQ(record.radius.x(), GetParam().radius.x());
    EXPECT_EQ(record.radius.y(), GetParam().radius.y());
    EXPECT_EQ(record.pos.x(), GetParam().position.x());
    EXPECT_EQ(record.pos.y(), GetParam().position.y());
    EXPECT_EQ(record.view_pos.x(), GetParam().position.x());
    EXPECT_EQ(record.view_pos.y(), GetParam().position.y());
}

INSTANTIATE_TEST_SUITE_P(
    Eraser, EraseContactBecomesARecord,
    testing::Values(
        Conversion{"FirstId", {0, 0, 0, 0, 0, true}, 512, 1, {0, 0}, {0, 0}},
        Conversion{"LastId", {127, 0, 0, 0, 0, true}, 639, 1, {0, 0}, {0, 0}},
        Conversion{"Lifted", {0, 0, 0, 0, 0, false}, 512, 0, {0, 0}, {0, 0}},
        Conversion{"WidthAndHeight", {0, 0, 0, 16384, 8192, true}, 512, 1, {0.5, 0.25}, {0, 0}},
        Conversion{"LargestSize",
                   {0, 0, 0, 65535, 65534, true},
                   512,
                   1,
                   {1.999969482421875, 1.99993896484375},
                   {0, 0}},
        Conversion{"WholeScreen", {0, 32768, 16384, 0, 0, true}, 512, 1, {0, 0}, {1.0, 0.5}},
        Conversion{
            "FarEnd", {0, 65535, 65534, 0, 0, true}, 512, 1, {0, 0}, {1.999969482421875, 1.99993896484375}}),
    [](const auto &row) { return row.param.name; });

struct Change
{
    const char *name;
    EraseContact contact; ///< follows {5, 100, 200, 300, 400, down}
    bool repeats;
};

class EraserRepeats : public EraseConversion, public testing::WithParamInterface<Change>
{
};

TEST_P(EraserRepeats, WhenNothingHasChanged)
{
    receiver.answer = take;
    korvane.in_erase_event({{5, 100, 200, 300, 400, true}});

    korvane.in_erase_event({GetParam().contact});

    EXPECT_EQ(receiver.erasers.size(), GetParam().repeats ? 1U : 2U);
}

INSTANTIATE_TEST_SUITE_P(Eraser, EraserRepeats,
                         testing::Values(Change{"Nothing", {5, 100, 200, 300, 400, true}, true},
                                         Change{"Id", {6, 100, 200, 300, 400, true}, false},
                                         Change{"OneUnitAcross", {5, 99, 200, 300, 400, true}, false},
                                         Change{"OneUnitDown", {5, 100, 201, 300, 400, true}, false},
                                         Change{"OneUnitOfWidth", {5, 100, 200, 301, 400, true}, false},
                                         Change{"OneUnitOfHeight", {5, 100, 200, 300, 399, true}, false},
                                         Change{"Lift", {5, 100, 200, 300, 400, false}, false}),
                         [](const auto &row) { return row.param.name; });

TEST_F(EraseConversion, UnclaimedEraserIsEmittedOnceHoweverLongItStaysAndNeverGoesBack)
{
    for (int x = 0; x < 100; ++x)
        korvane.in_erase_event({{0, x, 200, 300, 400, true}});
    korvane.in_erase_event({{0, 99, 200, 300, 400, false}});

    EXPECT_EQ(receiver.erasers.size(), 1U);
    EXPECT_TRUE(handed_back(driver).empty());

    korvane.in_erase_event({{0, 0, 200, 300, 400, true}});
    EXPECT_EQ(receiver.erasers.size(), 2U);
}

TEST_F(EraseConversion, OnlyBitZeroOfTheFlagsTakesAnEraser)
{
    receiver.answer = [](Korvane::Controls &record) {
        record.flags = record.id == 512 ? 0xFFFFFFFE : 0xFFFFFFFF;
    };
    korvane.in_erase_event({{0, 1, 2, 3, 4, true}, {1, 1, 2, 3, 4, true}});

    korvane.in_erase_event({{0, 2, 2, 3, 4, true}, {1, 2, 2, 3, 4, true}});

    ASSERT_EQ(receiver.erasers.size(), 2U);
    ASSERT_EQ(receiver.erasers.back().size(), 1U);
    EXPECT_EQ(receiver.erasers.back().front().id, 513);
}

TEST_F(EraseConversion, RepeatIsRecognisedAcrossInputModels)
{
    Korvane other(nullptr, nullptr);
    const ContactReceiver other_receiver(other);
    receiver.answer = take;

    korvane.in_erase_event({{0, 1, 2, 3, 4, true}});
    other.in_erase_event({{0, 1, 2, 3, 4, true}});

    EXPECT_TRUE(other_receiver.erasers.empty());
}

TEST_F(EraseConversion, ErasersAndTouchesAreListedApart)
{
    receiver.answer = take;

    korvane.in_touch_event({{7, 1, 2, 3, true}});
    korvane.in_erase_event({{7, 1, 2, 3, 3, true}});
    korvane.in_touch_event({{7, 1, 2, 3, true}});
    korvane.in_erase_event({{7, 1, 2, 3, 3, true}});

    ASSERT_EQ(receiver.touches.size(), 1U);
    EXPECT_EQ(receiver.touches.front().size(), 1U);
    ASSERT_EQ(receiver.erasers.size(), 1U);
    EXPECT_EQ(receiver.erasers.front().size(), 1U);
}

TEST_F(EraseConversion, UnclaimedEraserDoesNotRedirectTheTouchOrPenOfItsNumber)
{
    korvane.in_erase_event({{0, 1, 2, 3, 4, true}});
    receiver.answer = take;

    korvane.in_touch_event({{0, 1, 2, 3, true}});
    korvane.in_pen_event({0, 1, 2, true, false, false});

    EXPECT_EQ(receiver.touches.size(), 1U);
    EXPECT_EQ(receiver.pens.size(), 1U);
    EXPECT_TRUE(handed_back(driver).empty());
}

} // namespace
