#include "e2e/program.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <vector>

#include <elf.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <unistd.h>

// Tests of the whole program with drivers that misbehave and with files that are not a driver.

namespace {

constexpr QRgb white = 0xffffffff;
constexpr QRgb black = 0xff000000;

const char *const board_7 = R"({"type":"device","kind":1,"board":7,"info":""})";

/// Starts the program with the library in @p folder as its driver.
std::unique_ptr<Program> start_with(const QString &folder, const QStringList &scenario)
{
    qputenv("LD_LIBRARY_PATH", folder.toUtf8());
    return std::make_unique<Program>(scenario, Program::Driver::missing); // so that Program adds no folder
}

std::unique_ptr<Program> start_hostile(const QByteArray &misbehaviour, const QStringList &scenario)
{
    qputenv("BOARDSIM_MISBEHAVIOUR", misbehaviour);
    return start_with(SimulatedDriver::hostile_folder(), scenario);
}

bool shows(Program &program, QRgb colour)
{
    const QImage picture = program.desktop().window_picture();
    return !picture.isNull() && picture.pixel(picture.rect().center()) == colour;
}

TEST(ADriverThatPrints, LeavesTheProgramsOwnLineWhole)
{
    const auto program = start_hostile("prints", SimulatedDriver::two_boards_and_a_hub());

    program->desktop().press("Escape");

    EXPECT_EQ(program->exit_status(), 0);
    const QByteArray output = program->standard_output();
    ASSERT_TRUE(output.endsWith('\n')) << output.toStdString();
    QList<QByteArray> lines = output.split('\n');
    lines.removeLast();
    EXPECT_EQ(lines.removeAll("Enumerated 3 devices."), 1);
    EXPECT_TRUE(lines.contains("driver: attached"));
    EXPECT_TRUE(lines.contains("driver: detached"));
    for (const QByteArray &line : qAsConst(lines))
        EXPECT_TRUE(line.startsWith("driver: ")) << line.toStdString();
}

TEST(AWriteThatBlocks, DelaysTheWindowNoLongerThanItLasts)
{
    constexpr int at_once_ms = 1000;
    const auto program =
        start_hostile("blocking-write=3",
                      {board_7, R"({"type":"device","kind":1,"board":3,"info":"","plugged":false})",
                       SimulatedDriver::gate("go"), R"({"type":"plug","board":3})"});
    SimulatedDriver &driver = program->driver();
    const auto written = [&driver] {
        const std::vector<DriverCall> calls = driver.calls("WritePacket");
        return std::any_of(calls.begin(), calls.end(),
                           [](const DriverCall &call) { return call.arguments["board"] == 3; });
    };
    program->desktop().press("h");
    ASSERT_TRUE(eventually([&] { return shows(*program, white); }));

    driver.open_gate("go");
    ASSERT_TRUE(eventually([&] { return driver.has_mark("write blocks"); }));
    program->desktop().press("b");
    EXPECT_TRUE(shows(*program, white));
    EXPECT_FALSE(written()) << "the key has come while the program waits for the driver";
    ASSERT_TRUE(eventually(written));
    QElapsedTimer since_return;
    since_return.start();

    EXPECT_TRUE(eventually([&] { return shows(*program, black); }));
    EXPECT_LT(since_return.elapsed(), at_once_ms);
    program->desktop().press("Escape");
    EXPECT_EQ(program->exit_status(), 0);
}

// Tests with drivers that have not ended when Detach returns.

class CallbacksAfterDetach : public testing::TestWithParam<int>
{
};

TEST_P(CallbacksAfterDetach, LetTheProgramEnd)
{
    const auto program = start_hostile("callbacks-after-detach=" + QByteArray::number(GetParam()),
                                       SimulatedDriver::two_boards_and_a_hub());

    program->desktop().press("Escape");

    EXPECT_EQ(program->exit_status(), 0);
    EXPECT_EQ(program->driver().calls().back().name, "Detach");
}

INSTANTIATE_TEST_SUITE_P(ForMilliseconds, CallbacksAfterDetach, testing::Values(1, 60'000),
                         testing::PrintToStringParamName());

TEST(ACallbackThatOutlastsDetach, IsWaitedFor)
{
    const auto program =
        start_hostile("callback-outlasts-detach=200", SimulatedDriver::two_boards_and_a_hub());

    program->desktop().press("Escape");

    EXPECT_EQ(program->exit_status(), 0);
    EXPECT_TRUE(program->driver().has_mark("callback goes on"));
    EXPECT_EQ(program->driver().calls("Detach").size(), 2U) << "the second time when the library is closed";
}

TEST(ACallbackThatDoesNotReturn, KeepsTheLibraryOpenAndLetsTheProgramEnd)
{
    const auto program =
        start_hostile("callback-outlasts-detach=60000", SimulatedDriver::two_boards_and_a_hub());

    program->desktop().press("Escape");

    EXPECT_EQ(program->exit_status(), 0);
    EXPECT_EQ(program->driver().calls("Detach").size(), 1U);
}

// Tests with other files in place of the driver library.

QByteArray content_of(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("cannot read " + path.toStdString());
    return file.readAll();
}

void replace(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
        throw std::runtime_error("cannot write " + path.toStdString());
}

void make_text(const QString &path)
{
    replace(path, QByteArray("This is no library.\n").repeated(100));
}

void make_empty(const QString &path)
{
    replace(path, {});
}

void make_unreadable(const QString &path)
{
    QFile::setPermissions(path, {});
}

void make_for_another_processor(const QString &path)
{
    constexpr int machine_at = offsetof(Elf64_Ehdr, e_machine);
    QByteArray library = content_of(path);
    library[machine_at] = static_cast<char>(EM_AARCH64);
    library[machine_at + 1] = 0;
    replace(path, library);
}

void make_for_32_bits(const QString &path)
{
    QByteArray library = content_of(path);
    library[EI_CLASS] = ELFCLASS32;
    replace(path, library);
}

/// Makes file permissions apply to the programs that this one starts, even if root runs the tests.
void give_up_reading_everything()
{
    if (geteuid() != 0)
        return;
    for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
        if (prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0)
            throw std::runtime_error("cannot give up the right to read every file");
    }
}

struct File
{
    const char *name;
    void (*make)(const QString &path);
    const char *message; ///< the loader's message; %1 is the file's path
};

/// A file in a folder where the program looks for its driver; initially a copy of the simulated driver.
class AFileThatIsADriver : public testing::Test
{
protected:
    AFileThatIsADriver()
    {
        give_up_reading_everything();
        if (!QFile::copy(SimulatedDriver::folder() + "/libzorvicboardex.so.1", m_path))
            throw std::runtime_error("cannot copy the driver library");
    }

