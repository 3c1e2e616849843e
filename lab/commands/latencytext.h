#pragma once

#include "latency/outcome.h"

#include <string>

namespace lab {

/// What was measured, for a terminal: a table, and what of it is the tick's own.
std::string latencyText(const latency::Outcome &outcome);
/// The same as one JSON object.
std::string latencyJson(const latency::Outcome &outcome);

} // namespace lab
