#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <chrono>

/// Wakes and paces the event loop between two ticks. Qt rounds timer waits up to whole milliseconds, so a
/// tick can be 1 ms late; a timerfd wakes the loop on time. In a flood of events the loop pauses for two
/// milliseconds at a time, so that reports gather, since none shows before the next tick.
///
/// Owned by the dialog; watches the event loop of the thread that makes it, which is the GUI thread.
class TickPace : public QObject
{
    Q_OBJECT

public:
    using TimePoint = std::chrono::steady_clock::time_point;

    TickPace();
    ~TickPace() override;

    /// To be called in each tick, with the time at which the next is due.
    void expect_tick(TimePoint due);

private:
    void about_to_wait();
    void set_alarm(TimePoint at) const;
    void clear_alarm() const;
    void pause() const;

    const int m_alarm; ///< a timerfd; without one, ticks come up to 1 ms late
    QSocketNotifier m_alarm_notifier;
    TimePoint m_next_tick;
    int m_rounds = 0; ///< of the event loop since the last tick
};
