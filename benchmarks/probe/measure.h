#pragma once

#include "cases.h"
#include "latency/measurement.h"

#include <string>

constexpr int warm_up = 5; // reports; the first one makes the contact
constexpr latency::Nanoseconds warm_up_interval = 50 * latency::millisecond;
constexpr latency::Nanoseconds even_step = 36'944'272; // four ticks and the golden ratio of one

/// Follows the reports of @p walk one by one to their pixels. Adds samples and values to @p result; @p suffix
/// is appended to their names.
void measure(latency::Program &program, latency::Measurement &measurement, const latency::Walk &walk,
             Result &result, const std::string &suffix = {});
