#pragma once

#include "latency/outcome.h"

#include <string>

namespace page {

/// An SVG file: for each row how many reports took how long, against the wait for the tick. @p outcome has at
/// least one row.
std::string latencyChart(const latency::Outcome &outcome);

} // namespace page
