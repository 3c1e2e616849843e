#include "grading/tally.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace grading {

namespace {

constexpr double lowestValue = 1e-3;
constexpr double highestValue = 1e9;
constexpr unsigned steps = 2'800'000; // each 1e-5 of the value wide

/// Five significant digits: the middle of a step is known no better.
double rounded(double value)
{
    const double unit = std::pow(10, std::floor(std::log10(value)) - 4);
    return std::round(value / unit) * unit;
}

} // namespace

Tally::Tally() : m_axis(steps, lowestValue, highestValue) { }

void Tally::add(double value)
{
    ++m_counts[static_cast<std::size_t>(m_axis.index(std::min(value, highestValue)) + 1)];
    ++m_count;
}

void Tally::add(const Tally &other)
{
    for (const auto &[step, count] : other.m_counts)
        m_counts[step] += count;
    m_count += other.m_count;
}

std::optional<double> Tally::quantile(double share) const
{
    if (m_count == 0)
        return {};
    std::vector<std::pair<std::size_t, std::uint64_t>> sorted(m_counts.begin(), m_counts.end());
    std::sort(sorted.begin(), sorted.end());
    const double rank = std::max(1.0, std::ceil(share * static_cast<double>(m_count)));
    std::uint64_t below = 0;
    for (const auto &[step, count] : sorted) {
        below += count;
        if (static_cast<double>(below) >= rank)
            return step == 0 ? 0 : rounded(m_axis.value(static_cast<double>(step) - 0.5));
    }
    return {};
}

} // namespace grading
