#include "support/driver_library.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

using namespace driver_testing;

namespace {

/// Whether the thread sleeps in the kernel; see /proc/pid/task/tid/stat in proc(5).
bool is_waiting(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t name_end = text.rfind(')');
    return name_end != std::string::npos && text.compare(name_end, 3, ") S") == 0;
}

} // namespace

TEST_F(ADriver, DeliversNothingOnceACallbackIsCleared)
{
    use(endless(1));
    const Attached attached(*this);
    for (int round = 0; round < 50; ++round) {
        auto receiver = std::make_unique<Receiver>();
        receive(1, *receiver);
        ASSERT_TRUE(receiver->has(1));
        forget(1, *receiver);
        receiver.reset(); // a sanitizer sees a callback that comes later
    }
}

TEST_F(ADriver, ClearsACallbackOnlyAfterItHasReturned)
{
    use(endless(1));
    std::atomic<bool> clearing = false;
    std::atomic<bool> cleared = false;
    std::atomic<bool> returned = false;
    const auto clearing_thread = gettid();
    Receiver receiver;
    receiver.inside = [&] {
        // Returns when the clearing thread either waits for this callback or has gone on without waiting.
        eventually([&] { return cleared || (clearing && is_waiting(clearing_thread)); });
        returned = true;
    };
    const Attached attached(*this);
    receive(1, receiver);
    ASSERT_TRUE(receiver.has(1));

    clearing = true;
    forget(1, receiver);
    const bool waited = returned;
    cleared = true;

    EXPECT_TRUE(waited);
    EXPECT_EQ(receiver.count(), 1u);
}

TEST_F(ADriver, KeepsACallbackWhenAnotherOneIsCleared)
{
    use(endless(1));
    Receiver receiver;
    Receiver other;
    const Attached attached(*this);
    receive(1, receiver);

    forget(2, receiver);
    forget(1, other);
    forget_pnp(other);

    EXPECT_TRUE(receiver.has(receiver.count() + 2));
}

TEST_F(ADriver, ClearsThePlugAndPlayCallbackThroughBoardZero)
{
    use(gate() + "{\"type\":\"unplug\",\"board\":1}\n" + mark("end"));
    Receiver changes;
    const Attached attached(*this);
    receive_pnp(changes);

    forget_pnp(changes);
    open_gate();

    ASSERT_TRUE(eventually([&] { return marks("end") == 1; }));
    EXPECT_EQ(changes.count(), 0u);
}

TEST_F(ADriver, LetsACallbackClearCallbacksAndAttachAgain)
{
    use(gate() + raw(1, "0045") + "{\"type\":\"unplug\",\"board\":2}\n" + raw(1, "0046") + mark("end"));
    Receiver packets;
    Receiver changes;
    changes.inside = [&] { // as the program does when it enumerates its boards again
        forget(1, packets);
        attach();
        receive(1, packets);
    };
    const Attached attached(*this);
    receive(1, packets);
    receive_pnp(changes);

    open_gate();

    ASSERT_TRUE(eventually([&] { return marks("end") == 1; }));
    EXPECT_EQ(packets.reports(), (std::vector<Bytes>{{0, 0x45}, {0, 0x46}}));
}

TEST_F(ADriver, LetsACallbackClearItself)
{
    use(endless(1));
    Receiver receiver;
    receiver.inside = [&] { forget(1, receiver); };
    Receiver second;
    const Attached attached(*this);
    receive(1, receiver);
    ASSERT_TRUE(receiver.has(1));
    ASSERT_TRUE(eventually([&] { return log().back()["export"] == "zorvicClearCallback"; }));

    receive(1, second);

    ASSERT_TRUE(second.has(3));
    EXPECT_EQ(receiver.count(), 1u);
}

TEST_F(ADriver, DeliversNothingOnceItIsDetached)
{
    use(endless(1));
    for (int round = 0; round < 20; ++round) {
        auto receiver = std::make_unique<Receiver>();
        attach();
        receive(1, *receiver);
        ASSERT_TRUE(receiver->has(1));
        detach();
        receiver.reset(); // a sanitizer sees a callback that comes later
    }
}

TEST_F(ADriver, ForgetsItsCallbacksWhenItIsDetached)
{
    use(gate() + raw(1, "0045") + "{\"type\":\"unplug\",\"board\":1}\n" + mark("end"));
    Receiver receiver;
    attach();
    receive(1, receiver);
    receive_pnp(receiver);
    detach();

    open_gate();
    attach();

    ASSERT_TRUE(eventually([&] { return marks("end") == 1; }));
    EXPECT_EQ(receiver.count(), 0u);
}

