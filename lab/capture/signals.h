#pragma once

#include "capture/contacts.h"

#include <string>
#include <vector>

namespace capture {

/// One value of a contact, as a waveform shows it.
struct SignalValue
{
    const char *name;
    int width; ///< bits
    int value;
};

/// The values of a contact in a report of this kind, always the same ones in the same order.
std::vector<SignalValue> valuesOf(ReportKind kind, const Contact &contact);

/// What a waveform calls a value: board1_pen0_x, board1_touch3_extent.
std::string signalName(int board, ReportKind kind, int contact, const char *value);

} // namespace capture
