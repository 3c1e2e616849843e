#pragma once

#include "grading/track.h"
#include "grading/tracker.h"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

namespace grading {

/// A place on a board where something was found, for a map.
struct Place
{
    std::int64_t at = 0; ///< microseconds
    int board = 0;
    int x = 0; ///< board units
    int y = 0;
};

/// Where something was found: all are counted, and as many kept as a map can show.
class Places
{
public:
    void add(int board, const Sample &sample);
    std::int64_t count() const { return m_count; }
    const std::vector<Place> &first() const { return m_first; }

private:
    std::vector<Place> m_first;
    std::int64_t m_count = 0;
};

/// What contacts of one board show only together: one that goes on as another, one that is nowhere near any
/// other, two that become one. Used on one thread.
class Neighbours
{
public:
    struct Findings
    {
        Places ghosts;   ///< shorter than 30 ms, and far from all others of a second before and behind
        Places swaps;    ///< a moving contact that went on under another identifier
        Places dropouts; ///< a pen whose tip lifted in motion, and was down again
        Places merges;   ///< a contact that was drawn to the place of a neighbour that vanished
        /// Board units: the farthest that a point lies from both places of two contacts that alternate;
        /// nothing without such contacts.
        std::optional<double> drumRoll;
    };

    void began(const Track &track);
    void moved(const Track &track);
    void ended(const Track &track, Track::End end);
    void finish();

    const Findings &findings() const { return m_findings; }

private:
    struct Spot
    {
        std::int64_t serial = 0;
        Sample sample;
    };
    struct Lift
    {
        capture::ReportKind kind;
        int id;
        Sample last;
        std::int64_t at;
        bool wasMoving;
        bool wasInMotion;
    };
    struct Candidate ///< for a ghost
    {
        Spot spot;
        std::int64_t to = 0;
    };
    struct Pull ///< of a contact towards a neighbour that has vanished
    {
        Sample from;
        Sample towards;
    };
    struct Board
    {
        std::deque<Spot> recent;                           ///< of the last seconds, thinned
        std::map<std::int64_t, Spot> down;                 ///< where contacts are, by serial
        std::map<std::int64_t, Spot> told;                 ///< the last of recent, by serial
        std::map<std::int64_t, Pull> pulls;                ///< by serial
        std::map<std::int64_t, capture::ReportKind> kinds; ///< of contacts that are down, by serial
        std::deque<Lift> lifts;                            ///< of the last tenth of a second
        std::deque<Candidate> candidates;
        std::map<capture::ReportKind, std::deque<Track>> shortOnes; ///< the last ones
    };

    void settle(int number, Board &board, std::int64_t now);
    void checkPull(int number, Board &board, const Track &track);
    void seekGhost(Board &board, const Track &track);
    static bool isAlone(const Board &board, const Track &track);
    void seekPulls(Board &board, const Track &track);
    void rollDrums(Board &board, const Track &track);

    std::map<int, Board> m_boards;
    Findings m_findings;
};

} // namespace grading
