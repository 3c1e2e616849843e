#pragma once

#include "scenario.h"

#include <chrono>

namespace boardsim {

/// Samples that a move takes, the lift not counted: rate times time, at least one.
std::int64_t sampleCount(const Move &move);

/// When sample number @p sample is due, counted from the start of the move.
std::chrono::nanoseconds sampleTime(const Move &move, std::int64_t sample);

/// The reports of one sample: one for each pen, then one with all touches, then one with all erasers. The
/// first sample is at the start of the paths, the last one at their end.
std::vector<Bytes> sampleReports(const Move &move, std::int64_t sample);

/// The reports that lift all contacts at the end of their paths.
std::vector<Bytes> liftReports(const Move &move);

} // namespace boardsim
