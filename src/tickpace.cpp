#include "tickpace.h"

#include "korvane.h"

#include <QAbstractEventDispatcher>

#include <algorithm>
#include <thread>

#include <sys/timerfd.h>
#include <unistd.h>

namespace {

constexpr int enough_rounds = 8;           // of the event loop in a tick: a thousand a second
constexpr std::uint64_t flood_reports = 4; // in a tick: five hundred a second
constexpr std::chrono::milliseconds flood_pause(2);

} // namespace

TickPace::TickPace(const Korvane &input)
    : m_alarm(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC)), m_alarm_notifier(m_alarm, QSocketNotifier::Read),
      m_input(input)
{
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            &TickPace::about_to_wait);
    connect(&m_alarm_notifier, &QSocketNotifier::activated, this, &TickPace::clear_alarm);
}

TickPace::~TickPace()
{
    m_alarm_notifier.setEnabled(false);
    ::close(m_alarm);
}

void TickPace::expect_tick(TimePoint due)
{
    if (m_rounds > 1)
        clear_alarm(); // the tick came first
    m_next_tick = due;
    m_rounds = 0;
    m_reports_then = m_input.backlog().handledSoFar();
}

void TickPace::about_to_wait()
{
    ++m_rounds;
    // The first round is the tick's own, and nothing new can show before the next one. An idle loop needs no
    // alarm.
    if (m_rounds == 2)
        set_alarm(m_next_tick);
    // Waking up costs more than most reports in a flood.
    if (m_rounds > enough_rounds && may_pause())
        std::this_thread::sleep_until(pause_end(std::chrono::steady_clock::now(), m_next_tick));
}

bool TickPace::may_pause() const
{
    const Backlog &backlog = m_input.backlog();
    const bool flood = backlog.handledSoFar() - m_reports_then >= flood_reports;
    // With GLib, aboutToBlock comes even if events are waiting.
    return flood && backlog.waiting() == 0 && !m_input.hands_back();
}

TickPace::TimePoint TickPace::pause_end(TimePoint now, TimePoint next_tick)
{
    return std::min(now + flood_pause, next_tick);
}

void TickPace::set_alarm(TimePoint at) const
{
    using namespace std::chrono;
    const nanoseconds time = at.time_since_epoch(); // std::chrono::steady_clock is CLOCK_MONOTONIC
    const seconds whole = duration_cast<seconds>(time);
    const itimerspec setting{{}, {whole.count(), (time - whole).count()}};
    timerfd_settime(m_alarm, TFD_TIMER_ABSTIME, &setting, nullptr);
}

void TickPace::clear_alarm() const
{
    set_alarm({}); // a zero time disarms a timerfd, and takes back an expiry that nobody has read
}
