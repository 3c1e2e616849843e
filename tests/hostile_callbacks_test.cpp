#include "support/board_signals.h"
#include "support/event_counts.h"
#include "support/live_dialog.h"
#include "support/queue_order.h"
#include "support/reports.h"
#include "support/simulated_driver.h"

#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// Tests with drivers that call back at the wrong time, from the wrong place or with wrong arguments.

namespace {

using Lines = std::vector<std::string>;

/// Finds out which boards the manager knows by writing to each of them.
Lines known_boards(ZorvicHardware &hardware, SimulatedDriver &driver)
{
    driver.clear_calls();
    hardware.setTouchReportMode(ZorvicHardware::TouchReportMode(1));
    return driver.call_texts();
}

const Lines both_boards{"SetTouchDestination(7, 1)", "SetTouchDestination(3, 1)"};

/// The devices, then @p reports once the gate "go" is open, then the mark "played".
QStringList devices_and(const QStringList &reports)
{
    return SimulatedDriver::two_boards_and_a_hub()
        << SimulatedDriver::gate("go") << reports << R"({"type":"mark","text":"played"})";
}

bool play(SimulatedDriver &driver)
{
    happens_before_emissions();
    driver.open_gate("go");
    const bool played = QTest::qWaitFor([&] { return driver.has_mark("played"); }, 20'000);
    QCoreApplication::processEvents();
    return played;
}

QString pen(int x, bool tip)
{
    return QStringLiteral(R"({"type":"pen","board":7,"pen":1,"x":%1,"y":9000,"tip":%2,"button":false})")
        .arg(x)
        .arg(tip ? "true" : "false");
}

QString touch(int id, bool down)
{
    return QStringLiteral(
               R"({"type":"touch","board":3,"contacts":[{"id":%1,"x":9000,"y":9000,"extent":50,"down":%2}]})")
        .arg(id)
        .arg(down ? "true" : "false");
}

// Tests with callbacks at times when none is expected. Each comes on the calling thread and then on another,
// while the caller waits.

TEST(CallbacksDuringAttach, AreServed)
{
    SimulatedDriver driver = SimulatedDriver::hostile("callbacks-in-attach");
    ZorvicHardware hardware(nullptr);
    const EventCounts emitted(hardware);

    EXPECT_TRUE(hardware.init());

    EXPECT_EQ(emitted.changes, 2);
    EXPECT_EQ(emitted.enumerations, 2) << "one for each change; they overtook that of the start";
    EXPECT_EQ(emitted.pens, 2) << "of two boards, once they were registered";
    EXPECT_EQ(known_boards(hardware, driver), both_boards);
    hardware.uninit();
}

TEST(CallbacksDuringRegistration, AreServed)
{
    SimulatedDriver driver = SimulatedDriver::hostile("callbacks-in-registration");
    ZorvicHardware hardware(nullptr);
    const EventCounts emitted(hardware);

    EXPECT_TRUE(hardware.init());

    EXPECT_EQ(emitted.changes, 2);
    EXPECT_EQ(emitted.enumerations, 2) << "they overtook that of the start";
    EXPECT_EQ(emitted.pens, 2 * 2 * 2) << "enumerations, boards, threads";
    EXPECT_EQ(known_boards(hardware, driver), both_boards);
    hardware.uninit();
}

TEST(CallbacksDuringDetach, AreServedUntilTheManagerGoes)
{
    SimulatedDriver driver = SimulatedDriver::hostile("callbacks-in-detach");
    auto hardware = std::make_unique<ZorvicHardware>(nullptr);
    const EventCounts emitted(*hardware);
    hardware->init();

    hardware->uninit();
    EXPECT_EQ(emitted.pens, 2 * 2) << "boards, threads";
    EXPECT_EQ(emitted.changes, 2);
    EXPECT_EQ(known_boards(*hardware, driver), both_boards);

    hardware.reset();
    EXPECT_EQ(emitted.pens, 2 * 2) << "it detaches again, and what comes then is dropped";
    EXPECT_EQ(emitted.changes, 2);
}

TEST(CallbacksDuringDetach, AreDroppedOnceTheManagerHasEnded)
{
    SimulatedDriver driver = SimulatedDriver::hostile("callbacks-in-detach");
    ZorvicHardware hardware(nullptr);
    const EventCounts emitted(hardware);
    hardware.init();

    EXPECT_TRUE(hardware.end());
    hardware.uninit();

    EXPECT_EQ(emitted.pens, 0);
    EXPECT_EQ(emitted.changes, 0);
}

class UnexpectedCallbacks : public testing::TestWithParam<const char *>
{
};

TEST_P(UnexpectedCallbacks, DisturbNoWindow)
{
    SimulatedDriver driver = SimulatedDriver::hostile(GetParam());
    LiveDialog dialog;
    EXPECT_TRUE(dialog.takes_a_pen());
    // The pen of those callbacks and two more contacts are captured when the window goes.
    reports::deliver(dialog.hardware(), reports::pen({0, 9000, 9000, true, false, false}));
    reports::deliver(dialog.hardware(), reports::touch({{1, 9000, 9000, 50, true}}));
    reports::deliver(dialog.hardware(), reports::erase({{1, 9000, 9000, 50, 50, true}}));
    const int pens = dialog.pens;

    dialog.end();

    EXPECT_EQ(dialog.pens, pens) << "a window that goes takes nothing more";
    EXPECT_EQ(driver.call_texts().back(), "Detach()");
}

INSTANTIATE_TEST_SUITE_P(, UnexpectedCallbacks,
                         testing::Values("callbacks-in-attach", "callbacks-in-registration",
                                         "callbacks-in-detach"),
                         [](const auto &row) {
                             std::string name = row.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

// Tests with callbacks on several threads at once.

constexpr int threads = 10;
constexpr int rounds = 20;

QStringList touches_down_and_up()
{
    QStringList reports;
    for (int i = 0; i < rounds; ++i)
        reports << touch(i % 3, true) << touch(i % 3, false);
    return reports;
}

TEST(TenThreadsAtOnce, EachGetTheirReportsThrough)
{
    SimulatedDriver driver = SimulatedDriver::hostile("threads=10", devices_and(touches_down_and_up()));
    ZorvicHardware hardware(nullptr);
    const EventCounts emitted(hardware);
    hardware.init();

    EXPECT_TRUE(play(driver));
    hardware.uninit();

    EXPECT_EQ(emitted.touches, 2 * rounds * threads);
}

TEST(TenThreadsAtOnce, EachGetTheirReportsToTheSystem)
{
    SimulatedDriver driver = SimulatedDriver::hostile("threads=10", devices_and(touches_down_and_up()));
    QWidget hidden;
    ZorvicHardware hardware(nullptr);
    const EventCounts emitted(hardware);
    hardware.init();
    hardware.setWidgetOfInterest(&hidden);

    EXPECT_TRUE(play(driver));
    hardware.uninit();

    EXPECT_EQ(emitted.touches, 0);
    EXPECT_EQ(driver.calls("SendTouchPacketToSystem").size(), std::size_t(2 * rounds * threads));
}

TEST(TenThreadsAtOnce, LeaveNoTraceOfAContactThatHasLifted)
{
    constexpr int ids = 128;
    QStringList reports;
    for (int id = 0; id < ids; ++id)
        reports << touch(id, true); // on the widget of interest
    SimulatedDriver driver = SimulatedDriver::hostile("threads=10", devices_and(reports));
    QWidget left_half;
    left_half.setWindowFlag(Qt::FramelessWindowHint);
    left_half.setGeometry(0, 0, 400, 800);
    left_half.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&left_half));
    ZorvicHardware hardware(nullptr);
    const EventCounts emitted(hardware);
    hardware.init();
    hardware.setWidgetOfInterest(&left_half);
    EXPECT_TRUE(play(driver));
    EXPECT_EQ(emitted.touches, ids * threads);

    constexpr int right = 30000; // raw board units
    for (quint8 id = 0; id < ids; ++id) {
        reports::deliver(hardware, reports::touch({{id, 9000, 9000, 50, false}}));
        reports::deliver(hardware, reports::touch({{id, right, 9000, 50, true}}));
    }

    EXPECT_EQ(emitted.touches, ids * threads + ids) << "the lifts, but nothing on the right";
    hardware.uninit();
}

TEST(TenThreadsAtOnce, LeaveEachBoardListedOnce)
{
    QStringList changes;
    for (int i = 0; i < rounds; ++i)
        changes << R"({"type":"unplug","board":3})"
                << R"({"type":"plug","board":3})";
    SimulatedDriver driver = SimulatedDriver::hostile("threads=10", devices_and(changes));
    ZorvicHardware hardware(nullptr);
    const EventCounts emitted(hardware);
    hardware.init();

    EXPECT_TRUE(play(driver));

    EXPECT_EQ(emitted.changes, 2 * rounds * threads);
    EXPECT_GE(emitted.enumerations, 1 + 2 * rounds) << "at least one for each time";
    EXPECT_EQ(emitted.last_count, 3);
    EXPECT_EQ(known_boards(hardware, driver), both_boards);
    hardware.uninit();
}

/// Lets its threads pass once two of them have arrived.
class MeetingOfTwo
{
public:
    void attend()
    {
        std::unique_lock lock(m_mutex);
        ++m_present;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_present >= 2; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_present = 0;
};

TEST(TwoChangesAtOnce, LeaveEachBoardListedOnce)
{
    SimulatedDriver driver =
        SimulatedDriver::hostile("threads=2", devices_and({R"({"type":"unplug","board":0})"})); // the hub
    ZorvicHardware hardware(nullptr);
    hardware.init();
    MeetingOfTwo meeting;
    QObject context;
    QObject::connect(
        &hardware, &ZorvicHardware::pnpEvent, &context, [&meeting] { meeting.attend(); },
        Qt::DirectConnection);

    EXPECT_TRUE(play(driver));

    EXPECT_EQ(known_boards(hardware, driver), both_boards);
    hardware.uninit();
}

TEST(TenThreadsAtOnce, LeaveTheWindowAtWork)
{
    QStringList reports;
    for (int i = 0; i < rounds; ++i)
        reports << pen(9000 + i, true) << touch(i % 3, true) << touch(i % 3, false)
                << R"({"type":"unplug","board":3})"
                << R"({"type":"plug","board":3})";
    SimulatedDriver driver = SimulatedDriver::hostile("threads=10", devices_and(reports << pen(9000, false)));
    LiveDialog dialog;

    EXPECT_TRUE(play(driver));

    EXPECT_EQ(dialog.pens, rounds + 1) << "what repeats changes nothing";
    EXPECT_TRUE(dialog.takes_a_pen());
    dialog.end();
    EXPECT_EQ(driver.call_texts().back(), "Detach()");
}

// Tests with plug-and-play inside a packet callback: the driver reports it inside the call that writes a
// report back to the system.

TEST(PlugAndPlayInsideAPacketCallback, EnumeratesAndGoesOn)
{
    SimulatedDriver driver = SimulatedDriver::hostile(
        "pnp-in-report",
        devices_and(QStringList(touches_down_and_up()) << pen(9000, true) << pen(9000, false)));
    QWidget hidden;
    ZorvicHardware hardware(nullptr);
    const EventCounts emitted(hardware);
    hardware.init();
    hardware.setWidgetOfInterest(&hidden);

    EXPECT_TRUE(play(driver));

    constexpr int reports = 2 * rounds + 2;
    EXPECT_EQ(driver.calls("SendTouchPacketToSystem").size(), std::size_t(reports));
    EXPECT_EQ(emitted.changes, reports);
    EXPECT_EQ(emitted.enumerations, 1 + reports);
    EXPECT_EQ(emitted.touches + emitted.pens, 0);
    EXPECT_EQ(known_boards(hardware, driver), both_boards);
    hardware.uninit();
}

TEST(PlugAndPlayInsideAPacketCallback, LeavesTheWindowAtWork)
{
    const QString outside =
        R"({"type":"touch","board":3,"contacts":[{"id":9,"x":40000,"y":9000,"extent":50,"down":%1}]})";
    SimulatedDriver driver = SimulatedDriver::hostile(
        "pnp-in-report",
        devices_and({pen(9000, true), outside.arg("true"), outside.arg("false"), pen(9001, false)}));
    LiveDialog dialog;

    EXPECT_TRUE(play(driver));

    EXPECT_EQ(driver.calls("SendTouchPacketToSystem").size(), 2U);
    EXPECT_EQ(dialog.pens, 2);
    EXPECT_TRUE(dialog.takes_a_pen());
}

// Tests of the arguments of callbacks.

TEST(BadArguments, AreDroppedAndTheReportsBetweenThemServed)
{
    SimulatedDriver driver = SimulatedDriver::hostile(
        "bad-arguments",
        devices_and({pen(9000, true), touch(2, true), R"({"type":"raw","board":7,"hex":"0046"})",
                     R"({"type":"unplug","board":3})", pen(9000, false)}));
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);
    hardware.init();
    const std::size_t at_start = emitted.texts.size();

    EXPECT_TRUE(play(driver));
    hardware.uninit();

    EXPECT_EQ(
        Lines(emitted.texts.begin() + static_cast<std::ptrdiff_t>(at_start), emitted.texts.end()),
        (Lines{"penEvent(pen 1 at 9000, 9000, tip)", "touchEvent(touch 2 at 9000, 9000, extent 50, down)",
               "eraseEvent()", "pnpEvent()", "boardEnumerated(0, board 7 of type \"HID\" 1240 161 4 10 2)",
               "hubEnumerated(legacy)", "deviceEnumCount(2)", "penEvent(pen 1 at 9000, 9000)"}));
}

TEST(BadArguments, LeaveTheWindowAtWork)
{
    SimulatedDriver driver = SimulatedDriver::hostile(
        "bad-arguments", devices_and({pen(9000, true), R"({"type":"unplug","board":3})", pen(9001, false)}));
    LiveDialog dialog;

    EXPECT_TRUE(play(driver));

    EXPECT_EQ(dialog.pens, 2);
    EXPECT_TRUE(dialog.takes_a_pen());
}

} // namespace
