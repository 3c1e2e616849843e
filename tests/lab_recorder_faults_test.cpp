// What a recording holds when something goes wrong with the program, the driver or the disk.

#include "recorder/clock.h"
#include "recorder/queue.h"
#include "recorder/tape.h"
#include "support/lab.h"
#include "support/recording.h"

#include <gtest/gtest.h>

#include <csignal>
#include <future>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace driver_testing;
using lab_testing::lab;
using lab_testing::Outcome;

namespace {

namespace fs = std::filesystem;

class AFaultInARecording : public ARecording
{
protected:
    /// Sets the variables with which a program is recorded that finds the driver by its name.
    void record_programs() const
    {
        setenv("BOARDREC_DRIVER", (SimulatedDriver::folder() + "/libzorvicboardex.so.1").toUtf8(), 1);
        setenv("BOARDREC_CAPTURE", capture_path().c_str(), 1);
        setenv("LD_LIBRARY_PATH", LANTERNIX_RECORDER_FOLDER, 1);
    }
    ~AFaultInARecording() override { unsetenv("LD_LIBRARY_PATH"); }

    Outcome check() const { return lab({"check", QString::fromStdString(capture_path())}); }
    std::size_t size() const { return fs::exists(capture_path()) ? fs::file_size(capture_path()) : 0; }
};

/// A pen that moves on with each of its @p rate samples a second, so that no two reports are the same.
std::string moving_pen(int rate, int milliseconds)
{
    return R"({"type":"move","board":1,"rate":)" + std::to_string(rate) + R"(,"time":)"
        + std::to_string(milliseconds * 1000)
        + R"(,"contacts":[{"kind":"pen","id":0,"line":[[0,0],[65535,65535]],"tip":true,"button":false}]})"
          "\n";
}

} // namespace

