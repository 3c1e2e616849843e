#pragma once

#include "capture/contacts.h"
#include "capture/line.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <tuple>

namespace lab {

/// Counts how often values of one kind fall into steps of one size, for a median in fixed memory.
class Histogram
{
public:
    /// @p step: what values are told apart by; those beyond a thousand steps count as the last one.
    explicit Histogram(double step) : m_step(step) { }

    void add(double value);
    /// The middle of the step in which the median lies; nothing without values.
    std::optional<double> median() const;

private:
    static constexpr std::size_t steps = 1000;

    const double m_step;
    std::array<std::uint32_t, steps + 1> m_counts{};
    std::uint64_t m_count = 0;
};

/// When something has reported. Times are microseconds.
class Pace
{
public:
    void add(std::int64_t at);

    /// Reports in the second before @p now.
    double rate(std::int64_t now) const;
    /// Whether a whole second has passed since the first report.
    bool isKnown(std::int64_t now) const;
    std::int64_t lastAt() const { return m_lastAt; }

private:
    std::deque<std::int64_t> m_lastSecond; ///< times of the reports
    std::int64_t m_firstAt = -1;
    std::int64_t m_lastAt = 0;
};

/// The time between the samples of one contact while it is down.
class Intervals
{
public:
    void add(std::int64_t microseconds);

    /// What the longest interval and the median one amount to, a second; nothing without intervals.
    std::optional<double> lowestRate() const;
    std::optional<double> medianRate() const;

private:
    Histogram m_counts{100};
    std::int64_t m_longest = 0;
};

/// How many reports a board sends in each second, of those in which contacts are down all the time. The
/// intervals would tell nothing: what a board reports of pens and of touches comes at once.
class Seconds
{
public:
    /// A report at @p at, in microseconds. @p goesOn: whether a contact has been down since the one before.
    void add(std::int64_t at, bool goesOn);

    /// Reports in the poorest second and in the median one, of the last hour; nothing before the first one.
    std::optional<double> lowestRate() const;
    std::optional<double> medianRate() const;

private:
    static constexpr std::size_t most = 3600;

    std::deque<std::uint32_t> m_counts; ///< of each second
    std::int64_t m_begin = 0;           ///< of the second that runs
    std::uint32_t m_count = 0;          ///< in it
};

/// What can be said about one contact while it is followed. Times are microseconds, positions board units.
struct ContactFigures
{
    capture::Contact last;
    Pace pace;
    Intervals intervals;
    std::uint64_t samples = 0;
    std::optional<std::int64_t> liftedAt; ///< when it lifted last, as a touch or with its tip
    capture::Contact lifted;              ///< its last sample that was down
    std::optional<std::int64_t> since;    ///< between the last two samples, as the next two
    int movedX = 0;
    int movedY = 0;
    int lowestX = 65535;
    int highestX = 0;
    int lowestY = 65535;
    int highestY = 0;

    /// Down, and silent for a second or more.
    bool isStuck(std::int64_t now) const;
};

/// What a running recording shows: the figures of every contact, and of each board. Used on one thread.
class Figures
{
public:
    using Key = std::tuple<int, capture::ReportKind, int>; ///< board, kind, identifier

    struct Board
    {
        std::uint64_t reports = 0;
        std::uint64_t undecodable = 0;
        std::uint64_t dropouts = 0;    ///< lifts after which the contact was down again at once, and near
        std::uint64_t orphanLifts = 0; ///< of contacts that were not down
        std::uint64_t handbacks = 0;
        int down = 0; ///< contacts
        Pace pace;
        Seconds seconds;
        Histogram inside{0.5}; ///< microseconds in the program's callback
        double longestInside = 0;
        bool plugged = true;
        std::string lastHex; ///< of the last report
    };

    /// Takes in one line.
    void follow(const capture::Line &line);
    /// So much time has passed since the last line came.
    void pass(std::chrono::microseconds time);

    /// The time of the newest line, and what has passed since.
    std::int64_t now() const { return m_now; }
    /// Pixels of the primary screen; 1920 x 1080 if the recording does not tell.
    int screenWidth() const { return m_screenWidth; }
    int screenHeight() const { return m_screenHeight; }
    const std::map<int, Board> &boards() const { return m_boards; }
    const std::map<Key, ContactFigures> &contacts() const { return m_contacts; }
    std::uint64_t lost() const { return m_lost; }
    /// Lines that did not come because this reader was too slow; the recording has them.
    std::uint64_t missed() const { return m_missed; }
    /// Contacts that never lifted: they are down, and silent for a second or more.
    std::uint64_t stuck() const;

private:
    void followFirst(const capture::Line &line);
    void followReport(const capture::Line &line);
    void followContact(int board, capture::ReportKind kind, const capture::Contact &contact);
    void countLift(int number, capture::ReportKind kind, ContactFigures &figures,
                   const capture::Contact &contact);
    void forgetContacts(int board);

    std::map<int, Board> m_boards;
    std::map<Key, ContactFigures> m_contacts;
    capture::Report m_report;
    std::int64_t m_time = 0; ///< of the newest line
    std::int64_t m_now = 0;
    std::uint64_t m_lost = 0;
    std::uint64_t m_missed = 0;
    int m_screenWidth = 1920;
    int m_screenHeight = 1080;
};

} // namespace lab
