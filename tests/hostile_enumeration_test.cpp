#include "korvane.h"
#include "support/board_signals.h"
#include "support/live_dialog.h"
#include "support/reports.h"
#include "support/simulated_driver.h"

#include <QElapsedTimer>
#include <QTest>

#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <vector>

// Tests with drivers that report nonsense about their devices.

namespace {

using Lines = std::vector<std::string>;

constexpr int quick_ms = 5000; // limit for the start, even on a slow machine under a sanitizer

struct Count
{
    const char *name;
    const char *number;
};

class ADeviceCountThatIsNotTrue : public testing::TestWithParam<Count>
{
protected:
    const std::string number = GetParam().number;
    const SimulatedDriver driver = SimulatedDriver::hostile(QByteArray("device-count=") + GetParam().number);
};

TEST_P(ADeviceCountThatIsNotTrue, IsToldAsItIs)
{
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    EXPECT_TRUE(hardware.init());
    hardware.setTouchReportMode(ZorvicHardware::TouchReportMode(1));
    hardware.uninit();

    EXPECT_EQ(emitted.texts, Lines{"deviceEnumCount(" + number + ")"});
    EXPECT_TRUE(driver.calls("SetTouchDestination").empty()) << "no device, no board";
}

TEST_P(ADeviceCountThatIsNotTrue, LetsTheProgramStartQuicklyAndRun)
{
    testing::internal::CaptureStdout();
    QElapsedTimer time;
    time.start();

    LiveDialog dialog;

    EXPECT_LT(time.elapsed(), quick_ms);
    EXPECT_TRUE(dialog.takes_a_pen());
    dialog.end();
    std::cout.flush();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Enumerated " + number + " devices.\n");
}

INSTANTIATE_TEST_SUITE_P(, ADeviceCountThatIsNotTrue,
                         testing::Values(Count{"BelowZero", "-1"}, Count{"AMillion", "1000000"}),
                         [](const auto &row) { return row.param.name; });

TEST(ADeviceCountThatChanges, ListsTheDevicesThatThereAre)
{
    const SimulatedDriver driver = SimulatedDriver::hostile(
        "wrong-device-counts",
        {R"({"type":"device","kind":1,"board":7,"info":""})",
         R"({"type":"device","kind":1,"board":3,"info":""})", SimulatedDriver::gate("one more"),
         R"({"type":"unplug","board":3})", R"({"type":"plug","board":3})"});
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    hardware.init();
    driver.open_gate("one more");

    EXPECT_TRUE(QTest::qWaitFor([&] { return driver.has_mark("scenario ends"); }));
    hardware.uninit();
    EXPECT_EQ(driver.calls("GetDeviceCount").size(), 3U);
    std::vector<int> counts;
    for (const DriverCall &call : driver.calls("GetDeviceCount"))
        counts.push_back(call.result.get<int>());
    EXPECT_EQ(counts, (std::vector<int>{4, 0, 2}));
    EXPECT_EQ(driver.calls("SetCallback").size(), 4U) << "two boards, none, two boards";
}

TEST(ADriverWithSlowCalls, IsWaitedForInEachOfThem)
{
    constexpr int slowness_ms = 20;
    const SimulatedDriver driver = SimulatedDriver::hostile("slow-calls=20");
    QElapsedTimer time;
    time.start();

    ZorvicHardware hardware(nullptr);
    hardware.init();
    hardware.uninit();

    EXPECT_GE(time.elapsed(), slowness_ms * static_cast<qint64>(driver.calls().size()));
}

TEST(TwoBoardsWithOneNumber, AreBothListedAndBothWrittenTo)
{
    const SimulatedDriver driver = SimulatedDriver::hostile("same-number");
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    hardware.init();
    hardware.setTouchReportMode(ZorvicHardware::TouchReportMode(1));
    hardware.setGlintray(true);
    hardware.uninit();

    EXPECT_EQ(emitted.texts,
              (Lines{"boardEnumerated(0, board 7 of type \"HID\" 1240 161 4 10 2)", "hubEnumerated(legacy)",
                     "boardEnumerated(1, board 7 of type \"serial\" 0 0 0 0 0)", "deviceEnumCount(3)"}));
    EXPECT_EQ(driver.call_texts(),
              (Lines{"Attach()", "SetPnpCallback()", "Attach()", "GetDeviceCount()", "EnumDeviceInfo(0)",
                     "SetCallback(7)", "SetXferMask(7, 255)", "EnumDeviceInfo(1)", "EnumDeviceInfo(2)",
                     "SetCallback(7)", "SetXferMask(7, 255)", "SetTouchDestination(7, 1)",
                     "SetTouchDestination(7, 1)", "WritePacket(7, 3a564c310d, 5)",
                     "WritePacket(7, 3a564c310d, 5)", "ClearCallback(0)", "Detach()"}));
}

TEST(TwoBoardsWithOneNumber, ReportOnceAndMayBeUnplugged)
{
    SimulatedDriver driver = SimulatedDriver::hostile(
        "same-number",
        SimulatedDriver::two_boards_and_a_hub()
            << SimulatedDriver::gate("go")
            << R"({"type":"pen","board":7,"pen":0,"x":9000,"y":9000,"tip":true,"button":false})"
            << R"({"type":"unplug","board":3})"
            << R"({"type":"pen","board":7,"pen":0,"x":9001,"y":9000,"tip":false,"button":false})"
            << R"({"type":"mark","text":"played"})");
    LiveDialog dialog;

    driver.open_gate("go");

    EXPECT_TRUE(QTest::qWaitFor([&] { return driver.has_mark("played") && dialog.pens == 2; }));
    EXPECT_EQ(driver.calls("ClearCallback").size(), 2U);
    EXPECT_TRUE(dialog.takes_a_pen());
    EXPECT_EQ(dialog.pens, 4) << "each report once";
}

TEST(ARecordWrittenToItsLastByte, IsReadToItsEndAndNoFurther)
{
    const SimulatedDriver driver = SimulatedDriver::hostile("full-record");
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    hardware.init();
    hardware.uninit();

    EXPECT_EQ(emitted.texts,
              (Lines{"boardEnumerated(0, board 7 of type \"HID\" 1240 161 4 10 2)", "hubEnumerated(legacy)",
                     "boardEnumerated(1, board 3 of type \"serial\" 0 0 0 0 0)", "deviceEnumCount(3)"}));
}

TEST(ARecordWrittenToItsLastByte, MayHoldOneEndlessItem)
{
    const SimulatedDriver driver = SimulatedDriver::hostile(
        "full-record", {R"({"type":"device","kind":1,"board":7,"info":"hid<vid<1"})"});
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    hardware.init();
    hardware.uninit();

    EXPECT_EQ(emitted.texts,
              (Lines{"boardEnumerated(0, board 7 of type \"\" 0 0 0 0 0)", "deviceEnumCount(1)"}));
}

TEST(InformationInLatin1, IsReadAsSuch)
{
    const SimulatedDriver driver = SimulatedDriver::hostile(
        "latin-1-info", {R"({"type":"device","kind":1,"board":7,"info":"hid<Größe ÿ>vid<é>xp<7>"})"});
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    hardware.init();
    hardware.uninit();

    EXPECT_EQ(emitted.texts,
              (Lines{"boardEnumerated(0, board 7 of type \"Größe ÿ\" 0 0 7 0 0)", "deviceEnumCount(1)"}));
}

TEST(AnAttachThatFails, IsNotLookedAt)
{
    const SimulatedDriver driver = SimulatedDriver::hostile("attach-fails");
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    EXPECT_TRUE(hardware.init()) << "the library is open";
    hardware.uninit();

    EXPECT_EQ(driver.calls("Attach").front().result, false);
    EXPECT_EQ(emitted.texts,
              (Lines{"boardEnumerated(0, board 7 of type \"HID\" 1240 161 4 10 2)", "hubEnumerated(legacy)",
                     "boardEnumerated(1, board 3 of type \"serial\" 0 0 0 0 0)", "deviceEnumCount(3)"}));
}

TEST(AnAttachThatFails, LetsTheProgramRun)
{
    const SimulatedDriver driver = SimulatedDriver::hostile("attach-fails");
    LiveDialog dialog;

    EXPECT_TRUE(dialog.takes_a_pen());
    dialog.end();
    EXPECT_EQ(driver.call_texts().back(), "Detach()");
}

} // namespace
