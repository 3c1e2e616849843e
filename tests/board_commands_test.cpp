#include "support/board_signals.h"
#include "support/recording_driver.h"
#include "support/reports.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;
using Erase = ZorvicHardware::EraseReportMode;
using PenHardware = ZorvicHardware::PenHardwareMode;
using PenReport = ZorvicHardware::PenReportMode;
using Touch = ZorvicHardware::TouchReportMode;

/// The call that writes a text command to a board.
std::string written(int board, const QByteArray &command)
{
    return "WritePacket(" + std::to_string(board) + ", " + std::to_string(command.size()) + ") "
        + command.toHex().toStdString();
}

struct Setter
{
    const char *name;
    std::function<void(ZorvicHardware &)> run;
    Lines calls; ///< for boards 7 and 3, enumerated in this order
};

class ASetter : public testing::TestWithParam<Setter>
{
};

TEST_P(ASetter, ActsOnEveryBoardInTheOrderOfEnumeration)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}, {2, 5, {}}, {1, 3, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();

    GetParam().run(hardware);

    EXPECT_EQ(driver.lines(), GetParam().calls);
}

TEST_P(ASetter, CallsNothingWithoutABoard)
{
    RecordingDriver driver;
    driver.devices = {{2, 5, {}}, {9, 6, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();

    GetParam().run(hardware);

    EXPECT_EQ(driver.lines(), Lines{});
}

TEST_P(ASetter, CallsNothingBeforeInit)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}};
    ZorvicHardware hardware(nullptr);

    GetParam().run(hardware);

    EXPECT_EQ(driver.lines(), Lines{});
    EXPECT_EQ(driver.loader_calls, Lines{});
}

TEST_P(ASetter, CallsNothingWithoutTheLibrary)
{
    RecordingDriver driver;
    driver.opens = false;
    driver.devices = {{1, 7, {}}};
    ZorvicHardware hardware(nullptr);
    testing::internal::CaptureStderr();
    hardware.init();

    GetParam().run(hardware);

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the loader's own words") << "of init alone";
    EXPECT_EQ(driver.lines(), Lines{});
}

TEST_P(ASetter, IsQuietWhereTheDriverLacksTheFunction)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}};
    driver.missing = {"SetTouchDestination", "SetLATEDetection", "SetPointingDeviceDestination",
                      "WritePacket"};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();

    GetParam().run(hardware);

    EXPECT_EQ(driver.lines(), Lines{});
}

TEST_P(ASetter, TriesEveryBoardThoughEachFails)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}, {1, 3, {}}};
    driver.answers["WritePacket"] = -1;
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();

    GetParam().run(hardware);

    EXPECT_EQ(driver.lines(), GetParam().calls);
}

Lines text_command(const QByteArray &command)
{
    return {written(7, command), written(3, command)};
}

