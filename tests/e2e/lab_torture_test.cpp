#include "e2e/desktop.h"
#include "support/simulated_driver.h"

#include "commands/virtualscreen.h"
#include "stage/scene.h"
#include "torture/trial.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include <dlfcn.h>
#include <nlohmann/json.hpp>

// lanternix-lab torture with the real program, and with programs that do not bear the faults.

namespace {

constexpr int patience_ms = 100'000;

struct Result
{
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

Result torture_with(const QStringList &arguments)
{
    QProcess lab;
    lab.start(LANTERNIX_LAB, QStringList{"torture"} + arguments);
    lab.waitForFinished(patience_ms);
    return {lab.exitStatus() == QProcess::NormalExit ? lab.exitCode() : -1, lab.readAllStandardOutput(),
            lab.readAllStandardError()};
}

/// A shell script that stands in for the program.
class AProgram
{
public:
    explicit AProgram(const QByteArray &script)
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\n" + script + "\n");
        file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    }
    QString path() const { return m_folder.filePath("program"); }

private:
    QTemporaryDir m_folder;
};

/// A copy of a driver that no other test has open.
class ADriver
{
public:
    explicit ADriver(const QString &library) { EXPECT_TRUE(QFile::copy(library, path())); }
    QString path() const { return m_folder.filePath("libzorvicboardex.so.1"); }

private:
    QTemporaryDir m_folder;
};

QString simulated_library()
{
    return SimulatedDriver::folder() + "/libzorvicboardex.so.1";
}

/// Tries one fault with the real program.
torture::Lines complaints_about(const torture::Fault &fault)
{
    const lab::VirtualScreen screen;
    stage::Setting setting;
    setting.program = LANTERNIX_PROGRAM;
    setting.driver = SimulatedDriver::hostile_folder().toStdString() + "/libzorvicboardex.so.1";
    setting.screen = &screen;
    setting.patience = 5; // is used up by what never comes
    return torture::tryFault(setting, true, fault).complaints;
}

torture::Fault harmless()
{
    return {"harmless", "nothing", {stage::board(1)}, {stage::pen(1, 9000, 9000, false)}, 1};
}

} // namespace

TEST(TheProgram, BearsTheFaults)
{
    const QTemporaryDir folder;
    const QString junit = folder.filePath("torture.xml");

    const Result run = torture_with({"--json", "--junit", junit, "--run", "every-length", "7",
                                     "unplug-in-a-stroke", "prints", "without-SetCallback", "without-all"});

    EXPECT_EQ(run.status, 0) << run.errors.toStdString();
    const auto json = nlohmann::json::parse(run.output.toStdString());
    EXPECT_EQ(json["held"], true) << json.dump(1);
    EXPECT_EQ(json["faults"].size(), 6U);
    EXPECT_EQ(json["faults"][1]["name"], "lift-without-down");
    QFile file(junit);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray xml = file.readAll();
    EXPECT_TRUE(xml.contains(R"(<testsuite name="torture" tests="6" failures="0" errors="0" skipped="0">)"))
        << xml.toStdString();
    EXPECT_TRUE(xml.contains(R"(<testcase classname="lanternix" name="every-length" time=)"));
}

TEST(TheProgram, BearsAnyDriverAsItIsAndWithoutAFunction)
{
    const ADriver driver(simulated_library());

    const Result run =
        torture_with({"--driver", driver.path(), "--run", "as-it-is", "without-EnumDeviceInfo"});

    EXPECT_EQ(run.status, 0) << run.output.toStdString();
    EXPECT_TRUE(run.output.endsWith("2 faults, 0 failed\n")) << run.output.toStdString();
}

struct DriverRow
{
    const char *name;
    const char *fault; ///< of the broken driver
    const char *told;
};

class ADriverThatBreaksDown : public testing::TestWithParam<DriverRow>
{
};

TEST_P(ADriverThatBreaksDown, IsNotTriedButTheOneThingToDoIsTold)
{
    qputenv("BROKEN_DRIVER", GetParam().fault);
    const ADriver driver(BROKEN_DRIVER_LIBRARY);

    const Result run = torture_with({"--driver", driver.path(), "--run", "as-it-is"});

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors.count('\n'), 1) << run.errors.toStdString();
    EXPECT_TRUE(run.errors.contains(GetParam().told)) << run.errors.toStdString();
}

