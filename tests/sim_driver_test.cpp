#include "support/driver_library.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include <dlfcn.h>

using namespace driver_testing;

TEST_F(ADriver, TellsOfItsDevicesWhileItIsAttached)
{
    use("");
    _ZORVIC_DEVICE_INFO info = {};
    info.size = _ZORVIC_DEVICE_INFO::sizeMarker;
    EXPECT_EQ(device_count(), 0);

    ASSERT_TRUE(attach());

    EXPECT_EQ(device_count(), 2);
    ASSERT_TRUE((call<bool(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", 1, &info)));
    EXPECT_EQ(info.kind, 3);
    EXPECT_EQ(info.board, 2);
    EXPECT_STREQ(info.additionalInfo, "");
    ASSERT_TRUE((call<bool(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", 0, &info)));
    EXPECT_EQ(info.kind, 1);
    EXPECT_EQ(info.board, 1);
    EXPECT_STREQ(info.additionalInfo, "hid<true>vid<04d8>");

    detach();

    EXPECT_EQ(device_count(), 0);
}

TEST_F(ADriver, TellsNothingOfADeviceThatIsNotThereOrToARecordOfAnotherSize)
{
    use("");
    _ZORVIC_DEVICE_INFO info = {};
    info.size = _ZORVIC_DEVICE_INFO::sizeMarker;
    const Attached attached(*this);

    EXPECT_FALSE((call<bool(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", 2, &info)));
    EXPECT_FALSE((call<bool(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", -1, &info)));
    EXPECT_FALSE((call<bool(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", 0, nullptr)));
    info.size = 8;
    EXPECT_FALSE((call<bool(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", 0, &info)));
    EXPECT_EQ(info.kind, 0);
}

TEST_F(ADriver, DeliversTheReportsOfABoardToItsCallbackOnAThreadOfItsOwn)
{
    use(gate() + raw(1, "08 21 00 34 12 78 56 0b") + raw(2, "0045") + raw(1, "") + mark("played"));
    Receiver receiver;
    const Attached attached(*this);
    receive(1, receiver);

    open_gate();

    ASSERT_TRUE(eventually([&] { return marks("played") == 1; }));
    EXPECT_EQ(receiver.reports(), (std::vector<Bytes>{{0x08, 0x21, 0, 0x34, 0x12, 0x78, 0x56, 0x0b}, {}}));
    EXPECT_EQ(receiver.boards(), (std::vector<int>{1, 1}));
    EXPECT_NE(receiver.thread(), std::this_thread::get_id());
}

TEST_F(ADriver, DeliversEveryReportOfAFastMove)
{
    use(gate()
        + R"({"type":"move","board":1,"rate":20000,"time":200000,"contacts":[{"kind":"touch","id":0,"line":[[0,0],[9,9]],"extent":1}]})"
        + "\n" + mark("played"));
    Receiver receiver;
    const Attached attached(*this);
    receive(1, receiver);

    open_gate();

    ASSERT_TRUE(eventually([&] { return marks("played") == 1; }));
    EXPECT_EQ(receiver.count(), 4001u);
}

TEST_F(ADriver, StartsOnceHoweverOftenItIsAttached)
{
    use(mark("start") + gate() + mark("end"));

    EXPECT_TRUE(attach());
    EXPECT_TRUE(attach());
    open_gate();
    ASSERT_TRUE(eventually([&] { return marks("end") == 1; }));
    EXPECT_TRUE(attach());
    detach();

    EXPECT_EQ(marks("start"), 1);
    EXPECT_EQ(marks("end"), 1);
}

TEST_F(ADriver, RestartsAfterADetach)
{
    use(mark("start") + "{\"type\":\"unplug\",\"board\":1}\n" + mark("end"));
    attach();
    ASSERT_TRUE(eventually([&] { return marks("end") == 1; }));
    EXPECT_EQ(device_count(), 1);
    detach();
    use(gate() + mark("second"));

    attach();

    EXPECT_EQ(device_count(), 2);
    open_gate();
    EXPECT_TRUE(eventually([&] { return marks("second") == 1; }));
}

TEST_F(ADriver, MarksTheEndOfItsScenario)
{
    use(gate());
    const Attached attached(*this);
    EXPECT_EQ(marks("scenario ends"), 0);

    open_gate();

    EXPECT_TRUE(eventually([&] { return marks("scenario ends") == 1; }));
}

TEST_F(ADriver, TellsOfABoardThatComesOrGoes)
{
    use(gate() + "{\"type\":\"unplug\",\"board\":1}\n" + raw(1, "0045") + "{\"type\":\"plug\",\"board\":1}\n"
        + raw(1, "0046"));
    Receiver packets;
    Receiver changes;
    std::vector<int> counts;
    changes.inside = [&] { counts.push_back(device_count()); };
    const Attached attached(*this);
    receive(1, packets);
    receive_pnp(changes);

    open_gate();

    ASSERT_TRUE(packets.has(1));
    EXPECT_EQ(packets.reports(), (std::vector<Bytes>{{0, 0x46}})) << "a board that is away reports nothing";
    ASSERT_EQ(changes.count(), 2u);
    EXPECT_EQ(counts, (std::vector<int>{1, 2}));
}

TEST_F(ADriver, LeavesOutADeviceThatIsNotPluggedInYet)
{
    use("{\"type\":\"device\",\"kind\":1,\"board\":5,\"info\":\"\",\"plugged\":false}\n" + gate()
        + "{\"type\":\"plug\",\"board\":5}\n");
    Receiver changes;
    const Attached attached(*this);
    receive_pnp(changes);
    EXPECT_EQ(device_count(), 2);
    EXPECT_EQ(write(5, ":VL1\r"), -1);

    open_gate();

    ASSERT_TRUE(changes.has(1));
    EXPECT_EQ(device_count(), 3);
    EXPECT_EQ(write(5, ":VL1\r"), 5);
}

TEST_F(ADriver, DetachesFromEndlessBlocksThatTakeNoTime)
{
    use("{\"type\":\"repeat\"}\n{\"type\":\"repeat\"}\n{\"type\":\"end\"}\n{\"type\":\"end\"}\n");
    attach();
    detach();

    use("{\"type\":\"repeat\",\"count\":1000000000000}\n" + raw(1, "0045") + "{\"type\":\"end\"}\n");
    Receiver receiver;
    attach();
    receive(1, receiver);
    ASSERT_TRUE(receiver.has(1000));
    forget(1, receiver);
    detach();
}

TEST_F(ADriver, HasNoDevicesAndOneLineToSayWhereTheScenarioIsWrong)
{
    use("{\"type\":\"wait\"}\n");

    testing::internal::CaptureStderr();
    EXPECT_TRUE(attach());
    EXPECT_TRUE(attach());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              path("scenario.jsonl") + ":4: field \"time\" is missing\n");
    EXPECT_EQ(device_count(), 0);
}

TEST_F(ADriver, HasNoDevicesWhenTheScenarioCannotBeOpened)
{
    setenv("BOARDSIM_SCENARIO", path("nothing").c_str(), 1);

    testing::internal::CaptureStderr();
    EXPECT_TRUE(attach());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              path("nothing") + ":0: cannot be opened: No such file or directory\n");
    EXPECT_EQ(device_count(), 0);
}

TEST_F(ADriver, CanBeClosedWithoutADetachAndOpenedAgain)
{
    use(endless(1));
    for (int round = 0; round < 10; ++round) {
        auto receiver = std::make_unique<Receiver>();
        attach();
        receive(1, *receiver);
        ASSERT_TRUE(receiver->has(1));

        close();

        receiver.reset(); // a sanitizer sees a callback that comes later
        ASSERT_EQ(dlopen("libzorvicboardex.so.1", RTLD_NOW | RTLD_NOLOAD), nullptr)
            << "it is still in memory";
        open();
        EXPECT_EQ(device_count(), 0) << "it starts afresh";
    }
}

TEST_F(ADriver, LeavesNoThreadBehindWhenItIsDetached)
{
    const auto threads = [] {
        const std::filesystem::directory_iterator tasks("/proc/self/task");
        return std::distance(begin(tasks), end(tasks));
    };
    use("");
    const auto before = threads();

    attach();
    EXPECT_EQ(threads(), before + 1);
    detach();

    // The kernel removes the thread's entry shortly after the join.
    EXPECT_TRUE(eventually([&] { return threads() == before; }));
}

TEST_F(ADriver, PlaysTheDemonstrationWhereNoScenarioIsNamed)
{
    const Attached attached(*this);

    EXPECT_EQ(device_count(), 3);
}