TEST_F(ADriver, LetsACallbackDetach)
{
    use(endless(1));
    Receiver receiver;
    receiver.inside = [&] { detach(); };
    const Attached attached(*this);
    receive(1, receiver);

    ASSERT_TRUE(receiver.has(1));
    detach();

    EXPECT_EQ(receiver.count(), 1u);
    EXPECT_EQ(device_count(), 0);
}

TEST_F(ADriver, LetsACallbackRestartTheScenario)
{
    use(mark("start") + gate() + raw(1, "0045") + mark("not reached"));
    Receiver receiver;
    receiver.inside = [&] {
        detach();
        use(mark("start") + gate() + raw(1, "0046") + mark("end"));
        attach();
    };
    const Attached attached(*this);
    receive(1, receiver);

    open_gate();

    ASSERT_TRUE(eventually([&] { return marks("end") == 1; }));
    EXPECT_EQ(marks("start"), 2);
    EXPECT_EQ(marks("not reached"), 0);
    EXPECT_EQ(receiver.count(), 1u) << "its callback was forgotten";
    EXPECT_EQ(device_count(), 2);
}

TEST_F(ADriver, TakesCallsWhileACallbackRuns)
{
    use(endless(1));
    std::atomic<bool> entered = false;
    std::atomic<bool> leave = false;
    Receiver receiver;
    receiver.inside = [&] {
        entered = true;
        eventually([&] { return leave.load(); });
    };
    const Attached attached(*this);
    receive(1, receiver);
    ASSERT_TRUE(eventually([&] { return entered.load(); }));

    EXPECT_EQ(write(1, ":VL1\r"), 5);
    EXPECT_EQ(device_count(), 2);
    Receiver other;
    receive(2, other);
    forget(2, other);
    EXPECT_TRUE(attach());
    leave = true;
}

TEST_F(ADriver, RunsNoCallbackWhileTheProgramHoldsItsLock)
{
    use(endless(1));
    Receiver receiver;
    const Attached attached(*this);
    receive(1, receiver);
    ASSERT_TRUE(receiver.has(1));

    call<void()>("zorvicLock");
    call<void()>("zorvicLock");
    call<void()>("zorvicUnlock");
    const std::size_t before = receiver.count();
    for (int i = 0; i < 1000; ++i) // takes longer than many reports, because each call is logged
        call<int()>("zorvicInterface");
    EXPECT_EQ(receiver.count(), before);
    call<void()>("zorvicUnlock");

    EXPECT_TRUE(receiver.has(before + 1));
}

TEST_F(ADriver, LetsACallbackTakeItsLock)
{
    use(endless(1));
    Receiver receiver;
    receiver.inside = [&] {
        call<void()>("zorvicLock");
        call<void()>("zorvicUnlock");
    };
    const Attached attached(*this);
    receive(1, receiver);

    EXPECT_TRUE(receiver.has(3));
}

TEST_F(ADriver, DetachesWhileTheProgramHoldsItsLock)
{
    use(endless(1));
    Receiver receiver;
    const Attached attached(*this);
    receive(1, receiver);
    ASSERT_TRUE(receiver.has(1));
    call<void()>("zorvicLock");

    detach();

    call<void()>("zorvicUnlock");
}

// Tests of callbacks on a thread that the driver's own thread waits for.

class ACallbackOnAnotherThread : public ADriver, public testing::WithParamInterface<const char *>
{
protected:
    ACallbackOnAnotherThread()
    {
        open_hostile(GetParam());
        use(gate() + "{\"type\":\"unplug\",\"board\":2}\n" + mark("end"));
    }
};

TEST_P(ACallbackOnAnotherThread, MayAttachWhileTheProgramDetaches)
{
    std::atomic<bool> attached = false;
    Receiver changes;
    changes.inside = [&] {
        // The devices go when Detach begins; from then on it waits for the driver's thread.
        if (eventually([&] { return device_count() == 0; }))
            attached = attach();
    };
    attach();
    receive_pnp(changes);
    open_gate();
    ASSERT_TRUE(changes.has(1));

    detach();

    EXPECT_TRUE(attached);
    EXPECT_EQ(device_count(), 0);
}

TEST_P(ACallbackOnAnotherThread, WaitsForNoCallback)
{
    Receiver changes;
    changes.inside = [&] {
        call<void()>("zorvicLock");
        call<void()>("zorvicUnlock");
        forget_pnp(changes);
        detach();
        attach();
    };
    const Attached attached(*this);
    receive_pnp(changes);

    open_gate();

    EXPECT_TRUE(eventually([&] { return marks("end") == 1; }));
}

INSTANTIATE_TEST_SUITE_P(, ACallbackOnAnotherThread,
                         testing::Values("threads=2", "deep-stack=1", "callbacks-in-attach"),
                         [](const auto &row) {
                             std::string name = row.param;
                             std::replace_if(
                                 name.begin(), name.end(), [](char c) { return c == '-' || c == '='; }, '_');
                             return name;
                         });
