#include "support/driver_exports.h"
#include "support/simulated_driver.h"

#include "commands/lock.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <elf.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace {

using Json = nlohmann::json;

const QByteArray first = "{\"type\":\"scenario\",\"version\":1}\n";

QByteArray board(int number)
{
    return R"({"type":"device","kind":1,"board":)" + QByteArray::number(number)
        + ",\"info\":\"hid<true>vid<04d8>pid<00a1>xp<4>xt<10>xl<2>serial<77>\"}\n";
}

/// These boards report over and over, since what they report before the probe listens is lost.
QByteArray touched(const QList<int> &boards)
{
    QByteArray lines = "{\"type\":\"repeat\",\"count\":100000}\n";
    for (const int number : boards)
        lines += R"({"type":"pen","board":)" + QByteArray::number(number)
            + ",\"pen\":0,\"x\":1,\"y\":2,\"tip\":true,\"button\":false}\n";
    return lines + "{\"type\":\"wait\",\"time\":1000}\n{\"type\":\"end\"}\n";
}

struct Outcome
{
    int status = -1;
    std::string output;
    std::string errors;

    std::string verdict() const { return output.substr(0, output.find('\n')); }
};

/// A folder of the test, the first place at which the loader looks for a driver.
class Probe
{
public:
    Probe()
    {
        m_environment.insert("LD_LIBRARY_PATH", m_folder.path());
        m_environment.insert("XDG_RUNTIME_DIR", m_folder.path());
        m_environment.insert("BOARDSIM_LOG", m_folder.filePath("log.jsonl"));
    }

    QString driver() const { return m_folder.filePath("libzorvicboardex.so.1"); }
    QString folder() const { return m_folder.path(); }
    void install(const QString &library) const { ASSERT_TRUE(QFile::copy(library, driver())); }
    /// A simulated driver, e.g. "driver" or "variants/without_anything".
    void installSimulated(const QString &name) const
    {
        install(SimulatedDriver::folder() + "/../" + name + "/libzorvicboardex.so.1");
    }
    QString write(const QString &name, const QByteArray &contents) const
    {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
        return file.fileName();
    }
    void set(const QString &name, const QString &value) { m_environment.insert(name, value); }
    void play(const QByteArray &scenario) { set("BOARDSIM_SCENARIO", write("scenario.jsonl", scenario)); }

    void start(QProcess &process, const QStringList &options) const
    {
        process.setProcessEnvironment(m_environment);
        process.start(LANTERNIX_LAB, QStringList{"probe"} + options);
    }
    Outcome run(const QStringList &options = {}) const
    {
        QProcess process;
        start(process, options);
        process.waitForFinished();
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput().toStdString(), process.readAllStandardError().toStdString()};
    }
    Json json(const QStringList &options = {}) const
    {
        return Json::parse(run(QStringList{"--json"} + options).output);
    }
    /// The functions that were called, in their order.
    std::vector<std::string> calls() const
    {
        std::vector<std::string> names;
        std::ifstream log(m_folder.filePath("log.jsonl").toStdString());
        for (std::string line; std::getline(log, line);) {
            const Json call = Json::parse(line, nullptr, false); // the last line may be cut off
            if (call.is_object() && call.contains("export"))
                names.push_back(call["export"].get<std::string>());
        }
        return names;
    }

private:
    QTemporaryDir m_folder;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
};

/// The header of a library for 32-bit x86.
QByteArray header32()
{
    Elf32_Ehdr header{};
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = ELFCLASS32;
    header.e_ident[EI_DATA] = ELFDATA2LSB;
    header.e_ident[EI_VERSION] = EV_CURRENT;
    header.e_type = ET_DYN;
    header.e_machine = EM_386;
    header.e_version = EV_CURRENT;
    header.e_ehsize = sizeof header;
    return QByteArray(reinterpret_cast<const char *>(&header), sizeof header).append(QByteArray(64, 0));
}

struct Row
{
    const char *name;
    void (*prepare)(Probe &probe);
    const char *verdict; ///< DRIVER stands for the driver's path
    const char *step;    ///< in which the driver was asked last
    const char *ended;
    const char *patience = "10";
};

