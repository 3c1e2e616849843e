// Tests of how the window makes the event loop wait from one tick to the next.

#include "lxwindow.h"
#include "strokesview.h"
#include "support/items.h"
#include "support/pauses.h"
#include "support/reports.h"
#include "support/simulated_driver.h"
#include "tickpace.h"

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

/// Events of one kind, each sent by another thread when the event loop is about to wait.
class Flood : public EventLoop
{
protected:
    static constexpr int flood = 12; ///< events in a tick that are many

    Flood()
    {
        m_poster.moveToThread(&m_thread);
        m_thread.start();
    }
    ~Flood() override
    {
        m_thread.quit();
        m_thread.wait();
    }

    /// A pen that moves on, over the view.
    void send_reports()
    {
        QObject::connect(view, &ItemView::out_pen_event, &m_context, [this] { ++m_handled; });
        m_send = [this] {
            m_x = 8'000 + (m_x + 1) % 8'000;
            reports::deliver(hardware, reports::pen({0, m_x, 16'384, true, false, false}));
        };
    }

    void send_events_without_reports()
    {
        m_send = [this] { QMetaObject::invokeMethod(&m_context, [this] { ++m_handled; }); };
    }

    /// How many events were handled from one tick to the next, and how often the loop paused.
    struct Course
    {
        std::vector<int> handled_by_tick;
        int pauses = 0;
    };

    /// Lets ticks pass until ten have had enough events for a pause, or a hundred in all.
    Course run()
    {
        Course course;
        const int pauses_before = pauses();
        QEventLoop loop;
        int ticks_with_many = 0;
        QObject::connect(&timer(), &QTimer::timeout, &loop, [&] {
            ticks_with_many += m_handled >= flood ? 1 : 0;
            course.handled_by_tick.push_back(std::exchange(m_handled, 0));
            if (ticks_with_many == 10 || course.handled_by_tick.size() == 100)
                loop.quit();
        });
        QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &loop,
                         [this] { QMetaObject::invokeMethod(&m_poster, m_send); });
        loop.exec();
        course.pauses = pauses() - pauses_before;
        return course;
    }

    /// Whether the flood was one, and none of it was held up.
    static testing::AssertionResult was_never_held_up(const Course &course)
    {
        const auto &ticks = course.handled_by_tick;
        if (*std::max_element(ticks.begin(), ticks.end()) < flood)
            return testing::AssertionFailure() << "there were too few events to tell";
        if (course.pauses > 0)
            return testing::AssertionFailure() << course.pauses << " pauses";
        return testing::AssertionSuccess();
    }

    ZorvicHardware &hardware = *dialog.findChild<ZorvicHardware *>();
    StrokesView *const view = dialog.findChild<StrokesView *>();

private:
    QObject m_context;
    QThread m_thread;
    QObject m_poster;
    std::function<void()> m_send; ///< runs on the other thread
    int m_handled = 0;
    int m_x = 8'000;
};

TEST_F(Flood, OfReportsGathersBetweenTicks)
{
    send_reports();

    const Course course = run();

    EXPECT_GT(course.pauses, 0);
    // Without a pause a tick has time for hundreds.
    for (std::size_t tick = 1; tick < course.handled_by_tick.size(); ++tick)
        EXPECT_LE(course.handled_by_tick.at(tick), 20) << tick;
}

TEST_F(Flood, OfOtherEventsIsNotHeldUp)
{
    send_events_without_reports();

    EXPECT_TRUE(was_never_held_up(run()));
}

TEST_F(Flood, OfOtherEventsIsNotHeldUpByAFewReports)
{
    send_events_without_reports();
    int x = 8'000;
    QObject::connect(&timer(), &QTimer::timeout, &receiver, [&] {
        reports::deliver(hardware, reports::pen({1, ++x, 16'384, true, false, false}));
    });

    EXPECT_TRUE(was_never_held_up(run()));
}

TEST_F(Flood, IsNotHeldUpWhileReportsWait)
{
    send_reports();
    hardware.backlog().sent(1);

    EXPECT_TRUE(was_never_held_up(run()));
}

TEST_F(Flood, IsNotHeldUpWhileAContactGoesBackToTheSystem)
{
    constexpr int outside = 65'535;
    send_reports();
    dialog.findChild<Korvane *>()->in_touch_event({{7, outside, outside, 100, true}});

    EXPECT_TRUE(was_never_held_up(run()));
}

struct Pause
{
    const char *name;
    int until_tick; ///< milliseconds
    int length;     ///< milliseconds
};

class APause : public testing::TestWithParam<Pause>
{
};

TEST_P(APause, EndsAtTheTickAtTheLatest)
{
    using std::chrono::milliseconds;
    const TickPace::TimePoint now(std::chrono::hours(1));

    const auto end = TickPace::pause_end(now, now + milliseconds(GetParam().until_tick));

    EXPECT_EQ(end - now, milliseconds(GetParam().length));
}

INSTANTIATE_TEST_SUITE_P(TickPace, APause,
                         testing::Values(Pause{"LongBeforeTheTick", 8, 2}, Pause{"JustBeforeTheTick", 1, 1},
                                         Pause{"AtTheTick", 0, 0}, Pause{"AfterTheTick", -3, -3}),
                         row_name<Pause>);

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