INSTANTIATE_TEST_SUITE_P(
    Setters, ASetter,
    testing::Values(
        Setter{"TouchReportMode",
               [](auto &hardware) { hardware.setTouchReportMode(Touch(2)); },
               {"SetTouchDestination(7, 2)", "SetTouchDestination(3, 2)"}},
        Setter{"TouchReportModeOfZero",
               [](auto &hardware) { hardware.setTouchReportMode(Touch(0)); },
               {"SetTouchDestination(7, 0)", "SetTouchDestination(3, 0)"}},
        Setter{"TouchReportModeAbove127",
               [](auto &hardware) { hardware.setTouchReportMode(Touch(200)); },
               {"SetTouchDestination(7, 200)", "SetTouchDestination(3, 200)"}},
        // The driver takes the character of the digit, not the number.
        Setter{"EraserDetectionOn",
               [](auto &hardware) { hardware.setEraseReportMode(Erase(1)); },
               {"SetLATEDetection(7, 49)", "SetLATEDetection(3, 49)"}},
        Setter{"EraserDetectionOff",
               [](auto &hardware) { hardware.setEraseReportMode(Erase(0)); },
               {"SetLATEDetection(7, 48)", "SetLATEDetection(3, 48)"}},
        Setter{"EraserDetectionOfTwo",
               [](auto &hardware) { hardware.setEraseReportMode(Erase(2)); },
               {"SetLATEDetection(7, 48)", "SetLATEDetection(3, 48)"}},
        Setter{"EraserDetectionOf257",
               [](auto &hardware) { hardware.setEraseReportMode(Erase(257)); },
               {"SetLATEDetection(7, 48)", "SetLATEDetection(3, 48)"}},
        Setter{"PenReportMode",
               [](auto &hardware) { hardware.setPenReportMode(2, PenReport(3)); },
               {"SetPointingDeviceDestination(7, 2, 0, 3)", "SetPointingDeviceDestination(3, 2, 0, 3)"}},
        Setter{
            "PenReportModeAbove127",
            [](auto &hardware) { hardware.setPenReportMode(250, PenReport(200)); },
            {"SetPointingDeviceDestination(7, 250, 0, 200)", "SetPointingDeviceDestination(3, 250, 0, 200)"}},
        Setter{"PenHardwareMode", [](auto &hardware) { hardware.setPenHardwareMode(1, PenHardware(2)); },
               text_command(":PN12\r")},
        Setter{"PenHardwareModeOfZeros",
               [](auto &hardware) { hardware.setPenHardwareMode(0, PenHardware(0)); },
               text_command(":PN00\r")},
        Setter{"PenHardwareModeOfPenTen",
               [](auto &hardware) { hardware.setPenHardwareMode(10, PenHardware(3)); },
               text_command(":PN103\r")},
        Setter{"PenHardwareModeOfManyDigits",
               [](auto &hardware) { hardware.setPenHardwareMode(255, PenHardware(12)); },
               text_command(":PN25512\r")},
        Setter{"GlintrayOn", [](auto &hardware) { hardware.setGlintray(true); }, text_command(":VL1\r")},
        Setter{"GlintrayOff", [](auto &hardware) { hardware.setGlintray(false); }, text_command(":VL0\r")}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(TheSetters, KeepToTheListOfBoardsThatTheyStartedWith)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}, {1, 3, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();
    bool unplugged = false;
    driver.hooks["WritePacket"] = [&] {
        if (unplugged)
            return;
        unplugged = true;
        driver.devices = {{1, 9, {}}};
        hardware.pnp();
    };

    hardware.setGlintray(true);
    hardware.setGlintray(false);

    std::vector<int> boards;
    for (const auto &call : driver.calls("WritePacket"))
        boards.push_back(static_cast<int>(call.arguments[0].value));
    EXPECT_EQ(boards, (std::vector<int>{7, 3, 9}));
}

TEST(TheCommandTexts, AreTheBoards)
{
    EXPECT_STREQ(ZorvicHardware::cmdGlintray, ":VL");
    EXPECT_STREQ(ZorvicHardware::cmdPenType, ":PK");
    EXPECT_STREQ(ZorvicHardware::cmdPenHardwareMode, ":PN");
}

TEST(ACommand, IsWrittenToItsBoardAlone)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}, {1, 3, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();

    hardware.sendCommand(3, ":XY\r");
    hardware.sendCommand(99, QByteArray("a\0b", 3));
    hardware.sendCommand(7, {});

    EXPECT_EQ(driver.lines(),
              (Lines{written(3, ":XY\r"), written(99, QByteArray("a\0b", 3)), "WritePacket(7, 0)"}));
}

TEST(ACommand, FailsOnlyWhereTheDriverAnswersMinusOne)
{
    RecordingDriver driver;
    ZorvicHardware hardware(nullptr);
    hardware.init();

    for (const int answer : {-2, -1, 0, 1, 5}) {
        driver.answers["WritePacket"] = answer;
        EXPECT_EQ(hardware.sendCommand(7, ":XY\r"), answer != -1) << answer;
    }
}

TEST(ACommand, FailsWithoutTheFunctionTheLibraryOrInit)
{
    RecordingDriver driver;
    driver.missing = {"WritePacket"};
    ZorvicHardware without_function(nullptr);
    without_function.init();
    EXPECT_FALSE(without_function.sendCommand(7, ":XY\r"));

    driver.missing = {};
    driver.opens = false;
    ZorvicHardware without_library(nullptr);
    testing::internal::CaptureStderr();
    without_library.init();
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(without_library.sendCommand(7, ":XY\r"));

    EXPECT_FALSE(ZorvicHardware(nullptr).sendCommand(7, ":XY\r"));
    EXPECT_EQ(driver.calls("WritePacket").size(), 0U);
}