INSTANTIATE_TEST_SUITE_P(, ADriverThatBreaksDown,
                         testing::Values(DriverRow{"Crashes", "crashes", "zorvicAttach"},
                                         DriverRow{"Exits", "exits", "zorvicAttach"},
                                         DriverRow{"Hangs", "hangs", "zorvicAttach"}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(ADriverThatAnotherProcessHasOpen, IsNotTriedButTheProcessIsNamed)
{
    const ADriver driver(simulated_library());
    void *const held = dlopen(driver.path().toUtf8(), RTLD_NOW);
    ASSERT_NE(held, nullptr) << dlerror();

    const Result run = torture_with({"--driver", driver.path(), "--run", "as-it-is"});
    dlclose(held);

    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(run.errors.startsWith("lanternix-lab: end lab_torture")) << run.errors.toStdString();
}

TEST(AProgramThatCrashes, IsToldWithItsSignal)
{
    const AProgram program("kill -SEGV $$");

    const Result run = torture_with({"--run", "flood", program.path()});

    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.output.contains("failed: no window; the program crashes with signal 11"))
        << run.output.toStdString();
    EXPECT_TRUE(run.output.endsWith("1 faults, 1 failed\n"));
}

TEST(AProgramThatEndsAtOnce, IsToldWithItsStatusAndWhatItPrints)
{
    const AProgram program("echo no memory >&2; exit 3");

    const Result run = torture_with({program.path(), "--run", "flood"});

    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.output.contains(
        "no window; the program ends with status 3; the program prints: no memory; the last call is missing"))
        << run.output.toStdString();
}

TEST(AnInterruptedTorture, EndsWithStatusTwo)
{
    const AProgram program("kill -INT $$");

    const Result run = torture_with({"--run", "flood", "127-contacts", program.path()});

    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.errors.endsWith("lanternix-lab: interrupted\n")) << run.errors.toStdString();
}

struct ComplaintRow
{
    const char *name;
    void (*spoil)(torture::Fault &fault);
    const char *complaint;
};

class AFaultThatIsNotBorne : public testing::TestWithParam<ComplaintRow>
{
};

TEST_P(AFaultThatIsNotBorne, IsToldInAPhrase)
{
    torture::Fault fault = harmless();
    EXPECT_EQ(complaints_about(fault), torture::Lines());

    GetParam().spoil(fault);

    const torture::Lines complaints = complaints_about(fault);
    EXPECT_EQ(std::count(complaints.begin(), complaints.end(), GetParam().complaint), 1)
        << testing::PrintToString(complaints);
}

INSTANTIATE_TEST_SUITE_P(
    , AFaultThatIsNotBorne,
    testing::Values(
        ComplaintRow{"NothingIsDrawn", [](torture::Fault &fault) { fault.missing = {"zorvicSetCallback"}; },
                     "a stroke behind the fault is not drawn"},
        ComplaintRow{"NothingIsHandedBack",
                     [](torture::Fault &fault) { fault.missing = {"zorvicSendTouchPacketToSystem"}; },
                     "a contact outside of the window is not handed back"},
        ComplaintRow{"DrawnWithoutAReport", [](torture::Fault &fault) { fault.draws = false; },
                     "a stroke is drawn that was never reported"},
        ComplaintRow{"HandedBackWithoutAReport", [](torture::Fault &fault) { fault.handsBack = false; },
                     "a contact is handed back that was never reported"},
        ComplaintRow{"OtherHandbacks", [](torture::Fault &fault) { fault.handbacks = 7; },
                     "0 reports handed back instead of 7"},
        ComplaintRow{"NoDetach", [](torture::Fault &fault) { fault.missing = {"zorvicDetach"}; },
                     "the last call is zorvicClearCallback"},
        ComplaintRow{"ReportsToTheEnd",
                     [](torture::Fault &fault) { fault.misbehaviour = "callbacks-in-detach"; },
                     "touches are still reported to the program"},
        ComplaintRow{"AScenarioThatDoesNotGoOn",
                     [](torture::Fault &fault) { fault.round = {stage::waitForFile("/nowhere/never")}; },
                     "the driver does not get through the first rounds"}),
    [](const auto &row) { return std::string(row.param.name); });
