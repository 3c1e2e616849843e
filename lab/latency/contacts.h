#pragma once

#include "latency/screen.h"

#include "report.h"

#include <vector>

namespace latency {

/// Some contacts of one kind, and the reports that place them.
struct Contacts
{
    enum Kind { pen, touch, eraser };

    Kind kind = pen;
    int count = 1;  ///< a pen is always alone
    int radius = 0; ///< pixels; pens have none

    /// One report of all contacts; @p places are in pixels of the screen, one for each. The contacts are
    /// numbered from @p firstId.
    boardsim::Bytes report(const std::vector<Point> &places, const Screen &screen, bool down = true,
                           int firstId = 0) const;
    /// The same in as many reports as it takes, since one holds ten contacts at most.
    std::vector<boardsim::Bytes> reports(const std::vector<Point> &places, const Screen &screen,
                                         bool down = true) const;
};

/// Where some contacts are at each of their reports.
using Walk = std::vector<std::vector<Point>>;

/// A part of the screen, in pixels.
struct Area
{
    int left = 0;
    int top = 0;
    int right = 0;
};

/// The place after @p count others on a path to and fro across @p area, with a step down at each end.
Point serpentine(const Area &area, int step, int count);

} // namespace latency
