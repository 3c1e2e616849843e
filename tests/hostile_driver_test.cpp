#include "support/board_signals.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Tests of the hostile driver itself: what it can be asked for, and that it otherwise behaves.

namespace {

using Lines = std::vector<std::string>;

struct Request
{
    const char *name;
    const char *text;
    const char *complaint; ///< regular expression for standard error
};

class ARequestThatMakesNoSense : public testing::TestWithParam<Request>
{
};

TEST_P(ARequestThatMakesNoSense, EndsTheProgramWithOneLine)
{
    const SimulatedDriver driver = SimulatedDriver::hostile(GetParam().text);
    ZorvicHardware hardware(nullptr);

    const std::string line =
        std::string("^BOARDSIM_MISBEHAVIOUR: \"") + GetParam().text + "\" " + GetParam().complaint + "\n$";
    EXPECT_EXIT(hardware.init(), testing::ExitedWithCode(1), line);
}

INSTANTIATE_TEST_SUITE_P(
    , ARequestThatMakesNoSense,
    testing::Values(Request{"UnknownName", "burns", "is no misbehaviour"},
                    Request{"PartOfAName", "thread", "is no misbehaviour"},
                    Request{"NameWithMore", "printsmore", "is no misbehaviour"},
                    Request{"NumberMissing", "threads", "takes a number"},
                    Request{"NumberTooMany", "prints=1", "takes no number"},
                    Request{"NoNumber", "threads=many", "has no number that it can take"},
                    Request{"NumberWithMore", "threads=10x", "has no number that it can take"},
                    Request{"NumberTooSmall", "threads=0", "has no number that it can take"},
                    Request{"NumberTooLarge", "threads=3000000000", "has no number that it can take"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(TheHostileDriver, BehavesWhenNothingIsAskedFor)
{
    const SimulatedDriver driver = SimulatedDriver::hostile(
        {}, SimulatedDriver::two_boards_and_a_hub() << R"({"type":"mark","text":"played"})");
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    EXPECT_TRUE(hardware.init());
    hardware.uninit();

    EXPECT_EQ(driver.call_texts(),
              (Lines{"Attach()", "SetPnpCallback()", "Attach()", "GetDeviceCount()", "EnumDeviceInfo(0)",
                     "SetCallback(7)", "SetXferMask(7, 255)", "EnumDeviceInfo(1)", "EnumDeviceInfo(2)",
                     "SetCallback(3)", "SetXferMask(3, 255)", "ClearCallback(0)", "Detach()"}));
    EXPECT_EQ(emitted.texts,
              (Lines{"boardEnumerated(0, board 7 of type \"HID\" 1240 161 4 10 2)", "hubEnumerated(legacy)",
                     "boardEnumerated(1, board 3 of type \"serial\" 0 0 0 0 0)", "deviceEnumCount(3)"}));
}

} // namespace