    QTemporaryDir m_folder;
    const QString m_path = m_folder.filePath("libzorvicboardex.so.1");
};

TEST_F(AFileThatIsADriver, IsOpened)
{
    const auto program = start_with(m_folder.path(), {board_7});

    program->desktop().press("Escape");

    EXPECT_EQ(program->exit_status(), 0);
    EXPECT_EQ(program->standard_error(), "");
    EXPECT_EQ(program->standard_output(), "Enumerated 1 devices.\n");
}

class AFileThatIsNoDriver : public AFileThatIsADriver, public testing::WithParamInterface<File>
{
};

TEST_P(AFileThatIsNoDriver, IsToldOfByTheLoaderAndTheProgramRuns)
{
    GetParam().make(m_path);
    const auto program = start_with(m_folder.path(), {board_7});

    EXPECT_TRUE(program->driver().calls().empty());
    program->desktop().press("h");
    EXPECT_TRUE(eventually([&] { return shows(*program, white); }));
    program->desktop().press("Escape");

    EXPECT_EQ(program->exit_status(), 0);
    EXPECT_EQ(program->standard_error().toStdString(),
              QString(GetParam().message).replace("%1", m_path).toStdString());
    EXPECT_EQ(program->standard_output(), "");
}

constexpr const char *not_found =
    "libzorvicboardex.so.1: cannot open shared object file: No such file or directory";

INSTANTIATE_TEST_SUITE_P(, AFileThatIsNoDriver,
                         testing::Values(File{"Text", make_text, "%1: invalid ELF header"},
                                         File{"Empty", make_empty, "%1: file too short"},
                                         File{"Unreadable", make_unreadable, not_found},
                                         File{"ForAnotherProcessor", make_for_another_processor, not_found},
                                         File{"For32Bits", make_for_32_bits,
                                              "libzorvicboardex.so.1: wrong ELF class: ELFCLASS32"}),
                         [](const auto &row) { return row.param.name; });

} // namespace