void break_(Probe &probe, const char *fault)
{
    probe.install(BROKEN_DRIVER);
    probe.set("BROKEN_DRIVER", fault);
}

class AnUnusableDriver : public testing::TestWithParam<Row>
{
};

} // namespace

TEST_P(AnUnusableDriver, IsToldWithTheOneThingToDo)
{
    Probe probe;
    GetParam().prepare(probe);

    const Outcome outcome = probe.run({"--patience", GetParam().patience, "--seconds", "0.1"});
    const Json answer = probe.json({"--patience", GetParam().patience, "--seconds", "0.1"});

    const std::string verdict =
        std::regex_replace(GetParam().verdict, std::regex("DRIVER"), probe.driver().toStdString());
    EXPECT_EQ(outcome.verdict(), verdict);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(answer["verdict"], verdict);
    EXPECT_EQ(answer["ready"], false);
    EXPECT_EQ(answer["result"]["step"], GetParam().step);
    EXPECT_EQ(answer["result"]["ended"], GetParam().ended);
}

INSTANTIATE_TEST_SUITE_P(
    , AnUnusableDriver,
    testing::Values(
        Row{"NotThere", [](Probe &) {},
            "install the board maker's driver: the loader finds no libzorvicboardex.so.1", "dlopen",
            "refused"},
        Row{"Text", [](Probe &probe) { probe.write("libzorvicboardex.so.1", QByteArray(100, '#')); },
            "install the driver again: DRIVER is not a library", "dlopen", "refused"},
        Row{"Empty", [](Probe &probe) { probe.write("libzorvicboardex.so.1", ""); },
            "install the driver again: DRIVER is not a library", "dlopen", "refused"},
        Row{"For32Bit", [](Probe &probe) { probe.write("libzorvicboardex.so.1", header32()); },
            "install the 64-bit driver: DRIVER is for 32-bit programs", "dlopen", "refused"},
        Row{"BehindOneFor32Bit",
            [](Probe &probe) {
                QDir(probe.folder()).mkdir("first");
                probe.write("first/libzorvicboardex.so.1", header32());
                probe.set("LD_LIBRARY_PATH", probe.folder() + "/first:" + probe.folder());
                break_(probe, "crashes-when-opened");
            },
            "ask the board's maker for another version of the driver: it crashes in dlopen (Aborted)",
            "dlopen", "crashed"},
        Row{"WithoutALibraryThatItNeeds", [](Probe &probe) { probe.install(NEEDY_DRIVER); },
            "install libabsent_library.so, which the driver needs", "dlopen", "refused"},
        Row{"CrashesWhenOpened", [](Probe &probe) { break_(probe, "crashes-when-opened"); },
            "ask the board's maker for another version of the driver: it crashes in dlopen (Aborted)",
            "dlopen", "crashed"},
        Row{"CrashesInAttach", [](Probe &probe) { break_(probe, "crashes"); },
            "ask the board's maker for another version of the driver: it crashes in zorvicAttach (Aborted)",
            "zorvicAttach", "crashed"},
        Row{"EndsTheProgram", [](Probe &probe) { break_(probe, "exits"); },
            "ask the board's maker for another version of the driver: it ends the program in zorvicAttach "
            "(status 3)",
            "zorvicAttach", "exited"},
        Row{"HangsInAttach", [](Probe &probe) { break_(probe, "hangs"); },
            "unplug the board and plug it in again, and if that does not help, ask the board's maker for "
            "another "
            "version of the driver: it does not return from zorvicAttach",
            "zorvicAttach", "hung", "1"},
        Row{"WithoutFunctions", [](Probe &probe) { probe.installSimulated("variants/without_anything"); },
            "install another version of the driver: this one lacks zorvicGetDeviceCount, without which there "
            "are no devices, and 46 more",
            "dlclose", "whole"},
        Row{"WithoutCallbacks", [](Probe &probe) { probe.installSimulated("variants/without_SetCallback"); },
            "install another version of the driver: this one lacks zorvicSetCallback, without which there "
            "are no reports",
            "dlclose", "whole"},
        Row{"WithoutBoards",
            [](Probe &probe) {
                probe.installSimulated("driver");
                probe.play(first);
            },
            "check the board's cable and power: the driver sees no board", "dlclose", "whole"},
        Row{"WithAHubOnly",
            [](Probe &probe) {
                probe.installSimulated("driver");
                probe.play(first + "{\"type\":\"device\",\"kind\":3,\"board\":4,\"info\":\"\"}\n");
            },
            "switch on the board, or pair it: the driver sees a hub, but no board", "dlclose", "whole"}),
    [](const auto &row) { return std::string(row.param.name); });

