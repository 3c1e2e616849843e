#include "support/board_signals.h"
#include "support/recording_driver.h"
#include "support/reports.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <QWidget>

#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;
using PenEvent = ZorvicHardware::PenEvent;
using TouchEvent = ZorvicHardware::TouchEvent;

constexpr int buffer_size = 256;

QByteArray filled(const char *start)
{
    const QByteArray bytes = QByteArray::fromHex(start);
    return bytes + QByteArray(buffer_size - bytes.size(), '\0');
}

struct PenRow
{
    const char *name;
    PenEvent event;
    const char *start; ///< zeros follow
};

class APenForTheSystem : public testing::TestWithParam<PenRow>
{
};

TEST_P(APenForTheSystem, IsWrittenInTheSystemsLayoutToTheFirstBoard)
{
    RecordingDriver driver;
    driver.devices = {{2, 50, {}}, {1, 7, {}}, {1, 3, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();

    hardware.redirectPenEvent(GetParam().event);

    ASSERT_EQ(driver.calls().size(), 1U);
    EXPECT_EQ(driver.lines()[0].substr(0, 30), "SendTouchPacketToSystem(7, 9) ");
    EXPECT_EQ(driver.calls()[0].bytes.toHex(), filled(GetParam().start).toHex());
}

INSTANTIATE_TEST_SUITE_P(
    Pens, APenForTheSystem,
    testing::Values(PenRow{"Down", {5, 0x1234, 0x5678, true, false, false}, "0921 85 3412 7856 0000"},
                    PenRow{"Lifted", {5, 0x1234, 0x5678, false, false, false}, "0921 05 3412 7856"},
                    PenRow{"WithButtonAndBit2", {1, 1, 2, false, true, true}, "0921 01 0100 0200"},
                    PenRow{"HighestPen", {15, 65535, 65535, true, true, true}, "0921 8f ffff ffff"},
                    PenRow{"Zeros", {0, 0, 0, false, false, false}, "0921 00 0000 0000"},
                    PenRow{"HighBytesAlone", {0, 0xFF00, 0x8000, true, false, false}, "0921 80 00ff 0080"}),
    [](const auto &row) { return std::string(row.param.name); });

/// Contacts with different ids, positions and flags.
TouchEvent contacts(int count)
{
    TouchEvent list;
    for (int i = 0; i < count; ++i)
        list.append({static_cast<quint8>(i), 1000 + 300 * i, 65535 - 257 * i, 4321, i % 3 != 0});
    return list;
}

/// The buffer for the system: a length for all contacts, then the first 36 contacts without their extent.
QByteArray touch_buffer(const TouchEvent &all)
{
    TouchEvent written = all.mid(0, 36);
    for (auto &contact : written)
        contact.extent = 0;
    QByteArray buffer = reports::touch(written);
    buffer[0] = static_cast<char>((7 * all.size() + 2) % 256);
    return buffer + QByteArray(buffer_size - buffer.size(), '\0');
}

struct TouchRow
{
    int contacts;
    int length;
};

class TouchesForTheSystem : public testing::TestWithParam<TouchRow>
{
};

TEST_P(TouchesForTheSystem, AreWrittenInTheSystemsLayoutToTheFirstBoard)
{
    RecordingDriver driver;
    driver.devices = {{2, 50, {}}, {1, 7, {}}, {1, 3, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();
    const TouchEvent list = contacts(GetParam().contacts);

    hardware.redirectTouchEvent(list);

    ASSERT_EQ(driver.calls().size(), 1U);
    const auto call = driver.calls()[0];
    EXPECT_EQ(call.name, "SendTouchPacketToSystem");
    EXPECT_EQ(call.arguments[0].value, 7);
    EXPECT_EQ(call.arguments[1].value, GetParam().length);
    EXPECT_EQ(call.bytes.toHex(), touch_buffer(list).toHex());
}

INSTANTIATE_TEST_SUITE_P(Touches, TouchesForTheSystem,
                         testing::Values(TouchRow{1, 9}, TouchRow{2, 16}, TouchRow{35, 247},
                                         TouchRow{36, 254}, TouchRow{37, 5}, TouchRow{73, 1},
                                         TouchRow{128, 130}),
                         [](const auto &row) { return std::to_string(row.param.contacts) + "Contacts"; });

TEST(OneTouchForTheSystem, HasTheseBytes)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();

    hardware.redirectTouchEvent({{5, 0x1234, 0x5678, 0x9ABC, true}, {127, 1, 2, 3, false}});

    EXPECT_EQ(driver.calls()[0].bytes.toHex(), filled("1045 85 3412 7856 0000 7f 0100 0200 0000").toHex());
}

TEST(NoTouches, AreNotWritten)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();

    hardware.redirectTouchEvent({});

    EXPECT_EQ(driver.lines(), Lines{});
}

TEST(TheBoardForTheSystem, IsTheFirstOfTheLatestEnumeration)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}, {1, 3, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.devices = {{1, 3, {}}, {1, 7, {}}};
    hardware.pnp();
    driver.clear();

    hardware.redirectPenEvent({1, 2, 3, true, false, false});

    EXPECT_EQ(driver.calls().at(0).arguments[0].value, 3);
}

/// The widget is not shown, so every contact starts elsewhere.
struct NowhereRow
{
    const char *name;
    bool with_board;
    bool with_export;
    bool with_init;
    bool with_library;
};

class ASampleThatCannotBeHandedBack : public testing::TestWithParam<NowhereRow>
{
};

TEST_P(ASampleThatCannotBeHandedBack, IsConsumedAndLost)
{
    RecordingDriver driver;
    if (GetParam().with_board)
        driver.devices = {{1, 7, {}}};
    if (!GetParam().with_export)
        driver.missing = {"SendTouchPacketToSystem"};
    driver.opens = GetParam().with_library;
    QWidget hidden;
    ZorvicHardware hardware(nullptr);
    testing::internal::CaptureStderr();
    if (GetParam().with_init)
        hardware.init();
    testing::internal::GetCapturedStderr();
    hardware.setWidgetOfInterest(&hidden);
    driver.clear();
    const BoardSignals emitted(hardware);

    for (const bool down : {true, false}) {
        reports::deliver(hardware, reports::pen({1, 2, 3, down, false, false}));
        reports::deliver(hardware, reports::pen({2, 2, 3, down, false, false}));
        reports::deliver(hardware, reports::touch({{1, 2, 3, 4, down}}));
    }

    EXPECT_EQ(driver.lines(), Lines{});
    EXPECT_EQ(emitted.texts, Lines{});
}

INSTANTIATE_TEST_SUITE_P(Samples, ASampleThatCannotBeHandedBack,
                         testing::Values(NowhereRow{"WithoutABoard", false, true, true, true},
                                         NowhereRow{"WithoutTheExport", true, false, true, true},
                                         NowhereRow{"WithoutInit", true, true, false, true},
                                         NowhereRow{"WithoutTheLibrary", true, true, true, false}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(AReportOfManyContacts, IsHandedBackInOnePacketAndNotEmitted)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}};
    QWidget hidden;
    ZorvicHardware hardware(nullptr);
    hardware.init();
    hardware.setWidgetOfInterest(&hidden);
    driver.clear();
    const BoardSignals emitted(hardware);

    reports::deliver(hardware, reports::touch(contacts(128)));

    ASSERT_EQ(driver.calls().size(), 1U);
    EXPECT_EQ(driver.calls()[0].bytes.toHex(), touch_buffer(contacts(128)).toHex());
    EXPECT_EQ(emitted.texts, Lines{});
}

