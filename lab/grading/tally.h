#pragma once

#include <boost/histogram.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>

namespace grading {

/// Counts positive values for their percentiles, to five digits each, however many there are. Used on one
/// thread.
class Tally
{
public:
    Tally();

    void add(double value);
    void add(const Tally &other);
    std::uint64_t count() const { return m_count; }
    /// The value that @p share of all, 0 to 1, do not exceed (nearest rank); nothing without values.
    std::optional<double> quantile(double share) const;
    std::optional<double> lowest() const { return quantile(0); }
    std::optional<double> median() const { return quantile(0.5); }

private:
    using Axis = boost::histogram::axis::regular<double, boost::histogram::axis::transform::log>;
    /// Few of the steps are ever used, so that they are kept in a table of those that are.
    using Storage = std::unordered_map<std::size_t, std::uint64_t>;

    Axis m_axis;
    Storage m_counts; ///< by step of the axis; 0 for what lies below it
    std::uint64_t m_count = 0;
};

} // namespace grading