struct ReadyRow
{
    const char *name;
    QByteArray scenario;
    const char *verdict;
    std::vector<int> heard;
};

class AUsableDriver : public testing::TestWithParam<ReadyRow>
{
};

TEST_P(AUsableDriver, IsReady)
{
    Probe probe;
    probe.installSimulated("driver");
    probe.play(GetParam().scenario);

    const Outcome outcome = probe.run({"--seconds", "0.5"});
    const Json answer = probe.json({"--seconds", "0.5"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(std::regex_match(outcome.verdict(), std::regex(GetParam().verdict))) << outcome.verdict();
    EXPECT_EQ(answer["ready"], true);
    EXPECT_EQ(answer["reports"]["boards"].get<std::vector<int>>(), GetParam().heard);
}

INSTANTIATE_TEST_SUITE_P(
    , AUsableDriver,
    testing::Values(ReadyRow{"WithABoard", first + board(7) + touched({7}), "ready: each board reports", {7}},
                    ReadyRow{"WithABoardThatNobodyTouches",
                             first + board(7),
                             "ready, but no report of board 7 came in 0\\.\\d s: touch the board",
                             {}},
                    ReadyRow{"WithTwoBoards",
                             first + board(7) + board(9) + touched({7, 9}),
                             "ready: each board reports",
                             {7, 9}},
                    ReadyRow{"WithTwoBoardsOfWhichOneIsTouched",
                             first + board(7) + board(9) + touched({9}),
                             "ready, but no report of board 7 came in 0\\.\\d s: touch the board",
                             {9}}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(AProbe, TellsWhatTheDriverIs)
{
    Probe probe;
    probe.installSimulated("driver");
    probe.play(first + board(7) + touched({7}));

    const Json answer = probe.json();

    EXPECT_EQ(answer["driver"]["path"], probe.driver().toStdString());
    EXPECT_EQ(answer["driver"]["size"], QFile(probe.driver()).size());
    EXPECT_EQ(answer["driver"]["sha256"].get<std::string>().size(), 64U);
    EXPECT_EQ(answer["driver"]["bits"], 64);
    EXPECT_EQ(answer["places"][0]["found"], "taken");
    EXPECT_EQ(answer["places"][0]["why"], "LD_LIBRARY_PATH");
    EXPECT_EQ(answer["functions"].size(), driver_exports.size());
    EXPECT_EQ(answer["missing_functions"].size(), 0U);
    EXPECT_EQ(answer["attached"], true);
    EXPECT_EQ(answer["driver_version"].size(), 4U);
}

TEST(AProbe, TellsTheDevicesAsTheProgramDecodesThem)
{
    Probe probe;
    probe.installSimulated("driver");
    probe.play(first + board(7) + touched({7}));

    const Json answer = probe.json();

    const Json device = answer["devices"].at(0);
    EXPECT_EQ(device["board"], 7);
    EXPECT_EQ(device["name"], "board");
    EXPECT_EQ(device["type"], "HID");
    EXPECT_EQ(device["vid"], 0x04d8);
    EXPECT_EQ(device["xt"], 10);
    EXPECT_EQ(device["record"].get<std::string>().substr(0, 16), "0900000001000000");
    EXPECT_EQ(answer["reports"]["first"], "0821000100020001");
}

TEST(AProbe, AsksTheDriverAsTheProgramDoesAndWithdrawsEverything)
{
    Probe probe;
    probe.installSimulated("driver");
    probe.play(first + board(7));

    probe.run({"--seconds", "0.1"});

    std::vector<std::string> expected{
        "zorvicLibraryVersionNumber", "zorvicAttach",         "zorvicSetPnpCallback", "zorvicAttach",
        "zorvicGetDeviceCount",       "zorvicEnumDeviceInfo", "zorvicSetCallback",    "zorvicSetXferMask"};
    for (int modes = 0; modes < 3; ++modes) {
        for (int i = 0; i < 4; ++i)
            expected.insert(expected.end(), {"zorvicWritePacket", "zorvicSetPointingDeviceDestination"});
        expected.insert(expected.end(), {"zorvicSetTouchDestination", "zorvicSetLATEDetection"});
    }
    expected.insert(expected.end(),
                    {"zorvicClearCallback", "zorvicClearCallback", "zorvicDetach", "zorvicDetach"});
    EXPECT_EQ(probe.calls(), expected);
}

TEST(AProbe, WithdrawsEverythingWhenItIsTerminated)
{
    Probe probe;
    probe.installSimulated("driver");
    probe.play(first + board(7));
    QProcess process;
    probe.start(process, {"--json", "--seconds", "1000"});
    const auto times = [&probe](const char *function) {
        const std::vector<std::string> calls = probe.calls();
        return std::count(calls.begin(), calls.end(), function);
    };
    ASSERT_TRUE(QTest::qWaitFor([&] { return times("zorvicSetLATEDetection") == 2; }, 30000));

    process.terminate();

    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(Json::parse(process.readAllStandardOutput().toStdString())["result"]["ended"], "whole");
    EXPECT_EQ(times("zorvicSetLATEDetection"), 3);
    EXPECT_EQ(times("zorvicDetach"), 2);
}

TEST(AProbe, KeepsWhatTheDriverPrintsOutOfItsAnswer)
{
    Probe probe;
    break_(probe, "prints");

    const Outcome outcome = probe.run({"--json"});

    EXPECT_EQ(Json::parse(outcome.output)["attached"], false);
    EXPECT_NE(outcome.errors.find("the driver prints this\n"), std::string::npos) << outcome.errors;
}

TEST(AProbe, LeavesADriverAloneThatAnotherProcessHasOpen)
{
    Probe probe;
    probe.installSimulated("driver");
    probe.play(first + board(7));
    void *const library = dlopen(probe.driver().toLocal8Bit(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(library);

    const Outcome outcome = probe.run();
    const Json answer = probe.json();

    dlclose(library);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.verdict(),
              "end lab_probe_test (process " + std::to_string(getpid())
                  + "), which has the driver open, and probe again");
    EXPECT_EQ(answer["holders"][0]["process"], getpid());
    EXPECT_EQ(probe.calls(), std::vector<std::string>());
}

TEST(AProbe, LeavesADriverAloneThatIsBeingRecorded)
{
    Probe probe;
    probe.installSimulated("driver");
    probe.play(first + board(7));
    qputenv("XDG_RUNTIME_DIR", probe.folder().toLocal8Bit());
    const lab::Lock lock("recording", probe.driver().toStdString());

    const Outcome outcome = probe.run();

    EXPECT_EQ(outcome.verdict(), "end the recording of the board that goes on, and probe again");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(probe.calls(), std::vector<std::string>());
}

TEST(AProbe, TakesADriverByItsPath)
{
    Probe probe;
    probe.installSimulated("driver");
    probe.play(first + board(7));
    const QString other = probe.folder() + "/other.so";
    ASSERT_TRUE(QFile::rename(probe.driver(), other));

    const Json answer = probe.json({"--seconds", "0", "--driver", other});

    EXPECT_EQ(answer["ready"], true);
    EXPECT_EQ(answer["driver"]["path"], other.toStdString());
}

TEST(AProbe, RefusesADriverThatIsNotThere)
{
    const Outcome outcome = Probe().run({"--driver", "/nowhere/driver.so"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
}
