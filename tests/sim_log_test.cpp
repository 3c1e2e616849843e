#include "support/driver_library.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace driver_testing;

TEST_F(ADriver, LogsEachCallWithItsArgumentsAndItsResult)
{
    use("");
    Receiver receiver;

    attach();
    receive(1, receiver);
    write(1, std::string(":Q\0\xff", 4));
    const unsigned char data[] = {9, 0x21};
    call<void(int, int, const unsigned char *)>("zorvicSendTouchPacketToSystem", 1, 2, data);
    call<int(int, const char *)>("zorvicSendCommand", 9, ":VL1\r");
    detach();

    std::vector<nlohmann::json> calls;
    for (nlohmann::json record : log()) {
        if (!record.contains("export"))
            continue;
        EXPECT_EQ(record["thread"], gettid());
        EXPECT_TRUE(record["time"].is_number_integer());
        EXPECT_EQ(record.size(), 5u);
        calls.push_back({record["export"], record["arguments"], record["result"]});
    }
    char function[32];
    char context[32];
    std::snprintf(function, sizeof function, "%p", reinterpret_cast<void *>(&Receiver::callback));
    std::snprintf(context, sizeof context, "%p", static_cast<void *>(&receiver));
    using nlohmann::json;
    const std::vector<json> expected{
        {"zorvicAttach", json::object(), true},
        {"zorvicSetCallback", {{"board", 1}, {"callback", function}, {"context", context}}, nullptr},
        {"zorvicWritePacket", {{"board", 1}, {"data", "3a5100ff"}, {"length", 4}}, 4},
        {"zorvicSendTouchPacketToSystem", {{"board", 1}, {"data", "0921"}, {"length", 2}}, nullptr},
        {"zorvicSendCommand", {{"board", 9}, {"command", ":VL1\r"}}, -1},
        {"zorvicDetach", json::object(), nullptr},
    };
    EXPECT_EQ(calls, expected);
}

TEST_F(ADriver, LogsTimesOfTheMonotonicClockInMicroseconds)
{
    const auto now = [] {
        timespec time;
        clock_gettime(CLOCK_MONOTONIC, &time);
        return static_cast<long long>(time.tv_sec) * 1'000'000 + time.tv_nsec / 1000;
    };
    use("");

    const long long before = now();
    device_count();
    const long long after = now();

    ASSERT_EQ(log().size(), 1u) << "the log is there before the driver is attached";
    EXPECT_GE(log()[0]["time"].get<long long>(), before);
    EXPECT_LE(log()[0]["time"].get<long long>(), after);
}

TEST_F(ADriver, LogsMarksOnItsOwnThread)
{
    use(mark("here"));

    const Attached attached(*this);

    ASSERT_TRUE(eventually([&] { return marks("here") == 1; }));
    for (const nlohmann::json &record : log()) {
        if (record.contains("mark")) {
            EXPECT_EQ(record.size(), 3u);
            EXPECT_NE(record["thread"], gettid());
        }
    }
}

TEST_F(ADriver, LogsEachReportThatItSendsToTheProgram)
{
    use(gate() + R"({"type":"pen","board":1,"pen":0,"x":4660,"y":22136,"tip":true,"button":true})" + '\n'
        + raw(2, "08") + raw(1, "") + mark("sent"));
    Receiver receiver;

    const Attached attached(*this);
    receive(1, receiver);
    open_gate();

    ASSERT_TRUE(eventually([&] { return marks("sent") == 1; }));
    const std::vector<std::string> expected{"1: 0821003412785603", "1: "};
    EXPECT_EQ(logged_reports(), expected) << "nobody listens to board 2";
    for (const nlohmann::json &record : log()) {
        if (!record.contains("report"))
            continue;
        EXPECT_EQ(record.size(), 4u);
        EXPECT_TRUE(record["time"].is_number_integer());
        EXPECT_NE(record["thread"], gettid());
    }
}