TEST(AskingForTheTouchStatus, WritesToThatBoardAndNamesItWithEveryAnswer)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}, {1, 3, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();
    const BoardSignals emitted(hardware);
    const QByteArray answer = reports::status({1, 2, 3, 4, 5, -6});

    hardware.getTouchStatus(3);
    const auto *const bytes = reinterpret_cast<const unsigned char *>(answer.constData());
    ZorvicHardware::processPacketCallback(7, bytes, 8, &hardware);
    ZorvicHardware::processPacketCallback(3, bytes, 8, &hardware);
    hardware.getTouchStatus(7);
    ZorvicHardware::processPacketCallback(3, bytes, 8, &hardware);

    EXPECT_EQ(driver.lines(), (Lines{written(3, ":QT\r"), written(7, ":QT\r")}));
    EXPECT_EQ(emitted.texts,
              (Lines{"touchStatus(3, status 1 2 3 4 5 -6)", "touchStatus(3, status 1 2 3 4 5 -6)",
                     "touchStatus(7, status 1 2 3 4 5 -6)"}));
}

TEST(AskingForTheTouchStatus, IsRememberedBeforeADriverThatAnswersInsideTheCall)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, {}}, {1, 3, {}}};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    const BoardSignals emitted(hardware);
    driver.hooks["WritePacket"] = [&] { reports::deliver(hardware, reports::status({1, 2, 3, 4, 5, 6})); };

    hardware.getTouchStatus(3);

    EXPECT_EQ(emitted.texts, Lines{"touchStatus(3, status 1 2 3 4 5 6)"});
}

TEST(AskingForTheTouchStatus, IsRememberedThoughNothingCouldBeSent)
{
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    hardware.getTouchStatus(5);
    reports::deliver(hardware, reports::status({0, 0, 0, 0, 0, 0}));

    EXPECT_EQ(emitted.texts, Lines{"touchStatus(5, status 0 0 0 0 0 0)"});
}

void set_everything(ZorvicHardware &hardware)
{
    hardware.setTouchReportMode(Touch(1));
    hardware.setEraseReportMode(Erase(1));
    hardware.setPenReportMode(1, PenReport(1));
    hardware.setPenHardwareMode(1, PenHardware(2));
    hardware.setGlintray(true);
}

TEST(TheWholeDriver, ReceivesTheCommandsOfBothBoards)
{
    SimulatedDriver driver;
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear_calls();

    set_everything(hardware);

    EXPECT_EQ(driver.call_texts(),
              (Lines{"SetTouchDestination(7, 1)", "SetTouchDestination(3, 1)", "SetLATEDetection(7, 49)",
                     "SetLATEDetection(3, 49)", "SetPointingDeviceDestination(7, 1, 0, 1)",
                     "SetPointingDeviceDestination(3, 1, 0, 1)", "WritePacket(7, 3a504e31320d, 6)",
                     "WritePacket(3, 3a504e31320d, 6)", "WritePacket(7, 3a564c310d, 5)",
                     "WritePacket(3, 3a564c310d, 5)"}));
    EXPECT_TRUE(hardware.sendCommand(7, ":XY\r"));
}

TEST(ADriverWithoutSetters, ReceivesTheTextCommandsAlone)
{
    SimulatedDriver driver({R"({"type":"device","kind":1,"board":7,"info":""})"}, "without_mode_setters");
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear_calls();

    set_everything(hardware);

    EXPECT_EQ(driver.call_texts(),
              (Lines{"WritePacket(7, 3a504e31320d, 6)", "WritePacket(7, 3a564c310d, 5)"}));
}

TEST(ADriverWithoutWriting, ReceivesTheModesAlone)
{
    SimulatedDriver driver({R"({"type":"device","kind":1,"board":7,"info":""})"}, "without_WritePacket");
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear_calls();

    set_everything(hardware);

    EXPECT_EQ(driver.call_texts(),
              (Lines{"SetTouchDestination(7, 1)", "SetLATEDetection(7, 49)",
                     "SetPointingDeviceDestination(7, 1, 0, 1)"}));
    EXPECT_FALSE(hardware.sendCommand(7, ":XY\r"));
}

} // namespace
