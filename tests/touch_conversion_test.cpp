#include "korvane.h"
#include "support/contact_receiver.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Tests of what is special to touches; the rules that they share with erasers are in contact_lists_test.cpp.

namespace {

using TouchContact = ZorvicHardware::TouchContact;
using TouchEvent = ZorvicHardware::TouchEvent;

class TouchConversion : public testing::Test
{
protected:
    SimulatedDriver driver;
    Korvane korvane{nullptr, nullptr};
    ContactReceiver receiver{korvane};
};

struct Conversion
{
    const char *name;
    TouchContact contact;
    int id;
    int buttons;
    double radius;
    QPointF position;
};

class TouchContactBecomesARecord : public TouchConversion, public testing::WithParamInterface<Conversion>
{
};

TEST_P(TouchContactBecomesARecord, FieldByField)
{
    korvane.in_touch_event({GetParam().contact});

    ASSERT_EQ(receiver.touches.size(), 1U);
    ASSERT_EQ(receiver.touches.front().size(), 1U);
    const Korvane::Controls record = receiver.touches.front().front();
    EXPECT_EQ(record.id, GetParam().id);
    EXPECT_EQ(record.flags, 0U);
    EXPECT_EQ(record.buttons, GetParam().buttons);
    EXPECT_EQ(record.radius.x(), GetParam().radius);
    EXPECT_EQ(record.radius.y(), GetParam().radius);
    EXPECT_EQ(record.pos.x(), GetParam().position.x());
    EXPECT_EQ(record.pos.y(), GetParam().position.y());
    EXPECT_EQ(record.view_pos.x(), GetParam().position.x());
    EXPECT_EQ(record.view_pos.y(), GetParam().position.y());
}

INSTANTIATE_TEST_SUITE_P(
    Touch, TouchContactBecomesARecord,
    testing::Values(
        Conversion{"FirstId", {0, 0, 0, 0, true}, 256, 1, 0, {0, 0}},
        Conversion{"FifthId", {5, 0, 0, 0, true}, 261, 1, 0, {0, 0}},
        Conversion{"LastId", {127, 0, 0, 0, true}, 383, 1, 0, {0, 0}},
        Conversion{"Lifted", {0, 0, 0, 0, false}, 256, 0, 0, {0, 0}},
        Conversion{"OneExtentForBothRadii", {0, 0, 0, 16384, true}, 256, 1, 0.5, {0, 0}},
        Conversion{"LargestExtent", {0, 0, 0, 65535, true}, 256, 1, 1.999969482421875, {0, 0}},
        Conversion{"WholeScreen", {0, 32768, 16384, 1, true}, 256, 1, 1.0 / 32768, {1.0, 0.5}},
        Conversion{"FarEnd", {0, 65535, 65534, 0, true}, 256, 1, 0, {1.999969482421875, 1.99993896484375}}),
    [](const auto &row) { return row.param.name; });

struct Change
{
    const char *name;
    TouchContact contact; ///< follows {5, 100, 200, 300, down}
    bool repeats;
};

class TouchRepeats : public TouchConversion, public testing::WithParamInterface<Change>
{
};

TEST_P(TouchRepeats, WhenNothingHasChanged)
{
    receiver.answer = take;
    korvane.in_touch_event({{5, 100, 200, 300, true}});

    korvane.in_touch_event({GetParam().contact});

    EXPECT_EQ(receiver.touches.size(), GetParam().repeats ? 1U : 2U);
}

INSTANTIATE_TEST_SUITE_P(Touch, TouchRepeats,
                         testing::Values(Change{"Nothing", {5, 100, 200, 300, true}, true},
                                         Change{"Id", {6, 100, 200, 300, true}, false},
                                         Change{"OneUnitAcross", {5, 101, 200, 300, true}, false},
                                         Change{"OneUnitDown", {5, 100, 199, 300, true}, false},
                                         Change{"OneUnitOfExtent", {5, 100, 200, 301, true}, false},
                                         Change{"Lift", {5, 100, 200, 300, false}, false}),
                         [](const auto &row) { return row.param.name; });

TEST_F(TouchConversion, UnclaimedTouchesGoBackInRawUnitsWithoutTheirExtent)
{
    korvane.in_touch_event({{5, 0x1234, 0x5678, 0x9ABC, true}, {127, 65535, 65534, 1, false}});

    EXPECT_EQ(handed_back(driver),
              std::vector<std::string>{"1045"
                                       "85341278560000"
                                       "7ffffffeff0000"});
}

TEST_F(TouchConversion, ReturnFollowsTheEmission)
{
    std::size_t returned_at_emission = 99;
    receiver.answer = [&](Korvane::Controls &) { returned_at_emission = handed_back(driver).size(); };

    korvane.in_touch_event({{5, 100, 200, 300, true}});

    EXPECT_EQ(returned_at_emission, 0U);
    EXPECT_EQ(handed_back(driver).size(), 1U);
}

TEST(TouchConversionWithoutReceiver, ReturnsTheTouch)
{
    const SimulatedDriver driver;
    Korvane korvane(nullptr, nullptr);

    korvane.in_touch_event({{5, 100, 200, 300, true}});

    EXPECT_EQ(handed_back(driver).size(), 1U);
}

TEST_F(TouchConversion, OnlyBitZeroOfTheFlagsTakesATouch)
{
    receiver.answer = [](Korvane::Controls &record) {
        record.flags = record.id == 256 ? 0xFFFFFFFE : 0xFFFFFFFF;
    };

    korvane.in_touch_event({{0, 1, 2, 3, true}, {1, 1, 2, 3, true}});

    EXPECT_EQ(handed_back(driver), std::vector<std::string>{"094580010002000000"});
}

TEST_F(TouchConversion, TakenContactKeepsWhatTheReceiverWroteUntilAReportCarriesIt)
{
    receiver.answer = [](Korvane::Controls &record) { record.flags = 5; };
    korvane.in_touch_event({{0, 1, 2, 3, true}});

    korvane.in_touch_event({{1, 1, 2, 3, true}});
    korvane.in_touch_event({{0, 2, 2, 3, true}});

    ASSERT_EQ(receiver.touches.size(), 3U);
    EXPECT_EQ(receiver.touches[1].front().flags, 5U);
    EXPECT_EQ(receiver.touches[2].front().flags, 0U);
}

TEST_F(TouchConversion, ContactThatAReceiverGivesUpLeavesWithoutGoingBack)
{
    receiver.answer = take;
    korvane.in_touch_event({{0, 1, 2, 3, true}});
    receiver.answer = [](Korvane::Controls &record) { record.flags = record.id == 256 ? 0 : 1; };
    korvane.in_touch_event({{1, 1, 2, 3, true}});

    // The contact is not in the report, so there is nothing to hand back or redirect.
    EXPECT_TRUE(handed_back(driver).empty());
    korvane.in_touch_event({{1, 2, 2, 3, true}});
    ASSERT_EQ(receiver.touches.size(), 3U);
    EXPECT_EQ(receiver.touches.back().size(), 1U);

    korvane.in_touch_event({{0, 2, 2, 3, true}});
    ASSERT_EQ(receiver.touches.size(), 4U);
    EXPECT_EQ(receiver.touches.back().size(), 2U);
}

TEST_F(TouchConversion, RepeatIsRecognisedAcrossInputModels)
{
    Korvane other(nullptr, nullptr);
    const ContactReceiver other_receiver(other);
    receiver.answer = take;

    korvane.in_touch_event({{0, 1, 2, 3, true}});
    other.in_touch_event({{0, 1, 2, 3, true}});

    EXPECT_TRUE(other_receiver.touches.empty());
    EXPECT_TRUE(handed_back(driver).empty());
}

TEST_F(TouchConversion, EachInputModelHasContactsOfItsOwn)
{
    Korvane other(nullptr, nullptr);
    ContactReceiver other_receiver(other);
    receiver.answer = take;
    other_receiver.answer = take;

    korvane.in_touch_event({{0, 1, 2, 3, true}});
    other.in_touch_event({{1, 1, 2, 3, true}});

    ASSERT_EQ(other_receiver.touches.size(), 1U);
    EXPECT_EQ(other_receiver.touches.front().size(), 1U);
}

TEST_F(TouchConversion, EachInputModelHasRedirectedContactsOfItsOwn)
{
    Korvane other(nullptr, nullptr);
    ContactReceiver other_receiver(other);
    other_receiver.answer = take;

    korvane.in_touch_event({{0, 1, 2, 3, true}});
    other.in_touch_event({{0, 2, 2, 3, true}});
    korvane.in_touch_event({{0, 3, 2, 3, true}});

    EXPECT_EQ(receiver.touches.size(), 1U);
    EXPECT_EQ(other_receiver.touches.size(), 1U);
    EXPECT_EQ(handed_back(driver).size(), 2U);
}

TEST_F(TouchConversion, EmptyReportOnANewInputModelForgetsTheLastOneOfAll)
{
    korvane.in_touch_event({{0, 1, 2, 3, true}});
    Korvane other(nullptr, nullptr);
    const ContactReceiver other_receiver(other);

    other.in_touch_event({});
    other.in_touch_event({{0, 1, 2, 3, true}});

    ASSERT_EQ(other_receiver.touches.size(), 1U);
    EXPECT_EQ(other_receiver.touches.front().size(), 1U);
}

} // namespace
