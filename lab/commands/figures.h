#pragma once

#include "capture/contacts.h"
#include "capture/line.h"

#include <array>
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

/// What can be said about one contact while it is followed. Times are microseconds, positions board units.
struct ContactFigures
{
    capture::Contact last;
    std::int64_t lastAt = 0;
    std::int64_t downAt = 0;
    std::uint64_t samples = 0;
    std::deque<std::int64_t> lastSecond; ///< times of the samples
    Histogram intervals{100};            ///< between samples while it is down
    std::int64_t longestInterval = 0;    ///< while it is down
    std::optional<std::int64_t> since;   ///< between the last two samples
    int movedX = 0;                      ///< between the last two samples
    int movedY = 0;
    int lowestX = 65535;
    int highestX = 0;
    int lowestY = 65535;
    int highestY = 0;

    /// Reports a second, over the second before @p now.
    double rate(std::int64_t now) const;
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
        std::uint64_t dropouts = 0;    ///< a pen's tip lifted in motion and touched again at once
        std::uint64_t orphanLifts = 0; ///< of contacts that were not down
        std::uint64_t handbacks = 0;
        std::deque<std::int64_t> lastSecond; ///< times of the reports
        Histogram inside{0.5};               ///< microseconds in the program's callback
        double longestInside = 0;
        bool plugged = true;
        std::string lastHex; ///< of the last report

        double rate(std::int64_t now) const;
    };

    /// Takes in one line.
    void follow(const capture::Line &line);

    /// The time of the newest line.
    std::int64_t now() const { return m_now; }
    const std::map<int, Board> &boards() const { return m_boards; }
    const std::map<Key, ContactFigures> &contacts() const { return m_contacts; }
    std::uint64_t lost() const { return m_lost; }
    /// Contacts that are down and have been silent for a second or more.
    std::uint64_t stuck() const;

private:
    void followReport(const capture::Line &line);
    void followContact(int board, capture::ReportKind kind, const capture::Contact &contact);
    void countDropout(int board, const ContactFigures &figures, const capture::Contact &contact);

    std::map<int, Board> m_boards;
    std::map<Key, ContactFigures> m_contacts;
    capture::Report m_report;
    std::int64_t m_now = 0;
    std::uint64_t m_lost = 0;
};

} // namespace lab