TEST_F(ADriver, LogsAReportBeforeTheProgramHasIt)
{
    use(gate() + raw(1, "0821"));
    Receiver receiver;
    std::vector<std::string> seen;
    receiver.inside = [&] { seen = logged_reports(); };

    {
        const Attached attached(*this);
        receive(1, receiver);
        open_gate();
        EXPECT_TRUE(receiver.has(1));
    }

    EXPECT_EQ(seen, std::vector<std::string>{"1: 0821"});
}

TEST_F(ADriver, LogsAReportThatGoesToAChannelOnly)
{
    use(gate() + raw(1, "0821") + mark("sent"));

    const Attached attached(*this);
    const int channel =
        call<int(int, PacketCallback, void *)>("zorvicOpenSynchronousChannel", 1, nullptr, nullptr);
    open_gate();

    ASSERT_TRUE(eventually([&] { return marks("sent") == 1; }));
    EXPECT_EQ(logged_reports(), std::vector<std::string>{"1: 0821"});
    call<void(int, int)>("zorvicCloseSynchronousChannel", 1, channel);
}

TEST_F(ADriver, LogsACommandThatIsNoText)
{
    use(gate()); // the scenario's end would be logged, too
    const Attached attached(*this);

    call<int(int, const char *)>("zorvicSendCommand", 1, "\xff\xfe");

    EXPECT_EQ(log().back()["export"], "zorvicSendCommand");
    EXPECT_EQ(log().back()["result"], 2);
}

TEST_F(ADriver, ChangesToTheLogNamedWhenItIsAttached)
{
    use("");
    device_count();
    setenv("BOARDSIM_LOG", path("second.jsonl").c_str(), 1);

    const Attached attached(*this);
    device_count();

    EXPECT_EQ(log().size(), 1u);
    EXPECT_TRUE(std::filesystem::exists(path("second.jsonl")));
}

TEST_F(ADriver, OpensItsLogAgainBeforeItClosesIt)
{
    use("");
    device_count();
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, log_path().c_str(), IN_OPEN | IN_CLOSE_WRITE), 0);

    const Attached attached(*this);

    const auto event = [watch] {
        inotify_event next = {};
        EXPECT_EQ(read(watch, &next, sizeof next), static_cast<ssize_t>(sizeof next));
        return next.mask;
    };
    EXPECT_EQ(event(), static_cast<uint32_t>(IN_OPEN)) << "the reader of a pipe would see its end";
    EXPECT_EQ(event(), static_cast<uint32_t>(IN_CLOSE_WRITE));
    ::close(watch);
}

TEST_F(ADriver, WorksWithoutALogThatCannotBeOpened)
{
    use("");
    setenv("BOARDSIM_LOG", "/nowhere/log.jsonl", 1);

    testing::internal::CaptureStderr();
    EXPECT_EQ(device_count(), 0);
    EXPECT_EQ(device_count(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "/nowhere/log.jsonl:0: the log cannot be opened: No such file or directory\n");
}

TEST_F(ADriver, SaysOnceThatItsLogCannotBeWritten)
{
    use(gate() + raw(1, "0821"));
    setenv("BOARDSIM_LOG", "/dev/full", 1);
    Receiver receiver;

    testing::internal::CaptureStderr();
    EXPECT_EQ(device_count(), 0);
    {
        const Attached attached(*this);
        receive(1, receiver);
        open_gate();
        EXPECT_TRUE(receiver.has(1));
        EXPECT_EQ(device_count(), 2);
    }

    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "/dev/full:0: the log cannot be written: No space left on device\n");
}

TEST_F(ADriver, EndsItsLogAtTheLimitOfAFilesSize)
{
    use("");
    constexpr rlim_t longest = 500;
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit limit = before;
    limit.rlim_cur = longest;

    testing::internal::CaptureStderr();
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(device_count(), 0);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(device_count(), 0);

    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              log_path() + ":0: the log cannot be written: File too large\n");
    EXPECT_EQ(std::filesystem::file_size(log_path()), longest) << "no line follows one that is lost";
}
