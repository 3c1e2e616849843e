#pragma once

#include "scenario.h"

#include <chrono>

namespace boardsim {

/// Returns the number of samples of a move without its lift: rate times time, at least one.
std::int64_t sampleCount(const Move &move);

/// Returns when sample number @p sample is due, counted from the start of the move.
std::chrono::nanoseconds sampleTime(const Move &move, std::int64_t sample);

/// Returns the reports of one sample: one for each pen, then one with all touches, then one with all erasers.
/// The first sample is at the start of the paths, the last one at their end. A touch or an eraser that drops
/// out is in none of them, but lifts in the first one.
std::vector<Bytes> sampleReports(const Move &move, std::int64_t sample);

/// Returns the reports that lift all contacts that are down, and all pens, where the last sample was.
std::vector<Bytes> liftReports(const Move &move);

} // namespace boardsim
