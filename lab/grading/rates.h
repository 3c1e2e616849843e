#pragma once

#include "grading/tally.h"
#include "grading/track.h"

#include <cstdint>
#include <vector>

namespace grading {

/// How often a contact is reported, over every half second: from every sample to the first one at least half
/// a second later, intervals divided by time, in hertz.
struct Rates
{
    Tally all;
    Tally alone;    ///< where no other contact was down
    Tally together; ///< where another one was

    void add(const std::vector<Sample> &samples);
    void add(const Rates &other);
};

/// Where the next interval is too long for the pace of a contact: longer than 1.8 times the one before, with
/// a shorter one behind it, so that a contact that slows down has none.
struct Gaps
{
    std::int64_t count = 0;
    double worstRatio = 0; ///< of a gap to the interval before it; 0 without gaps
};

Gaps gapsOf(const std::vector<Sample> &samples);

} // namespace grading
