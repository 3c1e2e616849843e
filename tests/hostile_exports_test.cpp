#include "support/board_signals.h"
#include "support/driver_exports.h"
#include "support/live_dialog.h"
#include "support/reports.h"
#include "support/simulated_driver.h"

#include <QWidget>

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <set>
#include <string>
#include <vector>

// Tests with drivers that lack one function each.

namespace {

using Lines = std::vector<std::string>;

struct Outcome
{
    Lines calls;   ///< the program's calls, as in the driver's log
    Lines emitted; ///< signals after the start
    std::string standard_error;
};

void deliver_each_kind(ZorvicHardware &hardware)
{
    reports::deliver(hardware, reports::pen({1, 4660, 22136, true, true, false}));
    reports::deliver(hardware, reports::touch({{5, 9000, 9001, 3, true}}));
    reports::deliver(hardware, reports::erase({{5, 9002, 9003, 3, 4, true}}));
    reports::deliver(hardware, reports::status({1, 2, 3, 4, 5, -1}));
    reports::deliver(hardware, QByteArray::fromHex("0099"));
}

void set_everything(ZorvicHardware &hardware)
{
    hardware.setPenHardwareMode(1, ZorvicHardware::PenHardwareMode(2));
    hardware.setPenReportMode(2, ZorvicHardware::PenReportMode(1));
    hardware.setTouchReportMode(ZorvicHardware::TouchReportMode(1));
    hardware.setEraseReportMode(ZorvicHardware::EraseReportMode::detectionOn);
    hardware.setGlintray(true);
    hardware.getTouchStatus(9); // no such board, so only the tests' own reports answer
}

/// Lets a board manager do everything, with a driver that lacks the function @p missing, or with the whole
/// driver if that is empty.
Outcome run_without(const QString &missing)
{
    const SimulatedDriver driver(SimulatedDriver::two_boards_and_a_hub(),
                                 missing.isEmpty() ? QString() : "without_" + missing);
    Outcome run;
    testing::internal::CaptureStderr();
    {
        QWidget hidden;
        ZorvicHardware hardware(nullptr);
        hardware.init();
        BoardSignals emitted(hardware);
        set_everything(hardware);
        deliver_each_kind(hardware);
        hardware.setWidgetOfInterest(&hidden);
        reports::deliver(hardware, reports::pen({2, 10, 20, true, false, false}));
        reports::deliver(hardware, reports::touch({{6, 10, 20, 30, true}}));
        hardware.uninit();
        run.emitted = emitted.texts;
    }
    run.standard_error = testing::internal::GetCapturedStderr();
    run.calls = driver.call_texts();
    return run;
}

std::string name_of(const std::string &call)
{
    return call.substr(0, call.find('('));
}

/// The calls that remain without one function. Without a function that enumerates, there are no boards
/// either.
Lines expected_without(const std::string &missing, Lines calls)
{
    const std::set<std::string> needs_no_board{"Attach", "SetPnpCallback", "GetDeviceCount", "ClearCallback",
                                               "Detach"};
    const bool no_boards = missing == "Attach" || missing == "GetDeviceCount" || missing == "EnumDeviceInfo";
    const std::string status_request = "WritePacket(9, 3a51540d, 4)"; // ":QT\r"; goes to any board named
    const auto gone = [&](const std::string &call) {
        return name_of(call) == missing
            || (no_boards && needs_no_board.count(name_of(call)) == 0 && call != status_request);
    };
    calls.erase(std::remove_if(calls.begin(), calls.end(), gone), calls.end());
    return calls;
}

class ADriverWithoutOneFunction : public testing::TestWithParam<const char *>
{
};

TEST_P(ADriverWithoutOneFunction, IsUsedAsFarAsItGoes)
{
    const Outcome whole = run_without({});

    const Outcome run = run_without(GetParam());

    EXPECT_EQ(run.calls, expected_without(GetParam(), whole.calls));
    EXPECT_EQ(
        run.emitted,
        (Lines{"penEvent(pen 1 at 4660, 22136, tip, button)",
               "touchEvent(touch 5 at 9000, 9001, extent 3, down)",
               "eraseEvent(eraser 5 at 9002, 9003, size 3, 4, down)", "touchStatus(9, status 1 2 3 4 5 -1)"}))
        << "and what goes to the system is not emitted";
    EXPECT_EQ(run.standard_error, "");
}

TEST_P(ADriverWithoutOneFunction, LetsTheWindowStartAndEnd)
{
    const std::string missing = GetParam();
    const SimulatedDriver driver(SimulatedDriver::two_boards_and_a_hub(), "without_" + QString(GetParam()));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    {
        LiveDialog dialog;
        deliver_each_kind(dialog.hardware());

        EXPECT_EQ(dialog.pens, 1);
        EXPECT_EQ(dialog.touches, 1);
        EXPECT_EQ(dialog.erasers, 1);
        EXPECT_TRUE(dialog.takes_a_pen());
        dialog.end();
    }
    std::cout.flush();

    const bool no_count = missing == "Attach" || missing == "GetDeviceCount";
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              no_count ? "Enumerated 0 devices.\n" : "Enumerated 3 devices.\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(name_of(driver.call_texts().back()), missing == "Detach" ? "ClearCallback" : "Detach");
}

INSTANTIATE_TEST_SUITE_P(, ADriverWithoutOneFunction, testing::ValuesIn(driver_exports),
                         [](const auto &row) { return row.param; });

} // namespace
