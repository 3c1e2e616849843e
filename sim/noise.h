#pragma once

#include "path.h"

#include <cstdint>

namespace boardsim {

/// Returns two independent values of the standard normal distribution: the same ones for the same numbers, on
/// every machine and in any order, so that a play needs no state and can be repeated.
Point normalPair(std::uint64_t stream, std::uint64_t index);

/// Returns a stream of its own for each pair of numbers.
std::uint64_t streamOf(std::uint64_t seed, std::uint64_t number);

} // namespace boardsim
