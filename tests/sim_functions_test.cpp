#include "support/driver_library.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

using namespace driver_testing;

TEST_F(ADriver, AnswersWhatIsWrittenWithTheNumberOfBytes)
{
    use("");
    const Attached attached(*this);

    EXPECT_EQ(write(1, ":PN02\r"), 6);
    EXPECT_EQ(write(1, ""), 0);
    EXPECT_EQ(write(9, ":PN02\r"), -1);
    EXPECT_EQ((call<int(int, const void *, int)>("zorvicWritePacket", 1, nullptr, 4)), -1);
    EXPECT_EQ((call<int(int, const void *, int)>("zorvicWritePacket", 1, "", -1)), -1);
    EXPECT_EQ((call<int(int, const char *)>("zorvicSendCommand", 1, ":VL1\r")), 5);
    EXPECT_EQ((call<int(int, const char *)>("zorvicSendCommand", 9, ":VL1\r")), -1);
    EXPECT_EQ((call<int(int, const char *)>("zorvicSendCommand", 1, nullptr)), -1);
}

TEST_F(ADriver, AnswersTheRequestForTheTouchStatus)
{
    use("");
    Receiver receiver;
    const Attached attached(*this);
    receive(1, receiver);
    call<void(int, int)>("zorvicSetTouchDestination", 1, 2);
    call<void(int, int)>("zorvicSetLATEDetection", 1, '1');
    call<void(int, int)>("zorvicSetTouchSystemRedirectionEnabled", 1, 4);
    call<void(int, int)>("zorvicSetTwoFingerScroll", 1, 5);

    EXPECT_EQ(write(1, ":QT\r"), 4);

    ASSERT_TRUE(receiver.has(1));
    EXPECT_EQ(receiver.reports(), (std::vector<Bytes>{{0x08, 0xa5, 2, '1', 1, 4, 5, 0}}));
    EXPECT_NE(receiver.thread(), std::this_thread::get_id());
}

TEST_F(ADriver, SendsBackWhatIsInjectedOrEchoed)
{
    use("");
    Receiver receiver;
    const Attached attached(*this);
    receive(1, receiver);
    const unsigned char data[] = {1, 2, 3};

    call<void(int, int, const unsigned char *)>("zorvicInject", 1, 3, data);
    call<void(int, int, const unsigned char *)>("zorvicEcho", 1, 2, data);

    ASSERT_TRUE(receiver.has(2));
    EXPECT_EQ(receiver.reports(), (std::vector<Bytes>{{1, 2, 3}, {1, 2}}));
}

TEST_F(ADriver, KeepsWhatIsSetForEachBoard)
{
    use("");
    const Attached attached(*this);
    const auto get = [&](const char *name, int board) { return call<int(int)>(name, board); };

    for (const char *what :
         {"TouchDestination", "TouchEnabled", "TouchSystemRedirectionEnabled", "LATEDetection"}) {
        SCOPED_TRACE(what);
        const int other = get(("zorvicGet" + std::string(what)).c_str(), 2);
        call<void(int, int)>(("zorvicSet" + std::string(what)).c_str(), 1, 77);
        EXPECT_EQ(get(("zorvicGet" + std::string(what)).c_str(), 1), 77);
        EXPECT_EQ(get(("zorvicGet" + std::string(what)).c_str(), 2), other);
    }
    call<void(int, int, int)>("zorvicSetTouchDestinationEx", 2, 5, 1);
    EXPECT_EQ(get("zorvicGetTouchDestination", 2), 5);
}

TEST_F(ADriver, KeepsThePointingDeviceDestinationOfEachPen)
{
    use("");
    const Attached attached(*this);
    const auto get = [&](int board, int pen, int flag) {
        return call<int(int, int, int)>("zorvicGetPointingDeviceDestination", board, pen, flag);
    };

    call<void(int, int, int, int)>("zorvicSetPointingDeviceDestination", 1, 2, 0, 7);
    call<void(int, int, int, int, int)>("zorvicSetPointingDeviceDestinationEx", 1, 2, 1, 8, 1);

    EXPECT_EQ(get(1, 2, 0), 7);
    EXPECT_EQ(get(1, 2, 1), 8);
    EXPECT_EQ(get(1, 3, 0), 0);
    EXPECT_EQ(get(2, 2, 0), 0);
}

TEST_F(ADriver, KnowsWhetherSomethingTouchesABoard)
{
    use(R"({"type":"pen","board":1,"pen":1,"x":0,"y":0,"tip":true,"button":false})"
        "\n"
        + mark("down") + gate() + R"({"type":"pen","board":1,"pen":1,"x":0,"y":0,"tip":false,"button":false})"
        + "\n" + mark("up"));
    const Attached attached(*this);

    ASSERT_TRUE(eventually([&] { return marks("down") == 1; }));
    EXPECT_EQ(call<int(int)>("zorvicIsSomethingOnBoard", 1), 1);
    EXPECT_EQ(call<int(int)>("zorvicIsSomethingOnBoard", 2), 0);
    open_gate();
    ASSERT_TRUE(eventually([&] { return marks("up") == 1; }));
    EXPECT_EQ(call<int(int)>("zorvicIsSomethingOnBoard", 1), 0);
}

