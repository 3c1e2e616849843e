#pragma once

#include "commands/input.h"

#include <cstdio>
#include <string>

namespace lab {

/// Writes the contacts of a recording as a value change dump (IEEE 1364-2005, clause 18), in microseconds,
/// with a signal for each value of each contact: board1_pen0_x, board1_touch3_extent. Reads @p file twice,
/// because the signals are declared before the first change. False if it cannot be read; one line on standard
/// error then says why.
bool writeWaveform(const std::string &file, Input::Progress progress, std::FILE *out);

} // namespace lab
