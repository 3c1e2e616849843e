#include "support/lab.h"
#include "support/simulated_driver.h"

#include "stage/driverlog.h"
#include "stage/lines.h"
#include "torture/fault.h"
#include "torture/lackingdriver.h"

#include "recorder/function.h"
#include "scenarioreader.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <string>

#include <dlfcn.h>

using namespace lab_testing;

// The catalogue of faults and what looks at them; e2e/lab_torture_test runs the program.

namespace {

using Names = std::set<std::string>;

std::string contentsOf(const char *path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll().toStdString();
}

/// Which of the driver's functions the loader finds in a library.
Names functionsIn(const std::string &library)
{
    void *const handle = dlopen(library.c_str(), RTLD_LAZY);
    EXPECT_NE(handle, nullptr) << dlerror();
    Names found;
    for (const recorder::FunctionNames &function : recorder::functionNames) {
        if (handle && dlsym(handle, function.name))
            found.insert(function.name);
    }
    if (handle)
        dlclose(handle);
    return found;
}

class ACopyOfADriver : public testing::Test
{
protected:
    std::string path(const char *name) const { return m_folder.filePath(name).toStdString(); }
    const std::string driver = SimulatedDriver::folder().toStdString() + "/libzorvicboardex.so.1";

private:
    QTemporaryDir m_folder;
};

} // namespace

TEST(TheCatalogue, NamesEachFaultOnceAndTheDocumentNamesThemAll)
{
    const std::string document = contentsOf(TORTURE_DOCUMENT);
    Names names;
    for (const torture::Fault &fault : torture::catalogue()) {
        EXPECT_TRUE(names.insert(fault.name).second) << fault.name;
        const bool isOfAFunction = fault.name.rfind("without-", 0) == 0;
        EXPECT_TRUE(isOfAFunction || document.find("| `" + fault.name + "` |") != std::string::npos)
            << fault.name;
    }
    EXPECT_EQ(names.size(), torture::catalogue().size());
}

TEST(TheCatalogue, LacksEachFunctionInTurnAndAllOfThem)
{
    for (const auto *const faults : {&torture::catalogue(), &torture::catalogueForAnyDriver()}) {
        Names missing;
        std::size_t most = 0;
        for (const torture::Fault &fault : *faults) {
            if (fault.missing.size() == 1)
                missing.insert(fault.missing.front());
            most = std::max(most, fault.missing.size());
        }
        EXPECT_EQ(missing.size(), recorder::functionCount);
        EXPECT_EQ(most, recorder::functionCount);
    }
}

TEST(TheCatalogue, HasScenariosThatTheSimulatedBoardPlays)
{
    const QTemporaryDir folder;
    const std::string file = folder.filePath("scenario.jsonl").toStdString();
    for (const torture::Fault &fault : torture::catalogue()) {
        std::ofstream scenario(file);
        scenario << "{\"type\":\"scenario\",\"version\":2}\n";
        for (const auto *const lines : {&fault.devices, &fault.round}) {
            for (const std::string &line : *lines)
                scenario << line << '\n';
        }
        scenario.close();
        std::string error;
        EXPECT_TRUE(boardsim::readScenarioFile(file, error)) << fault.name << ": " << error;
    }
}

TEST_F(ACopyOfADriver, LacksTheFunctionsThatAreToBeMissing)
{
    Names expected = functionsIn(driver);
    ASSERT_EQ(expected.size(), recorder::functionCount);
    const torture::Lines missing{"zorvicSetCallback", "zorvicDetach", "zorvicNeverThere"};

    EXPECT_EQ(torture::copyWithout(missing, driver, path("copy.so")), "");

    for (const std::string &name : missing)
        expected.erase(name);
    EXPECT_EQ(functionsIn(path("copy.so")), expected);
}

TEST_F(ACopyOfADriver, IsTheDriverIfNothingIsToBeMissing)
{
    EXPECT_EQ(torture::copyWithout({}, driver, path("copy.so")), "");

    EXPECT_EQ(contentsOf(path("copy.so").c_str()), contentsOf(driver.c_str()));
}