TEST(TheSimulatedDriver, ReceivesWhatIsHandedBack)
{
    SimulatedDriver driver;
    QWidget hidden;
    ZorvicHardware hardware(nullptr);
    hardware.init();
    hardware.setWidgetOfInterest(&hidden);
    driver.clear_calls();

    reports::deliver(hardware, reports::pen({5, 0x1234, 0x5678, true, false, false}));
    reports::deliver(hardware, reports::touch({{1, 2, 3, 4, true}}));

    EXPECT_EQ(driver.call_texts(),
              (Lines{"SendTouchPacketToSystem(7, 9, 092185341278560000)",
                     "SendTouchPacketToSystem(7, 9, 094581020003000000)"}));
    hardware.uninit();
}

TEST(TheSimulatedDriver, ReceivesNothingWithoutItsFunction)
{
    SimulatedDriver driver(SimulatedDriver::two_boards_and_a_hub(), "without_SendTouchPacketToSystem");
    QWidget hidden;
    ZorvicHardware hardware(nullptr);
    hardware.init();
    hardware.setWidgetOfInterest(&hidden);
    driver.clear_calls();
    const BoardSignals emitted(hardware);

    reports::deliver(hardware, reports::pen({5, 0x1234, 0x5678, true, false, false}));

    EXPECT_EQ(driver.call_texts(), Lines{});
    EXPECT_EQ(emitted.texts, Lines{});
    hardware.uninit();
}

} // namespace
