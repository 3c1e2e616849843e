// Tests the trace with a clock that the test sets. It is a separate program, because its clock_gettime
// replaces the C library's.

#include "vcd.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <atomic>
#include <chrono>
#include <ctime>
#include <fstream>
#include <future>
#include <iterator>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr long long program_start = 1'700'000'000'123'456'789;

std::atomic<long long> now{program_start};
std::atomic<int> readings{0};
std::atomic<void (*)()> at_next_reading{nullptr};

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    if (clock != CLOCK_REALTIME)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    ++readings;
    if (const auto action = at_next_reading.exchange(nullptr))
        action();
    time->tv_sec = now / 1'000'000'000;
    time->tv_nsec = now % 1'000'000'000;
    return 0;
}

namespace {

/// Sets the clock to @p nanoseconds after the start of the program.
void set_clock(long long nanoseconds)
{
    now = program_start + nanoseconds;
}

Vcd before_main("before_main", 1);

std::string written_trace()
{
    const QTemporaryDir folder;
    const std::string path = folder.filePath("trace.vcd").toStdString();
    Vcd::write_vcd(path);
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What follows the first change, which was made at time 0.
std::string later_changes()
{
    const std::string start = "$enddefinitions $end\nr1 !\n";
    const std::string trace = written_trace();
    const std::size_t found = trace.find(start);
    return found == std::string::npos ? "no such start: " + trace : trace.substr(found + start.size());
}

TEST(TraceClock, GivesThisFileByteForByte)
{
    set_clock(5);
    Vcd position("position", 0.5);
    set_clock(7);
    Vcd letter("letter", 'A');
    Vcd mask("mask", 4294967295U);
    set_clock(1'000'000'007);
    position.update(0.25);
    before_main.update(-2);
    set_clock(9'223'372'036'854);
    letter.update('B');

    EXPECT_EQ(written_trace(),
              "$date It's a new day. $end\n"
              "$version VCD generator V1.0. $end\n"
              "$comment VCD generator by D.K.Orwin $end\n"
              "$timescale 1 ns $end\n"
              "$scope module logic $end\n"
              "$var real 64 ! before_main $end\n"
              "$var real 64 \" position $end\n"
              "$var real 64 # letter $end\n"
              "$var real 64 $ mask $end\n"
              "$upscope $end\n"
              "$enddefinitions $end\n"
              "r1 !\n"
              "#5\n"
              "r0.5 \"\n"
              "#7\n"
              "sA #\n"
              "r4.29497e+09 $\n"
              "#1000000007\n"
              "r-2 !\n"
              "r0.25 \"\n"
              "#9223372036854\n"
              "sB #\n");
}

TEST(TraceClock, ANanosecondHoldsOneChangeOfASignal)
{
    set_clock(10);
    before_main.update(2);
    before_main.update(3);
    set_clock(12);
    before_main.update(4);
    set_clock(14);
    before_main.update(5);

    EXPECT_EQ(later_changes(), "#10\nr2 !\n#11\nr3 !\n#12\nr4 !\n#14\nr5 !\n");
}

TEST(TraceClock, ASignalNeverGoesBackInTime)
{
    set_clock(10);
    before_main.update(2);
    set_clock(-1'000'000'000);
    before_main.update(3);
    set_clock(11);
    before_main.update(4);

    EXPECT_EQ(later_changes(), "#10\nr2 !\n#11\nr3 !\n#12\nr4 !\n");
}

TEST(TraceClock, AChangeBeforeTheStartComesFirst)
{
    set_clock(-5);
    Vcd early("early", 2);
    set_clock(3);
    early.update(3);

    const std::string trace = written_trace();

    // The clock was set back, so time 0 differs from the time before it and gets a line.
    const std::string expected = "$enddefinitions $end\n#-5\nr2 \"\n#0\nr1 !\n#3\nr3 \"\n";
    EXPECT_EQ(trace.substr(trace.find("$enddefinitions")), expected);
}

TEST(TraceClock, ChangesOfOneTimeShareItsLine)
{
    set_clock(10);
    Vcd first("first", 2);
    Vcd second("second", 3);
    Vcd third("third", 4);
    set_clock(20);
    third.update(7);
    first.update(5);
    second.update(6);

    EXPECT_EQ(later_changes(), "#10\nr2 \"\nr3 #\nr4 $\n#20\nr5 \"\nr6 #\nr7 $\n");
}

TEST(TraceClock, IsNotReadForAnUnchangedValue)
{
    const int before = readings;
    before_main.update(1);
    const int unchanged = readings;
    before_main.update(2);

    EXPECT_EQ(unchanged, before);
    EXPECT_EQ(readings, before + 1);
}

std::future<std::string> writer;
std::future_status writing;

TEST(TraceClock, IsReadUnderTheLockThatWritingDoesNotTake)
{
    at_next_reading = [] {
        writer = std::async(std::launch::async, written_trace);
        writing = writer.wait_for(std::chrono::seconds(20));
    };
    before_main.update(2);

    EXPECT_EQ(writing, std::future_status::ready);
    const std::string trace = writer.get();
    EXPECT_EQ(trace.substr(trace.find("$enddefinitions")), "$enddefinitions $end\nr1 !\n");
}

} // namespace
