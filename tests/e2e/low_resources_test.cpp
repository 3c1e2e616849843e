#include "e2e/program.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>

#include <unistd.h>

// Tests of the program with fewer files, threads or less memory than it needs.

namespace {

struct Limits
{
    const char *name;
    QString command; ///< %1 is the limit
    int first;
    int last;
    int step = 1;
};

class WithALimit : public testing::TestWithParam<Limits>
{
};

TEST_P(WithALimit, TheProgramRunsOrSaysWhatIsMissing)
{
    const auto desktop = std::make_shared<Desktop>();
    for (int limit = GetParam().first; limit <= GetParam().last; limit += GetParam().step) {
        SCOPED_TRACE(limit);
        Program program(desktop, GetParam().command.arg(limit));
        if (program.shows_a_window()) {
            desktop->press("Escape");
            EXPECT_EQ(program.exit_status(), 0);
            continue;
        }
        EXPECT_GT(program.exit_status(), 0);
        const QByteArray told = program.standard_error();
        EXPECT_EQ(told.count('\n'), 1) << told.toStdString();
        EXPECT_TRUE(told.contains("lanternix: ")) << told.toStdString();
    }
}

/// Touches of many sizes that move, so that in each tick more pictures are larger than before.
QStringList growing_touches()
{
    QStringList contacts;
    for (int id = 0; id < 100; ++id)
        contacts << QStringLiteral(R"({"kind":"touch","id":%1,"extent":%2,"line":[[%3,2000],[%3,22000]]})")
                        .arg(id)
                        .arg(200 + 60 * id)
                        .arg(3000 + 220 * id);
    return SimulatedDriver::two_boards_and_a_hub()
        << SimulatedDriver::gate("go") << R"({"type":"repeat"})"
        << R"({"type":"move","board":7,"rate":200,"time":1000000,"contacts":[)" + contacts.join(',') + "]}"
        << R"({"type":"end"})";
}

TEST(AProgramWhoseMemoryIsGone, SaysSoInsteadOfCrashingAsItPaints)
{
    const auto desktop = std::make_shared<Desktop>();
    constexpr int rounds = 5; // which allocation fails first depends on the threads
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        Program program(desktop, growing_touches());
        program.take_its_memory();

        program.driver().open_gate("go");

        EXPECT_EQ(program.exit_status(), 1);
        const QByteArray told = program.standard_error(); // Qt may also have warned
        EXPECT_EQ(told.count("lanternix: "), 1) << told.toStdString();
        EXPECT_TRUE(told.endsWith("lanternix: out of memory\n")) << told.toStdString();
    }
}

TEST(AProgramThatHasMemory, CrashesAsUsual)
{
    Program program(growing_touches());

    program.send(SIGSEGV);

    EXPECT_EQ(program.ending_signal(), SIGSEGV);
    EXPECT_EQ(program.standard_error(), "");
}

/// Starts the program as a user whose processes are counted, unlike root's. The program's folder need not be
/// open to everybody.
QString as_a_counted_user()
{
    if (geteuid() != 0)
        return {};
    return QStringLiteral("exec setpriv --reuid=65534 --regid=65534 --clear-groups "
                          "--inh-caps=+dac_read_search --ambient-caps=+dac_read_search ");
}

INSTANTIATE_TEST_SUITE_P(
    , WithALimit,
    testing::Values(Limits{"OfOpenFiles", R"(ulimit -n %1; exec "$0")", 3, 24},
                    Limits{"OfProcesses", as_a_counted_user() + R"(prlimit --nproc=%1 "$0")", 1, 8},
                    Limits{"OfAddressSpace", R"(ulimit -v %1; exec "$0")", 50'000, 500'000, 50'000},
                    Limits{"OfData", R"(ulimit -d %1; exec "$0")", 10'000, 310'000, 50'000}),
    [](const auto &row) { return row.param.name; });

TEST(WithoutALimit, TheProgramRunsAsTheUserWhoseProcessesAreCounted)
{
    const auto desktop = std::make_shared<Desktop>();
    Program program(desktop, as_a_counted_user() + R"("$0")");

    EXPECT_TRUE(program.shows_a_window()) << program.standard_error().toStdString();
}

} // namespace