TEST_F(ADriver, GivesTheReportsOfABoardThroughASynchronousChannel)
{
    use(gate() + raw(1, "01 02 03") + raw(2, "09") + raw(1, "04"));
    const Attached attached(*this);
    const auto open_channel = [&](int board) {
        return call<int(int, PacketCallback, void *)>("zorvicOpenSynchronousChannel", board, nullptr,
                                                      nullptr);
    };
    const auto read = [&](int board, int channel, unsigned char *buffer, int size, unsigned int timeout) {
        return call<int(int, int, void *, int, unsigned int)>("zorvicReadSynchronousPacket", board, channel,
                                                              buffer, size, timeout);
    };
    unsigned char buffer[3] = {};
    constexpr unsigned int long_timeout = 20'000;

    EXPECT_EQ(open_channel(9), -1);
    const int channel = open_channel(1);
    ASSERT_GT(channel, 0);
    EXPECT_EQ(read(1, channel, buffer, 3, 1), 0) << "nothing has come yet";
    open_gate();
    EXPECT_EQ(read(1, channel, buffer, 2, long_timeout), 3) << "the length of the report, not of what fits";
    EXPECT_EQ(Bytes(buffer, buffer + 3), (Bytes{1, 2, 0}));
    EXPECT_EQ(read(1, channel, buffer, 3, long_timeout), 1);
    EXPECT_EQ(buffer[0], 4);
    EXPECT_EQ(read(2, channel, buffer, 3, 0), -1);
    EXPECT_EQ(read(1, channel, nullptr, 3, 0), -1);
    EXPECT_EQ(read(1, channel, buffer, -1, 0), -1);
    call<void(int, int)>("zorvicCloseSynchronousChannel", 1, channel);
    EXPECT_EQ(read(1, channel, buffer, 3, 0), -1);
}

TEST_F(ADriver, WakesAReaderWhenItIsDetached)
{
    use("");
    const Attached attached(*this);
    const int channel =
        call<int(int, PacketCallback, void *)>("zorvicOpenSynchronousChannel", 1, nullptr, nullptr);
    std::atomic<int> answer = 0;
    std::thread reader([&] {
        unsigned char buffer[1];
        answer = call<int(int, int, void *, int, unsigned int)>("zorvicReadSynchronousPacket", 1, channel,
                                                                buffer, 1, 4'000'000'000u);
    });

    detach();
    reader.join();

    EXPECT_EQ(answer, -1);
}

TEST_F(ADriver, AnswersTheRestInASimpleWay)
{
    use("");
    const Attached attached(*this);
    unsigned char major = 0;
    unsigned char minor = 9;
    unsigned int revision = 9;
    unsigned int build = 0;
    int columns = 0;
    int rows = 0;
    int connected = 7;

    EXPECT_EQ(call<int()>("zorvicInterface"), 1);
    call<void(unsigned char *, unsigned char *, unsigned int *, unsigned int *)>(
        "zorvicLibraryVersionNumber", &major, &minor, &revision, &build);
    EXPECT_EQ((std::vector<unsigned int>{major, minor, revision, build}),
              (std::vector<unsigned int>{1, 0, 0, 1}));
    call<void(int, int *, int *)>("zorvicGetCalibrationPoints", 1, &columns, &rows);
    EXPECT_EQ((std::vector<int>{columns, rows}), (std::vector<int>{3, 3}));
    EXPECT_EQ((call<int(int, int)>("zorvicSetCalibrationMode", 1, 1)), 1);
    EXPECT_EQ((call<int(int, int)>("zorvicSetCalibrationMode", 9, 1)), 0);
    EXPECT_EQ(call<int()>("zorvicSerialDisconnect"), 0);
    EXPECT_EQ(call<int(int)>("zorvicSerialConnect", 2), 1);
    EXPECT_EQ(call<int(int *)>("zorvicSerialGetConnected", &connected), 1);
    EXPECT_EQ(connected, 1);
    EXPECT_EQ(call<int()>("zorvicSerialDisconnect"), 1);
    call<int(int *)>("zorvicSerialGetConnected", &connected);
    EXPECT_EQ(connected, 0);
    call<void(int)>("zorvicSerialSetStartupMode", 3);
    EXPECT_EQ(call<int()>("zorvicSerialGetStartupMode"), 3);
}

TEST_F(ADriver, ForgetsWhatTouchedABoardThatLeaves)
{
    use(R"({"type":"touch","board":1,"contacts":[{"id":0,"x":0,"y":0,"extent":0,"down":true}]})"
        "\n{\"type\":\"unplug\",\"board\":1}\n{\"type\":\"plug\",\"board\":1}\n"
        + mark("back"));
    const Attached attached(*this);

    ASSERT_TRUE(eventually([&] { return marks("back") == 1; }));

    EXPECT_EQ(call<int(int)>("zorvicIsSomethingOnBoard", 1), 0);
}
