#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <cstdint>

class Korvane;

/// Wakes and paces the event loop between two ticks. Qt rounds timer waits up to whole milliseconds, so a
/// tick can be 1 ms late; a timerfd wakes the loop on time. In a flood of board reports the loop pauses for
/// two milliseconds at a time, so that they gather, since none shows before the next tick.
///
/// Owned by the dialog; watches the event loop of the thread that makes it, which is the GUI thread.
class TickPace : public QObject
{
    Q_OBJECT

public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// @p input is asked for the board's reports, and outlives this object.
    explicit TickPace(const Korvane &input);
    ~TickPace() override;

    /// To be called in each tick, with the time at which the next is due.
    void expect_tick(TimePoint due);

    /// When a pause ends that begins @p now: at the next tick at the latest.
    static TimePoint pause_end(TimePoint now, TimePoint next_tick);

private:
    void about_to_wait();
    void set_alarm(TimePoint at) const;
    void clear_alarm() const;
    /// Whether what comes next may wait for a moment: in a flood of board reports of which none is left.
    /// Nothing else is held up, such as the mouse, whose moves Qt would merge, or contacts that go back to
    /// the operating system.
    bool may_pause() const;

    const int m_alarm; ///< a timerfd; without one, ticks come up to 1 ms late
    QSocketNotifier m_alarm_notifier;
    const Korvane &m_input;
    TimePoint m_next_tick;
    int m_rounds = 0;                 ///< of the event loop since the last tick
    std::uint64_t m_reports_then = 0; ///< that had been handled at the last tick
};