TEST_F(AFaultInARecording, LeavesAFileThatIsReadUpToItsLastWholeLine)
{
    std::mt19937 random(20261122);
    std::uniform_int_distribution<std::size_t> size_to_die_at(2'000, 60'000);
    record_programs();
    for (int round = 0; round < 10; ++round) {
        const std::size_t wanted = size_to_die_at(random);
        SCOPED_TRACE(wanted);
        fs::remove(log_path());
        use(moving_pen(2000, 30'000));
        QProcess program;
        program.start(BOARD_PROGRAM, QStringList());
        EXPECT_TRUE(eventually([&] { return size() > wanted; }));
        program.kill();
        program.waitForFinished();

        const Outcome outcome = check();
        const auto recorded = recorded_reports();
        auto sent = logged_reports();

        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_GT(recorded.size(), wanted / 200);
        sent.resize(std::min(sent.size(), recorded.size()));
        EXPECT_EQ(recorded, sent) << "none is missing in between";
        fs::remove(capture_path());
    }
}

TEST_F(AFaultInARecording, OfADriverThatCrashesInACallLosesNothingThatWasWritten)
{
    use(gate() + raw(1, "0821000102030405") + raw(1, "0045830100020003 00") + raw(1, "ff"));
    const pid_t child = fork();
    if (child == 0) {
        const rlimit no_core{0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        std::signal(SIGSEGV, SIG_DFL);
        Receiver receiver;
        record();
        attach();
        receive(1, receiver);
        open_gate();
        eventually([&] { return recorded_reports().size() == 3; });
        const void *const nowhere = reinterpret_cast<const void *>(8);
        call<int(int, const void *, int)>("zorvicWritePacket", 1, nowhere, 4);
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);

    EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the driver has not crashed";
    EXPECT_EQ(recorded_reports().size(), 3U);
    EXPECT_EQ(check().status, 0) << check().errors;
}

TEST_F(AFaultInARecording, OfADriverThatBlocksInACallGoesOnMeanwhile)
{
    setenv("BOARDSIM_MISBEHAVIOUR", "blocking-write=1", 1);
    use(gate() + endless(1));
    Receiver receiver;
    record(SimulatedDriver::hostile_folder());
    {
        const Attached attached(*this);
        receive(1, receiver);
        open_gate();
        std::atomic<bool> has_returned = false;
        std::thread writer([&] {
            write(1, ":PN0");
            has_returned = true;
        });
        EXPECT_TRUE(eventually([&] { return marks("write blocks") > 0; }));
        const std::size_t before = lines("raw").size();

        EXPECT_TRUE(eventually([&] { return lines("raw").size() > before + 100; }));

        EXPECT_FALSE(has_returned);
        writer.join();
    }
    close();

    double longest = 0;
    for (const nlohmann::json &line : lines("call"))
        longest = std::max(longest, line["inside"].get<double>());
    EXPECT_GT(longest, 1'900'000);
}

TEST_F(AFaultInARecording, CountsWhatAFullQueueHasDropped)
{
    unsetenv("BOARDSIM_LOG");
    use(gate() + moving_pen(200'000, 500) + raw(1, "ff"));
    Receiver receiver;
    // A pipe that nobody empties makes the writer's thread wait, as a disk may.
    ASSERT_EQ(mkfifo(capture_path().c_str(), 0600), 0);
    const int pipe = ::open(capture_path().c_str(), O_RDONLY | O_NONBLOCK);
    record();
    ASSERT_EQ(fcntl(pipe, F_SETFL, 0), 0); // from here on, reading waits
    std::future<std::string> read_all;
    {
        const Attached attached(*this);
        receive(1, receiver);
        open_gate();
        EXPECT_TRUE(receiver.has(100'000));
        read_all = std::async(std::launch::async, [pipe] {
            std::string text;
            std::vector<char> block(1 << 16);
            for (ssize_t count = 0; (count = read(pipe, block.data(), block.size())) > 0;)
                text.append(block.data(), static_cast<std::size_t>(count));
            return text;
        });
        EXPECT_TRUE(receiver.has(100'001));
    }
    close();

    std::size_t reports = 0;
    std::size_t lost = 0;
    std::istringstream lines(read_all.get());
    for (std::string text; std::getline(lines, text);) {
        const auto line = nlohmann::json::parse(text);
        reports += line["type"] == "raw" ? 1 : 0;
        lost += line["type"] == "lost" ? line["count"].get<std::size_t>() : 0;
    }
    ::close(pipe);
    EXPECT_GT(lost, 0U);
    EXPECT_GT(reports, recorder::Queue::capacity / 4);
    EXPECT_EQ(reports + lost, receiver.count());
}

TEST_F(AFaultInARecording, OfAProgramThatEndsWithoutDetachingHasAnEnd)
{
    use(gate() + raw(1, "0821000102030405"));
    Receiver receiver;
    record();
    attach();
    receive(1, receiver);
    open_gate();
    EXPECT_TRUE(receiver.has(1));

    close();

    EXPECT_EQ(recorded_reports().size(), 1U);
    EXPECT_EQ(lines().back()["type"], "end");
}

TEST_F(AFaultInARecording, ThatTheProgramCausesWithALongTextLeavesItReadable)
{
    use("");
    record();
    {
        const Attached attached(*this);
        const std::string command(100'000, '\x01');
        call<int(int, const char *)>("zorvicSendCommand", 1, command.c_str());
        write(1, std::string(100'000, '\xff'));
    }
    close();

    EXPECT_EQ(check().status, 0) << check().errors;
    EXPECT_EQ(lines("call").size(), 4U);
}

TEST_F(AFaultInARecording, OfADriverThatCallsBackForeverDoesNotCrashTheProgramAtItsEnd)
{
    use(endless(1));
    record_programs();
    setenv("BOARDREC_DRIVER", (SimulatedDriver::hostile_folder() + "/libzorvicboardex.so.1").toUtf8(), 1);
    setenv("BOARDSIM_MISBEHAVIOUR", "callbacks-after-detach=20000", 1);
    QProcess program;

    program.start(BOARD_PROGRAM, {"5", "100"});

    EXPECT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(lines().back()["type"], "end");
}

TEST_F(AFaultInARecording, OfADriverThatDescribesItsBoardsBadlyLeavesItReadable)
{
    for (const char *const misbehaviour : {"full-record", "latin-1-info", "same-number", "device-count=9"}) {
        SCOPED_TRACE(misbehaviour);
        setenv("BOARDSIM_MISBEHAVIOUR", misbehaviour, 1);
        std::string info;
        for (int i = 0; i < 1800; ++i)
            info += "\u00e9";
        write_scenario(R"({"type":"scenario","version":1})"
                       "\n"
                       R"({"type":"device","kind":1,"board":1,"info":")"
                       + info
                       + "\"}\n"
                         R"({"type":"device","kind":1,"board":2,"info":"xp<4>"})"
                         "\n");
        record(SimulatedDriver::hostile_folder());
        {
            const Attached attached(*this);
            const int count = device_count();
            for (int i = 0; i < count; ++i) {
                _ZORVIC_DEVICE_INFO record{};
                record.size = _ZORVIC_DEVICE_INFO::sizeMarker;
                call<unsigned char(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", i, &record);
            }
        }
        close();

        EXPECT_EQ(check().status, 0) << check().errors;
    }
}

TEST_F(AFaultInARecording, OfABoardWithANegativeNumberLeavesItReadable)
{
    recorder::Queue queue;
    recorder::Settings settings;
    settings.capture = capture_path();
    {
        recorder::Tape tape(settings, queue, {{"type", "scenario"}, {"version", 2}}, recorder::now());
        recorder::Record *const report = queue.take(true);
        *report = {};
        report->board = -1;
        report->begin = recorder::now();
        report->number = 1;
        report->length = report->kept = 2;
        report->bytes = {0x12, 0xab};
        queue.push(report);
    }

    ASSERT_EQ(lines("note").size(), 1U);
    EXPECT_EQ(lines("note").front()["text"], "board -1 reports 12ab");
    EXPECT_EQ(check().status, 0) << check().errors;
}
