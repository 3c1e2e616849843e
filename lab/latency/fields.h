#pragma once

#include "latency/contacts.h"

#include "accept/geometry.h"

#include <random>

namespace latency {

/// Where contacts draw that move in step, each in a field of its own, in which the info tags of the others do
/// not reach the place that comes next. Positions are pixels of the screen.
class Fields
{
public:
    static constexpr int radius = 11; ///< of the contacts, as touches have it
    static constexpr int step = 22;   ///< between two places, so that a place is untouched until its report

    /// Divides @p window among the contacts. Throws std::runtime_error if it is too small for so many.
    Fields(const acceptance::Area &window, int contacts);

    /// Every place of every contact, from top to bottom; without the strip at the top unless @p withStrip.
    Walk walk(bool withStrip) const;
    /// @p count random places of every contact in the strip at the top of its field, for strokes that are not
    /// measured.
    Walk scribble(int count, std::mt19937 &random) const;
    /// Where each contact enters or leaves the strip on its way from or to @p places, one for each contact: a
    /// slanting way would cross places that come later.
    std::vector<Point> above(std::vector<Point> places) const;

private:
    static constexpr int strip = 44; // pixels

    std::vector<Point> atEach(Point inField) const;

    Point m_first;    ///< the first place of the first contact
    int m_across = 0; ///< fields in a row
    int m_width = 0;  ///< of a field
    int m_height = 0;
    int m_contacts = 0;
};

} // namespace latency
