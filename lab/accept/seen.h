#pragma once

#include "accept/geometry.h"

#include "capture/contacts.h"
#include "capture/line.h"

#include <cstdint>
#include <map>
#include <set>
#include <tuple>
#include <vector>

namespace acceptance {

/// One report of a contact that is down.
struct Sample
{
    std::int64_t at = 0; ///< microseconds since the recording began
    Place place;
};

/// A contact from touching down to lifting.
struct Stroke
{
    int board = 0;
    capture::ReportKind kind = capture::ReportKind::touch; ///< pen, touch or erase
    int id = 0;
    std::vector<Sample> samples; ///< never empty
    bool hasLifted = false;
    std::int64_t end = 0; ///< of the lift, or of the last sample
    int width = 0;        ///< the largest one, in board units, of a touch or an eraser
    int height = 0;       ///< of an eraser

    std::int64_t begin() const { return samples.front().at; }
    double seconds() const { return static_cast<double>(end - begin()) / 1e6; }
};

/// A board was unplugged or plugged in.
struct Plugged
{
    std::int64_t at = 0;
    bool isPlugged = false;
};

/// What boards have done since a step began, for whoever judges it. Used on one thread.
class Seen
{
public:
    /// A step begins. A contact that is down now is no part of it until it has lifted.
    void begin();
    void follow(const capture::Line &line);

    /// In the order in which they touched down.
    const std::vector<Stroke> &strokes() const { return m_strokes; }
    const std::vector<Plugged> &plugged() const { return m_plugged; }
    /// Contacts that are down now.
    int down() const { return static_cast<int>(m_down.size()); }
    /// The most contacts that were down at the same time.
    int mostDown() const { return m_mostDown; }

private:
    using Key = std::tuple<int, capture::ReportKind, int>; ///< board, kind, identifier

    void follow(std::int64_t at, int board, const capture::Contact &contact);
    void unplug(int board, std::int64_t at);

    std::vector<Stroke> m_strokes;
    std::vector<Plugged> m_plugged;
    std::map<Key, std::size_t> m_down; ///< contacts that are down, as indexes of their strokes
    std::set<Key> m_former;            ///< contacts that have been down since before the step
    int m_mostDown = 0;
    std::int64_t m_last = 0;
    capture::Report m_report; ///< kept, since its vector is used again
};

/// Whether the stroke @p next goes on where @p former was lost: a contact of the same kind, within 50 ms and
/// 2 % of the screen, as lanternix-lab watch counts it.
bool isDropout(const Stroke &former, const Stroke &next);
/// How many strokes go on like this.
int dropoutsIn(const std::vector<Stroke> &strokes);

} // namespace acceptance
