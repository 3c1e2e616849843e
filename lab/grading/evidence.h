#pragma once

#include "grading/figures.h"

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace grading {

/// What single contacts or reports say about a figure, for a comparison: a sample of theirs of bounded size,
/// each with the same chance to be in it (reservoir sampling). Used on one thread.
class Evidence
{
public:
    void add(double value);
    /// The sample.
    const std::vector<float> &values() const { return m_values; }
    /// Of all values, as the next two.
    std::uint64_t count() const { return m_count; }
    double mean() const;
    bool areFlags() const { return m_areFlags; } ///< 0 or 1 each

private:
    static constexpr std::size_t most = 500;

    std::vector<float> m_values;
    std::uint64_t m_count = 0;
    double m_sum = 0;
    bool m_areFlags = true;
    std::mt19937_64 m_random; // the same for the same recording
};

using Evidences = std::map<std::string, Evidence>; ///< by the key of the figure

} // namespace grading
