#include "noise.h"

#include <cmath>

namespace boardsim {

namespace {

constexpr double fullTurn = 2 * 3.14159265358979323846; // radians

/// Spreads the bits of a number: all 64 of the result depend on each of them (the last step of SplitMix64).
std::uint64_t mixed(std::uint64_t bits)
{
    bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9;
    bits = (bits ^ bits >> 27) * 0x94D049BB133111EB;
    return bits ^ bits >> 31;
}

/// The value of a stream at this place, above 0 and at most 1.
double uniform(std::uint64_t stream, std::uint64_t place)
{
    constexpr std::uint64_t step = 0x9E3779B97F4A7C15; // as SplitMix64 takes it
    constexpr int mantissa = 53;                       // bits of a double
    return std::ldexp(static_cast<double>((mixed(stream + (place + 1) * step) >> (64 - mantissa)) + 1),
                      -mantissa);
}

} // namespace

Point normalPair(std::uint64_t stream, std::uint64_t index)
{
    // Deliberate: the Box-Muller transform. The results of std::normal_distribution depend on the library.
    const double radius = std::sqrt(-2 * std::log(uniform(stream, 2 * index)));
    const double angle = fullTurn * uniform(stream, 2 * index + 1);
    return {radius * std::cos(angle), radius * std::sin(angle)};
}

std::uint64_t streamOf(std::uint64_t seed, std::uint64_t number)
{
    return mixed(mixed(seed) + number + 1);
}

} // namespace boardsim
