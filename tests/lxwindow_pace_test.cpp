// Tests of how the window makes the event loop wait from one tick to the next.

#include "lxwindow.h"
#include "support/simulated_driver.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace {

class EventLoop : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog)); }

    QTimer &timer() { return *dialog.findChild<QTimer *>(QString(), Qt::FindDirectChildrenOnly); }

    SimulatedDriver driver;
    LanternixDialog dialog{nullptr};
    QObject receiver; ///< receives events without effect
};

TEST_F(EventLoop, EventsOfAFloodGatherBetweenTicks)
{
    // Each event is posted once the last one has been handled. Without a pause, there would be hundreds per
    // tick.
    QEventLoop loop;
    QThread flood;
    QObject poster;
    poster.moveToThread(&flood);
    flood.start();
    int handled = 0;
    std::function<void()> answer = [&] {
        ++handled;
        QMetaObject::invokeMethod(&poster, [&] { QMetaObject::invokeMethod(&loop, answer); });
    };
    std::vector<int> handled_by_tick;
    QObject::connect(&timer(), &QTimer::timeout, &loop, [&] {
        handled_by_tick.push_back(std::exchange(handled, 0));
        if (handled_by_tick.size() == 10)
            loop.quit();
    });

    answer();
    loop.exec();
    flood.quit();
    flood.wait();

    EXPECT_GT(*std::max_element(handled_by_tick.begin(), handled_by_tick.end()), 0);
    for (std::size_t tick = 1; tick < handled_by_tick.size(); ++tick)
        EXPECT_LE(handled_by_tick.at(tick), 20) << tick;
}

/// Nanoseconds until the process's timerfd fires; 0 if it is not set.
long long time_to_alarm()
{
    long long left = 0;
    for (const auto &file : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code vanished; // the iterator's own descriptor, for one, may be closed by now
        if (std::filesystem::read_symlink(file, vanished) != "anon_inode:[timerfd]")
            continue;
        std::ifstream info("/proc/self/fdinfo/" + file.path().filename().string());
        for (std::string line; std::getline(info, line);) {
            long long seconds = 0;
            long long nanoseconds = 0;
            if (std::sscanf(line.c_str(), "it_value: (%lld, %lld)", &seconds, &nanoseconds) == 2)
                left += seconds * 1'000'000'000 + nanoseconds;
        }
    }
    return left;
}

/// The time left on the alarm each time the event loop was about to wait, from one tick to the next.
using AlarmTimes = std::vector<long long>;

/// Runs the event loop and calls @p at_tick at each tick, until @p done accepts the times between two ticks.
/// Returns false if it never does.
bool watch_alarm(const QTimer &timer, const std::function<void()> &at_tick,
                 const std::function<bool(const AlarmTimes &)> &done)
{
    constexpr int patience = 1'000; // ticks
    QEventLoop loop;
    int ticks = 0;
    bool is_done = false;
    AlarmTimes times;
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &loop,
                     [&times] { times.push_back(time_to_alarm()); });
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        is_done = ticks > 0 && done(std::exchange(times, {}));
        if (is_done || ++ticks == patience)
            loop.quit();
        at_tick();
    });
    loop.exec();
    return is_done;
}

void post_an_event(QObject &receiver)
{
    QMetaObject::invokeMethod(
        &receiver, [] { return; }, Qt::QueuedConnection);
}

TEST_F(EventLoop, AlarmWakesTheLoopForTheTickThatFollowsAnEvent)
{
    const auto set_after_the_event = [](const AlarmTimes &times) {
        return times.size() >= 2 && times[0] == 0 && times[1] > 0 && times[1] <= 8'000'000;
    };

    EXPECT_TRUE(watch_alarm(
        timer(), [this] { post_an_event(receiver); }, set_after_the_event));
}

TEST_F(EventLoop, AlarmStaysUnsetWhileNothingHappens)
{
    int quiet_ticks = 0;
    const auto five_quiet_ticks = [&quiet_ticks](const AlarmTimes &times) {
        quiet_ticks = times == AlarmTimes{0} ? quiet_ticks + 1 : 0;
        return quiet_ticks == 5;
    };
    post_an_event(receiver);

    EXPECT_TRUE(watch_alarm(
        timer(), [] { return; }, five_quiet_ticks));
}

TEST_F(EventLoop, AlarmIsUnsetByATickThatComesSooner)
{
    long long left = -1;
    const auto tick_while_it_is_set = [&] {
        if (time_to_alarm() == 0)
            return;
        dialog.in_timer_update();
        left = time_to_alarm();
    };
    QObject context;
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &context,
                     tick_while_it_is_set);

    watch_alarm(
        timer(), [this] { post_an_event(receiver); }, [&left](const AlarmTimes &) { return left >= 0; });

    EXPECT_EQ(left, 0);
}

TEST_F(EventLoop, AlarmWakesOnlyOnceWhereTheTicksHaveBeenStopped)
{
    QEventLoop loop;
    int rounds = 0;
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &loop,
                     [&] {
                         ++rounds;
                         if (time_to_alarm() == 0 || !timer().isActive())
                             return;
                         timer().stop();
                         rounds = 0;
                         QTimer::singleShot(50, &loop, &QEventLoop::quit);
                     });
    QObject::connect(&timer(), &QTimer::timeout, &loop, [this] { post_an_event(receiver); });

    loop.exec();

    EXPECT_LT(rounds, 50);
}

} // namespace