TEST_F(ACopyOfADriver, IsNotMadeOfWhatIsNoLibrary)
{
    std::ofstream(path("text.so")) << "no library\n";

    EXPECT_EQ(torture::copyWithout({}, path("text.so"), path("copy.so")), "is no ELF file");
    EXPECT_EQ(torture::copyWithout({}, path("nothing.so"), path("copy.so")),
              "cannot be copied: No such file or directory");
}

TEST(ADriversLog, IsReadAsItGrows)
{
    const QTemporaryDir folder;
    const std::string file = folder.filePath("log.jsonl").toStdString();
    stage::DriverLog log(file);
    log.read();
    EXPECT_EQ(log.lastCall(), "") << "there is no file yet";
    std::ofstream stream(file);
    const auto write = [&](const std::string &text) { (stream << text).flush(); };

    write(R"({"export":"zorvicSetTouchDestination","arguments":{"board":1,"destination":1},"result":null})"
          "\n"
          R"({"export":"zorvicSendTouchPacketToSystem","arguments":{"board":1},"result":null})"
          "\n"
          R"({"mark":"warm"})"
          "\nno line\n"
          R"({"board":1,"report":"0045"})"
          "\n"
          R"({"export":"zorvicSendTou)");
    log.read();
    EXPECT_TRUE(log.hasMark("warm"));
    EXPECT_TRUE(log.isReporting(1));
    EXPECT_FALSE(log.isReporting(2));
    EXPECT_EQ(log.handbacks(), 1);

    write(R"(chPacketToSystem","arguments":{"board":1},"result":null})"
          "\n"
          R"({"export":"zorvicSetTouchDestination","arguments":{"board":1,"destination":0},"result":null})"
          "\n");
    log.read();
    EXPECT_EQ(log.handbacks(), 2);
    EXPECT_EQ(log.handbacksAtMark("warm"), 1);
    EXPECT_FALSE(log.isReporting(1));
    EXPECT_EQ(log.lastCall(), "zorvicSetTouchDestination");
}

TEST(Torture, ListsTheFaultsWithTheirNumbers)
{
    const Outcome outcome = lab({"torture", "--list"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    const QStringList lines = QString::fromStdString(outcome.output).split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(lines.size(), int(torture::catalogue().size()));
    EXPECT_TRUE(lines.front().startsWith("  1  every-length ")) << lines.front().toStdString();
    EXPECT_TRUE(lines.back().contains("without-all")) << lines.back().toStdString();
}

struct RefusalRow
{
    const char *name;
    QStringList arguments;
    const char *told;
};

class ATortureThatMakesNoSense : public testing::TestWithParam<RefusalRow>
{
};

TEST_P(ATortureThatMakesNoSense, IsRefusedWithOneLineAndStatusTwo)
{
    const Outcome outcome = lab(QStringList{"torture"} + GetParam().arguments);

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
    EXPECT_NE(outcome.errors.find(GetParam().told), std::string::npos) << outcome.errors;
}

INSTANTIATE_TEST_SUITE_P(
    , ATortureThatMakesNoSense,
    testing::Values(RefusalRow{"UnknownFault", {"--run", "dance"}, "there is no fault \"dance\""},
                    RefusalRow{"NumberZero", {"--run", "0"}, "there is no fault \"0\""},
                    RefusalRow{"NumberTooGreat", {"--run", "90"}, "there is no fault \"90\""},
                    RefusalRow{"FaultOfTheSimulatedDriverOnly",
                               {"--driver", "/bin/sh", "--run", "flood"},
                               "there is no fault \"flood\""},
                    RefusalRow{"NoProgram", {"/nowhere/lanternix"}, "/nowhere/lanternix"},
                    RefusalRow{"NoDriver", {"--driver", "/nowhere/driver"}, "/nowhere/driver"},
                    RefusalRow{"TextAsDriver", {"--driver", TORTURE_DOCUMENT}, "is not a library"},
                    RefusalRow{"ListAndRun", {"--list", "--run", "flood"}, "excludes"}),
    [](const auto &row) { return std::string(row.param.name); });
